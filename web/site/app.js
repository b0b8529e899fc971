/** The page: a picture goes in, is measured, filtered where it is looked at, and saved. */
import { ask } from "./companion.js";
import { at, Controls, make } from "./controls.js";
import { noiseFigures, noisePlot, noiseWords } from "./noise.js";
import { openPicture, Picture } from "./picture.js";
import { Pool } from "./pool.js";
import { coded } from "./save.js";
import { commandLine, named, PRESETS, pythonText, recipeText, shellWord, whileMoving } from "./settings.js";
import { View } from "./view.js";

/** @typedef {import("./view.js").Cell} Cell */
/** @typedef {import("./pool.js").Job} Job */
/** @typedef {{settings: import("./settings.js").Settings, version: number}} Current what is filtered with */
/** @typedef {{name: string, input: string, width: number, height: number, bits: number, cores: number, output: string, recipe: string}} Served */

const isServed = document.documentElement.dataset.engine === "companion";
const MOST_WORKERS = 8; // each takes some 10 MB
const PIECE = 512; // pixels of an edge that are measured at once
const REST_MS = 350;
const ALIVE_MS = 30e3;

/** @type {import("./settings.js").Choice} */
const choice = { preset: "best", strength: 100, set: {} };
const view = new View(/** @type {HTMLCanvasElement} */ (at("canvas")), at("divider"), () => schedule());
const controls = new Controls(choice, (moving) => refresh(moving));

/** @type {Picture | undefined} */
let picture;
/** @type {Pool | undefined} */
let pool;
/** @type {Current | undefined} */
let current;
let versions = 0;
let rest = 0;
/** @type {Promise<WebAssembly.Module> | undefined} */
let module;

/** @param {string} text */
function say(text) {
  at("status").textContent = text;
}

/** @param {unknown} error */
function complain(error) {
  at("problem").textContent = error instanceof Error ? error.message : String(error);
  at("problem").hidden = false;
  at("busy").hidden = true;
}

async function compiled() {
  const response = await fetch(new URL("./veskaro.wasm", import.meta.url));
  if (!response.ok) throw new Error("veskaro.wasm is missing beside the page; scripts/web builds it");
  return WebAssembly.compile(await response.arrayBuffer());
}

/** One after another: what was opened last stays. @param {() => Promise<Picture>} open */
async function begin(open) {
  pool?.end();
  [pool, picture, current] = [undefined, undefined, undefined];
  at("problem").hidden = true;
  at("busy").hidden = false;
  try {
    const opened = await open();
    const started = new Pool(Math.min(opened.cores || navigator.hardwareConcurrency || 2, MOST_WORKERS), complain);
    [picture, pool] = [opened, started];
    await measure(opened, started);
  } catch (error) {
    complain(error);
    say("");
  }
}

/** @param {Picture} opened @param {Pool} started */
async function measure(opened, started) {
  const { name, width, height } = opened;
  say("Measuring the noise …");
  at("about").textContent = `${name} · ${width} × ${height}${opened.bits > 8 ? ` · ${opened.bits} bit` : ""}`;
  const order = { order: "begin", module: isServed ? undefined : await (module ??= compiled()), width, height };
  await started.askAll(order);
  if (!isServed) await started.run(measuringJobs(opened));
  const seen = isServed ? [] : await Promise.all(started.hands.slice(1).map((hand) => hand.ask({ order: "seen" })));
  const noise = await started.ask({ order: "noise", seen });
  if (started !== pool) return;
  tellNoise(noise);
  await refresh(false);
  const grid = await started.ask({ order: "grid", ...current });
  if (started !== pool) return;
  started.onRest = () => rested();
  started.onShare = tellShare;
  for (const id of ["canvas", "divider", "tags", "tools"]) at(id).hidden = false;
  at("welcome").hidden = true;
  /** @type {HTMLFieldSetElement} */ (at("controls")).disabled = false;
  const jpeg = /** @type {HTMLButtonElement} */ (at("jpeg"));
  jpeg.disabled = !opened.isOpaque;
  jpeg.title = opened.isOpaque ? "" : "JPEG cannot hold the picture's transparency";
  view.show(width, height, grid);
  view.divide(0.5);
}

/** @param {Picture} opened @returns {Job[]} */
function measuringJobs(opened) {
  const jobs = [];
  for (let y0 = 0; y0 < opened.height; y0 += PIECE) {
    for (let x0 = 0; x0 < opened.width; x0 += PIECE) {
      const rectangle = { x0, x1: Math.min(x0 + PIECE, opened.width), y0, y1: Math.min(y0 + PIECE, opened.height) };
      jobs.push({
        order: () => {
          const pixels = opened.cut(rectangle);
          return /** @type {[any, Transferable[]]} */ ([{ order: "measure", pixels, rectangle }, [pixels.buffer]]);
        },
        done: () => {},
      });
    }
  }
  return jobs;
}

