"""Finds and loads the keyer's module, and says what its functions take (Sdk/ZChromaKeyC.h)."""

import atexit
import contextlib
import ctypes
import logging
import os
import sys
import threading
from collections.abc import Iterator
from ctypes import POINTER, c_char_p, c_double, c_int, c_int32, c_size_t, c_uint32, c_void_p
from pathlib import Path

from ._errors import ModuleMissing, error_of

OK, NOTHING = 0, 1

FORMAT_MASK = 0xE436EB7A  # a byte a pixel
FORMAT_BGR = 0xE436EB7D
FORMAT_BGRA = 0x773C9AC0
FORMAT_BGRA_16 = 0x01343641
FORMAT_RGBA = 0x01323352

_log = logging.getLogger("zchromakey")


class FrameRecord(ctypes.Structure):
    """zck_frame."""

    _fields_ = [
        ("size", c_uint32),
        ("format", c_uint32),
        ("width", c_int32),
        ("height", c_int32),
        ("planes", c_void_p * 4),
        ("row_bytes", c_int32 * 4),
        ("fields", c_int32),
        ("matrix", c_int32),
        ("range", c_int32),
        ("reserved", c_int32),
    ]


class ParamRecord(ctypes.Structure):
    """zck_param."""

    _fields_ = [
        ("size", c_uint32),
        ("whole", c_int32),
        ("least", c_double),
        ("most", c_double),
        ("initial", c_double),
        ("name", c_char_p),
        ("unit", c_char_p),
        ("choices", c_char_p),
        ("help", c_char_p),
    ]


_KEYER, _FRAME = c_void_p, POINTER(FrameRecord)
_LOG = ctypes.CFUNCTYPE(None, c_void_p, c_int, c_char_p)

_FUNCTIONS = {  # what each one answers, and what it takes
    "zck_version": (c_char_p,),
    "zck_log_set": (c_int, _LOG, c_void_p, c_int),
    "zck_open": (c_int, c_int, POINTER(_KEYER)),
    "zck_close": (None, _KEYER),
    "zck_last_error": (c_char_p, _KEYER),
    "zck_option_set": (c_int, _KEYER, c_char_p, c_char_p),
    "zck_param_set": (c_int, _KEYER, c_char_p, c_double),
    "zck_param_get": (c_int, _KEYER, c_char_p, POINTER(c_double)),
    "zck_param_info": (c_int, c_int, c_int, POINTER(ParamRecord)),
    "zck_key_auto": (c_int, _KEYER, _FRAME),
    "zck_key_point": (c_int, _KEYER, _FRAME, c_int, c_int, c_int),
    "zck_key_rect": (c_int, _KEYER, _FRAME, c_int, c_int, c_int, c_int, c_int),
    "zck_key_color": (c_int, _KEYER, c_uint32, c_int),
    "zck_reset": (c_int, _KEYER),
    "zck_step": (c_int, _KEYER, c_int, POINTER(c_int)),
    "zck_load": (c_int, _KEYER, c_char_p),
    "zck_save": (c_int, _KEYER, c_char_p, c_size_t, POINTER(c_size_t)),
    "zck_process": (c_int, _KEYER, _FRAME, _FRAME, _FRAME),
    "zck_flush": (c_int, _KEYER),
}

_FILE = "ZChromaKey.dll" if sys.platform == "win32" else "libZChromaKey.so"
_LEVELS = {1: logging.ERROR, 2: logging.WARNING, 3: logging.INFO, 4: logging.DEBUG}


def places() -> list[str]:
    """Where the module may be, the likeliest place first. A place that the environment names is the only one."""
    named = os.environ.get("ZCHROMAKEY_MODULE")
    if named:
        return [named]
    found = []
    folder = Path(__file__).resolve().parent
    for above in [folder, *folder.parents[:4]]:  # beside the package; PREFIX/lib above PREFIX/lib/python3/dist-packages
        found += [above / _FILE, above / "bin" / _FILE]
        found += sorted(above.glob(f"*-linux-*/{_FILE}"))
    return [str(path) for path in found if path.is_file()] + [_FILE]


def _load() -> ctypes.CDLL:
    tried = []
    for place in places():
        try:
            library = ctypes.CDLL(place)
            for name, (result, *arguments) in _FUNCTIONS.items():
                function = getattr(library, name)
                function.restype, function.argtypes = result, arguments
            return library
        except AttributeError as reason:
            tried.append(f"{place} has not all functions of the C interface: another version ({reason})")
        except OSError as reason:
            tried.append(str(reason))
    raise ModuleMissing(
        f"the keyer's module was not found; {'; '.join(tried)}; "
        "put it beside the package zchromakey, or name its file in the variable ZCHROMAKEY_MODULE"
    )


_quiet = threading.local()


@contextlib.contextmanager
def quiet() -> Iterator[None]:
    """What the module logs in this thread meanwhile is dropped: for what the caller says itself, and says once."""
    _quiet.on = True
    try:
        yield
    finally:
        _quiet.on = False


def _log_line(_user: object, level: int, line: bytes) -> None:
    if getattr(_quiet, "on", False):
        return
    _log.log(_LEVELS.get(level, logging.DEBUG), "%s", line.decode("utf-8", "replace").rstrip())


_take_line = _LOG(_log_line)  # stays, for the module calls it
_take_none = ctypes.cast(c_void_p(), _LOG)

_lock = threading.Lock()
_library: ctypes.CDLL | None = None


def module() -> ctypes.CDLL:
    """The loaded module. Raises ModuleMissing; it is looked for again with the next call."""
    global _library
    with _lock:
        if _library is None:
            _library = _load()
            # No line may come when Python itself is gone. Keyers made later are closed before that.
            atexit.register(_library.zck_log_set, _take_none, None, 0)
        return _library


def log_begin() -> None:
    """Sends the module's log to Python's, as much of it as Python's wants now."""
    wanted = [level for level, python in _LEVELS.items() if _log.isEnabledFor(python)]
    module().zck_log_set(_take_line, None, max(wanted, default=0))


def check(result: int, keyer: c_void_p | None = None) -> bool:
    """Whether a call changed something. Raises what it answered when that is an error."""
    if result < 0:
        raise error_of(result, reason(keyer))
    return result == OK


def reason(keyer: c_void_p | None = None) -> str:
    """Why the last call with a keyer did not answer OK."""
    return str(module().zck_last_error(keyer) or b"", "utf-8", "replace")


def version() -> str:
    """The module's name and version.

    >>> version().split()[0]
    'ZChromaKey'
    """
    return str(module().zck_version(), "utf-8")
