"""Runs over many pictures: at once, in what order, what fails and how that is told, killed and resumed."""

import json
import os
import random
import signal
import subprocess
import time
import unittest

from support import BUILD, SAMPLE_HDR, ToolTest, command, noisy, save

TOOL = str(BUILD / "veskaro-nr")


def told(said):
    """The objects of --json by the name of the input, as bytes, and the summary."""
    objects = [json.loads(line) for line in said.splitlines()]
    return {os.fsencode(o["input"]): o for o in objects if "input" in o}, next((o["summary"] for o in objects if "summary" in o), None)


class RunsTest(ToolTest):
    def pictures(self, folder, count, size=(90, 120)):
        folder = self.folder / folder
        folder.mkdir()
        for i in range(count):
            save(noisy(*size, seed=i), folder / f"{i}.png")
        return folder

    def results(self, folder):
        return {path.name: path.read_bytes() for path in sorted((self.folder / folder).iterdir())}


class AtOnce(RunsTest):
    def test_results_and_failures_are_those_of_pictures_alone(self):
        inputs = self.pictures("in", 12)
        whole = (inputs / "0.png").read_bytes()
        for i in range(6):
            (inputs / f"cut{i}.png").write_bytes(whole[: 2000 + 3000 * i])
            (inputs / f"text{i}.jpg").write_text("no picture")
        (inputs / "night.hdr").write_bytes(SAMPLE_HDR.read_bytes())
        one = command(inputs, "-d", self.folder / "one", "--json", "--jobs", 1, "--threads", 1)
        many = command(inputs, "-d", self.folder / "many", "--json", "--jobs", 5, "--threads", 7, "--ordered")
        unordered = command(inputs, "-d", self.folder / "tight", "--json", "--jobs", 5, "--memory", "1k")
        self.assertEqual((one.returncode, many.returncode), (1, 1))
        self.assertEqual(self.results("one"), self.results("many"))
        self.assertEqual(self.results("one"), self.results("tight"))
        (alone, _), (beside, summary) = told(one.stdout), told(many.stdout)
        self.assertEqual(list(alone), list(beside))
        self.assertEqual(set(alone), set(told(unordered.stdout)[0]))
        failures = lambda objects: {name: (o["error"], o["kind"]) for name, o in objects.items() if "error" in o}
        self.assertEqual(failures(alone), failures(beside))
        self.assertEqual(sorted(one.stderr.splitlines()), sorted(many.stderr.splitlines()))
        self.assertEqual((summary["jobs"], summary["threads"], summary["done"]), (5, 7, 13))
        self.assertEqual(summary["failures"], {"damaged": 6, "unsupported": 6})

    @unittest.skipIf(subprocess.run(["unshare", "-m", "true"], capture_output=True).returncode != 0, "may not mount")
    def test_a_control_group_has_a_say(self):
        inputs = self.pictures("in", 2)
        for quota, memory, jobs in (("150000 100000", "max", 2), ("max 100000", f"{1 << 28}", None), ("50000 100000", "max", 1)):
            groups = self.folder / "groups"
            groups.mkdir(exist_ok=True)
            for name, text in (("cpu.max", quota), ("memory.max", memory), ("memory.current", "1048576"), ("memory.stat", "anon 5\ninactive_file 0\n")):
                (groups / name).write_text(text + "\n")
            script = 'mount --bind "$1" /sys/fs/cgroup && shift && exec "$@"'
            shell = ["unshare", "-m", "sh", "-c", script, "sh", groups, TOOL, inputs, "-d", self.folder / "out", "--dry-run", "--json"]
            done = subprocess.run(list(map(str, shell)), capture_output=True, text=True)
            _, summary = told(done.stdout)
            if jobs:
                self.assertEqual(summary["threads"], min(jobs, len(os.sched_getaffinity(0))))
            else:
                self.assertEqual(summary["memory"], ((1 << 28) - 1048576) // 2)


class Failures(RunsTest):
    def test_every_failure_has_a_kind(self):
        inputs = self.pictures("in", 2)
        (inputs / "bad.png").write_bytes((inputs / "0.png").read_bytes()[:500])
        (inputs / "text.png").write_text("no picture")
        (inputs / "deep.tif").write_bytes(save(noisy(40, 40, bits=16), self.folder / "deep.tif").read_bytes())
        out = self.folder / "out"
        out.mkdir()
        (out / "1.jpg").write_text("precious")
        (out / "deep.jpg").mkdir()
        names = [inputs / n for n in ("0.png", "bad.png", "text.png", "1.png", "none.png", "deep.tif")] + [inputs / ".." / "in" / "0.png"]
        done = command(*names, "-d", out, "--format", "jpg", "--json")
        objects, summary = told(done.stdout)
        kinds = [objects[os.fsencode(n)].get("kind") for n in names]
        self.assertEqual(kinds, [None, "damaged", "unsupported", "exists", "unreadable", "unwritable", "duplicate"])
        self.assertEqual((summary["done"], summary["failed"], summary["not_tried"]), (1, 6, 0))
        done = command("profile", *names, "--json")
        objects, _ = told(done.stdout)
        self.assertEqual([objects[os.fsencode(n)].get("kind") for n in names[:5]], [None, "damaged", "unsupported", None, "unreadable"])

    def test_the_first_of_two_wins(self):
        inputs = self.pictures("in", 1)
        (self.folder / "link").symlink_to(inputs)
        for i in range(6):
            (self.folder / f"b{i}").mkdir()
            save(noisy(8, 8, seed=i), self.folder / f"b{i}/0.png")
        others = [self.folder / f"b{i}/0.png" for i in range(6)]
        for _ in range(3):
            done = command(*others, "-d", self.folder / "out", "--jobs", 6, "--json", "--force")
            objects, summary = told(done.stdout)
            self.assertEqual(summary["failures"], {"duplicate": 5})
            self.assertIn("changed", objects[os.fsencode(others[0])])
        # By another way to the same file; and a result that is an input still to be read.
        self.assertIn("result of another", command(inputs / "0.png", self.folder / "link/0.png", "--suffix", "-x").stderr)
        after = save(noisy(8, 8), inputs / "0-y.png").read_bytes()
        done = command(inputs / "0-y.png", inputs / "0.png", "--suffix", "-y", "--force")
        self.assertIn("is an input of this run", done.stderr)
        self.assertEqual((inputs / "0-y.png").read_bytes(), after)

    def test_a_full_disk_stops_the_run(self):
        inputs, out = self.pictures("in", 5), self.folder / "out"
        out.mkdir()
        (out / "1.png").symlink_to("/dev/full")
        done = command(inputs, "-d", out, "--jobs", 1, "--json")
        objects, summary = told(done.stdout)
        self.assertEqual(done.returncode, 1)
        self.assertEqual(objects[os.fsencode(inputs / "1.png")]["kind"], "no-space")
        self.assertEqual((summary["done"], summary["failed"], summary["not_tried"]), (1, 1, 3))
        self.assertIn("the disk is full: stopped with 3 of 5 pictures not tried", done.stderr)

    def test_files_beside_the_result(self):
        source = save(noisy(64, 64), self.folder / "in.png")
        there = self.folder / "there"
        there.write_text("precious")
        out, before = self.folder / "out.png", source.read_bytes()
        for option in ("--compare", "--report", "--save-recipe"):
            for name, words, more in ((source, "is an input", ["--force"]), (self.folder / "." / "in.png", "is an input", ["--force"]),
                                      (out, "is the result", ["--force"]), (there, "exists already", [])):
                self.assertIn(words, self.fails(1, source, out, option, name, *more))
                self.assertFalse(out.exists())
        self.assertIn("twice", self.fails(1, source, out, "--compare", self.folder / "x", "--report", self.folder / "x"))
        self.assertEqual((source.read_bytes(), there.read_text()), (before, "precious"))


class Resuming(RunsTest):
    def test_killed_at_any_moment(self):
        inputs, out = self.pictures("in", 12), self.folder / "out"
        self.denoise(inputs, "-d", self.folder / "undisturbed", "-q")
        expected = self.results("undisturbed")
        chance, kills = random.Random(4), 0
        while not (out.exists() and set(expected) <= set(os.listdir(out))):
            run = subprocess.Popen([TOOL, str(inputs), "-d", str(out), "--skip-existing", "-q"])
            time.sleep(chance.uniform(0.02, 0.12))
            run.kill()
            kills += run.wait() == -signal.SIGKILL
            for name, content in self.results("out").items() if out.exists() else ():
                self.assertTrue(name.startswith(".veskaro-nr-") or content == expected[name], name)
        self.assertGreater(kills, 1)
        # What was left goes, but for what a living run has locked.
        alive = open(out / ".veskaro-nr-abcdef", "w")
        self.addCleanup(alive.close)
        subprocess.run(["flock", "-n", str(alive.fileno())], pass_fds=[alive.fileno()], check=True)
        (out / ".veskaro-nr-ghijkl").write_text("half a pict")
        (out / "0.png").unlink()
        self.assertIn("1 done, 11 skipped, 0 failed", self.denoise(inputs, "-d", out, "--skip-existing"))
        self.assertEqual(set(self.results("out")), set(expected) | {".veskaro-nr-abcdef"})
        self.assertEqual((out / "0.png").read_bytes(), expected["0.png"])

    def test_lists_of_names(self):
        inputs = self.pictures("in", 1)
        content = (inputs / "0.png").read_bytes()
        names = [b"a b.png", b"new\nline.png", b"bad\xff\xf4\x8f\xbe\x81.png", b"-", b" x.png ", b"*.png", b".veskaro-nr-abcdef"]
        for name in names:
            with open(os.fsencode(inputs) + b"/" + name, "wb") as file:
                file.write(content)
        asked = [TOOL, "--files-from", "-", "--null", "--json", "-d", "out", "--force"]
        dry = subprocess.run([*asked, "--dry-run"], input=b"\0".join(names), cwd=inputs, capture_output=True)
        objects, summary = told(dry.stdout)
        self.assertEqual((summary["to_do"], (inputs / "out").exists()), (len(names) - 1, False))
        done = subprocess.run(asked, input=b"\0".join(names), cwd=inputs, capture_output=True)
        self.assertEqual((done.returncode, done.stderr), (0, b""))
        ended, _ = told(done.stdout)
        self.assertEqual(set(ended), {b"./-" if name == b"-" else name for name in names[:-1]})
        self.assertEqual({name: o["output"] for name, o in objects.items()}, {name: o["output"] for name, o in ended.items()})
        for o in ended.values():
            self.assertTrue(os.path.exists(os.path.join(os.fsencode(inputs), os.fsencode(o["output"]))))
        (self.folder / "list").write_text("0.png\nnone.png\n")
        done = command("--files-from", "../list", "--suffix", "-z", cwd=inputs)
        self.assertIn("1 done, 1 failed", done.stdout)
        self.assertIn("No such file", self.fails(1, "--files-from", self.folder / "no-list"))

    def test_interrupted_in_order(self):
        inputs = self.pictures("in", 30, (600, 800))
        run = subprocess.Popen([TOOL, str(inputs), "-d", str(self.folder / "out"), "--json"], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        run.stdout.readline()
        run.send_signal(signal.SIGTERM)
        said, errors = run.communicate()
        objects, summary = told(said)
        self.assertEqual((run.returncode, summary["interrupted"]), (-signal.SIGTERM, True))
        self.assertEqual({o["kind"] for o in objects.values() if "kind" in o} - {"interrupted"}, set())
        ended = summary["done"] + summary["failed"]
        self.assertEqual(summary["not_tried"], 30 - ended)
        self.assertEqual(errors, f"veskaro-nr: interrupted after {ended} of 30 pictures\n")
        self.assertEqual(len(os.listdir(self.folder / "out")), summary["done"])


if __name__ == "__main__":
    unittest.main()
