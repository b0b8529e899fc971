"""veskaro-nr tune: the page on a photograph of 16 bits, who is let in, what is written, how it ends."""

import http.client
import json
import os
import pathlib
import re
import shutil
import signal
import socket
import stat
import subprocess
import unittest

import numpy
from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By
from selenium.webdriver.support.ui import WebDriverWait

from support import BUILD, ToolTest, command, noisy, pixels, save


class Tuning:
    """A running veskaro-nr tune."""

    def __init__(self, test, *arguments):
        words = [str(BUILD / "veskaro-nr"), "tune", *map(str, arguments), "--no-browser"]
        self.process = subprocess.Popen(words, stdout=subprocess.PIPE, text=True, env={**os.environ, "XDG_RUNTIME_DIR": str(test.folder)})
        test.addCleanup(self.end)
        self.signpost = self.process.stdout.readline().strip().removeprefix("file://")
        text = pathlib.Path(self.signpost).read_text()
        self.port, self.token = re.search(r"http://127\.0\.0\.1:(\d+)/open\?token=(\w{64})\"", text).groups()

    def end(self, with_signal=signal.SIGINT):
        if self.process.poll() is None:
            self.process.send_signal(with_signal)
        self.process.stdout.close()
        return self.process.wait(30)

    def ask(self, method, path, body=None, **headers):
        connection = http.client.HTTPConnection("127.0.0.1", int(self.port), timeout=30)
        connection.request(method, path, body, {name.replace("_", "-"): value for name, value in headers.items()})
        try:
            answer = connection.getresponse()
            return answer.status, answer.read(), answer.headers
        finally:
            connection.close()

    def enter(self):
        """The headers of the page's own requests."""
        status, _, headers = self.ask("GET", f"/open?token={self.token}")
        assert status == 200
        return {"Cookie": headers["Set-Cookie"].split(";")[0], "Origin": f"http://127.0.0.1:{self.port}"}


