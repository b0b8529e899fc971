"""The operation of GEGL: on the command line, and in graphs as programs build them."""

import os
import pathlib
import random
import tempfile
import unittest

import gi

gi.require_version("Gegl", "0.4")
import numpy as np
from gi.repository import Gegl
from support import gegl_path, noisy, photograph, run, veskaronr, wanted, with_alpha

os.environ["GEGL_PATH"] = gegl_path()
Gegl.init(None)
NUMBERS = {"u8": np.uint8, "u16": np.uint16, "float": np.float32}


def rectangle(x, y, width, height):
    return Gegl.Rectangle.new(x, y, width, height)


def buffer_of(array, name, x=0, y=0):
    height, width = array.shape[:2]
    buffer = Gegl.Buffer.new(name, x, y, width, height)
    buffer.set(rectangle(x, y, width, height), name, np.ascontiguousarray(array).tobytes())
    return buffer


class Graph:
    """A picture and the operation behind it."""

    def __init__(self, array, name, x=0, y=0, **properties):
        self.buffer, self.name, self.shape = buffer_of(array, name, x, y), name, array.shape
        self.origin, self.root = (x, y), Gegl.Node()
        self.source = self.root.create_child("gegl:buffer-source")
        self.source.set_property("buffer", self.buffer)
        self.node = self.root.create_child("veskaro:denoise")
        for key, value in properties.items():
            self.node.set_property(key, value)
        self.source.link(self.node)

    def pixels(self, x0, y0, width, height):
        """The pixels of a rectangle that ends inside, as a viewer asks for them."""
        x, y = self.origin
        out = Gegl.Buffer.new(self.name, x + x0, y + y0, width, height)
        self.node.blit_buffer(out, rectangle(x + x0, y + y0, width, height), 0, Gegl.AbyssPolicy.NONE)
        raw = out.get(rectangle(x + x0, y + y0, width, height), 1.0, self.name, Gegl.AbyssPolicy.NONE)
        return np.frombuffer(raw, NUMBERS[self.name.split()[1]]).reshape(height, width, *self.shape[2:])

    def whole(self):
        return self.pixels(0, 0, self.shape[1], self.shape[0])


class Bytes(unittest.TestCase):
    def setUp(self):
        self.picture = noisy(photograph(640, 500), 10)

    def expect(self, result, array, name, **properties):
        self.assertTrue((Graph(array, name, **properties).whole() == result).all(), (name, array.shape, properties))

    def test_as_the_module_has_them(self):
        eight, alpha, grey = self.picture, with_alpha(self.picture), self.picture[..., 1]
        sixteen, floats = eight.astype(np.uint16) * 257, eight.astype(np.float32) / 255
        for name, array in (("R'G'B' u8", eight), ("R~G~B~ u8", eight), ("R'G'B' u16", sixteen), ("Y' u8", grey),
                            ("R'G'B' float", floats)):  # fmt: skip
            self.expect(wanted(array), array, name)
        self.expect(np.dstack([wanted(eight), alpha[..., 3]]), alpha, "R'G'B'A u8")
        self.expect(wanted(floats * 40, linear=True), floats * 40, "RGB float", linear=True)
        holes = floats.copy()
        holes[100, 100], floats[100, 100], holes[200:210, 300], floats[200:210, 300] = np.nan, 0, np.inf, 0
        self.expect(wanted(floats), holes, "R'G'B' float")

    def test_settings(self):
        for properties in ({"preset": "best", "strength": 1.3}, {"preset": "classic", "strength": 0.5}):
            self.expect(wanted(self.picture, **properties), self.picture, "R'G'B' u8", **properties)
        self.expect(self.picture, self.picture, "R'G'B' u8", luminance=0.0, colour=0.0)

    def test_light_is_filtered_as_it_is_displayed(self):
        shown, box = Graph(self.picture, "R'G'B' u8").whole(), rectangle(0, 0, 640, 500)
        for name in ("RGB float", "RGB u16"):
            light = buffer_of(self.picture, "R'G'B' u8").get(box, 1.0, name, Gegl.AbyssPolicy.NONE)
            result = Graph(np.frombuffer(light, NUMBERS[name.split()[1]]).reshape(500, 640, 3), name).whole()
            back = buffer_of(result, name).get(box, 1.0, "R'G'B' u8", Gegl.AbyssPolicy.NONE)
            difference = np.int32(np.frombuffer(back, np.uint8).reshape(shown.shape)) - shown
            self.assertLess((abs(difference) > 1).mean(), 1e-3, name)

    def test_sizes(self):
        for width, height in ((1, 1), (2, 300), (31, 33), (271, 273), (577, 60)):
            picture = noisy(photograph(width, height), 10)
            self.expect(wanted(picture), picture, "R'G'B' u8")

    def test_command(self):
        with tempfile.TemporaryDirectory() as folder:
            (pathlib.Path(folder) / "in.ppm").write_bytes(b"P6\n640 500\n255\n" + self.picture.tobytes())
            run("gegl", "in.ppm", "-o", "out.ppm", "--", "veskaro:denoise", cwd=folder)
            raw = (pathlib.Path(folder) / "out.ppm").read_bytes()[-2 * self.picture.size :]
        result = np.frombuffer(raw, ">u2").reshape(self.picture.shape)
        self.assertTrue((result == 257 * wanted(self.picture).astype(int)).all())


