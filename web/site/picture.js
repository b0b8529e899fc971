/** The picture before: its pixels in strips, from a file that the browser decodes. */

/** @typedef {import("./core.js").Rectangle} Rectangle */

const STRIP = 256;
const MOST_SPARE = 64;

/** Memory of pieces that have been worked on. @type {ArrayBuffer[]} */
const spare = [];

/** @param {ArrayBuffer} memory */
export function giveBack(memory) {
  if (memory.byteLength && spare.length < MOST_SPARE) spare.push(memory);
}

/** @param {number} bytes */
function memoryFor(bytes) {
  const at = spare.findIndex((memory) => memory.byteLength >= bytes && memory.byteLength < 2 * bytes);
  return new Uint8Array(at < 0 ? new ArrayBuffer(bytes) : spare.splice(at, 1)[0], 0, bytes);
}

export class Picture {
  /** @param {string} name @param {number} width @param {number} height */
  constructor(name, width, height) {
    this.name = name;
    this.path = name; // where the command line finds it
    this.width = width;
    this.height = height;
    /** @type {Uint8ClampedArray[]} */
    this.strips = [];
    this.isOpaque = true;
    /** @type {Uint8Array | null} */
    this.exif = null;
    this.bits = 8;
    this.cores = 0; // of who filters it; 0: of this computer
  }

  /** Whether the pixels are in this page. */
  get isHere() {
    return this.strips.length > 0;
  }

  /** A copy of a piece. @param {Rectangle} r */
  cut(r) {
    const width = r.x1 - r.x0;
    const pixels = memoryFor(4 * width * (r.y1 - r.y0));
    for (let y = r.y0; y < r.y1; ++y) {
      const from = 4 * ((y % STRIP) * this.width + r.x0);
      pixels.set(this.strips[Math.floor(y / STRIP)].subarray(from, from + 4 * width), 4 * (y - r.y0) * width);
    }
    return pixels;
  }
}

/**
 * @param {File} file
 * @param {(share: number) => void} progress
 * @returns {Promise<Picture>}
 */
export function openPicture(file, progress) {
  const worker = new Worker(new URL("./decode-worker.js", import.meta.url), { type: "module" });
  /** @type {Picture} */
  let picture;
  const read = new Promise((resolve, reject) => {
    worker.onerror = (event) => reject(new Error(event.message));
    worker.onmessage = ({ data }) => {
      if (data.error !== undefined) reject(new Error(data.error));
      else if (data.width) {
        picture = new Picture(file.name, data.width, data.height);
        picture.exif = data.exif;
      } else if (data.strip) {
        picture.strips.push(data.strip);
        picture.isOpaque &&= data.opaque;
        progress((picture.strips.length * STRIP) / picture.height);
      } else resolve(picture);
    };
    worker.postMessage(file);
  });
  return /** @type {Promise<Picture>} */ (read).finally(() => worker.terminate());
}
