"""The package zchromakey against zkhost, and what goes wrong in scripts."""

import doctest
import logging
import os
import pathlib
import pickle
import subprocess
import sys
import tempfile
import threading
import unittest

import Support
import numpy as np
import zchromakey
from zchromakey import _keyer, _module, _params


def in_python(script, **environment):
    """Runs a script in a process of its own: its exit status, and all that it wrote."""
    done = subprocess.run(
        [sys.executable, "-W", "ignore::DeprecationWarning", "-c", script],  # from 3.12 on a fork warns of threads
        env={**os.environ, **environment},
        stdout=subprocess.PIPE,
        stderr=subprocess.STDOUT,
        timeout=60,
    )
    return done.returncode, done.stdout.decode()


class KeyerTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        logging.getLogger("zchromakey").addHandler(logging.NullHandler())  # errors are wanted here
        cls.folder = tempfile.TemporaryDirectory()
        cls.clip = Support.Clip(cls.folder.name, 4)
        cls.wanted = cls.clip.keyed("--keys", cls.clip.keys)

    @classmethod
    def tearDownClass(cls):
        cls.folder.cleanup()

    def assertSame(self, one, another):
        self.assertTrue(np.array_equal(one, another), "results differ")

    def test_documentation_is_true(self):
        modules = zchromakey, _keyer, _module, _params
        ran = [doctest.testmod(module, optionflags=doctest.ELLIPSIS) for module in modules]
        os.chdir(self.enterContext(tempfile.TemporaryDirectory()))
        page = Support.CHECKOUT / "Docs/shells/python.md"
        text = page.read_text().replace("```", "\n")  # a fence would be taken for output
        parsed = doctest.DocTestParser().get_doctest(text, {}, page.name, str(page), 0)
        ran.append(doctest.DocTestRunner(optionflags=doctest.ELLIPSIS).run(parsed))
        self.assertEqual([each.failed for each in ran], [0] * len(ran))
        self.assertTrue(all(each.attempted for each in ran))

    def test_keys_as_zkhost_does(self):
        clip = self.clip.frames
        with zchromakey.Keyer(self.clip.keys) as rgb, zchromakey.Keyer(self.clip.keys, order="BGR") as bgr:
            for frame, wanted in zip(clip, self.wanted):
                self.assertSame(rgb.process(frame[..., 2::-1])[..., [2, 1, 0, 3]], wanted)
                mask = np.zeros(frame.shape[:2], np.uint8)
                self.assertSame(bgr.process(frame, mask=mask), wanted)
                self.assertSame(mask, wanted[..., 3])

    def test_what_options_ask_for(self):
        frame = self.clip.frames[0][..., 2::-1]
        with zchromakey.Keyer(generation=1) as first:
            self.assertSame(first.process(frame)[..., [2, 1, 0, 3]], self.clip.keyed("--keyer", 1)[0])
        with zchromakey.Keyer(params={"shadows": 70}) as deep:  # it finds the backdrop itself
            wanted = self.clip.keyed("--param", "shadows=70", "--bits", 16, dtype=np.uint16)
            self.assertSame(deep.process(frame, dtype=np.uint16), wanted[0])
        with zchromakey.Keyer(self.clip.keys, options={"output.premultiplied": True}) as keyer:
            wanted = self.clip.keyed("--keys", self.clip.keys, "--set", "output.premultiplied=true")
            self.assertSame(keyer.process(frame)[..., [2, 1, 0, 3]], wanted[0])

    def test_arrays_of_any_layout_and_size(self):
        frame, wanted = self.clip.frames[0], self.wanted[0]
        wide = np.zeros((Support.HEIGHT, Support.WIDTH + 16, 4), np.uint8)
        wide[:, 8:-8] = frame
        upside_down = np.ascontiguousarray(frame[::-1])[::-1]
        layouts = wide[:, 8:-8], upside_down, np.asfortranarray(frame), frame.astype(np.uint16)[..., :3] * 257
        with zchromakey.Keyer(self.clip.keys, order="BGR") as keyer:
            for layout in layouts:
                keyer.flush()
                self.assertSame(keyer.process(layout, dtype=np.uint8), wanted)
                keyer.process(layout[:90, :100])  # another size in between
            keyer.flush()
            out = wide[:, 8:-8]
            self.assertIs(keyer.process(frame, out), out)
            self.assertSame(out, wanted)
            self.assertFalse(wide[:, :8].any() or wide[:, -8:].any())
            memory = np.concatenate([frame, frame[:2]])  # a result that begins two rows below what it is made of
            keyer.flush()
            self.assertSame(keyer.process(memory[:-2], memory[2:]), wanted)

    def test_keyers_in_threads(self):
        results = {}

        def key(name):
            with zchromakey.Keyer(self.clip.keys, order="BGR") as keyer:
                results[name] = [keyer.process(frame) for frame in self.clip.frames]

        threads = [threading.Thread(target=key, args=(name,)) for name in range(2)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        for name in range(2):
            self.assertSame(results[name], self.wanted)

    def test_steps_and_documents(self):
        frame = self.clip.frames[0]
        with zchromakey.Keyer(order="BGR") as keyer:
            empty = keyer.save()
            self.assertTrue(keyer.key_rect(frame, 4, 4, 24, 12, "only"))
            keyer.params["choke"] = 2
            edited = keyer.save()
            self.assertEqual((keyer.undo(9), keyer.save()), (2, empty))
            self.assertEqual((keyer.redo(9), keyer.save()), (2, edited))
            keyer.reset()
            self.assertEqual(keyer.save(), empty)
            path = pathlib.Path(self.folder.name, "edited.xml")
            path.write_text(edited)
            self.assertTrue(keyer.load_file(path))
            self.assertSame(keyer.process(frame), self.clip.keyed("--keys", path)[0])

    def test_wrong_arguments(self):
        frame = self.clip.frames[0]
        keyer = zchromakey.Keyer(self.clip.keys, order="BGR")
        read_only = np.zeros_like(frame)
        read_only.flags.writeable = False
        for error, text, call in (
            (TypeError, "float64", lambda: keyer.process(frame / 255)),
            (ValueError, "3 or 4", lambda: keyer.process(frame[..., 0])),
            (ValueError, "3 or 4", lambda: keyer.process(frame[:0])),
            (ValueError, "180, 320", lambda: keyer.process(frame, np.zeros((9, 9, 4), np.uint8))),
            (ValueError, "written", lambda: keyer.process(frame, read_only)),
            (TypeError, "another process", lambda: pickle.dumps(keyer)),
            (TypeError, "float32", lambda: keyer.process(frame, dtype=np.float32)),
            (zchromakey.ArgumentError, "choke", lambda: keyer.params.update(choke=99)),
            (zchromakey.ArgumentError, "hold", lambda: keyer.params.update(learn="never")),
            (KeyError, "spill_balance", lambda: keyer.params["brightness"]),
            (zchromakey.ArgumentError, "process.thread", lambda: keyer.set_option("process.thread", 2)),
            (zchromakey.ArgumentError, "", lambda: keyer.key_point(frame, 320, 0)),
            (zchromakey.ArgumentError, "protect", lambda: keyer.key_color("#00FF00", "remove")),
            (zchromakey.ArgumentError, "RGB", lambda: zchromakey.Keyer(order="RGBA")),
            (zchromakey.Error, "", lambda: zchromakey.Keyer(generation=3)),
            (zchromakey.Error, "", lambda: keyer.load("no document")),
            (FileNotFoundError, "missing.xml", lambda: zchromakey.Keyer("missing.xml")),
        ):
            with self.assertRaisesRegex(error, text) as caught:
                call()
            self.assertTrue(str(caught.exception))
        self.assertSame(keyer.process(frame), self.wanted[0])  # nothing of it is left
        keyer.close()
        keyer.close()
        with self.assertRaisesRegex(zchromakey.StateError, "closed"):
            keyer.process(frame)

    def test_no_backdrop_is_said_once(self):
        grey = np.full((90, 160, 3), 128, np.uint8)
        with zchromakey.Keyer() as keyer, self.assertLogs("zchromakey", "WARNING") as log:
            for _ in range(3):
                self.assertTrue((keyer.process(grey) == [128, 128, 128, 255]).all())
            self.assertEqual(len(log.output), 1, log.output)
            frame = self.clip.frames[0][..., 2::-1]
            self.assertSame(keyer.process(frame)[..., [2, 1, 0, 3]], self.wanted[0])  # it comes later

    def test_module_that_is_missing_or_another(self):
        for place, text in (("/nowhere/libZChromaKey.so", "/nowhere"), ("libc.so.6", "another version")):
            script = "import zchromakey\ntry: zchromakey.Keyer()\nexcept zchromakey.ModuleMissing as why: print(why)"
            status, output = in_python(script, ZCHROMAKEY_MODULE=place)
            self.assertEqual(status, 0, output)
            self.assertRegex(output, f"{text}.*ZCHROMAKEY_MODULE")

    def test_programs_that_end_in_the_middle(self):
        begin = "import numpy as np, os, threading, zchromakey\nkeyer = zchromakey.Keyer()\n"
        begin += "frame = np.full((1080, 1920, 3), (29, 148, 56), np.uint8)\nkeyer.process(frame)\n"
        for end in (
            "def key():\n while True: keyer.process(frame)\nthreading.Thread(target=key, daemon=True).start()",
            "if os.fork() == 0:\n try: keyer.process(frame)\n except zchromakey.StateError: print('another process')",
        ):
            status, output = in_python(begin + end)
            self.assertEqual((status, output), (0, "another process\n" if "fork" in end else ""))

    def test_installed_package_finds_its_module(self):
        prefix = pathlib.Path(self.folder.name, "prefix")
        Support.run("cmake", "--install", os.environ["ZCK_BUILD"], "--prefix", prefix)
        script = "import zchromakey; print(zchromakey.__file__, zchromakey._module.places()[0], zchromakey.version())"
        status, output = in_python(
            script, ZCHROMAKEY_MODULE="", PYTHONPATH=str(prefix / "lib/python3/dist-packages"), PATH="/usr/bin:/bin"
        )
        self.assertEqual(status, 0, output)
        package, module, _, version = output.split()
        self.assertTrue(package.startswith(str(prefix)) and module.startswith(str(prefix)), output)
        self.assertRegex(version, r"^\d+\.\d+\.\d+$")


if __name__ == "__main__":
    unittest.main()
