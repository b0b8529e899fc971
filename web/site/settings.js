/** Settings as the library has them and as a recipe names them, and what the page lets a photographer turn. */

/** @typedef {Record<string, number | string | number[] | number[][][]>} Settings the members of a recipe */

/**
 * The library's struct after its size, in its order: a name and how many numbers of four bytes it has. The glue's
 * settings_count keeps this list honest.
 * @type {[string, number][]}
 */
export const FIELDS = [
  ...[
    ...["noise_level", "highlight_noise", "level0_noise", "level1_noise", "level2_noise", "level3_noise"],
    ...["luma_keep", "chroma_keep", "level0_amount", "level1_amount", "level2_amount", "level3_amount"],
    ...["sharpening", "level0_sharpening", "level1_sharpening", "level2_sharpening", "level3_sharpening"],
    ...["highlight_start", "highlight_width", "chroma_sharpening", "reserved"],
    ...["recon_threshold", "recon_rolloff", "linear_scale", "tile", "rounding"],
    ...["patch", "dots_luma", "dots_chroma", "shrink_luma", "shrink_chroma"],
  ].map((name) => /** @type {[string, number]} */ ([name, 1])),
  ["residual_luma", 8],
  ["residual_chroma", 8],
  ["spectrum", 3 * 64],
];

const ROUNDINGS = ["auto", "truncate", "nearest", "none", "finest"];
const EDGE = 8; // frequencies of a block each way

/** Settings from the library's memory. @param {ArrayBuffer} memory @param {number} at @returns {Settings} */
export function readSettings(memory, at) {
  /** @type {Settings} */
  const settings = {};
  for (const [name, count] of FIELDS) {
    const floats = new Float32Array(memory, at, count);
    if (name === "tile") settings[name] = new Int32Array(memory, at, 1)[0];
    else if (name === "rounding") settings[name] = ROUNDINGS[new Int32Array(memory, at, 1)[0]];
    else if (name === "spectrum") settings[name] = [0, 1, 2].map((channel) => blockOf(floats, channel * EDGE * EDGE));
    else settings[name] = count === 1 ? floats[0] : numbersOf(floats, 0, count);
    at += 4 * count;
  }
  return settings;
}

/** @param {Float32Array} floats @param {number} from @param {number} count */
function numbersOf(floats, from, count) {
  return Array.from(floats.subarray(from, from + count));
}

/** @param {Float32Array} floats @param {number} from */
function blockOf(floats, from) {
  return Array.from({ length: EDGE }, (_, row) => numbersOf(floats, from + row * EDGE, EDGE));
}

/** Settings into the library's memory. @param {ArrayBuffer} memory @param {number} at @param {Settings} settings */
export function writeSettings(memory, at, settings) {
  for (const [name, count] of FIELDS) {
    const value = settings[name];
    if (name === "tile") new Int32Array(memory, at, 1)[0] = Number(value);
    else if (name === "rounding") new Int32Array(memory, at, 1)[0] = ROUNDINGS.indexOf(String(value));
    else new Float32Array(memory, at, count).set(/** @type {number[]} */ ([value].flat(3)));
    at += 4 * count;
  }
}

/** A recipe as docs/recipe.md describes it. @param {Settings} settings */
export function recipeText(settings) {
  return JSON.stringify({ recipe: 1, settings }, null, 2) + "\n";
}

/**
 * The presets by name: the library's rule (by its number in the glue), the least strength, and what the preset sets.
 * @type {Record<string, {rule: number, least: number, sets: Settings, hint: string}>}
 */
export const PRESETS = {
  best: { rule: 0, least: 60, sets: {}, hint: "Gains most, with all stages." },
  fast: { rule: 1, least: 60, sets: {}, hint: "The filters alone: quicker, nearly as good." },
  classic: { rule: 2, least: 50, sets: {}, hint: "What hosts get from the library's first interface." },
  "chroma-only": {
    rule: 2,
    least: 50,
    sets: { luma_keep: 1, sharpening: 0, chroma_sharpening: 0 },
    hint: "Takes out blotches of colour and leaves the grain.",
  },
};
export const STRONGEST = 150;

