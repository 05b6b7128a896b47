"""The examples of Docs/examples run as they are, and clips that are keyed in chunks are those keyed in one run."""

import importlib.util
import os
import shutil
import sys
import tempfile
import unittest

import Support
import numpy as np
import zchromakey

EXAMPLES = Support.CHECKOUT / "Docs/examples"


class FarmTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.clip = Support.Clip(folder.name, 10)

    def run_example(self, *words, **environment):
        return Support.run(*words, cwd=self.clip.folder, env={**os.environ, **environment})

    def test_dask(self):
        if importlib.util.find_spec("distributed") is None:
            self.fail("the package python3-distributed is missing")
        self.run_example(
            sys.executable, EXAMPLES / "farm_dask.py", "clip.raw", "keyed.raw", "--size", "320x180", "--plate", "0,9",
            "--chunk", "4",
        )  # fmt: skip
        with zchromakey.Keyer(self.clip.keys, order="BGR") as keyer:
            for number in 0, 9:
                keyer.process(self.clip.frames[number])
            keyer.params["learn"] = "hold"
            wanted = [keyer.process(frame) for frame in self.clip.frames]
        self.assertTrue(np.array_equal(Support.frames_of(self.clip.folder / "keyed.raw"), wanted))

    def test_parallel(self):
        self.assertTrue(shutil.which("parallel"), "the package parallel is missing")
        sample = "zkhost", "sample", "-o", "clip.y4m", "--size", "320x180", "--frames", "10"
        self.run_example(*sample)
        self.run_example("zkhost", "key", "clip.y4m", "-o", "plate_%05d.png", "--keys", "keys.xml", "--view", "plate")
        known = {"CHUNK": "4", "PLATE": "plate_00009.png", "KEYS": "keys.xml"}
        for environment in known, {"CHUNK": "4"}:
            self.run_example(EXAMPLES / "farm_parallel.sh", "clip.y4m", "keyed.raw", **environment)
            keyed = Support.frames_of(self.clip.folder / "keyed.raw")
            if environment is known:
                options = "--keys", "keys.xml", "--plate", "plate_00009.png", "--param", "learn=hold"
                self.run_example("zkhost", "key", "clip.y4m", "-o", "wanted.raw", *options)
                wanted = Support.frames_of(self.clip.folder / "wanted.raw")
                self.assertTrue(np.array_equal(keyed, wanted))
        # With a plate of its own it finds out the same, but for the plate's rounding.
        self.assertEqual(keyed.shape, wanted.shape)
        self.assertLess(np.abs(keyed[..., 3].astype(int) - wanted[..., 3]).mean(), 1)

    def test_notebook(self):
        output = self.run_example(sys.executable, EXAMPLES / "keying.py")
        self.assertRegex(output, r"[34]\d% backdrop, 1\d% solid")
        self.assertEqual((self.clip.folder / "keying.png").read_bytes()[:8], b"\x89PNG\r\n\x1a\n")


if __name__ == "__main__":
    unittest.main()
