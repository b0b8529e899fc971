"""Many files at once: names of results, folders, what is printed, what one bad file does, interruption."""

import json
import os
import pty
import re
import signal
import subprocess
import time
import unittest

import numpy

from support import BUILD, SAMPLE, SAMPLE_HDR, SOURCE, ToolTest, command, noisy, pixels, save, vips


class Names(ToolTest):
    def setUp(self):
        super().setUp()
        self.source = save(noisy(64, 64), self.folder / "a b.PNG")

    def test_rules(self):
        out = self.folder / "new/deep"
        self.denoise(self.source)
        self.denoise(self.source, "--suffix", "-x", "--format", "tif")
        self.denoise(self.source, "--output-dir", out)
        self.denoise(self.source, "--output-dir", out, "--suffix", "_y")
        self.denoise("-o", self.folder / "named.jpg", self.source)
        self.assertEqual(self.names(), ["a b-clean.PNG", "a b-x.tif", "a b.PNG", "named.jpg", "new"])
        self.assertEqual(sorted(os.listdir(out)), ["a b.PNG", "a b_y.PNG"])

    def test_odd_names(self):
        for name in ("-dash.png", "ünïcode ☃.png", "new\nline.png", "no extension", "%s%n.png", "a'b\"c.png", "x" * 240 + ".png"):
            with self.subTest(name):
                path = self.folder / name
                path.write_bytes(self.source.read_bytes())
                arguments = ["--", path.name] if name.startswith("-") else [path.name]
                done = command("-d", "out", *arguments, cwd=self.folder)
                self.assertEqual((done.returncode, done.stderr, done.stdout.count("\n")), (0, "", 1))
                self.assertTrue((self.folder / "out" / (name if "." in name else name + ".png")).exists())
        raw = os.fsencode(self.folder) + b"/bad\xff.png"
        with open(raw, "wb") as file:
            file.write(self.source.read_bytes())
        said = subprocess.run([str(BUILD / "veskaro-nr"), raw, "--json"], capture_output=True)
        self.assertEqual(said.returncode, 0)
        self.assertEqual(os.fsencode(json.loads(said.stdout)["input"]), raw)

    def test_folders_keep_their_tree(self):
        tree = self.folder / "in"
        (tree / "sub/.hidden").mkdir(parents=True)
        for name in ("a.png", "sub/b.png", "sub/.hidden/c.png", ".d.png"):
            (tree / name).write_bytes(self.source.read_bytes())
        (tree / "notes.txt").write_text("no picture")
        out = tree / "out"
        self.denoise(tree, "-d", out)
        self.assertEqual(sorted(str(p.relative_to(out)) for p in out.rglob("*.png")), ["a.png", "sub/b.png"])
        # Neither the results there nor those beside the inputs are denoised again.
        self.assertIn("2 done", self.denoise(tree, "-d", out, "--force"))
        self.denoise(tree / "a.png", tree / "sub/b.png", "--suffix=-clean")
        self.assertEqual(sorted(p.name for p in tree.rglob("*-clean.png")), ["a-clean.png", "b-clean.png"])
        (self.folder / "empty").mkdir()
        self.assertIn("no pictures", self.fails(1, self.folder / "empty", "-d", out))

    def test_two_inputs_never_share_a_result(self):
        other = self.folder / "other"
        other.mkdir()
        (other / "a b.PNG").write_bytes(self.source.read_bytes())
        done = command(self.source, other / "a b.PNG", "-d", self.folder / "out", "--force")
        self.assertEqual(done.returncode, 1)
        self.assertIn("result of another input", done.stderr)

    @unittest.skipIf(os.geteuid() == 0 and not os.path.exists("/usr/bin/setpriv"), "needs to give up root")
    def test_read_only_folder(self):
        locked = self.folder / "locked"
        locked.mkdir(mode=0o555)
        os.chmod(self.folder, 0o755)
        # Root may write everywhere unless it gives that up; it stays root, who alone may enter its home.
        drop = ["setpriv", "--bounding-set=-dac_override,-dac_read_search"] if os.geteuid() == 0 else []
        run = lambda *a: subprocess.run([*drop, str(BUILD / "veskaro-nr"), *map(str, a)], capture_output=True, text=True)
        done = run(self.source, locked / "o.png")
        self.assertEqual(done.returncode, 1)
        self.assertRegex(done.stderr, r"\Aveskaro-nr: cannot write .*Permission denied\n\Z")
        # A folder that may not be entered is one failure among the files of the batch.
        (self.folder / "closed").mkdir(mode=0)
        (self.folder / "out").mkdir(mode=0o777)
        os.chmod(self.folder / "out", 0o777)
        done = run(self.folder, "-d", self.folder / "out")
        self.assertEqual(done.returncode, 1)
        self.assertRegex(done.stderr, r"\Aveskaro-nr: cannot read .*closed: Permission denied\n\Z")
        self.assertEqual(os.listdir(self.folder / "out"), ["a b.PNG"])


