"""The keyer."""

import ctypes
import logging
import os
import threading
import weakref
from collections.abc import Mapping
from pathlib import Path
from types import TracebackType
from typing import Any, Literal

import numpy as np

from . import _pictures
from ._errors import ArgumentError, StateError, error_of
from ._module import FrameRecord, check, log_begin, module, quiet, reason
from ._params import Parameters, parameters
from ._pictures import Array

Use = Literal["key", "protect", "only"]
Order = Literal["RGB", "BGR"]

_USES = {"key": 0, "protect": 1, "only": 2}
_log = logging.getLogger("zchromakey")


_LAST_WAIT = 10  # seconds, as long as the module itself waits for a frame


class _Handle:
    """The module's keyer, and when it may be used: frames after each other, edits after each other, until its end."""

    def __init__(self, generation: int) -> None:
        self.frames, self.edits = threading.Lock(), threading.Lock()
        self._process = os.getpid()
        self._is_open, self._is_end = True, False
        self._keyer = ctypes.c_void_p()
        check(module().zck_open(generation, ctypes.byref(self._keyer)))

    def get(self) -> ctypes.c_void_p:
        """The keyer, for calls under one of the locks."""
        if self._is_end:
            raise SystemExit  # Python ends, and with it, without a word, the thread that is still keying
        if not self._is_open:
            raise StateError("the keyer is closed")
        if os.getpid() != self._process:
            raise StateError("the keyer was made in another process; make one in each")
        return self._keyer

    def close(self) -> None:
        """Ends the keyer, under both locks. Not in a child of its process, where its threads are missing."""
        if self._is_open and os.getpid() == self._process:
            module().zck_close(self._keyer)
        self._is_open = False

    def close_unused(self) -> None:
        """The same for a keyer that nobody holds, or at the end of Python, when threads may be in the midst of a frame."""
        if os.getpid() != self._process or not self.frames.acquire(timeout=_LAST_WAIT):
            return
        with self.edits:
            self._is_end = self._is_open
            self.close()
        self.frames.release()


