"""The report page in a real browser, and the comparison picture."""

import os
import re
import shutil
import subprocess
import unittest

import numpy
from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys

from support import SAMPLE, SAMPLE_HDR, SOURCE, ToolTest, command, header, noisy, pixels, save


# Where "npm install axe-core" puts it; without it the pages are looked at, but not audited.
AXE = SOURCE / os.environ.get("VESKARO_AXE", "node_modules/axe-core/axe.min.js")


def browser(width, height):
    options = webdriver.ChromeOptions()
    options.binary_location = shutil.which("chromium")
    for argument in ("--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage", f"--window-size={width},{height}"):
        options.add_argument(argument)
    options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
    driver = webdriver.Chrome(service=Service(shutil.which("chromedriver")), options=options)
    # A page that stands alone needs no network.
    driver.execute_cdp_cmd("Network.enable", {})
    driver.execute_cdp_cmd("Network.emulateNetworkConditions", {"offline": True, "latency": 0, "downloadThroughput": 0, "uploadThroughput": 0})
    return driver


class Report(ToolTest):
    def page(self, *arguments):
        path = self.folder / "report & page.html"
        self.denoise(*arguments, "--report", path)
        text = path.read_text()
        self.assertEqual(re.findall(r"(?:src|href)=[\"'](?!data:)", text), [])
        self.assertNotIn("http://", text)
        self.driver.get(path.as_uri())
        return path

    def setUp(self):
        super().setUp()
        self.driver = browser(1000, 900)
        self.addCleanup(self.driver.quit)

    def audit(self):
        """What axe-core finds on the page in light and in dark."""
        if not AXE.exists():
            return
        self.driver.execute_script(AXE.read_text())
        for scheme in ("light", "dark"):
            self.driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": [{"name": "prefers-color-scheme", "value": scheme}]})
            found = self.driver.execute_async_script("const done = arguments[0]; axe.run().then((r) => done(r.violations.map((v) => [v.id, v.nodes.map((n) => n.html.slice(0, 200))])))")
            self.assertEqual(found, [], scheme)

    def text(self, name):
        return self.driver.find_element(By.ID, name).text

    def clean_console(self):
        self.assertEqual(self.driver.get_log("browser"), [])

    def width_fits(self):
        inner, content = self.driver.execute_script("return [window.innerWidth, document.documentElement.scrollWidth]")
        self.assertLessEqual(content, inner)

    def test_photograph(self):
        self.page(SAMPLE, self.folder / "out.jpg")
        self.assertEqual(self.text("name"), SAMPLE.name)
        self.assertRegex(self.text("summary"), r"1600 × 1200 · 8-bit RGB · noise sigma [\d., ]+ · noise level 27\.0 · preset best")
        loaded = self.driver.execute_script("return [...document.images].map(i => i.complete && i.naturalWidth > 0)")
        self.assertEqual((len(loaded), all(loaded)), (4 + 9, True))
        # Dragging the slider moves the border between the two pictures.
        shown = lambda: self.driver.execute_script("return getComputedStyle(document.getElementById('before')).clipPath")
        middle = shown()
        slider = self.driver.find_element(By.ID, "slider")
        ActionChains(self.driver).move_to_element(slider).click_and_hold().move_by_offset(-slider.size["width"] // 4, 0).release().perform()
        self.assertNotEqual(shown(), middle)
        self.assertAlmostEqual(float(self.driver.find_element(By.ID, "position").get_attribute("value")), 25, delta=3)
        self.keyboard_moves_the_slider()
        self.any_place_can_be_seen(slider)
        # Zoom acts on all crops, and the plot is drawn with the blocks that decided.
        self.driver.execute_script("const z = document.getElementById('zoom'); z.value = '4'; z.dispatchEvent(new Event('change'))")
        self.assertEqual(self.driver.execute_script("return document.querySelector('#crops img').clientWidth"), 4 * 320)
        inked = self.driver.execute_script(
            "const c = document.getElementById('plot'); const d = c.getContext('2d').getImageData(0, 0, c.width, c.height).data;"
            "let n = 0; for (let i = 0; i < d.length; i += 4) if (d[i + 3] && d[i] > 150 && d[i + 1] < 90) ++n; return n")
        self.assertGreater(inked, 50)
        self.assertIn("measured", self.text("parameter-table"))
        self.assertIn("denoise", self.text("times"))
        self.width_fits()
        self.audit()
        self.driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {"width": 360, "height": 740, "deviceScaleFactor": 2, "mobile": True})
        self.width_fits()
        self.clean_console()

    def keyboard_moves_the_slider(self):
        position = self.driver.find_element(By.ID, "position")
        at = lambda: (int(position.get_attribute("value")), position.get_attribute("aria-valuetext"))
        start = at()[0]
        for key, step in ((Keys.ARROW_RIGHT, 1), (Keys.PAGE_UP, 10), (Keys.SHIFT + Keys.ARROW_LEFT, -10), (Keys.ARROW_LEFT, -1)):
            before = at()[0]
            position.send_keys(key)
            self.assertEqual(at(), (before + step, f"{before + step} % before, {100 - before - step} % after"))
        self.assertEqual(at()[0], start)

    def any_place_can_be_seen(self, slider):
        scrolls = lambda: self.driver.execute_script("return ['view-before', 'view-after'].map((id) => [document.getElementById(id).scrollLeft, document.getElementById(id).scrollTop])")
        x, y = slider.size["width"] // 4, slider.size["height"] // 4
        ActionChains(self.driver).move_to_element_with_offset(slider, x, y).click().perform()
        here = self.text("place")
        self.assertRegex(here, r"100 % around 1[12]\d\d, [89]\d\d;")
        for button in self.driver.find_elements(By.CSS_SELECTOR, "#place-buttons button"):
            button.click()
            (left, top), after = scrolls()
            self.assertEqual([left, top], after)
        self.assertNotEqual(self.text("place"), here)
        self.assertEqual(self.driver.execute_script("return document.getElementById('whole-after').clientWidth"), 1600)
        # No two of the places close up lie beside each other.
        corners = [tuple(map(int, found)) for found in re.findall(r"after: [a-z ]+, at (\d+), (\d+)<", self.driver.page_source)]
        self.assertEqual(len(corners), 3)
        for i, (left, top) in enumerate(corners):
            for other in corners[:i]:
                self.assertTrue(abs(left - other[0]) >= 480 or abs(top - other[1]) >= 360, corners)

    def test_without_javascript(self):
        self.driver.execute_cdp_cmd("Emulation.setScriptExecutionDisabled", {"value": True})
        self.page(SAMPLE, self.folder / "out.jpg")
        self.assertEqual((self.text("name"), "1600 × 1200" in self.text("summary")), (SAMPLE.name, True))
        shown = [image for image in self.driver.find_elements(By.TAG_NAME, "img") if image.is_displayed()]
        self.assertEqual(len(shown), 2 + 9)
        self.assertIn("need JavaScript", self.driver.find_element(By.TAG_NAME, "header").text)

    def test_other_pictures(self):
        # A path that would end the script element that holds it.
        flat = self.folder / "a<" / "script><b>.png"
        flat.parent.mkdir()
        save(numpy.full((70, 90, 3), 99, dtype="uint8"), self.folder / "flat.png").rename(flat)
        self.page(flat, self.folder / "out.png", "--preset", "classic")
        self.assertEqual(self.text("name"), "script><b>.png")
        self.assertIn("no 32 x 32 block", self.text("why"))
        self.clean_console()
        deep = save(noisy(1, 5, 1, 16), self.folder / "tiny.tif")
        self.page(deep, self.folder / "tiny-clean.tif", "--force")
        self.clean_console()
        self.page(SAMPLE_HDR, self.folder / "out.hdr", "--force")
        self.assertIn("of square roots", self.text("grain-words"))
        self.width_fits()
        self.page(SAMPLE_HDR, self.folder / "out.hdr", "--force", "--preset", "classic")
        self.assertIn("log luminance median", self.text("statistics-table"))
        self.width_fits()
        self.clean_console()


    def test_batch(self):
        inputs = self.folder / "in & out"
        inputs.mkdir()
        names = ["a <b>&'\"#?%.png", "ünï \N{SNOWMAN}.png", "plain.png"]
        for seed, name in enumerate(names):
            picture = noisy(80, 100, seed=seed) if seed < 2 else numpy.full((80, 100, 3), 99, dtype="uint8")
            save(picture, self.folder / "seed.png").rename(inputs / name)
        (inputs / "broken.png").write_text("junk")
        (inputs / "notes.txt").write_text("no picture")
        for name in names:
            os.chmod(inputs / name, 0o640)
        page = self.folder / "report.html"
        done = command(inputs, "-d", self.folder / "out", "--report", page)
        self.assertRegex(done.stdout.splitlines()[-1], "3 done, 1 other file passed over, 1 failed")
        self.assertEqual({path.stat().st_mode & 0o777 for path in [*(self.folder / "out").iterdir(), *(self.folder / "report_files").iterdir()]}, {0o640})
        self.assertEqual(page.stat().st_mode & 0o777, 0o640)
        # All still fits when both lie elsewhere.
        moved = self.folder / "moved"
        moved.mkdir()
        for path in (page, self.folder / "report_files"):
            path.rename(moved / path.name)
        self.driver.get((moved / "report.html").as_uri())
        self.audit()
        rows = self.driver.find_elements(By.CSS_SELECTOR, "tbody tr")
        self.assertEqual([row.find_elements(By.TAG_NAME, "td")[2].text for row in rows], [names[0], "broken.png", "plain.png", names[1]])
        self.assertEqual(len(self.driver.find_elements(By.CSS_SELECTOR, "tbody img")), 3)
        self.assertIn("failed: ", rows[1].text)
        numbers = lambda: [row.find_element(By.TAG_NAME, "td").text for row in self.driver.find_elements(By.CSS_SELECTOR, "tbody tr")]
        noise = self.driver.find_elements(By.CSS_SELECTOR, "th button")[3]
        noise.click()
        self.assertEqual((numbers()[0], numbers()[-1], noise.find_element(By.XPATH, "..").get_attribute("aria-sort")), ("3", "2", "ascending"))
        noise.click()
        self.assertEqual(numbers()[-2:], ["3", "2"])
        links = [link.get_attribute("href") for link in self.driver.find_elements(By.CSS_SELECTOR, "tbody a")]
        for link, name in zip(links, [names[n] for n in (1, 0, 2)] if numbers()[0] == "4" else [names[n] for n in (0, 1, 2)]):
            self.driver.get(link)
            self.assertEqual(self.text("name"), name)
        self.clean_console()
        self.fails(1, inputs, "-d", self.folder / "again", "--report", moved / "report.html")
        self.assertFalse((self.folder / "again").exists())

    def test_batch_of_many(self):
        inputs = self.folder / "in"
        inputs.mkdir()
        for number in range(501):
            (inputs / f"{number}.png").write_text("junk")
        command(inputs, "-d", self.folder / "out", "--report", self.folder / "r.html")
        self.driver.get((self.folder / "r.html").as_uri())
        counts = []
        for _ in range(2):
            counts.append(len(self.driver.find_elements(By.CSS_SELECTOR, "tbody tr")))
            self.driver.find_elements(By.CSS_SELECTOR, "nav a")[1].click()
        self.assertEqual(counts, [500, 1])


