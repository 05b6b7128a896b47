"""What goes wrong, as exceptions. Their text is the reason that the module gives."""


class Error(Exception):
    """What the module could not do. `code` is the number that it answered."""

    def __init__(self, text: str, code: int = 0) -> None:
        super().__init__(text)
        self.code = code


class ModuleMissing(Error, ImportError):
    """The keyer's module was not found, or is of another version."""


class ArgumentError(Error, ValueError):
    """An argument is not one of those that are right."""


class FormatError(Error, ValueError):
    """A kind of picture that the keyer does not take, or not for this."""


class StateError(Error, RuntimeError):
    """Not as things are: the keyer is closed, or all of its sixteen colours are in use."""


class OutOfMemory(Error, MemoryError):
    """There is not enough memory."""


class BusyError(Error, TimeoutError):
    """The frame before has not come to its end for ten seconds."""


_CLASSES = {-1: ArgumentError, -2: StateError, -3: FormatError, -4: OutOfMemory, -5: BusyError}

for _class in (Error, ModuleMissing, *_CLASSES.values()):
    _class.__module__ = "zchromakey"  # the name that programs know them by


def error_of(code: int, text: str) -> Error:
    """The exception for what the module answered."""
    return _CLASSES.get(code, Error)(text or f"the module answered {code} and gave no reason", code)
