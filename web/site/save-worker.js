/** Codes the result from strips of pixels as they come: PNG to the byte, JPEG by the browser. */
import { exifForResult } from "./exif.js";

/** @typedef {{width: number, height: number, isOpaque: boolean, exif: Uint8Array | null, type: string}} About */

const QUALITY = 0.95;

/** @type {Uint32Array} */
const CRC_TABLE = Uint32Array.from({ length: 256 }, (_, n) => {
  for (let k = 0; k < 8; ++k) n = n & 1 ? 0xedb88320 ^ (n >>> 1) : n >>> 1;
  return n;
});

/** @param {Uint8Array} bytes */
function crc32(bytes) {
  let crc = 0xffffffff;
  for (const byte of bytes) crc = CRC_TABLE[(crc ^ byte) & 255] ^ (crc >>> 8);
  return ~crc >>> 0;
}

/** @param {string} type @param {Uint8Array} data */
function chunk(type, data) {
  const bytes = new Uint8Array(12 + data.length);
  const view = new DataView(bytes.buffer);
  view.setUint32(0, data.length);
  for (let k = 0; k < 4; ++k) bytes[4 + k] = type.charCodeAt(k);
  bytes.set(data, 8);
  view.setUint32(8 + data.length, crc32(bytes.subarray(4, 8 + data.length)));
  return bytes;
}

class PngFile {
  /** @param {About} about */
  constructor(about) {
    this.about = about;
    this.channels = about.isOpaque ? 3 : 4;
    this.row = new Uint8Array(this.channels * about.width);
    this.above = new Uint8Array(this.channels * about.width);
    this.stream = new CompressionStream("deflate");
    this.writer = this.stream.writable.getWriter();
    /** @type {BlobPart[]} */
    this.parts = [new Uint8Array([137, 80, 78, 71, 13, 10, 26, 10]), this.header(), chunk("sRGB", new Uint8Array([0]))];
    if (about.exif) this.parts.push(chunk("eXIf", about.exif));
    this.collected = this.collect();
  }

  header() {
    const data = new Uint8Array([0, 0, 0, 0, 0, 0, 0, 0, 8, this.channels === 4 ? 6 : 2, 0, 0, 0]);
    new DataView(data.buffer).setUint32(0, this.about.width);
    new DataView(data.buffer).setUint32(4, this.about.height);
    return chunk("IHDR", data);
  }

  async collect() {
    const reader = this.stream.readable.getReader();
    for (let read = await reader.read(); !read.done; read = await reader.read()) {
      // A blob may lie outside of the page's memory.
      this.parts.push(new Blob([chunk("IDAT", read.value)]));
    }
  }

  /** @param {Uint8Array} pixels whole rows */
  async add(pixels) {
    const { width } = this.about;
    const rows = pixels.length / (4 * width);
    const filtered = new Uint8Array(rows * (1 + this.row.length));
    for (let y = 0; y < rows; ++y) {
      this.takeRow(pixels.subarray(4 * y * width, 4 * (y + 1) * width));
      this.filterRow(filtered.subarray(y * (1 + this.row.length)));
      [this.row, this.above] = [this.above, this.row];
    }
    await this.writer.write(filtered);
  }

  /** @param {Uint8Array} pixels */
  takeRow(pixels) {
    if (this.channels === 4) return this.row.set(pixels);
    for (let from = 0, to = 0; to < this.row.length; from += 4, to += 3) {
      this.row[to] = pixels[from];
      this.row[to + 1] = pixels[from + 1];
      this.row[to + 2] = pixels[from + 2];
    }
  }

  /** Paeth's predictor, which suits photographs. @param {Uint8Array} to */
  filterRow(to) {
    const { row, above, channels } = this;
    to[0] = 4;
    for (let k = 0; k < row.length; ++k) {
      const a = k < channels ? 0 : row[k - channels];
      const b = above[k];
      const c = k < channels ? 0 : above[k - channels];
      const pa = Math.abs(b - c);
      const pb = Math.abs(a - c);
      const pc = Math.abs(a + b - 2 * c);
      to[1 + k] = row[k] - (pa <= pb && pa <= pc ? a : pb <= pc ? b : c);
    }
  }

  async end() {
    await this.writer.close();
    await this.collected;
    return new Blob([...this.parts, chunk("IEND", new Uint8Array())], { type: "image/png" });
  }
}

/** A marker segment of JPEG. @param {number} marker @param {string} prefix @param {Uint8Array} data */
function segment(marker, prefix, data) {
  const bytes = new Uint8Array(4 + prefix.length + data.length);
  new DataView(bytes.buffer).setUint32(0, 0xff000000 + (marker << 16) + 2 + prefix.length + data.length);
  for (let k = 0; k < prefix.length; ++k) bytes[4 + k] = prefix.charCodeAt(k);
  bytes.set(data, 4 + prefix.length);
  return bytes;
}

