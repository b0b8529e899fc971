"""The documents: the reference is complete, and what the texts point to is there."""

import pathlib
import re
import subprocess
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


if __name__ == "__main__":
    unittest.main()
