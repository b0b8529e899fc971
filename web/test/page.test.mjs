/** The page in a real browser: bytes, downloads, keys, what a screen reader is told, and files that are none. */
import assert from "node:assert/strict";
import { execFileSync } from "node:child_process";
import { mkdtempSync, readFileSync, rmSync, writeFileSync } from "node:fs";
import { createRequire } from "node:module";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { after, before, test } from "node:test";
import { browse, COMPANION, newPage, open, python, ready, SAMPLE, serve } from "./support.mjs";

const folder = mkdtempSync(join(tmpdir(), "veskaro-web-test-"));
const at = (name) => join(folder, name);
let site, chrome;

before(async () => {
  site = await serve();
  chrome = await browse();
  // A piece of the sample with grain: as PNG, with alpha, and as a JPEG that stands on its side.
  python(
    `import sys, numpy as np
from PIL import Image
folder, sample = sys.argv[1:]
piece = np.asarray(Image.open(sample).crop((300, 200, 907, 633))).astype(float)
noisy = np.clip(piece + np.random.default_rng(1).normal(0, 9, piece.shape), 0, 255).astype("uint8")
Image.fromarray(noisy).save(folder + "/noisy.png")
alpha = np.where(np.indices(noisy.shape[:2]).sum(0) % 97 < 40, np.arange(noisy.shape[1]) % 256, 255).astype("uint8")
Image.fromarray(np.dstack([noisy, alpha])).save(folder + "/alpha.png")
original = Image.open(sample)
original.crop((300, 200, 907, 633)).save(folder + "/side.jpg", exif=original.info["exif"], quality=95)`,
    folder,
    SAMPLE,
  );
  execFileSync("exiftool", [
    "-q",
    "-overwrite_original",
    "-n",
    "-Orientation=6",
    "-ColorSpace=65535",
    `-ThumbnailImage<=${at("side.jpg")}`,
    at("side.jpg"),
  ]);
});

after(async () => {
  await chrome.end();
  site.end();
  rmSync(folder, { recursive: true });
});

/** Presses a button of the page and keeps what is downloaded. */
async function download(page, button, name) {
  const [file] = await Promise.all([page.waitForEvent("download", { timeout: 120_000 }), page.click(button)]);
  await file.saveAs(at(name));
  await page.waitForFunction(() => document.querySelector("#progress").hidden);
  return at(name);
}

function haveSamePixels(a, b) {
  const code = `import sys, numpy as np
from PIL import Image
a, b = (np.asarray(Image.open(name)) for name in sys.argv[1:])
print(a.shape == b.shape and (a != b).sum())`;
  assert.equal(python(code, a, b).toString().trim(), "0");
}

function companion(...words) {
  execFileSync(COMPANION, [...words, "--quiet", "--force"], { stdio: "inherit" });
}

/** Sets a slider as a hand does: moves, then rests. */
async function turn(page, id, value) {
  await page.$eval(
    `#dial-${id}`,
    (dial, to) => {
      dial.value = to;
      dial.dispatchEvent(new Event("input"));
      dial.dispatchEvent(new Event("change"));
    },
    value,
  );
}

test("the same bytes as the companion for every preset and dial, alpha as the file has it", async () => {
  const page = await newPage(chrome.browser);
  for (const [picture, preset, strength, set] of [
    ["noisy.png", "best", 100, {}],
    ["noisy.png", "fast", 130, { luma_keep: 0.25, level2_amount: 0.5 }],
    ["alpha.png", "classic", 50, {}],
    ["noisy.png", "chroma-only", 150, {}],
  ]) {
    await open(page, site.url, at(picture));
    await page.check(`[value=${preset}]`, { force: true });
    await turn(page, "strength", strength);
    await page.click("#fine summary");
    for (const [name, value] of Object.entries(set)) await turn(page, name, value);
    const result = await download(page, "#png", "page.png");
    const words = (await page.textContent("#command")).split(" ").slice(3);
    companion(at(picture), at("companion.png"), ...words);
    haveSamePixels(result, at("companion.png"));
    companion(at(picture), at("companion.png"), "--recipe", await download(page, "#recipe", "recipe.json"));
    haveSamePixels(result, at("companion.png"));
  }
  assert.deepEqual(page.problems, []);
  await page.context().close();
});

