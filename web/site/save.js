/** The whole picture, filtered strip by strip and coded on the way. */

/** @typedef {import("./picture.js").Picture} Picture */
/** @typedef {import("./pool.js").Pool} Pool */
/** @typedef {import("./core.js").Grid} Grid */
/** @typedef {import("./core.js").Span} Span */
/** @typedef {import("./settings.js").Settings} Settings */

/** The worker that codes, one answer to each message. */
class Coder {
  constructor() {
    this.worker = new Worker(new URL("./save-worker.js", import.meta.url), { type: "module" });
  }

  /** @param {object} message @param {Transferable[]} [transfer] @returns {Promise<any>} */
  send(message, transfer = []) {
    return new Promise((resolve, reject) => {
      this.worker.onerror = (event) => reject(new Error(event.message));
      this.worker.onmessage = ({ data }) => (data.error === undefined ? resolve(data) : reject(new Error(data.error)));
      this.worker.postMessage(message, transfer);
    });
  }
}

/**
 * One row of tiles, filtered: whole rows of pixels.
 * @param {Pool} pool @param {Picture} picture @param {Span[]} columns @param {Span} row
 * @param {{settings: Settings, version: number}} current
 */
async function filteredRow(pool, picture, columns, row, current) {
  const strip = new Uint8ClampedArray(4 * picture.width * (row.end - row.start));
  const jobs = columns.map((column) => {
    const write = { x0: column.start, x1: column.end, y0: row.start, y1: row.end };
    const read = { x0: column.readStart, x1: column.readEnd, y0: row.readStart, y1: row.readEnd };
    return {
      order: () => {
        const pixels = picture.cut(read);
        return /** @type {[any, Transferable[]]} */ ([
          { order: "filter", pixels, read, write, ...current },
          [pixels.buffer],
        ]);
      },
      done: (/** @type {Uint8ClampedArray} */ tile) => place(tile, write, strip, picture.width),
    };
  });
  await pool.run(jobs);
  return strip;
}

/** @param {Uint8ClampedArray} tile @param {import("./core.js").Rectangle} r @param {Uint8ClampedArray} strip @param {number} width */
function place(tile, r, strip, width) {
  const bytes = 4 * (r.x1 - r.x0);
  for (let y = 0; y < r.y1 - r.y0; ++y) {
    strip.set(tile.subarray(y * bytes, (y + 1) * bytes), 4 * (y * width + r.x0));
  }
}

/**
 * @param {Pool} pool @param {Picture} picture @param {Grid} grid @param {{settings: Settings, version: number}} current
 * @param {string} type image/png or image/jpeg
 * @param {(share: number) => void} progress
 * @returns {Promise<Blob>}
 */
export async function coded(pool, picture, grid, current, type, progress) {
  const { width, height, isOpaque, exif } = picture;
  const coder = new Coder();
  /** @type {Promise<any>} */
  let taken = Promise.resolve();
  try {
    coder.worker.postMessage({ about: { width, height, isOpaque, exif, type } });
    for (const row of grid.rows) {
      const strip = await filteredRow(pool, picture, grid.columns, row, current);
      await taken;
      taken = coder.send({ strip: new Uint8Array(strip.buffer) }, [strip.buffer]);
      progress(row.end / height);
    }
    await taken;
    return (await coder.send({})).blob;
  } finally {
    coder.worker.terminate();
  }
}
