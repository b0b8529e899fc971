/** EXIF out of a file, and ready for a picture that stands upright in sRGB. */

/** @typedef {(from: number, bytes: number) => Promise<Uint8Array>} Reader */

/** @param {Uint8Array} bytes @param {number} at @param {number} count */
const ascii = (bytes, at, count) => String.fromCharCode(...bytes.subarray(at, at + count));
/** @param {Uint8Array} bytes @param {number} at */
const big32 = (bytes, at) => new DataView(bytes.buffer, bytes.byteOffset).getUint32(at);
/** @param {Uint8Array} bytes @param {number} at */
const big16 = (bytes, at) => new DataView(bytes.buffer, bytes.byteOffset).getUint16(at);
const PREFIX = "Exif\0\0";

/** The TIFF structure in a picture file, or null. @param {Blob} file @returns {Promise<Uint8Array | null>} */
export async function exifOf(file) {
  /** @type {Reader} */
  const read = async (from, bytes) => new Uint8Array(await file.slice(from, from + bytes).arrayBuffer());
  const head = await read(0, 16);
  if (head[0] === 0xff && head[1] === 0xd8) return exifOfJpeg(read);
  if (ascii(head, 1, 3) === "PNG") return exifOfPng(read, file.size);
  if (ascii(head, 0, 4) === "RIFF" && ascii(head, 8, 4) === "WEBP") return exifOfWebp(read, file.size);
  if (ascii(head, 4, 4) === "ftyp") return exifOfHeif(read, file.size);
  return null;
}

/** @param {Uint8Array} tiff */
const withoutPrefix = (tiff) => (ascii(tiff, 0, 6) === PREFIX ? tiff.slice(6) : tiff);

/** @param {Reader} read */
async function exifOfJpeg(read) {
  for (let at = 2; ;) {
    const head = await read(at, 10);
    if (head.length < 10 || head[0] !== 0xff || head[1] === 0xda) return null;
    const size = big16(head, 2);
    if (head[1] === 0xe1 && ascii(head, 4, 6) === PREFIX) return read(at + 10, size - 8);
    at += 2 + size;
  }
}

/** @param {Reader} read @param {number} size */
async function exifOfPng(read, size) {
  for (let at = 8; at + 12 <= size;) {
    const head = await read(at, 8);
    const length = big32(head, 0);
    if (ascii(head, 4, 4) === "eXIf") return read(at + 8, length);
    at += 12 + length;
  }
  return null;
}

/** @param {Reader} read @param {number} size */
async function exifOfWebp(read, size) {
  for (let at = 12; at + 8 <= size;) {
    const head = await read(at, 8);
    const length = new DataView(head.buffer).getUint32(4, true);
    if (ascii(head, 0, 4) === "EXIF") return withoutPrefix(await read(at + 8, length));
    at += 8 + length + (length % 2);
  }
  return null;
}

/** The boxes in a part of a file. @param {Uint8Array} bytes @param {number} from @param {number} to */
function* boxes(bytes, from, to) {
  for (let at = from; at + 8 <= to;) {
    const size = big32(bytes, at);
    if (size < 8 || at + size > to) return;
    yield { type: ascii(bytes, at + 4, 4), from: at + 8, to: at + size };
    at += size;
  }
}

/** AVIF and its like: the item of type Exif and where it lies. @param {Reader} read @param {number} size */
async function exifOfHeif(read, size) {
  const start = await read(0, Math.min(size, 1 << 20));
  const meta = [...boxes(start, 0, start.length)].find((box) => box.type === "meta");
  if (!meta) return null;
  const inside = [...boxes(start, meta.from + 4, meta.to)];
  const items = inside.find((box) => box.type === "iinf");
  const places = inside.find((box) => box.type === "iloc");
  if (!items || !places) return null;
  const skipped = start[items.from] === 0 ? 6 : 8;
  const infos = [...boxes(start, items.from + skipped, items.to)];
  const info = infos.find((box) => start[box.from] === 2 && ascii(start, box.from + 8, 4) === "Exif");
  const place = info && placeOf(start, places.from, big16(start, info.from + 4));
  if (!place) return null;
  const item = await read(place.at, place.bytes);
  return item.slice(4 + big32(item, 0));
}