class Keyer:
    """Keys pictures, one after the other: a clip, a camera, or stills.

    keys: a key file, as `save_file` and zkhost write them. generation: 2 unmixes backdrop and foreground, 1 keys boxes
    of colours. order: of the channels in all arrays, "RGB" (with alpha R, G, B, A) or "BGR"; arrays of the latter are
    used without a copy. params and options: by name, as `params` and `set_option` take them.

    Unless something else says what to key, the backdrop is looked for in the first frame, and again in each one until
    it is found; frames without one come back as they are.

    From any thread: frames are keyed one after the other, and edits take effect with the next one. Other threads of
    Python run meanwhile. A keyer belongs to the process that made it.

    >>> import numpy as np
    >>> frame = np.full((180, 320, 3), (29, 148, 56), np.uint8)
    >>> frame[60:, 120:200] = (200, 60, 40)
    >>> with Keyer(params={"spill": 80}, options={"process.threads": 4}) as keyer:
    ...     alpha = keyer.mask(frame)
    >>> alpha[[20, 120], [20, 160]].tolist()
    [0, 255]
    """

    def __init__(
        self,
        keys: str | os.PathLike[str] | None = None,
        *,
        generation: int = 2,
        order: Order = "RGB",
        params: Mapping[str, Any] | None = None,
        options: Mapping[str, Any] | None = None,
    ) -> None:
        if order not in ("RGB", "BGR"):
            raise ArgumentError(f'order is "RGB" or "BGR", not {order!r}')
        log_begin()
        self._module = module()
        self._is_rgb = order == "RGB"
        self._is_auto, self._is_told = True, False
        self._info = parameters(generation)
        self._handle = _Handle(generation)
        weakref.finalize(self, self._handle.close_unused)
        if keys is not None:
            self.load_file(keys)
        self.params.update(params or {})
        for name, value in (options or {}).items():
            self.set_option(name, value)

    def __enter__(self) -> "Keyer":
        return self

    def __exit__(
        self, _type: type[BaseException] | None, _error: BaseException | None, _trace: TracebackType | None
    ) -> None:
        self.close()

    def __reduce__(self) -> Any:
        raise TypeError("a keyer cannot be sent to another process; make one there, and send its document: save()")

    def close(self) -> None:
        """Gives back threads and memory; waits for the frame under way. What comes afterwards raises StateError."""
        with self._handle.frames, self._handle.edits:
            self._handle.close()

    # Frames

    def process(
        self,
        frame: Any,
        out: Array | None = None,
        *,
        mask: Array | None = None,
        dtype: type | None = None,
    ) -> Array:
        """The picture with its backdrop transparent: height x width x 4, straight alpha ("output.premultiplied").

        frame: height x width x 3 or 4 of uint8 or uint16; a fourth channel is an alpha to begin with, which the
        parameter "alpha" says what becomes of. Sizes may change from frame to frame. out: takes the result, and may be
        the frame itself; mask: takes alpha as well, height x width of uint8. dtype: of the result, uint8 or uint16;
        the frame's unless given. The first generation's 16 bits hold no more than its 8.
        """
        picture = _pictures.source(frame, self._is_rgb)
        if dtype not in (None, np.uint8, np.uint16):
            raise TypeError(f"a result is of uint8 or uint16, not of {np.dtype(dtype)}")
        dtypes = (dtype or picture.dtype.type,) if out is None else (np.uint8, np.uint16)
        result = _pictures.result(out, picture.shape[:2] + (4,), dtypes, "out")
        if out is not None and np.may_share_memory(picture, result) and not _is_same(picture, result):
            picture = picture.copy()
        alpha = None if mask is None else _pictures.result(mask, picture.shape[:2], (np.uint8,), "mask")
        self._process_into(picture, result, alpha)
        return result

    def mask(self, frame: Any, out: Array | None = None) -> Array:
        """Alpha alone, height x width of uint8: 0 where the backdrop is, 255 what is opaque."""
        picture = _pictures.source(frame, self._is_rgb)
        alpha = _pictures.result(out, picture.shape[:2], (np.uint8,), "out")
        self._process_into(picture, None, alpha)
        return alpha

    def flush(self) -> None:
        """The next frame begins another shot: what was learned from those before is forgotten; keys are not."""
        self._edit("zck_flush")

    # Keys

    def key_auto(self, frame: Any) -> bool:
        """Finds the backdrop of a picture and makes it the key. False where there is none."""
        picture = _pictures.source(frame, self._is_rgb)
        return self._take_keys("zck_key_auto", _pictures.record(picture, self._is_rgb))

    def key_point(self, frame: Any, x: int, y: int, use: Use = "key") -> bool:
        """Takes the colour around a point, counted from the top left. False where that has it already.

        use: "key" for one more backdrop colour, "protect" for what stays solid although it is like the backdrop,
        "only" for the one backdrop colour in the place of all others.
        """
        picture = _pictures.source(frame, self._is_rgb)
        return self._key(use, "zck_key_point", _pictures.record(picture, self._is_rgb), x, y)

    def key_rect(self, frame: Any, x1: int, y1: int, x2: int, y2: int, use: Use = "key") -> bool:
        """Takes the colour of a rectangle, its right and bottom end not included: 0, 0, 8, 8 are 64 pixels."""
        picture = _pictures.source(frame, self._is_rgb)
        return self._key(use, "zck_key_rect", _pictures.record(picture, self._is_rgb), x1, y1, x2, y2)

    def key_color(self, color: str | tuple[int, int, int], use: Use = "only") -> bool:
        """Takes a colour: "#1D9438", or its red, green and blue of 0 to 255.

        >>> keyer = Keyer()
        >>> keyer.key_color("#1D9438"), keyer.key_color((29, 148, 56))
        (True, False)
        >>> keyer.key_color("green")
        Traceback (most recent call last):
        zchromakey.ArgumentError: a colour is "#RRGGBB" or three numbers of 0 to 255, not 'green'
        """
        return self._key(use, "zck_key_color", _color(color))

    def reset(self) -> None:
        """Removes keys, protected colours and regions, and sets parameters to their defaults; then keys itself again."""
        with self._handle.edits:
            self._call("zck_reset")
            self._is_auto, self._is_told = True, False

    def undo(self, steps: int = 1) -> int:
        """Takes edits back: how many there were."""
        return self._step(-steps)

    def redo(self, steps: int = 1) -> int:
        """Makes edits again that were taken back: how many there were."""
        return self._step(steps)

    # Parameters, options, documents

    @property
    def params(self) -> Parameters:
        """The parameters by name, to read and to set: params["shadows"] = 60, params["learn"] = "hold"."""
        return Parameters(self._info, self._edit)

    def set_option(self, name: str, value: object) -> None:
        """Sets an option of Docs/Options.md: "process.threads" to 4, "output.premultiplied" to True. None: its default.

        >>> Keyer().set_option("keying.borders", "8,0,8,0")
        Traceback (most recent call last):
        zchromakey.ArgumentError: crop the array instead of setting "keying.borders": frame[:, 8:-8]
        """
        if name == "keying.borders":
            raise ArgumentError('crop the array instead of setting "keying.borders": frame[:, 8:-8]')
        text = "" if value is None else str(value).lower() if isinstance(value, bool) else str(value)
        self._edit("zck_option_set", name.encode(), text.encode())

    def load(self, document: str) -> bool:
        """Takes keys, protected colours, parameters and regions from a document. False where it has none for this keyer.

        >>> keyer, another = Keyer(), Keyer()
        >>> keyer.key_color("#1D9438")
        True
        >>> another.load(keyer.save())
        True
        >>> another.save() == keyer.save()
        True
        """
        return self._take_keys("zck_load", document.encode())

    def load_file(self, path: str | os.PathLike[str]) -> bool:
        """The same from a file."""
        return self.load(Path(path).read_text(encoding="utf-8"))

    def save(self) -> str:
        """Keys, protected colours, parameters and regions as a document (XML), for `load` and zkhost."""
        needed = ctypes.c_size_t()
        with self._handle.edits:
            self._call("zck_save", None, 0, ctypes.byref(needed))
            text = ctypes.create_string_buffer(needed.value)
            self._call("zck_save", text, needed, None)
        return text.value.decode("utf-8")

    def save_file(self, path: str | os.PathLike[str]) -> None:
        """The same into a file."""
        Path(path).write_text(self.save(), encoding="utf-8")

    # Within

    def _call(self, function: str, *arguments: Any) -> bool:
        keyer = self._handle.get()
        return check(getattr(self._module, function)(keyer, *arguments), keyer)

    def _edit(self, function: str, *arguments: Any) -> bool:
        with self._handle.edits:
            return self._call(function, *arguments)

    def _take_keys(self, function: str, *arguments: Any) -> bool:
        with self._handle.edits:
            taken = self._call(function, *arguments)
            self._is_auto = self._is_auto and not taken
            return taken

    def _key(self, use: Use, function: str, *arguments: Any) -> bool:
        if use not in _USES:
            raise ArgumentError(f"use is one of {', '.join(_USES)}, not {use!r}")
        take = self._edit if use == "protect" else self._take_keys
        return take(function, *arguments, _USES[use])

    def _step(self, steps: int) -> int:
        done = ctypes.c_int()
        self._edit("zck_step", steps, ctypes.byref(done))
        return abs(done.value)

    def _record(self, array: Array | None) -> FrameRecord | None:
        return None if array is None else _pictures.record(array, self._is_rgb)

    def _process_into(self, picture: Array, result: Array | None, alpha: Array | None) -> None:
        to, mask = _direct(result), _direct(alpha)
        what = _pictures.record(picture, self._is_rgb)
        with self._handle.frames:
            keyer = self._handle.get()
            self._find_backdrop(what)
            answer = self._module.zck_process(keyer, what, self._record(to), self._record(mask))
            if answer < 0:
                raise error_of(answer, reason(keyer))
        if to is not None and self._is_rgb and not _pictures.is_rgba(to):
            _pictures.swap_red_blue(to)
        for array, made in ((result, to), (alpha, mask)):
            if array is not None and made is not None and array is not made:
                array[...] = made

    def _find_backdrop(self, picture: FrameRecord) -> None:
        if not self._is_auto:
            return
        with self._handle.edits, quiet():
            if not self._is_auto or self._call("zck_key_auto", picture):
                self._is_auto = False
                return
            why = reason(self._handle.get())
        if not self._is_told:
            _log.warning("no backdrop was found, so frames stay as they are until there is one: %s", why)
            self._is_told = True


def _is_same(picture: Array, result: Array) -> bool:
    return picture.ctypes.data == result.ctypes.data and picture.strides == result.strides


def _direct(array: Array | None) -> Array | None:
    return array if array is None or _pictures.is_direct(array) else np.empty(array.shape, array.dtype)


def _color(color: str | tuple[int, int, int]) -> int:
    try:
        channels = bytes.fromhex(color.removeprefix("#")) if isinstance(color, str) else bytes(color)
        red, green, blue = channels
        return red << 16 | green << 8 | blue
    except (ValueError, TypeError):
        raise ArgumentError(f'a colour is "#RRGGBB" or three numbers of 0 to 255, not {color!r}') from None
