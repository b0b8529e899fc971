/** The measured noise in words, figures and a plot. */

/** @typedef {import("./core.js").Noise} Noise */

const SVG = "http://www.w3.org/2000/svg";
const [WIDTH, HEIGHT, LEFT, RIGHT, TOP, BOTTOM] = [300, 150, 34, 292, 10, 122];

/** @param {string} name @param {Record<string, string | number>} attributes @param {string} [text] */
function svg(name, attributes, text) {
  const element = document.createElementNS(SVG, name);
  for (const [key, value] of Object.entries(attributes)) element.setAttribute(key, String(value));
  if (text !== undefined) element.textContent = text;
  return element;
}

/** @param {number[]} sigma */
export function sigmaText(sigma) {
  const all = sigma.map((value) => value.toFixed(1));
  return all.every((value) => value === all[0]) ? all[0] : all.join(" · ");
}

/** @param {Noise} noise @returns {string} */
export function noiseWords(noise) {
  if (noise.grain === "unknown") return "The picture is too small, or has no block to measure: no noise is assumed.";
  const strongest = Math.max(...noise.sigma);
  if (strongest < 0.3) return "There is next to no noise.";
  const how = strongest < 2 ? "weak" : strongest < 6 ? "moderate" : strongest < 14 ? "strong" : "very strong";
  const kind = noise.correlation < 0.35 ? "fine, every pixel has its own" : "soft, as cameras leave it";
  const blotches = noise.blotches > 0.3 ? ", with blotches of colour" : "";
  const texture = noise.grain === "textured" ? " No block is smooth: some of it may be texture." : "";
  return `The noise is ${how} and ${kind}${blotches}.${texture}`;
}

/** @param {Noise} noise @returns {[string, string][]} */
export function noiseFigures(noise) {
  if (noise.grain === "unknown") return [];
  return [
    ["Deviation in red, green, blue, of 255", sigmaText(noise.sigma)],
    ["Softness, 0 white to 1 smoothed", noise.correlation.toFixed(2)],
    ["Blotches of colour, 0 to 1", noise.blotches.toFixed(2)],
    ...(noise.measured ? /** @type {[string, string][]} */ ([["Level of classic", noise.level.toFixed(1)]]) : []),
  ];
}

/** Mean amplitude by frequency, from 8 x 8 powers. @param {number[]} power */
function byFrequency(power) {
  const sums = new Array(8).fill(0);
  const counts = new Array(8).fill(0);
  for (let k = 1; k < 64; ++k) {
    const frequency = Math.min(7, Math.round(Math.hypot(k >> 3, k & 7)));
    sums[frequency] += power[k];
    ++counts[frequency];
  }
  return sums.map((sum, k) => (counts[k] ? Math.sqrt(sum / counts[k]) : NaN)).slice(1);
}

/**
 * The curves of the plot: a name, a class, and amplitudes from coarse to fine.
 * @param {Noise} noise @returns {{name: string, kind: string, values: number[]}[]}
 */
function curvesOf(noise) {
  const [y, b, r] = noise.spectrum.map(byFrequency);
  return [
    { name: "luminance", kind: "luma", values: y },
    { name: "blue", kind: "blue", values: b },
    { name: "red", kind: "red", values: r },
  ];
}

/** @param {Noise} noise */
function barsOf(noise) {
  return [
    { name: "fine luminance", kind: "luma", value: noise.luma },
    { name: "fine colour", kind: "blue", value: noise.chroma },
    { name: "coarse colour", kind: "red", value: noise.coarseChroma },
  ];
}

/** @param {number} most */
function scaleOf(most) {
  const step = 10 ** Math.floor(Math.log10(most));
  const top = [1, 2, 5, 10].map((k) => k * step).find((value) => value >= most) ?? 10 * step;
  return { top, y: (/** @type {number} */ value) => BOTTOM - (value / top) * (BOTTOM - TOP) };
}

/** @param {SVGElement} plot @param {{top: number, y: (value: number) => number}} scale @param {string[]} names */
function axes(plot, { top, y }, names) {
  for (const value of [0, top / 2, top]) {
    plot.append(svg("line", { x1: LEFT, x2: RIGHT, y1: y(value), y2: y(value), class: "grid" }));
    plot.append(
      svg("text", { x: LEFT - 5, y: y(value) + 4, "text-anchor": "end" }, String(Number(value.toPrecision(2)))),
    );
  }
  names.forEach((name, k) => {
    const anchor = ["start", "middle", "end"][k];
    plot.append(svg("text", { x: [LEFT, (LEFT + RIGHT) / 2, RIGHT][k], y: BOTTOM + 18, "text-anchor": anchor }, name));
  });
}

/** @param {Noise} noise @returns {SVGElement} */
export function noisePlot(noise) {
  const known = noise.spectrum.some((channel) => channel.some((power) => power > 0));
  const plot = svg("svg", { viewBox: `0 0 ${WIDTH} ${HEIGHT}`, role: "img", class: "plot" });
  const label = known ? "Amplitude of the noise from coarse to fine" : "Deviation of the noise by kind";
  const bars = barsOf(noise);
  plot.setAttribute("aria-label", `${label}. ${bars.map((bar) => `${bar.name} ${bar.value.toFixed(1)}`).join(", ")}.`);
  if (known) drawCurves(plot, curvesOf(noise));
  else drawBars(plot, bars);
  return plot;
}

/** @param {SVGElement} plot @param {ReturnType<typeof curvesOf>} curves */
function drawCurves(plot, curves) {
  const scale = scaleOf(Math.max(0.1, ...curves.flatMap((curve) => curve.values)));
  axes(plot, scale, ["coarse", "", "fine"]);
  const x = (/** @type {number} */ k) => LEFT + (k / (curves[0].values.length - 1)) * (RIGHT - LEFT);
  for (const { kind, values } of curves) {
    const points = values.map((value, k) => `${x(k).toFixed(1)},${scale.y(value).toFixed(1)}`).join(" ");
    plot.append(svg("polyline", { points, class: `curve ${kind}` }));
  }
  curves.forEach(({ name, kind }, k) => {
    const at = [84, 166, 218][k];
    plot.append(svg("line", { x1: at, x2: at + 16, y1: 136, y2: 136, class: `curve ${kind}` }));
    plot.append(svg("text", { x: at + 20, y: 140 }, name));
  });
}

/** @param {SVGElement} plot @param {ReturnType<typeof barsOf>} bars */
function drawBars(plot, bars) {
  const scale = scaleOf(Math.max(0.1, ...bars.map((bar) => bar.value)));
  axes(
    plot,
    scale,
    bars.map((bar) => bar.name),
  );
  bars.forEach(({ kind, value }, k) => {
    const at = [LEFT, (LEFT + RIGHT) / 2 - 35, RIGHT - 70][k];
    plot.append(
      svg("rect", {
        x: at,
        width: 70,
        y: scale.y(value),
        height: BOTTOM - scale.y(value),
        rx: 3,
        class: `bar ${kind}`,
      }),
    );
  });
}