test("the pixels that the browser reads are the ones that are filtered; downloads stand upright in sRGB", async () => {
  const page = await newPage(chrome.browser);
  await open(page, site.url, at("side.jpg"));
  const read = await page.evaluate(
    async (bytes) => {
      const { openPicture } = await import("./picture.js");
      const picture = await openPicture(new File([new Uint8Array(bytes)], "x.jpg", { type: "image/jpeg" }), () => {});
      const pixels = picture.cut({ x0: 0, x1: picture.width, y0: 0, y1: picture.height });
      return { width: picture.width, height: picture.height, pixels: [...pixels].filter((_, k) => k % 4 < 3) };
    },
    [...readFileSync(at("side.jpg"))],
  );
  assert.deepEqual([read.width, read.height], [433, 607]);
  writeFileSync(
    at("read.ppm"),
    Buffer.concat([Buffer.from(`P6 ${read.width} ${read.height} 255\n`), Buffer.from(read.pixels)]),
  );
  python(
    "import sys; from PIL import Image; Image.open(sys.argv[1]).save(sys.argv[2])",
    at("read.ppm"),
    at("read.png"),
  );
  companion(at("read.png"), at("companion.png"));
  haveSamePixels(await download(page, "#png", "page.png"), at("companion.png"));
  await download(page, "#jpeg", "page.jpg");
  for (const name of ["page.png", "page.jpg"]) {
    const tags = JSON.parse(execFileSync("exiftool", ["-j", "-n", "-G1", "-a", at(name)]))[0];
    const tag = (wanted) => Object.entries(tags).find(([key]) => key.endsWith(`:${wanted}`))?.[1];
    assert.deepEqual(
      [tag("Orientation"), tag("ColorSpace"), tag("ExifImageWidth"), tag("ThumbnailImage")],
      [1, 1, 433, undefined],
    );
    assert.equal(tag("ISO"), 382);
    assert.ok(tag("SRGBRendering") === 0 || tag("ProfileDescription") === "sRGB", name);
    const sizes =
      "import sys; from PIL import Image, ImageCms; import io; i = Image.open(sys.argv[1]); p = i.info.get('icc_profile'); p and ImageCms.getOpenProfile(io.BytesIO(p)); print(i.size)";
    assert.match(python(sizes, at(name)).toString(), /433, 607/);
  }
  await page.context().close();
});

test("everything can be reached and done by keys, and is told", async () => {
  const page = await newPage(chrome.browser);
  await open(page, site.url, SAMPLE);
  const zoom = () => page.textContent("#zoom");
  await page.focus("#canvas");
  const fitted = await zoom();
  await page.keyboard.press("1");
  assert.equal(await zoom(), "100 %");
  for (const key of ["+", "ArrowLeft", "ArrowDown", "0"]) await page.keyboard.press(key);
  assert.equal(await zoom(), fitted);
  await page.keyboard.press("Tab");
  await page.keyboard.press("ArrowRight");
  await page.keyboard.press("PageUp");
  assert.equal(await page.getAttribute("#divider", "aria-valuenow"), "62");
  await page.focus("[value=best]");
  await page.keyboard.press("ArrowRight");
  await page.keyboard.press("Tab");
  await page.keyboard.press("End");
  // The status says "Ready." until the dials have been heard.
  await page.waitForFunction(
    (command) => document.querySelector("#command").textContent === command,
    "veskaro-nr indoor-iso382.jpg indoor-iso382-clean.jpg --preset fast --strength 150",
  );
  await ready(page);
  assert.match(await page.textContent("#noise-words"), /^The noise is weak/);
  const seen = new Set();
  for (let k = 0; k < 40; ++k) {
    await page.keyboard.press("Tab");
    seen.add(await page.evaluate(() => document.activeElement.id || document.activeElement.textContent));
  }
  for (const id of ["file", "canvas", "divider", "before", "dial-strength", "png", "jpeg", "recipe"])
    assert.ok(seen.has(id), id);
  await page.context().close();
});

test("axe finds nothing, light and dark, wide and on a phone, and nothing is asked for elsewhere", async () => {
  const axe = readFileSync(createRequire(import.meta.url).resolve("axe-core/axe.min.js"), "utf8");
  for (const [colorScheme, viewport] of [
    ["light", { width: 1280, height: 800 }],
    ["dark", { width: 1280, height: 800 }],
    ["dark", { width: 360, height: 740 }],
  ]) {
    const page = await newPage(chrome.browser, { colorScheme, viewport, bypassCSP: true });
    const asked = [];
    page.on("request", (request) => asked.push(request.url()));
    await page.goto(site.url);
    const check = async (state) => {
      await page.evaluate(axe);
      const { violations } = await page.evaluate(() => globalThis.axe.run());
      const told = violations.flatMap((v) => v.nodes.map((n) => `${v.id}: ${n.html}`));
      assert.deepEqual(told, [], `${colorScheme} ${viewport.width} ${state}`);
      assert.ok(await page.evaluate(() => document.documentElement.scrollWidth <= innerWidth), state);
    };
    await check("empty");
    await open(page, site.url, at("noisy.png"));
    for (const summary of await page.$$("summary")) await summary.click();
    await check("with a picture");
    assert.deepEqual(
      asked.filter((url) => !url.startsWith(site.url)),
      [],
    );
    assert.deepEqual(page.problems, []);
    await page.context().close();
  }
});

test("files that are no pictures are refused in words, and the next one is taken", async () => {
  const page = await newPage(chrome.browser);
  const huge = Buffer.from("iVBORw0KGgoAAAANSUhEUgAB1MAAAdTACAIAAAA=", "base64");
  for (const [name, bytes] of [
    ["broken.jpg", readFileSync(SAMPLE).subarray(0, 700)],
    ["huge.png", huge],
    ["letter.txt", Buffer.from("no picture")],
    ["empty.png", Buffer.alloc(0)],
  ]) {
    writeFileSync(at(name), bytes);
    await open(page, site.url, at(name));
    assert.match(await page.textContent("#problem"), new RegExp(`^${name} cannot be opened: it is broken, too large`));
  }
  await page.setInputFiles("#file", at("noisy.png"));
  await page.waitForFunction(() => document.querySelector("#problem").hidden);
  await ready(page);
  assert.match(await page.textContent("#about"), /noisy.png · 607 × 433/);
  await page.context().close();
});