class Batches(ToolTest):
    def test_a_hundred_files_two_of_them_bad(self):
        source = save(noisy(48, 64), self.folder / "seed.png").read_bytes()
        inputs = self.folder / "in"
        inputs.mkdir()
        for i in range(100):
            (inputs / f"{i:03}.png").write_bytes(source[:700] if i in (17, 60) else source)
        done = command(inputs, "-d", self.folder / "out")
        self.assertEqual(done.returncode, 1)
        self.assertEqual(sorted(re.findall(r"/(\d+)\.png", done.stderr)), ["017", "060"])
        self.assertEqual(done.stderr.count("\n"), 2)
        lines = done.stdout.splitlines()
        self.assertEqual(len(lines), 99)
        self.assertRegex(lines[-1], r"98 done, 2 failed, 0\.3 MP in ")
        self.assertEqual(len(os.listdir(self.folder / "out")), 98)
        quiet = command(inputs, "-d", self.folder / "out", "--force", "--quiet")
        self.assertEqual((quiet.returncode, quiet.stdout, quiet.stderr.count("\n")), (1, "", 2))

    def on_a_terminal(self, *arguments):
        """Standard output, and what a terminal at standard error was sent."""
        try:
            ours, theirs = pty.openpty()
        except OSError as reason:
            self.skipTest(f"no terminal to be had: {reason}")
        done = subprocess.run([str(BUILD / "veskaro-nr"), *map(str, arguments)], stdout=subprocess.PIPE, stderr=theirs, text=True)
        self.assertEqual(done.returncode, 0)
        os.close(theirs)
        shown = b""
        while True:
            try:
                shown += os.read(ours, 1 << 16)
            except OSError:  # the other end is closed and all is read
                break
        os.close(ours)
        return done.stdout, shown.decode()

    def test_bar_on_a_terminal_only(self):
        big = save(noisy(2000, 3000), self.folder / "big.tif")
        inputs = self.folder / "in"
        inputs.mkdir()
        for i in range(3):
            save(noisy(64, 64), inputs / f"{i}.png")
        for arguments, expected in ((inputs, "2/3"), (big, r"\d\d %")):
            said, shown = self.on_a_terminal(arguments, "-d", self.folder / "o", "--threads", 1)
            self.assertRegex(shown, expected + r".*ETA \d:\d\d")
            self.assertTrue(shown.endswith("\r\x1b[K"), "the bar goes away in the end")
            self.assertNotIn("\x1b", said)

    def test_interruption_leaves_nothing_half_done(self):
        # Big enough to be caught in the middle.
        big = self.folder / "big.tif"
        vips("gaussnoise", self.folder / "n.v", 3000, 2000, "--mean", 120, "--sigma", 20)
        vips("cast", self.folder / "n.v", big, "uchar")
        os.remove(self.folder / "n.v")
        one = [big, self.folder / "out.tif"]
        many = [big, self.folder / "none.tif", self.folder / "none.tif", "--suffix", "-x"]
        said = ""
        for wait, arguments in ((0.05, one), (0.3, one), (0.6, one), (1.0, one), (0.5, many)):
            run = subprocess.Popen([str(BUILD / "veskaro-nr"), *map(str, arguments), "--force", "--threads", "1"], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
            time.sleep(wait)
            run.send_signal(signal.SIGINT)
            said += run.communicate()[1]
            self.assertIn(run.returncode, (0, 1, -signal.SIGINT))
            self.assertLessEqual(set(self.names()), {"big.tif", "out.tif", "big-x.tif"})
        self.assertRegex(said, r"veskaro-nr: interrupted after \d+ % of big\.tif\n")
        self.assertRegex(said, r"veskaro-nr: interrupted after [0-2] of 3 pictures\n")

    def test_streams(self):
        source = save(noisy(64, 80), self.folder / "in.png")
        plain = self.folder / "plain.png"
        self.denoise(source, plain)
        for arguments in (["-", "-"], ["-"], ["-", "--output", "-", "--format", "png"]):
            done = command(*arguments, input=source.read_bytes(), text=False)
            self.assertEqual(done.returncode, 0)
            self.assertEqual(done.stdout, plain.read_bytes())
        done = command(SAMPLE_HDR, "-", "--quiet", text=False)
        self.assertTrue(done.stdout.startswith(b"#?RADIANCE"))
        tiff = command("-", "-", "--format", "tif", input=source.read_bytes(), text=False).stdout
        (self.folder / "t.tif").write_bytes(tiff)
        self.assertEqual(pixels(self.folder / "t.tif").tobytes(), pixels(plain).tobytes())
        empty = command("-", "-", stdin=subprocess.DEVNULL)
        self.assertEqual((empty.returncode, empty.stdout, empty.stderr), (1, "", "veskaro-nr: standard input: the file is empty\n"))


class Words(ToolTest):
    def test_json_says_what_was_done(self):
        source = save(noisy(160, 160), self.folder / "in.png")
        told = json.loads(self.denoise(source, self.folder / "o.png", "--json", "--set", "luma-keep=0.25", "--set=NR_NOISE_LEVEL=80"))
        self.assertEqual((told["width"], told["height"], told["bits"], told["channels"]), (160, 160, 8, 3))
        self.assertTrue(told["noise_measured"] and not told["defaults_used"])
        parameters = told["parameters"]
        self.assertEqual((parameters["luma-keep"]["value"], parameters["luma-keep"]["origin"]), (0.25, "set"))
        for name, origin in (("noise-level", "set"), ("level1-noise", "measured"), ("highlight-start", "preset"), ("recon-similarity-rolloff", "default")):
            self.assertEqual(parameters[name]["origin"], origin)
        classic = json.loads(self.denoise(source, self.folder / "o.png", "--json", "--force", "--preset", "chroma-only", "--strength", 50))
        for name, origin in (("noise-level", "measured"), ("highlight-start", "measured"), ("luma-keep", "preset"), ("level1-noise", "default")):
            self.assertEqual(classic["parameters"][name]["origin"], origin)
        self.assertLess(classic["parameters"]["noise-level"]["value"], 0.6 * classic["noise_level"])
        self.assertGreater(told["changed"]["share"], 0.5)
        self.assertEqual(set(told["seconds"]), {"read", "decode", "measure", "denoise", "encode", "write", "total"})
        self.assertIn("libvips", told["versions"])
        failed = command(self.folder / "none.png", self.folder / "p.png", "--json")
        self.assertIn("No such file", json.loads(failed.stdout)["error"])

    def test_why_nothing_changed(self):
        flat, bright = self.folder / "flat.png", self.folder / "bright.png"
        vips("black", self.folder / "b.v", 100, 100, "--bands", 3)
        vips("linear", self.folder / "b.v", flat, 1, 90, "--uchar")
        # Bright all over, with a rare step of one between neighbours.
        random = numpy.random.default_rng(3)
        picture = 235 + (random.random((128, 128, 3)) < 0.04) + 6 * (numpy.arange(128) > 64)[:, None, None]
        save(picture.astype("uint8"), bright)
        for path, words in ((flat, "no 32 x 32 block"), (bright, "brighter than")):
            told = json.loads(self.denoise(path, f"{path}.png", "--json", "--preset", "classic"))
            self.assertIn(words, told["why_unchanged"])
            self.assertIn("nothing changed: ", self.denoise(path, f"{path}.png", "--force", "--verbose", "--preset", "classic"))
        # The defaults then, but for what was set.
        asked = (flat, self.folder / "f.png", "--force", "--preset", "classic", "--set", "sharpening=0.9")
        told = json.loads(self.denoise(*asked, "--json"))
        self.assertTrue(told["defaults_used"] and told["defaults_reason"])
        self.assertEqual({name for name, parameter in told["parameters"].items() if parameter["origin"] != "default"}, {"sharpening"})
        said = self.denoise(*asked, "--verbose")
        self.assertEqual(set(re.findall(r"(?m)^  [a-z0-9-]+ +[-0-9.e]+  (\w+) ", said)), {"default", "set"})
        self.assertIn("all but free of noise", self.denoise(flat, self.folder / "f.png", "--force", "--verbose"))

    def test_profile_command(self):
        for seed, spread in ((1, 2), (2, 30), (3, 9)):
            picture = noisy(96, 128, seed=seed).astype(int)
            save(((picture - picture.mean()) * spread / 20 + 120).clip(1, 254).astype("uint8"), self.folder / f"{spread}.png")
        (self.folder / "bad.png").write_text("bad")
        names = [self.folder / name for name in ("9.png", "30.png", "2.png")]
        rows = self.denoise("profile", *names, SAMPLE_HDR, "--sort", "noise").splitlines()
        self.assertEqual([row.rpartition("/")[2] for row in rows[2:]], ["2.png", "9.png", "30.png"])
        done = command("profile", *names, self.folder / "bad.png", "--sort", "noise", "--reverse", "--json")
        self.assertEqual((done.returncode, done.stderr.count("\n")), (1, 1))
        levels = [json.loads(line)["noise_level"] for line in done.stdout.splitlines() if "error" not in line]
        self.assertEqual(levels, sorted(levels, reverse=True))
        # The level is the one that denoising works with.
        told = json.loads(self.denoise(names[1], self.folder / "o.png", "--json"))
        self.assertAlmostEqual(told["noise_level"], levels[0], places=3)
        self.assertEqual(len(self.names()), 5)


if __name__ == "__main__":
    unittest.main()
