"""What both tests share: scenes and results of zkhost, and a sentence where a Debian package is missing."""

import pathlib
import subprocess
import sys

try:
    import numpy as np
except ImportError:
    sys.exit("the package python3-numpy is missing")

CHECKOUT = pathlib.Path(__file__).parents[3]
WIDTH, HEIGHT = 320, 180


def run(*words, **options):
    """Runs a command; what it writes is shown only where it fails."""
    done = subprocess.run([str(word) for word in words], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, **options)
    if done.returncode != 0:
        raise AssertionError(f"{words} ended with {done.returncode}: {done.stdout.decode()}")
    return done.stdout.decode()


def frames_of(path, dtype=np.uint8):
    """The frames of a file of raw pictures of four channels."""
    return np.fromfile(path, dtype).reshape(-1, HEIGHT, WIDTH, 4)


class Clip:
    """A drawn clip in a folder of its own, its keys, and what zkhost makes of it."""

    def __init__(self, folder, frames):
        self.folder = pathlib.Path(folder)
        self.raw, self.keys = self.folder / "clip.raw", self.folder / "keys.xml"
        run("zkhost", "sample", "-o", self.raw, "--size", f"{WIDTH}x{HEIGHT}", "--frames", frames, "--format", "RGB32")
        run("zkhost", "detect", self.raw, "--in", f"RGB32:{WIDTH}x{HEIGHT}", "-o", self.keys)
        self.frames = frames_of(self.raw)

    def keyed(self, *options, dtype=np.uint8):
        out = self.folder / "wanted.raw"
        run("zkhost", "key", self.raw, "--in", f"RGB32:{WIDTH}x{HEIGHT}", "-o", out, *options)
        return frames_of(out, dtype)
