"""The documents: the reference is complete, and what the texts point to is there."""

import importlib.util
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

from support import BUILD, SOURCE, run


class Documents(unittest.TestCase):
    def test_reference_has_no_gap(self):
        with tempfile.TemporaryDirectory() as folder:
            settings = (SOURCE / "docs/Doxyfile").read_text() + f"\nOUTPUT_DIRECTORY = {folder}\n"
            done = subprocess.run(["doxygen", "-"], input=settings, cwd=SOURCE, capture_output=True, text=True)
            self.assertEqual((done.returncode, done.stderr), (0, ""))
            self.assertTrue((pathlib.Path(folder) / "html/group__tiled.html").exists())

    def test_links_lead_somewhere(self):
        texts = [*SOURCE.glob("*.md"), *SOURCE.glob("docs/**/*.md"), *SOURCE.glob("*/README.md")]
        self.assertTrue(texts)
        for text in texts:
            for target in re.findall(r"\]\(([^)#]+)[^)]*\)|(?:src|href)=\"([^\"#]+)", text.read_text()):
                target = "".join(target)
                if "://" not in target:
                    self.assertTrue((text.parent / target).exists(), f"{text.name} points to {target}")

    def test_what_the_readme_shows_works(self):
        text = (SOURCE / "README.md").read_text()
        blocks = {kind: "".join(re.findall(rf"^```{kind}\n(.*?)^```", text, re.S | re.M)) for kind in ("c", "python")}
        with tempfile.TemporaryDirectory() as folder:
            folder = pathlib.Path(folder)
            (folder / "shown.c").write_text(blocks["c"])
            run("cc", "-std=c99", "-Wall", "-Wextra", "-Werror", f"-I{SOURCE}/include", "-c", "shown.c", cwd=folder)
            if importlib.util.find_spec("PIL"):
                shutil.copy(SOURCE / "samples/indoor-iso382.jpg", folder / "photo.jpg")
                environment = {**os.environ, "PYTHONPATH": str(SOURCE / "python"), "PYTHONDONTWRITEBYTECODE": "1"}
                self.assertIn("noise", run(sys.executable, "-c", blocks["python"], cwd=folder, env=environment))
                self.assertTrue((folder / "clean.png").exists())

    def test_every_option_of_the_companion_is_in_manual_and_completion(self):
        tool = BUILD / "veskaro-nr"
        if not tool.exists():
            self.skipTest("built without the companion")
        options = set(re.findall(r"(--[a-z][a-z-]+)", run(tool, "--help")))
        self.assertIn("--strength", options)
        shells = SOURCE / "tools/completion"
        texts = {
            "manual": (SOURCE / "docs/veskaro-nr.1").read_text().replace("\\-", "-"),
            "bash": (shells / "veskaro-nr.bash").read_text(),
            "zsh": (shells / "_veskaro-nr").read_text(),
            "fish": re.sub(r"-l ", "--", (shells / "veskaro-nr.fish").read_text()),
        }
        for name, text in texts.items():
            self.assertEqual({option for option in options if option not in text}, set(), f"missing in {name}")
        refused = subprocess.run([tool, "a", "b", "--set", "nothing=1"], capture_output=True, text=True).stderr
        parameters = re.findall(r"[a-z0-9-]+", refused.partition("there are ")[2].partition(" (see")[0])
        self.assertIn("luma-keep", parameters)
        for name in ("bash", "zsh", "fish"):
            self.assertEqual({p for p in parameters if not re.search(rf"(?<![\w-]){p}(?![\w-])", texts[name])}, set(), name)

    def test_completion_in_bash(self):
        script = """source "$0"; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _veskaro_nr; printf '%s\\n' "${COMPREPLY[@]}" """
        with tempfile.TemporaryDirectory() as folder:
            for name in ("a b.jpg", "a c"):
                (pathlib.Path(folder) / name).touch()
            complete = lambda *words: set(
                run("bash", "-c", script, SOURCE / "tools/completion/veskaro-nr.bash", "veskaro-nr", *words, cwd=folder).splitlines()
            )
            self.assertEqual(complete("a"), {"a b.jpg", "a c"})
            self.assertEqual(complete("--set", "luma"), {"luma-keep="})
            self.assertEqual(complete("--preset", "=", "b"), {"best"})
            self.assertEqual(complete("profile", "--sort", ""), {"name", "noise", "size"})
            self.assertEqual(complete("profile", "--s"), {"--sort"})
            self.assertEqual(complete("--skip"), {"--skip-existing"})


if __name__ == "__main__":
    unittest.main()
