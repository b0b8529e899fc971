/** The library as WebAssembly: one instance, for one thread and one picture. */
import { FIELDS, readSettings, writeSettings } from "./settings.js";

/** @typedef {import("./settings.js").Settings} Settings */
/** @typedef {{x0: number, x1: number, y0: number, y1: number}} Rectangle ends are exclusive */
/** @typedef {{start: number, end: number, readStart: number, readEnd: number}} Span a tile along one axis */
/** @typedef {{columns: Span[], rows: Span[]}} Grid */
/**
 * @typedef {object} Noise
 * @property {boolean} measured whether classic has a level to work with
 * @property {number} level
 * @property {"unknown" | "measured" | "textured"} grain
 * @property {number[]} sigma
 * @property {number} blotches
 * @property {number} correlation
 * @property {number} luma
 * @property {number} chroma
 * @property {number} coarseChroma
 * @property {number[][]} spectrum
 */

const GRAIN = /** @type {const} */ (["unknown", "measured", "textured"]);
const FIGURES = 12;

export class Core {
  /** @param {WebAssembly.Module} module */
  static async from(module) {
    const nothing = () => {};
    const env = { emscripten_notify_memory_growth: nothing, __call_sighandler: nothing };
    const instance = await WebAssembly.instantiate(module, { env });
    return new Core(/** @type {any} */ (instance.exports));
  }

  /** @param {any} exports */
  constructor(exports) {
    this.c = exports;
    this.c._initialize();
    const count = FIELDS.reduce((sum, [, numbers]) => sum + numbers, 0);
    if (count !== this.c.settings_count()) throw new Error("page and module are of different versions");
    this.measurement = 0;
    this.width = this.height = 0;
    this.in = { at: 0, bytes: 0 };
    this.out = { at: 0, bytes: 0 };
  }

  /** @param {number} result */
  check(result) {
    if (result < 0) throw new Error(this.textAt(this.c.text(result)));
  }

  /** @param {number} at */
  textAt(at) {
    const bytes = new Uint8Array(this.c.memory.buffer, at);
    return new TextDecoder().decode(bytes.slice(0, bytes.indexOf(0)));
  }

  /** Memory of the module, kept from call to call. @param {{at: number, bytes: number}} room @param {number} bytes */
  roomFor(room, bytes) {
    if (room.bytes >= bytes) return room.at;
    this.c.give(room.at);
    room.at = this.c.take(bytes);
    room.bytes = room.at ? bytes : 0;
    if (!room.at) throw new Error("memory exhausted");
    return room.at;
  }

  /** @param {Uint8Array} bytes */
  put(bytes) {
    const at = this.roomFor(this.in, bytes.length);
    new Uint8Array(this.c.memory.buffer, at).set(bytes);
    return at;
  }

  /** @param {number} width @param {number} height */
  begin(width, height) {
    this.width = width;
    this.height = height;
    this.measurement = this.c.measure_begin(width, height);
    if (!this.measurement) throw new Error("memory exhausted");
  }

  /** @param {Uint8Array} pixels @param {Rectangle} r */
  measure(pixels, r) {
    this.check(this.c.measure_add(this.measurement, this.put(pixels), r.x0, r.x1, r.y0, r.y1));
  }

  /** What this instance has seen, for another one. */
  seen() {
    const size = this.c.measure_save(this.measurement, 0, 0);
    const at = this.roomFor(this.out, size);
    this.c.measure_save(this.measurement, at, size);
    return new Uint8Array(this.c.memory.buffer, at, size).slice();
  }

  /** @param {Uint8Array} seen by another instance */
  add(seen) {
    this.check(this.c.measure_take(this.measurement, this.put(seen), seen.length));
  }

  /** @returns {Noise} */
  noise() {
    this.check(this.c.measure_finish(this.measurement));
    const at = this.roomFor(this.out, 8 * FIGURES);
    this.c.noise_figures(at);
    const f = Array.from(new Float64Array(this.c.memory.buffer, at, FIGURES));
    const spectrum = new Float32Array(this.c.memory.buffer, this.c.noise_spectrum(), 3 * 64);
    return {
      ...{ measured: f[0] === 0, level: f[1], grain: GRAIN[f[2]], sigma: f.slice(3, 6), blotches: f[6] },
      ...{ correlation: f[7], luma: f[8], chroma: f[9], coarseChroma: f[10] },
      spectrum: [0, 1, 2].map((c) => Array.from(spectrum.subarray(64 * c, 64 * c + 64))),
    };
  }

  /** @param {number} rule @param {number} strength a factor @returns {Settings} */
  choose(rule, strength) {
    this.check(this.c.choose(rule, strength));
    return readSettings(this.c.memory.buffer, this.c.settings_fields());
  }

  /** Plans with these settings. @param {Settings} settings */
  plan(settings) {
    writeSettings(this.c.memory.buffer, this.c.settings_fields(), settings);
    this.check(this.c.plan_begin(this.width, this.height));
  }

  /** @returns {Grid} */
  grid() {
    return { columns: this.spans(0), rows: this.spans(1) };
  }

  /** @param {number} vertical @returns {Span[]} */
  spans(vertical) {
    const count = this.c.tiles_along(vertical, 0);
    const at = this.roomFor(this.out, 16 * count);
    this.c.tiles_along(vertical, at);
    const n = new Int32Array(this.c.memory.buffer, at, 4 * count);
    return Array.from({ length: count }, (_, k) => {
      const [start, end, readStart, readEnd] = n.subarray(4 * k, 4 * k + 4);
      return { start, end, readStart, readEnd };
    });
  }

  /**
   * The samples are the module's own, until the next call.
   * @param {Uint8Array} pixels of what is read @param {Rectangle} read @param {Rectangle} write
   */
  filter(pixels, read, write) {
    const bytes = 4 * (write.x1 - write.x0) * (write.y1 - write.y0);
    const from = this.put(pixels);
    const to = this.roomFor(this.out, bytes);
    const where = [write.x0, write.x1, write.y0, write.y1];
    this.check(this.c.filter(from, read.x0, read.x1, read.y0, read.y1, to, ...where));
    return new Uint8ClampedArray(this.c.memory.buffer, to, bytes);
  }
}