/** @param {Uint8Array} bytes @param {number} iloc @param {number} id */
function placeOf(bytes, iloc, id) {
  const version = bytes[iloc];
  if (version > 1) return null;
  const [offsetSize, lengthSize, baseSize] = [bytes[iloc + 4] >> 4, bytes[iloc + 4] & 15, bytes[iloc + 5] >> 4];
  /** @param {number} at @param {number} size */
  const number = (at, size) => (size === 4 ? big32(bytes, at) : size === 8 ? big32(bytes, at + 4) : 0);
  let at = iloc + 8;
  for (let left = big16(bytes, iloc + 6); left > 0; --left) {
    const item = big16(bytes, at);
    at += version === 1 ? 6 : 4;
    const base = number(at, baseSize);
    const extents = big16(bytes, at + baseSize);
    at += baseSize + 2;
    if (item === id) return { at: base + number(at, offsetSize), bytes: number(at + offsetSize, lengthSize) };
    at += extents * (offsetSize + lengthSize);
  }
  return null;
}

const TAGS = { width: 0x0100, height: 0x0101, orientation: 0x0112, exif: 0x8769 };
const EXIF_TAGS = { colourSpace: 0xa001, width: 0xa002, height: 0xa003 };
const SRGB = 1;

/**
 * The same EXIF for the result: upright, of its size, sRGB, without the thumbnail of the picture before.
 * @param {Uint8Array} original @param {number} width @param {number} height
 * @returns {Uint8Array | null} null when it cannot be read
 */
export function exifForResult(original, width, height) {
  try {
    return new Tiff(original.slice()).corrected(width, height);
  } catch {
    return null;
  }
}

class Tiff {
  /** @param {Uint8Array} bytes */
  constructor(bytes) {
    this.bytes = bytes;
    this.view = new DataView(bytes.buffer, bytes.byteOffset, bytes.length);
    this.little = this.view.getUint16(0) === 0x4949;
  }

  /** @param {number} at */
  u16(at) {
    return this.view.getUint16(at, this.little);
  }
  /** @param {number} at */
  u32(at) {
    return this.view.getUint32(at, this.little);
  }

  /** Where a directory's entry of a tag is, or 0. @param {number} directory @param {number} tag */
  entry(directory, tag) {
    const count = this.u16(directory);
    for (let k = 0, at = directory + 2; k < count; ++k, at += 12) if (this.u16(at) === tag) return at;
    return 0;
  }

  /** Sets a short or long number that is there. @param {number} directory @param {number} tag @param {number} value */
  set(directory, tag, value) {
    const at = this.entry(directory, tag);
    if (!at) return;
    if (this.u16(at + 2) === 3) this.view.setUint16(at + 8, value, this.little);
    else this.view.setUint32(at + 8, value, this.little);
  }

  /** @param {number} width @param {number} height */
  corrected(width, height) {
    const first = this.u32(4);
    this.set(first, TAGS.orientation, 1);
    this.set(first, TAGS.width, width);
    this.set(first, TAGS.height, height);
    const pointer = this.entry(first, TAGS.exif);
    if (pointer) {
      const exif = this.u32(pointer + 8);
      this.set(exif, EXIF_TAGS.colourSpace, SRGB);
      this.set(exif, EXIF_TAGS.width, width);
      this.set(exif, EXIF_TAGS.height, height);
    }
    this.dropThumbnail(first + 2 + 12 * this.u16(first));
    return this.bytes;
  }

  /** The thumbnail's directory is the one after the first; its bytes go, too. @param {number} link */
  dropThumbnail(link) {
    const second = this.u32(link);
    if (!second) return;
    this.view.setUint32(link, 0, this.little);
    const [at, size] = [0x0201, 0x0202]
      .map((tag) => this.entry(second, tag))
      .map((entry) => entry && this.u32(entry + 8));
    this.bytes.fill(0, second, second + 2 + 12 * this.u16(second) + 4);
    if (!at || !size) return;
    this.bytes.fill(0, at, at + size);
    if (at + size >= this.bytes.length) this.bytes = this.bytes.subarray(0, at);
  }
}
