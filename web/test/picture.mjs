/** Makes docs/web.jpg, the page on the sample with noise added: node web/test/picture.mjs after scripts/web. */
import { mkdtempSync, rmSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { browse, newPage, open, PROJECT, python, ready, SAMPLE, serve } from "./support.mjs";

const folder = mkdtempSync(join(tmpdir(), "veskaro-web-picture-"));
const noisy = join(folder, "evening.png");
python(
  `import sys, numpy as np
from PIL import Image
clean = np.asarray(Image.open(sys.argv[1])).astype(float)
random = np.random.default_rng(3)
grain = random.normal(0, 1, clean.shape)
grain = (grain + np.roll(grain, 1, 0) + np.roll(grain, 1, 1) + np.roll(np.roll(grain, 1, 1), 1, 0)) / 2
blotches = random.normal(0, 7, (clean.shape[0] // 4, clean.shape[1] // 4, 3)).repeat(4, 0).repeat(4, 1)
blotches -= blotches.mean(2, keepdims=True)
Image.fromarray(np.clip(clean + 9 * grain + blotches, 0, 255).astype("uint8")).save(sys.argv[2])`,
  SAMPLE,
  noisy,
);
const site = await serve();
const { browser, end } = await browse();
const page = await newPage(browser, { colorScheme: "dark", viewport: { width: 1200, height: 780 } });
await open(page, site.url, noisy);
await page.click("#full");
await page.focus("#canvas");
for (const key of ["ArrowRight", "ArrowRight", "ArrowDown"]) await page.keyboard.press(key);
await page.evaluate(() => document.activeElement.blur());
await page.waitForTimeout(500);
await ready(page);
await page.screenshot({ path: join(PROJECT, "docs/web.jpg"), type: "jpeg", quality: 82 });
await end();
site.end();
rmSync(folder, { recursive: true });
