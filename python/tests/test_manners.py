"""How calls behave: side by side, told about, cancelled, interrupted, forked; and what the documentation shows."""

import _thread
import doctest
import importlib.util
import multiprocessing
import os
import pathlib
import pkgutil
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import time
import unittest
from concurrent.futures import ThreadPoolExecutor

TOP = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(TOP / "python"))

import numpy as np

import veskaronr

BIG = np.tile(np.random.default_rng(1).normal(128, 12, (600, 600, 3)).astype(np.uint8), (10, 10, 1))
SMALL = BIG[:400, :500]


def work(strength):
    return veskaronr.denoise(SMALL, strength)


class Calls(unittest.TestCase):
    def test_side_by_side_and_in_children(self):
        strengths = [0.6, 0.8, 1.0, 1.2, 1.5, 0.7]
        wanted = [work(s) for s in strengths]
        with ThreadPoolExecutor(4) as pool:
            np.testing.assert_array_equal(list(pool.map(work, strengths)), wanted)
        with multiprocessing.get_context("fork").Pool(2) as pool:
            np.testing.assert_array_equal(pool.map_async(work, strengths).get(60), wanted)
            black = pool.map_async(veskaronr.denoise_rgbe, [np.zeros((40, 40, 4), np.uint8)])
            with self.assertRaisesRegex(veskaronr.StatisticsError, "spread") as caught:
                black.get(60)
            self.assertEqual(caught.exception.code, -3)

    def test_progress_and_cancel(self):
        told = []
        result = veskaronr.denoise(np.stack([SMALL, SMALL]), progress=lambda *n: told.append((*n, _thread.get_ident())))
        self.assertEqual({t[1:] for t in told}, {(told[-1][0], _thread.get_ident())})
        self.assertEqual(told, sorted(told))
        np.testing.assert_array_equal(result[1], work(1.0))

        class Bar:
            n, total = 0, None

            def update(self, n):
                self.n += n

        bar = Bar()
        veskaronr.denoise(BIG[:1500], progress=bar)
        self.assertEqual(bar.n, bar.total)
        stop = threading.Event()
        at = []

        def listen(done, total):
            if not at and done:
                at.append(time.monotonic())
                stop.set()

        with self.assertRaises(veskaronr.Cancelled):
            veskaronr.denoise(BIG, cancel=stop, progress=listen, threads=1)
        self.assertLess(time.monotonic() - at[0], 0.5)
        self.assertRaises(veskaronr.Cancelled, veskaronr.measure, BIG, cancel=stop)
        self.assertRaises(veskaronr.Cancelled, veskaronr.denoise_rgbe, np.zeros((64, 64, 4), np.uint8), cancel=stop)
        self.assertRaises(ZeroDivisionError, veskaronr.denoise, BIG, progress=lambda *_: 1 / 0)

    def test_ctrl_c(self):
        settings, hdr = veskaronr.measure(BIG).settings(), np.dstack([BIG, BIG[..., 0]])
        for call in (
            lambda: veskaronr.denoise(BIG, settings=settings, threads=1),
            lambda: veskaronr.denoise_rgbe(hdr),
        ):
            pressed = []

            def press():
                pressed.append(time.monotonic())
                os.kill(os.getpid(), signal.SIGINT)

            threading.Timer(0.15, press).start()
            with self.assertRaises(KeyboardInterrupt):
                call()
            self.assertLess(time.monotonic() - pressed[0], 0.5)
        np.testing.assert_array_equal(work(1.0), work(1.0))


class Documentation(unittest.TestCase):
    def test_examples_in_docstrings(self):
        for module in pkgutil.iter_modules(veskaronr.__path__, "veskaronr."):
            if module.name == "veskaronr.dask" and not importlib.util.find_spec("dask"):
                continue
            self.assertEqual(doctest.testmod(importlib.import_module(module.name)).failed, 0, module.name)
        bare = [n for n in veskaronr.__all__ if callable(getattr(veskaronr, n)) and not getattr(veskaronr, n).__doc__]
        self.assertEqual(bare, [])

    @unittest.skipUnless(importlib.util.find_spec("PIL"), "PIL is not installed")
    def test_examples_run(self):
        environment = {**os.environ, "PYTHONPATH": str(TOP / "python"), "PYTHONDONTWRITEBYTECODE": "1"}
        for example in sorted(TOP.glob("examples/python/*.py")):
            if example.stem == "dask_chunks" and not all(map(importlib.util.find_spec, ("distributed", "zarr"))):
                continue
            with tempfile.TemporaryDirectory() as folder:
                run = subprocess.run([sys.executable, example, folder], env=environment, capture_output=True, text=True)
                self.assertEqual(run.returncode, 0, run.stderr)
                self.assertEqual(bool(list(pathlib.Path(folder).glob("*.png"))), example.stem != "noisy_picture")

    @unittest.skipUnless(shutil.which("mypy"), "mypy is not installed")
    def test_types(self):
        with tempfile.TemporaryDirectory() as cache:
            command = [
                "mypy",
                "--config-file",
                "pyproject.toml",
                "--cache-dir",
                cache,
                "veskaronr",
                "../examples/python",
            ]
            run = subprocess.run(command, cwd=TOP / "python", capture_output=True, text=True)
            self.assertEqual(run.returncode, 0, run.stdout)


if __name__ == "__main__":
    unittest.main()