class Tune(ToolTest):
    def setUp(self):
        super().setUp()
        self.deep = save(noisy(300, 410, 3, 16), self.folder / "deep.png")

    def test_only_the_opened_browser_is_let_in(self):
        tuning = Tuning(self, self.deep)
        self.assertEqual(stat.S_IMODE(os.stat(tuning.signpost).st_mode), 0o600)
        status = lambda *request, **headers: tuning.ask(*request, **headers)[0]
        for path in ("/", "/app.js", "/open", "/open?token=", f"/open?token={'0' * 64}"):
            self.assertEqual(status("GET", path), 403, path)
        own = tuning.enter()
        self.assertEqual(status("GET", f"/open?token={tuning.token}"), 403, "used twice")
        answer, page, headers = tuning.ask("GET", "/", **own)
        self.assertEqual((answer, b'data-engine="companion"' in page), (200, True))
        self.assertIn("default-src 'none'; script-src 'self';", headers["Content-Security-Policy"])
        self.assertEqual(headers["Referrer-Policy"], "no-referrer")
        self.assertEqual(status("POST", "/picture", **own), 200)
        cookie = own["Cookie"]
        for wrong in (
            {**own, "Host": "localhost"},
            {**own, "Host": f"evil.example:{tuning.port}"},
            {**own, "Origin": "http://evil.example"},
            {**own, "Origin": "null"},
            {"Cookie": cookie},
            {**own, "Cookie": cookie[:-1]},
            {**own, "Cookie": cookie.split("=")[0] + "="},
        ):
            self.assertEqual(status("POST", "/picture", **wrong), 403, wrong)
        for path in ("/../app.js", "/etc/passwd", "/deep.png", "/assets"):
            self.assertEqual(status("GET", path, **own), 404, path)
        self.assertEqual(status("POST", "/after?x0=0&x1=9&y0=0&y1=9", "{}" * 50000, **own), 413)
        for path in ("/after?x0=0&x1=9&y0=0&y1=9", "/before?x0=0&x1=411&y0=0&y1=9", "/before?x0=0", "/save"):
            self.assertEqual(status("POST", path, "{}", **own), 400, path)
        listening = pathlib.Path("/proc/net/tcp").read_text().splitlines()
        addresses = {line.split()[1] for line in listening if line.split()[3] == "0A"}
        self.assertIn(f"0100007F:{int(tuning.port):04X}", addresses)
        self.assertNotIn(f"00000000:{int(tuning.port):04X}", addresses)

    def test_connections_that_say_nothing_keep_nobody_out_for_long(self):
        tuning = Tuning(self, self.deep)
        idle = [socket.create_connection(("127.0.0.1", int(tuning.port))) for _ in range(40)]
        self.addCleanup(lambda: [connection.close() for connection in idle])
        own = tuning.enter()
        self.assertEqual(tuning.ask("POST", "/picture", **own)[0], 200)

    def test_saves_where_it_was_told_to_and_replaces_nothing(self):
        output, recipe = self.folder / "out.tif", self.folder / "out.json"
        tuning = Tuning(self, self.deep, "--output", output, "--save-recipe", recipe)
        own = tuning.enter()
        chosen = tuning.ask("POST", "/choose?rule=0&strength=120", **own)[1]
        for path in ("/save", "/save-recipe"):
            self.assertEqual(tuning.ask("POST", path, chosen, **own)[0], 200, path)
            status, said, _ = tuning.ask("POST", path, chosen, **own)
            self.assertEqual((status, b"exists already" in said), (400, True), path)
        self.denoise(self.deep, self.folder / "same.tif", "--strength", "120")
        numpy.testing.assert_array_equal(pixels(output), pixels(self.folder / "same.tif"))
        self.assertEqual(json.loads(recipe.read_text()), json.loads(chosen))
        self.assertEqual(tuning.end(), 0)
        done = command("tune", self.deep, "--output", output, "--no-browser")
        self.assertEqual((done.returncode, "exists already" in done.stderr), (1, True))

    def test_ends_by_itself(self):
        tuning = Tuning(self, self.deep, "--linger", "0.02")
        self.assertEqual(tuning.process.wait(20), 0)
        self.assertFalse(os.path.exists(tuning.signpost))
        self.assertIn("not a PNG", command("tune", __file__).stderr)

    def test_pieces_stand_upright(self):
        """The same piece of one scene, whichever way the file has it."""
        scene = noisy(240, 320)
        pieces = {}
        for orientation, stored in {1: scene, 3: scene[::-1, ::-1], 6: scene.swapaxes(0, 1)[::-1], 7: scene.swapaxes(0, 1)[::-1, ::-1]}.items():
            path = save(numpy.ascontiguousarray(stored), self.folder / f"{orientation}.jpg", "Q=100", "subsample_mode=off", "strip")
            subprocess.run(["exiftool", "-q", "-overwrite_original", f"-Orientation#={orientation}", str(path)], check=True)
            tuning = Tuning(self, path)
            own = tuning.enter()
            about = json.loads(tuning.ask("POST", "/picture", **own)[1])
            self.assertEqual((about["width"], about["height"]), (320, 240))
            samples = tuning.ask("POST", "/before?x0=10&x1=130&y0=20&y1=90", **own)[1]
            pieces[orientation] = numpy.frombuffer(samples, "uint8").reshape(70, 120, 4).astype(int)
            tuning.end()
        for orientation, piece in pieces.items():
            self.assertLess(abs(piece[:, :, :3] - scene[20:90, 10:130]).mean(), 1.5, orientation)

    def test_the_page_in_a_browser(self):
        options = webdriver.ChromeOptions()
        options.binary_location = shutil.which("chromium")
        for argument in ("--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage", "--window-size=1000,800"):
            options.add_argument(argument)
        options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
        driver = webdriver.Chrome(service=Service(shutil.which("chromedriver")), options=options)
        self.addCleanup(driver.quit)
        output = self.folder / "out.png"
        tuning = Tuning(self, self.deep, "--output", output)
        driver.get(f"file://{tuning.signpost}")
        said = lambda: driver.find_element(By.ID, "status").text
        WebDriverWait(driver, 60).until(lambda _: said() == "Ready.")
        self.assertEqual(driver.current_url, f"http://127.0.0.1:{tuning.port}/")
        self.assertFalse(os.path.exists(tuning.signpost))
        self.assertEqual(driver.find_element(By.ID, "about").text, "deep.png · 410 × 300 · 16 bit")
        driver.find_element(By.CSS_SELECTOR, "#saves button").click()
        WebDriverWait(driver, 60).until(lambda _: said() == f"{output} is written.")
        self.denoise(self.deep, self.folder / "same.png")
        numpy.testing.assert_array_equal(pixels(output), pixels(self.folder / "same.png"))
        self.assertEqual(driver.get_log("browser"), [])


if __name__ == "__main__":
    unittest.main()
