"""Settings and noise that go from one picture to others: recipes, and the noise of one for many."""

import json
import os
import sys
import unittest

import numpy

from support import BUILD, SAMPLE_HDR, SOURCE, ToolTest, command, noisy, pixels, save

os.environ["VESKARONR_LIBRARY"] = str(BUILD / "VeskaroNRLib.so.1")
sys.path.insert(0, str(SOURCE / "python"))


class Recipes(ToolTest):
    def setUp(self):
        super().setUp()
        self.source = save(noisy(90, 130), self.folder / "in.png")
        self.recipe = self.folder / "r.json"

    def test_what_was_used_is_used_again(self):
        asked = ["--preset", "fast", "--strength", "120", "--set", "luma-keep=0.123", "--tile", "64"]
        self.denoise(self.source, self.folder / "a.png", *asked, "--save-recipe", self.recipe)
        self.denoise(self.source, self.folder / "b.png", "--recipe", self.recipe, "--save-recipe", self.folder / "again.json")
        self.assertEqual((self.folder / "a.png").read_bytes(), (self.folder / "b.png").read_bytes())
        self.assertEqual(self.recipe.read_bytes(), (self.folder / "again.json").read_bytes())
        # Another picture, whose noise is another: nothing is measured anew, only what is set now is changed.
        other = save(noisy(90, 130, seed=2) // 2, self.folder / "other.png")
        told = json.loads(self.denoise(other, self.folder / "c.png", "--recipe", self.recipe, "--set", "chroma-keep=0.5", "--json"))
        values = {name: (about["value"], about["origin"]) for name, about in told["parameters"].items()}
        self.assertEqual((values["luma-keep"], values["chroma-keep"], told["tile"]), ((0.123, "recipe"), (0.5, "set"), 64))
        self.assertAlmostEqual(values["noise-level"][0], json.loads(self.recipe.read_text())["settings"]["noise_level"], places=4)
        # To 16 bits and light: floats that would not be rounded are, as little as can be, where there are none.
        recipe = json.loads(self.recipe.read_text())
        for rounding in ("none", "finest"):
            recipe["settings"]["rounding"] = rounding
            (self.folder / f"{rounding}.json").write_text(json.dumps(recipe))
            for name in (save(noisy(60, 60, bits=16), self.folder / "deep.tif"), self.source, SAMPLE_HDR):
                self.denoise(name, "-d", self.folder / rounding, "--recipe", self.folder / f"{rounding}.json")
        for name in ("deep.tif", "in.png", "night.hdr"):
            self.assertEqual((self.folder / "none" / name).read_bytes(), (self.folder / "finest" / name).read_bytes())

    def test_is_the_python_modules(self):
        from veskaronr import Settings, denoise

        self.denoise(self.source, self.folder / "a.png", "--save-recipe", self.recipe)
        settings = Settings.load(self.recipe)
        numpy.testing.assert_array_equal(denoise(pixels(self.source), settings=settings), pixels(self.folder / "a.png"))
        settings.luma_keep = 0.1 + 0.2
        settings.save(self.folder / "python.json")
        self.denoise(self.source, self.folder / "b.png", "--recipe", self.folder / "python.json", "--save-recipe", self.folder / "back.json")
        numpy.testing.assert_array_equal(denoise(pixels(self.source), settings=settings), pixels(self.folder / "b.png"))

    def test_what_is_no_recipe(self):
        self.denoise(self.source, self.folder / "a.png", "--save-recipe", self.recipe)
        whole, text = json.loads(self.recipe.read_text()), self.recipe.read_text()
        changed = lambda **fields: json.dumps({**whole, "settings": {**whole["settings"], **fields}})
        without = {name: value for name, value in whole["settings"].items() if name != "luma_keep"}
        for bad, words in [("", "no recipe"), ("[1]", "no recipe"), ("{}", "lacks"), (text[:-9], "no recipe"), (text + "x", "no recipe"),
                           (text.replace('"recipe": 1', '"recipe": 2'), "version"), (text.replace('"recipe": 1', '"recipe": 1, "x": 1'), "unknown"),
                           (json.dumps({"recipe": 1, "settings": without}), "lacks luma_keep"), (changed(more=1), "unknown field \"more\""),
                           (text.replace('"tile": 256', '"tile": 256, "tile": 256'), "twice"), (changed(tile=20), "tile cannot be 20"),
                           (changed(tile=256.5), "tile"), (changed(luma_keep=True), "luma_keep"), (changed(luma_keep=1e39), "luma_keep"),
                           (text.replace('"tile": 256', '"tile": NaN'), "no recipe"), (changed(rounding="up"), "rounding"), (changed(linear_scale=-1), "linear_scale"),
                           (changed(residual_luma=[0] * 7), "residual_luma"), (changed(spectrum=[[0] * 64] * 3), "spectrum"), ("[" * 100000, "no recipe")]:
            self.recipe.write_text(bad)
            self.assertIn(words, self.fails(1, self.source, self.folder / "o.png", "--recipe", self.recipe))
        for more in (["--preset", "fast"], ["--strength", "80"], ["--noise-from", self.source]):
            self.assertIn("excludes", self.fails(2, self.source, self.folder / "o.png", "--recipe", self.recipe, *more))
        self.fails(2, self.source, self.source, "-d", self.folder, "--save-recipe", self.recipe)


class NoiseOfOne(ToolTest):
    def test_a_series_gets_the_same_settings(self):
        for i in range(3):
            save(noisy(100, 140, seed=i), self.folder / f"{i}.png")
        first = self.folder / "0.png"
        profile = self.folder / "profile.json"
        profile.write_text(self.denoise("profile", first, "--json"))
        self.denoise(first, self.folder / "alone.png")
        used = []
        for source in (first, profile):
            said = self.denoise(*(self.folder / f"{i}.png" for i in range(3)), "-d", self.folder / source.suffix, "--noise-from", source, "--json", "--ordered")
            objects = [json.loads(line) for line in said.splitlines()][:-1]
            used += [{name: about["value"] for name, about in o["parameters"].items()} for o in objects]
            self.assertEqual(pixels(self.folder / source.suffix / "0.png").tobytes(), pixels(self.folder / "alone.png").tobytes())
        self.assertEqual([u for u in used if u != used[0]], [])
        alone = json.loads(self.denoise(self.folder / "1.png", self.folder / "x.png", "--json"))
        self.assertNotEqual({name: about["value"] for name, about in alone["parameters"].items()}, used[0])

    def test_what_has_no_noise_for_others(self):
        source = save(noisy(64, 64), self.folder / "in.png")
        profile = json.loads(self.denoise("profile", source, "--json"))
        text = self.folder / "n.json"
        wrong = {**profile, "noise": {**profile["noise"], "luma": -3}}
        for content, words in (("no picture", "no picture"), (json.dumps(wrong), "values"), (json.dumps({**profile, "noise": {}}), "lacks"), (json.dumps(profile) * 2, "profile of one")):
            text.write_text(content)
            self.assertIn(words, self.fails(1, source, self.folder / "o.png", "--noise-from", text))
        text.write_text(json.dumps(profile))
        done = command(SAMPLE_HDR, source, "-d", self.folder / "out", "--noise-from", text, "--json")
        self.assertIn('"kind":"unsupported"', done.stdout)
        self.assertEqual(os.listdir(self.folder / "out"), ["in.png"])


if __name__ == "__main__":
    unittest.main()
