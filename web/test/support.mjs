/** What the tests in Chromium share: a file server, a browser, pictures. */
import { execFileSync } from "node:child_process";
import { createServer } from "node:http";
import { mkdtempSync, readFileSync, rmSync } from "node:fs";
import { tmpdir } from "node:os";
import { extname, join } from "node:path";
import { fileURLToPath } from "node:url";
import { chromium } from "playwright-core";

export const PROJECT = fileURLToPath(new URL("../..", import.meta.url));
export const SITE = join(PROJECT, "build/web/site");
export const SAMPLE = join(PROJECT, "samples/indoor-iso382.jpg");
export const COMPANION = join(PROJECT, "build/release/veskaro-nr");

const TYPES = {
  ".html": "text/html",
  ".js": "text/javascript",
  ".css": "text/css",
  ".svg": "image/svg+xml",
  ".wasm": "application/wasm",
  ".jpg": "image/jpeg",
};

/** Serves the page; requests for anything else count as leaks. */
export async function serve() {
  const server = createServer((request, response) => {
    const name = new URL(request.url, "http://x").pathname.replace(/\/$/, "/index.html");
    try {
      const body = readFileSync(join(SITE, name));
      response.writeHead(200, { "Content-Type": TYPES[extname(name)] }).end(body);
    } catch {
      response.writeHead(404).end();
    }
  });
  await new Promise((done) => server.listen(0, "127.0.0.1", done));
  return { url: `http://127.0.0.1:${server.address().port}/`, end: () => server.close() };
}

const FLAGS = [
  ...["--disable-gpu", "--disable-quic", "--no-first-run", "--disable-background-networking"],
  ...["--disable-component-update", "--disable-sync", "--disable-dev-shm-usage"],
];

/** A browser with a profile of its own, which goes with it. */
export async function browse() {
  const profile = mkdtempSync(join(tmpdir(), "veskaro-web-"));
  const options = { executablePath: "/usr/bin/chromium", headless: true, chromiumSandbox: false, args: FLAGS };
  const browser = await chromium.launch({ ...options, env: { ...process.env, HOME: profile } });
  const end = async () => {
    await browser.close();
    rmSync(profile, { recursive: true, force: true });
  };
  return { browser, end };
}

/** A page whose errors are kept. */
export async function newPage(browser, options = {}) {
  const context = await browser.newContext({
    viewport: { width: 1280, height: 800 },
    acceptDownloads: true,
    ...options,
  });
  const page = await context.newPage();
  page.problems = [];
  page.on("pageerror", (error) => page.problems.push(String(error)));
  page.on("console", (message) => message.type() === "error" && page.problems.push(message.text()));
  return page;
}

export async function open(page, url, files) {
  await page.goto(url);
  await page.setInputFiles("#file", files);
  await ready(page);
}

/** Until all that is to be seen is there. */
export async function ready(page) {
  await page.waitForFunction(
    () => document.querySelector("#status").textContent === "Ready." || !document.querySelector("#problem").hidden,
    null,
    { timeout: 120_000 },
  );
}

/** Raw samples of a picture file by Python, with its mode: what the page was given, told by another reader. */
export function python(code, ...args) {
  const options = {
    maxBuffer: 1 << 30,
    env: {
      ...process.env,
      PYTHONPATH: join(PROJECT, "python"),
      VESKARONR_LIBRARY: join(PROJECT, "build/release/VeskaroNRLib.so.1"),
    },
  };
  return execFileSync("/usr/bin/python3", ["-c", code, ...args], options);
}