/** A version 2 profile of sRGB's primaries and white (D50, adapted) with its curve in 64 steps. */
function srgbProfile() {
  const curve = Array.from({ length: 64 }, (_, k) => k / 63).map((v) =>
    v <= 0.04045 ? v / 12.92 : ((v + 0.055) / 1.055) ** 2.4,
  );
  const xyz = {
    wtpt: [0xf6d6, 0x10000, 0xd32d],
    rXYZ: [0x6fa2, 0x38f5, 0x390],
    gXYZ: [0x6299, 0xb785, 0x18da],
    bXYZ: [0x24a0, 0xf84, 0xb6cf],
  };
  const text = (/** @type {string} */ s) => Array.from(s, (c) => c.charCodeAt(0));
  const u32 = (/** @type {number} */ n) => [n >>> 24, (n >> 16) & 255, (n >> 8) & 255, n & 255];
  const u16 = (/** @type {number} */ n) => [n >> 8, n & 255];
  const padded = (/** @type {number[]} */ bytes) => [...bytes, ...new Array(-bytes.length & 3).fill(0)];
  const curv = padded([...text("curv"), ...u32(0), ...u32(64), ...curve.flatMap((v) => u16(Math.round(v * 65535)))]);
  const desc = padded([...text("desc"), ...u32(0), ...u32(5), ...text("sRGB\0"), ...new Array(78).fill(0)]);
  const tags = /** @type {[string, number[]][]} */ ([
    ["desc", desc],
    ["cprt", padded([...text("text"), ...u32(0), ...text("CC0\0")])],
    ...Object.entries(xyz).map(([name, v]) => [name, [...text("XYZ "), ...u32(0), ...v.flatMap(u32)]]),
    ...["rTRC", "gTRC", "bTRC"].map((name) => [name, curv]),
  ]);
  const table = [...u32(tags.length)];
  const data = [];
  const places = new Map();
  for (const [name, bytes] of tags) {
    if (!places.has(bytes)) {
      places.set(bytes, 132 + 12 * tags.length + data.length);
      data.push(...bytes);
    }
    table.push(...text(name), ...u32(places.get(bytes)), ...u32(bytes.length));
  }
  const head = [
    ...u32(0),
    ...u32(0),
    2,
    0x10,
    0,
    0,
    ...text("mntrRGB XYZ "),
    ...new Array(12).fill(0),
    ...text("acsp"),
  ];
  const rest = [...new Array(28).fill(0), ...[0xf6d6, 0x10000, 0xd32d].flatMap(u32), ...new Array(48).fill(0)];
  const profile = new Uint8Array([...head, ...rest, ...table, ...data]);
  new DataView(profile.buffer).setUint32(0, profile.length);
  return profile;
}

class JpegFile {
  /** @param {About} about */
  constructor(about) {
    this.about = about;
    this.canvas = new OffscreenCanvas(about.width, about.height);
    this.pen = this.canvas.getContext("2d", { alpha: false, willReadFrequently: true, colorSpace: "srgb" });
    if (!this.pen) throw new Error("the picture is too large for JPEG here; PNG takes any size");
    this.y = 0;
  }

  /** @param {Uint8Array<ArrayBuffer>} pixels whole rows */
  async add(pixels) {
    const strip = new ImageData(new Uint8ClampedArray(pixels.buffer), this.about.width);
    this.pen?.putImageData(strip, 0, this.y);
    // Asked for a pixel, the canvas paints what it has, and lets the strip go.
    this.pen?.getImageData(0, this.y, 1, 1);
    this.y += strip.height;
  }

  async end() {
    const coded = await this.canvas.convertToBlob({ type: "image/jpeg", quality: QUALITY });
    this.canvas.width = this.canvas.height = 1;
    const head = new Uint8Array(await coded.slice(0, 1 << 16).arrayBuffer());
    const before = [];
    let at = 2;
    // What the browser wrote about itself; the profile is put in its place.
    for (
      ;
      head[at] === 0xff && head[at + 1] >= 0xe0 && head[at + 1] <= 0xef;
      at += 2 + head[at + 2] * 256 + head[at + 3]
    ) {
      if (head[at + 1] === 0xe0) before.push(head.slice(at, at + 2 + head[at + 2] * 256 + head[at + 3]));
    }
    const { exif } = this.about;
    if (exif && exif.length < 65500) before.push(segment(0xe1, "Exif\0\0", exif));
    before.push(segment(0xe2, "ICC_PROFILE\0\x01\x01", srgbProfile()));
    return new Blob([head.slice(0, 2), ...before, coded.slice(at)], { type: "image/jpeg" });
  }
}

/** @type {PngFile | JpegFile} */
let file;
let last = Promise.resolve();

/** @param {any} data */
async function take(data) {
  if (data.about) {
    const about = data.about;
    about.exif = about.exif && exifForResult(about.exif, about.width, about.height);
    file = about.type === "image/jpeg" ? new JpegFile(about) : new PngFile(about);
  } else if (data.strip) {
    await file.add(data.strip);
    self.postMessage({ taken: true });
  } else {
    self.postMessage({ blob: await file.end() });
  }
}

// One after another.
self.onmessage = ({ data }) => {
  last = last.then(() => take(data)).catch((error) => self.postMessage({ error: String(error?.message ?? error) }));
};
