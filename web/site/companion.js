/** The companion that serves this page, veskaro-nr tune, in the place of the library in the page. */
import { recipeText } from "./settings.js";

/** @typedef {import("./core.js").Rectangle} Rectangle */
/** @typedef {import("./settings.js").Settings} Settings */

/**
 * @param {string} path @param {Settings} [settings] @param {Record<string, number>} [numbers] @returns {Promise<Response>}
 */
export async function ask(path, settings, numbers = {}) {
  const query = new URLSearchParams(Object.entries(numbers).map(([name, value]) => [name, String(value)]));
  const body = settings ? recipeText(settings) : "";
  const response = await fetch(`/${path}?${query}`, { method: "POST", body }).catch(() => null);
  if (!response) throw new Error("veskaro-nr tune has ended; start it again to go on");
  if (response.ok) return response;
  throw new Error((await response.text()) || `the companion answers with ${response.status}`);
}

/** @param {Response} response */
const samples = async (response) => new Uint8ClampedArray(await response.arrayBuffer());

export class Companion {
  constructor() {
    /** @type {Settings} */
    this.settings = {};
  }

  begin() {}

  async noise() {
    return (await ask("noise")).json();
  }

  /** @param {number} rule @param {number} strength a factor @returns {Promise<Settings>} */
  async choose(rule, strength) {
    return (await (await ask("choose", undefined, { rule, strength: Math.round(100 * strength) })).json()).settings;
  }

  /** @param {Settings} settings */
  plan(settings) {
    this.settings = settings;
  }

  async grid() {
    return (await ask("grid", this.settings)).json();
  }

  /** @param {unknown} _pixels the companion has them @param {Rectangle} _read @param {Rectangle} write */
  async filter(_pixels, _read, write) {
    return samples(await ask("after", this.settings, write));
  }

  /** @param {Rectangle} write */
  async original(write) {
    return samples(await ask("before", undefined, write));
  }
}
