"""Files that were cut short or never were pictures: an error in one line, never a crash, never a result."""

import random
import unittest

from support import SAMPLE_HDR, ToolTest, command, noisy, save, vips


class Damaged(ToolTest):
    def kinds(self):
        picture = noisy(120, 150)
        yield save(picture, self.folder / "in.png")
        yield save(picture, self.folder / "in.jpg", "Q=90")
        yield save(picture, self.folder / "interlaced.jpg", "Q=90", "interlace")
        yield save(picture, self.folder / "in.tif")
        yield save(picture, self.folder / "deflate.tif", "compression=deflate")
        yield save(noisy(120, 150, 3, 16), self.folder / "deep.png")
        yield save(picture, self.folder / "lossless.webp", "lossless")
        yield save(picture, self.folder / "in.webp")
        # Its decoder says on standard error what it thinks.
        yield save(picture, self.folder / "in.jxl")
        vips("extract_area", SAMPLE_HDR, self.folder / "in.hdr", 0, 0, 64, 48)
        yield self.folder / "in.hdr"

    def test_cut_at_every_twentieth(self):
        for source in list(self.kinds()):
            whole = source.read_bytes()
            for part in range(1, 20):
                cut = self.folder / f"cut{source.suffix}"
                cut.write_bytes(whole[: len(whole) * part // 20])
                with self.subTest(source=source.name, part=part):
                    self.fails(1, cut, self.folder / f"out{source.suffix}")
                    self.assertFalse((self.folder / f"out{source.suffix}").exists())

    def test_random_damage_does_not_crash(self):
        chance = random.Random(7)
        for source in list(self.kinds()):
            whole = source.read_bytes()
            for attempt in range(8):
                damaged = bytearray(whole)
                for _ in range(chance.choice((1, 4, 40))):
                    # Headers get half of the hits: that is where sizes and offsets are.
                    limit = len(damaged) if chance.random() < 0.5 else min(200, len(damaged))
                    damaged[chance.randrange(8, limit)] = chance.randrange(256)
                cut = self.folder / f"damaged{source.suffix}"
                cut.write_bytes(damaged)
                with self.subTest(source=source.name, attempt=attempt):
                    done = command(cut, self.folder / f"out{source.suffix}", "--force")
                    self.assertIn(done.returncode, (0, 1), done.stderr)
                    self.assertLessEqual(done.stderr.count("\n"), 1)


if __name__ == "__main__":
    unittest.main()
