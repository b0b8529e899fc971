/** The workers, and whose turn it is. */
import { giveBack } from "./picture.js";

/** @typedef {{order: string, [member: string]: any}} Order */
/** @typedef {{order: () => [Order, Transferable[]], done: (answer: any) => void}} Job made up when its turn comes */

class Hand {
  constructor() {
    this.worker = new Worker(new URL("./worker.js", import.meta.url), { type: "module" });
    /** @type {Map<number, {resolve: (answer: any) => void, reject: (error: Error) => void}>} */
    this.waiting = new Map();
    this.next = 0;
    this.worker.onmessage = ({ data }) => {
      data.used?.forEach(giveBack);
      this.answer(data.id, data.answer, data.error);
    };
    this.worker.onerror = (event) => this.failAll(new Error(event.message || "a worker cannot be loaded"));
  }

  /** @param {number} id @param {any} answer @param {string | undefined} error */
  answer(id, answer, error) {
    const one = this.waiting.get(id);
    this.waiting.delete(id);
    if (error === undefined) one?.resolve(answer);
    else one?.reject(new Error(error));
  }

  /** @param {Error} error */
  failAll(error) {
    for (const one of this.waiting.values()) one.reject(error);
    this.waiting.clear();
  }

  /** @param {Order} order @param {Transferable[]} [transfer] @returns {Promise<any>} */
  ask(order, transfer = []) {
    const id = this.next++;
    return new Promise((resolve, reject) => {
      this.waiting.set(id, { resolve, reject });
      this.worker.postMessage({ ...order, id }, transfer);
    });
  }
}

export class Pool {
  /** @param {number} count @param {(error: Error) => void} onError */
  constructor(count, onError) {
    this.hands = Array.from({ length: count }, () => new Hand());
    this.free = [...this.hands];
    this.onError = onError;
    /** @type {Job[]} */
    this.jobs = [];
    /** @type {() => void} */
    this.onRest = () => {};
    /** @type {(share: number) => void} */
    this.onShare = () => {};
    this.total = 0;
  }

  /** One worker's answer. @param {Order} order @param {Transferable[]} [transfer] @returns {Promise<any>} */
  ask(order, transfer) {
    return this.hands[0].ask(order, transfer);
  }

  /** Everyone's answers. @param {Order} order @returns {Promise<any[]>} */
  askAll(order) {
    return Promise.all(this.hands.map((hand) => hand.ask(order)));
  }

  /** These jobs in this order, instead of those that have not begun. @param {Job[]} jobs */
  replace(jobs) {
    this.jobs = jobs;
    this.total = jobs.length;
    this.work();
  }

  work() {
    while (this.jobs.length && this.free.length) {
      const job = /** @type {Job} */ (this.jobs.shift());
      const hand = /** @type {Hand} */ (this.free.pop());
      hand
        .ask(...job.order())
        .then(job.done, this.onError)
        .finally(() => {
          this.free.push(hand);
          this.work();
          this.onShare(1 - this.jobs.length / (this.total || 1));
          if (!this.isBusy) this.onRest();
        });
    }
  }

  get isBusy() {
    return this.jobs.length > 0 || this.free.length < this.hands.length;
  }

  /** Runs all jobs of a list beside those of the view. @param {Job[]} jobs @returns {Promise<void>} */
  run(jobs) {
    return new Promise((resolve, reject) => {
      let left = jobs.length;
      if (!left) resolve();
      const queue = jobs.map((job) => ({
        order: job.order,
        done: (/** @type {any} */ answer) => {
          job.done(answer);
          if (--left === 0) resolve();
        },
      }));
      const feed = async (/** @type {Hand} */ hand) => {
        for (let job = queue.shift(); job; job = queue.shift()) job.done(await hand.ask(...job.order()));
      };
      Promise.all(this.hands.map(feed)).catch(reject);
    });
  }

  end() {
    for (const hand of this.hands) hand.worker.terminate();
  }
}