class Comparison(ToolTest):
    def test_pictures_side_by_side(self):
        path = self.folder / "compare.png"
        self.denoise(SAMPLE, self.folder / "out.jpg", "--compare", path)
        whole = pixels(path).astype(int)
        self.assertGreater(whole.shape[1], 3 * 600)
        # The crops stand at full size below: before and after are alike but for noise, the difference is mid grey.
        third = whole.shape[1] // 3
        before, after, difference = (whole[-300:-50, 100 + i * third : 500 + i * third] for i in range(3))
        self.assertLess(abs(before.mean() - after.mean()), 3)
        self.assertLess(abs(difference.mean() - 128), 10)
        self.assertLess(numpy.diff(after, axis=1).std(), numpy.diff(before, axis=1).std())

    def test_upright_and_refused(self):
        tall = save(noisy(40, 90), self.folder / "in.jpg", "strip")
        subprocess.run(["exiftool", "-q", "-overwrite_original", "-Orientation#=6", str(tall)], check=True)
        self.denoise(tall, self.folder / "o.jpg", "--compare", self.folder / "c.png")
        self.assertLess(header(self.folder / "c.png")[1], 6 * 90)
        for option in ("--compare", "--report"):
            self.assertIn("exists already", self.fails(1, tall, self.folder / "p.jpg", option, self.folder / "c.png"))
            self.assertFalse((self.folder / "p.jpg").exists())
        self.fails(2, tall, tall, tall, "-d", self.folder, "--compare", self.folder / "d.png")


if __name__ == "__main__":
    unittest.main()