class Regions(unittest.TestCase):
    def setUp(self):
        self.picture = noisy(photograph(900, 700), 10)
        self.other = noisy(self.picture, 15)

    def change(self, graph):
        graph.buffer.set(rectangle(0, 0, 900, 700), "R'G'B' u8", self.other.tobytes())

    def test_any_place_and_size(self):
        graph, result, choose = Graph(self.picture, "R'G'B' u8", x=-37, y=1000), wanted(self.picture), random.Random(1)
        for _ in range(25):
            x, y = choose.randrange(900), choose.randrange(700)
            width, height = choose.randint(1, min(200, 900 - x)), choose.randint(1, min(200, 700 - y))
            self.assertTrue((graph.pixels(x, y, width, height) == result[y : y + height, x : x + width]).all())
        graph.pixels(2000, 2000, 50, 50)

    def test_no_picture(self):
        root, out = Gegl.Node(), Gegl.Buffer.new("R'G'B' u8", 0, 0, 9, 9)
        endless, behind, alone = [root.create_child(name) for name in ("gegl:color", *["veskaro:denoise"] * 2)]
        endless.link(behind)
        for node in (behind, alone):
            node.blit_buffer(out, rectangle(0, 0, 9, 9), 0, Gegl.AbyssPolicy.NONE)
            node.blit_buffer(None, rectangle(0, 0, 0, 0), 0, Gegl.AbyssPolicy.NONE)

    def test_measured_once_and_anew_when_the_picture_changes(self):
        graph, small = Graph(self.picture, "R'G'B' u8"), noisy(photograph(300, 200), 5)
        graph.whole()
        before = graph.node.get_property("measured")
        graph.node.set_property("strength", 0.8)
        self.assertTrue((graph.whole() == wanted(self.picture, strength=0.8)).all())
        self.assertEqual(graph.node.get_property("measured"), before)
        self.change(graph)
        self.assertTrue((graph.whole() == wanted(self.other, strength=0.8)).all())
        graph.source.set_property("buffer", buffer_of(small, "R'G'B' u8"))
        self.assertTrue((graph.pixels(0, 0, 300, 200) == wanted(small, strength=0.8)).all())

    def test_held(self):
        graph = Graph(self.picture, "R'G'B' u8")
        graph.whole()
        graph.node.set_property("measure", "held")
        self.change(graph)
        another = Graph(self.other, "R'G'B' u8", measure="held", noise=graph.node.get_property("measured"))
        for held in (graph, another):
            result = wanted(self.other, settings=veskaronr.measure(self.picture).settings(1, "fast"))
            self.assertTrue((held.whole() == result).all())
        another.node.set_property("measure", "automatic")
        self.assertTrue((another.whole() == wanted(self.other)).all())
        for text in ("", " ", "luma", "luma=", "luma=nan", "size=3", "luma=4;x", "spectrum=1", "grain=-1e9"):
            wrong = Graph(self.other, "R'G'B' u8", measure="held", noise=text)
            self.assertTrue((wrong.whole() == wanted(self.other)).all(), text)

    def test_closed_in_the_middle(self):
        for _ in range(5):
            graph = Graph(self.picture, "R'G'B' u8")
            processor = graph.node.new_processor(rectangle(0, 0, 900, 700))
            processor.work()
            del processor, graph


if __name__ == "__main__":
    unittest.main()
