/** The dials and presets of the panel. */
import { DIALS, PRESETS, STRONGEST } from "./settings.js";

/** @typedef {import("./settings.js").Choice} Choice */
/** @typedef {import("./settings.js").Settings} Settings */

/** @param {string} id */
export const at = (id) => /** @type {HTMLElement} */ (document.getElementById(id));

/**
 * @param {string} name @param {Record<string, string>} [attributes] @param {(Node | string)[]} children
 */
export function make(name, attributes = {}, ...children) {
  const element = document.createElement(name);
  for (const [key, value] of Object.entries(attributes)) element.setAttribute(key, value);
  element.append(...children);
  return element;
}

/** A labelled slider with its value. */
class Dial {
  /**
   * @param {{name: string, label: string, least: number, most: number, step: number, hint?: string}} about
   * @param {(value: number, moving: boolean) => void} onTurn @param {(value: number) => string} show
   */
  constructor({ name, label, least, most, step, hint = "" }, onTurn, show) {
    this.show = show;
    const id = `dial-${name}`;
    const range = { id, type: "range", min: String(least), max: String(most), step: String(step) };
    this.input = /** @type {HTMLInputElement} */ (make("input", range));
    this.output = make("output", { for: id });
    this.box = make("div", { class: "dial", title: hint }, make("label", { for: id }, label), this.output, this.input);
    this.input.addEventListener("input", () => {
      this.tell();
      onTurn(Number(this.input.value), true);
    });
    this.input.addEventListener("change", () => onTurn(Number(this.input.value), false));
  }

  tell() {
    this.output.textContent = this.show(Number(this.input.value));
    this.input.setAttribute("aria-valuetext", this.output.textContent);
  }

  /** @param {number} value @param {boolean} [touched] */
  set(value, touched = false) {
    this.input.value = String(value);
    this.box.classList.toggle("touched", touched);
    this.tell();
  }
}

export class Controls {
  /** @param {Choice} choice what is changed here @param {(moving: boolean) => void} onChange */
  constructor(choice, onChange) {
    this.choice = choice;
    this.onChange = onChange;
    const about = { name: "strength", label: "Strength", least: 60, most: STRONGEST, step: 1 };
    this.strength = new Dial(
      about,
      (value, moving) => this.change({ strength: value }, moving),
      (v) => `${v} %`,
    );
    at("strength").append(this.strength.box);
    this.dials = DIALS.map((dial) => {
      const turn = (/** @type {number} */ value, /** @type {boolean} */ moving) => this.turn(dial.name, value, moving);
      return { name: dial.name, dial: new Dial(dial, turn, (v) => v.toFixed(2)) };
    });
    at("dials").append(...this.dials.map(({ dial }) => dial.box));
    at("presets").append(...Object.keys(PRESETS).map((name) => this.presetButton(name)));
    at("reset").addEventListener("click", () => this.change({ set: {} }, false));
    this.tell();
  }

  /** @param {string} name */
  presetButton(name) {
    const radio = /** @type {HTMLInputElement} */ (make("input", { type: "radio", name: "preset", value: name }));
    radio.addEventListener("change", () => this.change({ preset: name, set: {} }, false));
    return make("label", {}, radio, name === "chroma-only" ? "colour" : name);
  }

  /** @param {string} name @param {number} value @param {boolean} moving */
  turn(name, value, moving) {
    this.change({ set: { ...this.choice.set, [name]: value } }, moving);
  }

  /** @param {Partial<Choice>} change @param {boolean} moving */
  change(change, moving) {
    Object.assign(this.choice, change);
    const { least } = PRESETS[this.choice.preset];
    this.choice.strength = Math.max(least, this.choice.strength);
    this.tell();
    this.onChange(moving);
  }

  tell() {
    const { least, hint } = PRESETS[this.choice.preset];
    const radio = document.querySelector(`#presets [value="${this.choice.preset}"]`);
    /** @type {HTMLInputElement} */ (radio).checked = true;
    at("preset-hint").textContent = hint;
    this.strength.input.min = String(least);
    this.strength.set(this.choice.strength, this.choice.strength !== 100);
  }

  /** What the dials stand at by measurement, where they were not touched. @param {Settings} settings */
  stand(settings) {
    for (const { name, dial } of this.dials) {
      const touched = name in this.choice.set;
      dial.set(touched ? this.choice.set[name] : Number(settings[name]), touched);
    }
  }
}
