/**
 * One of the workers, one a core: measures and filters pieces of the picture with an engine of its own, the library in
 * this page or the companion that serves it, and makes them ready to be drawn.
 */
import { Core } from "./core.js";
import { Companion } from "./companion.js";

/** @typedef {import("./core.js").Rectangle} Rectangle */
/** @typedef {import("./settings.js").Settings} Settings */

/** @type {any} */
let engine;
let planned = -1;

/**
 * Averages blocks of 2^level pixels: what a view shows that is smaller than the picture.
 * @param {Uint8ClampedArray<ArrayBuffer>} pixels @param {number} width @param {number} height @param {number} level
 */
export function reduced(pixels, width, height, level) {
  for (let k = 0; k < level; ++k) {
    const w = Math.ceil(width / 2);
    const h = Math.ceil(height / 2);
    const to = new Uint8ClampedArray(4 * w * h);
    for (let y = 0, at = 0; y < h; ++y) {
      const above = 8 * y * width;
      const below = 2 * y + 1 < height ? above + 4 * width : above;
      for (let x = 0; x < w; ++x) {
        const left = 8 * x;
        const right = 2 * x + 1 < width ? left + 4 : left;
        for (let c = 0; c < 4; ++c, ++at) {
          const sum = pixels[above + left + c] + pixels[above + right + c] + pixels[below + left + c];
          to[at] = (sum + pixels[below + right + c] + 2) >> 2;
        }
      }
    }
    [pixels, width, height] = [to, w, h];
  }
  return new ImageData(pixels, width, height);
}

/** @param {Settings} settings @param {number} version */
function plan(settings, version) {
  if (planned !== version) engine.plan(settings);
  planned = version;
}

/** @param {any} order */
function filtered({ pixels, read, write, settings, version }) {
  plan(settings, version);
  return engine.filter(pixels, read, write);
}

/** @type {Record<string, (order: any) => any>} */
const orders = {
  async begin({ module, width, height }) {
    engine = module ? await Core.from(module) : new Companion();
    planned = -1;
    return engine.begin(width, height);
  },
  measure: ({ pixels, rectangle }) => engine.measure(pixels, rectangle),
  seen: () => engine.seen(),
  noise({ seen }) {
    for (const other of seen) engine.add(other);
    return engine.noise();
  },
  choose: ({ rule, strength }) => engine.choose(rule, strength),
  grid({ settings, version }) {
    plan(settings, version);
    return engine.grid();
  },
  /** The samples of a piece. */
  async filter(order) {
    return (await filtered(order)).slice();
  },
  /** The piece after, as it is drawn. */
  async after(order) {
    return drawable(await filtered(order), order.write, order.level);
  },
  /** The piece before, as it is drawn. */
  async before({ pixels, write, level }) {
    const samples = pixels ? new Uint8ClampedArray(pixels.buffer, 0, pixels.length) : await engine.original(write);
    return drawable(samples, write, level);
  },
};

/** @param {Uint8ClampedArray<ArrayBuffer>} pixels @param {Rectangle} r @param {number} level */
function drawable(pixels, r, level) {
  return createImageBitmap(reduced(pixels, r.x1 - r.x0, r.y1 - r.y0, level));
}

/** @param {any} answer @returns {Transferable[]} */
function transfers(answer) {
  if (answer instanceof ImageBitmap) return [answer];
  return ArrayBuffer.isView(answer) ? [/** @type {ArrayBuffer} */ (answer.buffer)] : [];
}

self.onmessage = async ({ data }) => {
  try {
    const answer = await orders[data.order](data);
    // The memory that the pixels came in goes back, to be used again.
    const used = data.pixels ? [data.pixels.buffer] : [];
    self.postMessage({ id: data.id, answer, used }, { transfer: [...transfers(answer), ...used] });
  } catch (error) {
    self.postMessage({ id: data.id, error: error instanceof Error ? error.message : String(error) });
  }
};