/** The preset that is quick enough while a dial moves. @param {string} preset */
export function whileMoving(preset) {
  return preset === "best" ? "fast" : preset;
}

/**
 * The dials beside strength. Values are the settings' own; what is measured stands there until it is touched.
 * @type {{name: string, label: string, least: number, most: number, step: number, hint: string}[]}
 */
export const DIALS = [
  { name: "luma_keep", label: "Grain kept", least: 0, most: 1, step: 0.01, hint: "Share of the original's luminance" },
  { name: "chroma_keep", label: "Colour kept", least: -1, most: 1, step: 0.01, hint: "Share of the original's colour" },
  { name: "level0_amount", label: "Finest grain", least: 0, most: 2, step: 0.01, hint: "Reduction at 1 to 2 pixels" },
  { name: "level1_amount", label: "Fine grain", least: 0, most: 2, step: 0.01, hint: "Reduction at about 4 pixels" },
  { name: "level2_amount", label: "Coarse grain", least: 0, most: 2, step: 0.01, hint: "Reduction at about 8 pixels" },
  { name: "level3_amount", label: "Blotches", least: 0, most: 2, step: 0.01, hint: "Reduction at 16 pixels and more" },
  { name: "sharpening", label: "Sharpening", least: -2, most: 2, step: 0.01, hint: "Of luminance; below 0 smooths" },
  { name: "chroma_sharpening", label: "Colour sharpening", least: -2, most: 2, step: 0.01, hint: "Below 0 smooths" },
];

/** @typedef {{preset: string, strength: number, set: Record<string, number>}} Choice what was chosen, strength in % */

/** A word for a shell, in quotes where it needs them. @param {string} word */
export function shellWord(word) {
  const safe = word.startsWith("-") ? `./${word}` : word;
  return /^[\w@%+=:,./-]+$/.test(safe) ? safe : `'${safe.replaceAll("'", `'\\''`)}'`;
}

/** @param {string} name @param {string} suffix the end of the new name */
export function named(name, suffix) {
  return name.replace(/(\.[^./]*)?$/, "") + suffix;
}

/** The same on the command line. @param {Choice} choice @param {string} name */
export function commandLine(choice, name) {
  const words = ["veskaro-nr", name, named(name, `-clean${/\.[^.]+$/.exec(name)?.[0] ?? ".png"}`)].map(shellWord);
  if (choice.preset !== "best") words.push("--preset", choice.preset);
  if (choice.strength !== 100) words.push("--strength", String(choice.strength));
  for (const [member, value] of Object.entries(choice.set))
    words.push("--set", `${member.replaceAll("_", "-")}=${value}`);
  return words.join(" ");
}

/** The same in Python. @param {Choice} choice @param {string} name */
export function pythonText(choice, name) {
  const chroma = choice.preset === "chroma-only";
  const preset = chroma ? "classic" : choice.preset;
  const set = Object.entries({ ...(chroma ? PRESETS[choice.preset].sets : {}), ...choice.set });
  const lines = [
    ...(set.length ? ["import dataclasses", ""] : []),
    "import numpy as np",
    "from PIL import Image, ImageOps",
    "import veskaronr",
    "",
    `photo = ImageOps.exif_transpose(Image.open(${JSON.stringify(name)}))`,
    'photo = np.asarray(photo.convert("RGB"))',
    "noise = veskaronr.measure(photo)",
    `settings = noise.settings(${choice.strength / 100}, ${JSON.stringify(preset)})`,
    ...(set.length ? [`settings = dataclasses.replace(settings, ${set.map(([k, v]) => `${k}=${v}`).join(", ")})`] : []),
    "clean = veskaronr.denoise(photo, settings=settings)",
    `Image.fromarray(clean).save(${JSON.stringify(named(name, "-clean.png"))})`,
  ];
  return lines.join("\n");
}