/** @param {import("./core.js").Noise} noise */
function tellNoise(noise) {
  at("noise-words").textContent = noiseWords(noise);
  at("noise-words").classList.remove("quiet");
  at("plot").replaceChildren(...(noise.grain === "unknown" ? [] : [noisePlot(noise)]));
  const rows = noiseFigures(noise).map(([name, value]) => make("div", {}, make("dt", {}, name), make("dd", {}, value)));
  at("figures").replaceChildren(...rows);
}

/** Settings for what is chosen; while a dial moves those that are quick. @param {boolean} moving */
async function refresh(moving) {
  clearTimeout(rest);
  if (!pool) return;
  const preset = moving ? whileMoving(choice.preset) : choice.preset;
  if (preset !== choice.preset) rest = setTimeout(() => refresh(false), REST_MS);
  const version = ++versions;
  const settings = await settingsFor(pool, preset).catch(complain);
  if (!settings || version < (current?.version ?? 0)) return;
  current = { settings, version };
  controls.stand(settings);
  tellElsewhere();
  schedule();
}

/** @param {Pool} from @param {string} preset @returns {Promise<import("./settings.js").Settings>} */
async function settingsFor(from, preset) {
  const { rule, sets } = PRESETS[preset];
  const set = { ...choice.set };
  const settings = await from.ask({ order: "choose", rule, strength: choice.strength / 100 });
  return { ...settings, ...sets, ...set };
}

function tellElsewhere() {
  const name = picture?.path ?? "photo.jpg";
  const recipe = named(name, ".recipe.json");
  at("command").textContent = commandLine(choice, name);
  at("python").textContent = pythonText(choice, name);
  const result = commandLine({ preset: "best", strength: 100, set: {} }, name);
  at("command-recipe").textContent = `${result} --recipe ${shellWord(recipe)}`;
}

/** What is to be seen and not there yet, in the order in which it is wanted. */
function schedule() {
  at("zoom").textContent = `${Math.round(100 * view.zoom)} %`;
  if (!pool || !picture || !current) return;
  view.tidy();
  const cells = view.visible();
  const jobs = [
    ...cells.filter((cell) => !cell.before).map(beforeJob),
    ...cells.flatMap((cell) => afterJob(cell) ?? []),
  ];
  if (!jobs.length) return;
  at("busy").hidden = false;
  say("Filtering what is to be seen …");
  pool.replace(jobs);
  tellShare(0.03);
}

/** How much of what is to be seen is there. @param {number} share */
function tellShare(share) {
  /** @type {HTMLElement} */ (at("busy").firstElementChild).style.transform = `scaleX(${share})`;
}

/** @param {Cell} cell @returns {Job} */
function beforeJob(cell) {
  const { write, level } = cell;
  const of = /** @type {Picture} */ (picture);
  return {
    order: () => {
      const pixels = of.isHere ? of.cut(write) : null;
      return [{ order: "before", pixels, write, level }, pixels ? [pixels.buffer] : []];
    },
    done: (bitmap) => {
      if (of !== picture || cell.before) return bitmap.close();
      cell.before = bitmap;
      view.draw(cell);
    },
  };
}

/** @param {Cell} cell @returns {Job | null} */
function afterJob(cell) {
  const with_ = /** @type {Current} */ (current);
  const of = /** @type {Picture} */ (picture);
  if (cell.version >= with_.version) return null;
  const { read, write, level } = cell;
  return {
    order: () => {
      const pixels = of.isHere ? of.cut(read) : null;
      return [{ order: "after", pixels, read, write, level, ...with_ }, pixels ? [pixels.buffer] : []];
    },
    done: (bitmap) => {
      if (of !== picture || cell.version >= with_.version) return bitmap.close();
      cell.after?.close();
      cell.after = bitmap;
      cell.version = with_.version;
      view.draw(cell);
    },
  };
}

function rested() {
  at("busy").hidden = true;
  say("Ready.");
}

/** @param {Blob} blob @param {string} name */
function download(blob, name) {
  const url = URL.createObjectURL(blob);
  make("a", { href: url, download: name }).click();
  setTimeout(() => URL.revokeObjectURL(url), 60e3);
}

/** Runs something that takes its time, with the buttons of results disabled. @param {() => Promise<string>} work */
async function work(work) {
  const buttons = /** @type {NodeListOf<HTMLButtonElement>} */ (
    document.querySelectorAll("#downloads button, #saves button")
  );
  const disabled = [...buttons].map((button) => button.disabled);
  const progress = /** @type {HTMLProgressElement} */ (at("progress"));
  buttons.forEach((button) => (button.disabled = true));
  at("problem").hidden = true;
  progress.hidden = false;
  progress.removeAttribute("value");
  try {
    say(await work());
  } catch (error) {
    complain(error);
  } finally {
    buttons.forEach((button, k) => (button.disabled = disabled[k]));
    progress.hidden = true;
  }
}

/** With the chosen preset, whatever is drawn now. @returns {Promise<Current>} */
async function chosen() {
  const version = ++versions;
  return { settings: await settingsFor(/** @type {Pool} */ (pool), choice.preset), version };
}

