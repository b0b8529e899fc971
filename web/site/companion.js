/** The companion that serves this page, veskaro-nr tune, in the place of the library in the page. */

/** @typedef {import("./core.js").Rectangle} Rectangle */
/** @typedef {import("./settings.js").Settings} Settings */

/**
 * @param {string} path @param {object} [body] @returns {Promise<Response>}
 */
export async function ask(path, body) {
  const response = await fetch(path, {
    method: "POST",
    headers: { "Content-Type": "application/json" },
    body: JSON.stringify(body ?? {}),
  });
  if (response.ok) return response;
  throw new Error((await response.text()) || "the companion does not answer; is it still running?");
}

const json = async (/** @type {string} */ path, /** @type {object} */ body) => (await ask(path, body)).json();

export class Companion {
  constructor() {
    /** @type {Settings} */
    this.settings = {};
  }

  begin() {}

  noise() {
    return json("noise", {});
  }

  /** @param {number} rule @param {number} strength */
  choose(rule, strength) {
    return json("choose", { rule, strength });
  }

  /** @param {Settings} settings */
  plan(settings) {
    this.settings = settings;
  }

  grid() {
    return json("grid", { settings: this.settings });
  }

  /** @param {unknown} _pixels the companion has them @param {Rectangle} _read @param {Rectangle} write */
  async filter(_pixels, _read, write) {
    const { settings } = this;
    return new Uint8ClampedArray(await (await ask("after", { settings, ...write })).arrayBuffer());
  }

  /** @param {Rectangle} write */
  async original(write) {
    return new Uint8ClampedArray(await (await ask("before", { ...write })).arrayBuffer());
  }
}
