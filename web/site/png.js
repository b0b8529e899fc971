/**
 * Reads PNG files whose colours a canvas would multiply with alpha: 8 bits, with alpha, not interlaced, in sRGB or of no
 * stated colour space. Of others the browser's pixels are good enough.
 */

const GREY_ALPHA = 4;
const RGB_ALPHA = 6;
const SRGB_GAMMA = 45455;

/** @typedef {{width: number, height: number, channels: number, data: Blob}} Plain */

/** @param {Blob} file @returns {Promise<Plain | null>} */
async function plainPng(file) {
  const view = new DataView(await file.slice(0, 33).arrayBuffer());
  if (view.byteLength < 33 || view.getUint32(0) !== 0x89504e47) return null;
  const [bits, kind, interlace] = [view.getUint8(24), view.getUint8(25), view.getUint8(28)];
  if (bits !== 8 || (kind !== GREY_ALPHA && kind !== RGB_ALPHA) || interlace) return null;
  const data = [];
  for (let at = 33; at + 12 <= file.size;) {
    const head = new DataView(await file.slice(at, at + 12).arrayBuffer());
    const length = head.getUint32(0);
    const type = head.getUint32(4);
    if (type === 0x69434350 || type === 0x6348524d) return null; // iCCP, cHRM
    if (type === 0x67414d41 && head.getUint32(8) !== SRGB_GAMMA) return null; // gAMA
    if (type === 0x49444154) data.push(file.slice(at + 8, at + 8 + length)); // IDAT
    at += 12 + length;
  }
  const size = { width: view.getUint32(16), height: view.getUint32(20) };
  return { ...size, channels: kind === RGB_ALPHA ? 4 : 2, data: new Blob(data) };
}

/** @param {number} a left @param {number} b above @param {number} c above left */
function paeth(a, b, c) {
  const pa = Math.abs(b - c);
  const pb = Math.abs(a - c);
  const pc = Math.abs(a + b - 2 * c);
  return pa <= pb && pa <= pc ? a : pb <= pc ? b : c;
}

/** What each filter expects of a byte. @type {((a: number, b: number, c: number) => number)[]} */
const EXPECTED = [() => 0, (a) => a, (_a, b) => b, (a, b) => (a + b) >> 1, paeth];

/** In place. @param {Uint8Array} row @param {Uint8Array} above @param {number} filter @param {number} channels */
function unfilter(row, above, filter, channels) {
  const expected = EXPECTED[filter];
  for (let k = 0; k < channels; ++k) row[k] += expected(0, above[k], 0);
  for (let k = channels; k < row.length; ++k) row[k] += expected(row[k - channels], above[k], above[k - channels]);
}

/** @param {Uint8Array} row @param {number} channels @param {Uint8Array} to red, green, blue, alpha */
function spread(row, channels, to) {
  if (channels === 4) return to.set(row);
  for (let from = 0, k = 0; from < row.length; from += 2, k += 4) {
    to.fill(row[from], k, k + 3);
    to[k + 3] = row[from + 1];
  }
}

/** The pixels of such a file, or null for another. @param {Blob} file @returns {Promise<Uint8Array | null>} */
export async function straightPixels(file) {
  const png = await plainPng(file);
  if (!png) return null;
  const { width, height, channels } = png;
  const pixels = new Uint8Array(4 * width * height);
  const line = new Uint8Array(1 + channels * width);
  let [above, filled, y] = [new Uint8Array(channels * width), 0, 0];
  const reader = png.data.stream().pipeThrough(new DecompressionStream("deflate")).getReader();
  for (let read = await reader.read(); !read.done; read = await reader.read()) {
    for (let at = 0; at < read.value.length && y < height;) {
      const piece = read.value.subarray(at, at + line.length - filled);
      line.set(piece, filled);
      filled += piece.length;
      at += piece.length;
      if (filled < line.length) continue;
      const row = line.slice(1);
      unfilter(row, above, line[0], channels);
      spread(row, channels, pixels.subarray(4 * width * y, 4 * width * (y + 1)));
      [above, filled, y] = [row, 0, y + 1];
    }
  }
  return y === height ? pixels : null;
}