/** @param {string} type @param {string} extension */
async function downloadResult(type, extension) {
  if (!picture || !pool) return "";
  const name = named(picture.name, `-clean${extension}`);
  say(`Making ${name} …`);
  const settled = await chosen();
  if (isServed) {
    const response = await ask("result", settled.settings);
    download(await response.blob(), named(picture.name, `-clean${/\.[^.]+$/.exec(picture.name)?.[0] ?? ""}`));
    return "Downloaded.";
  }
  const progress = /** @type {HTMLProgressElement} */ (at("progress"));
  const blob = await coded(pool, picture, view.grid, settled, type, (share) => (progress.value = share));
  download(blob, name);
  return `${name} is downloaded, ${(blob.size / 1e6).toFixed(1)} MB.`;
}

async function downloadRecipe() {
  const name = named(picture?.name ?? "picture", ".recipe.json");
  const { settings } = await chosen();
  download(new Blob([recipeText(settings)], { type: "application/json" }), name);
  return `${name} is downloaded.`;
}

/** @param {File | null | undefined} file */
function take(file) {
  if (!file || isServed) return;
  say(`Opening ${file.name} …`);
  begin(() =>
    openPicture(file, () => {}).catch((error) => {
      const how = "is broken, too large for this browser, or of a kind that it does not read";
      throw new Error(`${file.name} cannot be opened: it ${how} (${error.message}). veskaro-nr may read it.`);
    }),
  );
}

async function takeSample() {
  const response = await fetch(new URL("./sample.jpg", import.meta.url));
  if (!response.ok) return complain("there is no sample beside the page");
  take(new File([await response.blob()], "sample.jpg", { type: "image/jpeg" }));
}

/** The picture that the companion was given. */
async function takeServed() {
  at("chooser").hidden = at("welcome").hidden = at("jpeg").hidden = true;
  at("png").textContent = "Download";
  /** @type {Served} */
  const served = await (await ask("picture")).json();
  const opened = Object.assign(new Picture(served.name, served.width, served.height), {
    ...served,
    path: served.input,
  });
  await begin(async () => opened);
  const button = (/** @type {string} */ text, /** @type {string} */ path) => {
    const made = make("button", { type: "button" }, text);
    made.addEventListener("click", () => work(async () => (await ask(path, (await chosen()).settings)).text()));
    return made;
  };
  if (served.output) at("saves").append(button(`Save as ${served.output}`, "save"));
  if (served.recipe) at("saves").append(button(`Save the recipe as ${served.recipe}`, "save-recipe"));
  at("saves").hidden = !served.output && !served.recipe;
  // A page that holds a lock is not put to sleep in the background, where it would seem gone.
  navigator.locks?.request("alive", { mode: "shared" }, () => new Promise(() => {}));
  setInterval(() => ask("alive").catch(complain), ALIVE_MS);
}

/** @param {boolean} shows */
function showBefore(shows) {
  view.showsBefore = shows;
  at("before").setAttribute("aria-pressed", String(shows));
  at("divider").hidden = shows;
  view.draw();
}

function listen() {
  const file = /** @type {HTMLInputElement} */ (at("file"));
  file.addEventListener("change", () => {
    take(file.files?.[0]);
    file.value = "";
  });
  at("sample").addEventListener("click", () => takeSample().catch(complain));
  addEventListener("dragover", (e) => {
    e.preventDefault();
    document.body.classList.add("dropping");
  });
  addEventListener("dragleave", (e) => e.relatedTarget || document.body.classList.remove("dropping"));
  addEventListener("drop", (e) => {
    e.preventDefault();
    document.body.classList.remove("dropping");
    take(e.dataTransfer?.files[0]);
  });
  at("canvas").addEventListener("keydown", (e) => e.key === "b" && showBefore(!view.showsBefore));
  addEventListener("paste", (e) => take(e.clipboardData?.files[0]));
  at("out").addEventListener("click", () => view.zoomTo(view.scale / 2));
  at("in").addEventListener("click", () => view.zoomTo(view.scale * 2));
  at("fit").addEventListener("click", () => view.fit());
  at("full").addEventListener("click", () => view.zoomTo(1));
  at("before").addEventListener("click", () => showBefore(!view.showsBefore));
  at("png").addEventListener("click", () => work(() => downloadResult("image/png", ".png")));
  at("jpeg").addEventListener("click", () => work(() => downloadResult("image/jpeg", ".jpg")));
  at("recipe").addEventListener("click", () => work(downloadRecipe));
  for (const button of document.querySelectorAll("[data-copy]")) {
    button.addEventListener("click", async () => {
      await navigator.clipboard.writeText(
        at(/** @type {string} */ (button.getAttribute("data-copy"))).textContent ?? "",
      );
      say("Copied.");
    });
  }
}

listen();
at("unloaded").remove();
if (isServed) takeServed().catch(complain);
