/** Decodes a picture file to upright sRGB pixels, a strip at a time, so that no more than one copy is in the way. */
import { exifOf } from "./exif.js";
import { straightPixels } from "./png.js";

const STRIP = 256;
const WIDEST = 4096;

/**
 * The browser's own decoder, orientation and colour profile applied. Canvases multiply colours with alpha, which
 * changes no opaque pixel.
 * @param {ImageBitmap} bitmap
 */
function canvasReader(bitmap) {
  const canvas = new OffscreenCanvas(Math.min(bitmap.width, WIDEST), STRIP);
  const pen = /** @type {OffscreenCanvasRenderingContext2D} */ (
    canvas.getContext("2d", { willReadFrequently: true, colorSpace: "srgb" })
  );
  /** @param {number} y @param {number} rows @param {Uint8ClampedArray} to */
  return async (y, rows, to) => {
    for (let x = 0; x < bitmap.width; x += WIDEST) {
      const columns = Math.min(WIDEST, bitmap.width - x);
      pen.clearRect(0, 0, columns, rows);
      pen.drawImage(bitmap, x, y, columns, rows, 0, 0, columns, rows);
      const piece = pen.getImageData(0, 0, columns, rows, { colorSpace: "srgb" }).data;
      for (let r = 0; r < rows; ++r) {
        to.set(piece.subarray(4 * r * columns, 4 * (r + 1) * columns), 4 * (r * bitmap.width + x));
      }
    }
  };
}

/** @param {Uint8ClampedArray} pixels */
function isOpaque(pixels) {
  for (let k = 3; k < pixels.length; k += 4) if (pixels[k] !== 255) return false;
  return true;
}

/** The colours of pixels that are not opaque. @param {Uint8ClampedArray} to @param {Uint8Array} from */
function takeStraight(to, from) {
  for (let k = 3; k < to.length; k += 4) {
    if (to[k] < 255 && to[k] === from[k]) to.set(from.subarray(k - 3, k), k - 3);
  }
}

/** @param {File} file */
async function decode(file) {
  const bitmap = await createImageBitmap(file, { imageOrientation: "from-image", premultiplyAlpha: "default" });
  const { width, height } = bitmap;
  self.postMessage({ width, height, exif: await exifOf(file).catch(() => null) });
  let read = canvasReader(bitmap);
  /** @type {Uint8Array | null | undefined} */
  let straight;
  for (let y = 0; y < height; y += STRIP) {
    const rows = Math.min(STRIP, height - y);
    const strip = new Uint8ClampedArray(4 * width * rows);
    await read(y, rows, strip);
    const opaque = isOpaque(strip);
    if (!opaque) {
      if (straight === undefined) straight = await straightPixels(file).catch(() => null);
      if (straight?.length === 4 * width * height)
        takeStraight(strip, straight.subarray(4 * width * y, 4 * width * (y + rows)));
    }
    self.postMessage({ strip, opaque }, { transfer: [strip.buffer] });
  }
  bitmap.close();
  self.postMessage({ done: true });
}

self.onmessage = ({ data }) =>
  decode(data).catch((error) => self.postMessage({ error: String(error?.message ?? error) }));
