"""Parameters by their names, with what the module knows about them."""

import ctypes
from collections.abc import Callable, Iterator, MutableMapping
from dataclasses import dataclass

from ._errors import ArgumentError
from ._module import ParamRecord, check, module


@dataclass(frozen=True)
class Parameter:
    """What a parameter takes. `least` and `most` are the ends of its range, `initial` what it is in a new keyer.

    `choices` are the names of the values from 0 on, where it is a choice; `unit` is "%", "pixels" or "".
    """

    name: str
    least: float
    most: float
    initial: float
    whole: bool
    unit: str
    choices: tuple[str, ...]
    help: str

    def value_of(self, value: float | str) -> float:
        """The number for a value, which may be the name of a choice. Ranges are looked after by the module.

        >>> parameters()["learn"].value_of("hold")
        1.0
        """
        if not isinstance(value, str):
            return float(value)
        if value in self.choices:
            return float(self.choices.index(value))
        raise ArgumentError(f'"{self.name}" does not take "{value}", but {self._takes()}')

    def _takes(self) -> str:
        return " ".join(self.choices) or f"{self.least:g} to {self.most:g} {self.unit}".rstrip()


def _parameter(record: ParamRecord) -> Parameter:
    return Parameter(
        name=record.name.decode(),
        least=record.least,
        most=record.most,
        initial=record.initial,
        whole=bool(record.whole),
        unit=(record.unit or b"").decode(),
        choices=tuple((record.choices or b"").decode().split()),
        help=(record.help or b"").decode(),
    )


def parameters(generation: int = 2) -> dict[str, Parameter]:
    """The parameters of a generation, by name. For the first one they are its adjustments.

    >>> parameters()["shadows"]  # doctest: +ELLIPSIS
    Parameter(name='shadows', least=0.0, most=100.0, initial=0.0, whole=False, unit='%', choices=(), help=...)
    >>> parameters()["learn"].choices
    ('on', 'hold', 'restart')
    """
    found: dict[str, Parameter] = {}
    record = ParamRecord(size=ctypes.sizeof(ParamRecord))
    while check(module().zck_param_info(generation, len(found), ctypes.byref(record))):
        parameter = _parameter(record)
        found[parameter.name] = parameter
    return found


class Parameters(MutableMapping[str, float]):
    """The parameters of a keyer, by name: numbers within their ranges, or names of choices. Deleting one sets it back.

    >>> import zchromakey
    >>> keyer = zchromakey.Keyer()
    >>> keyer.params["shadows"] = 60
    >>> keyer.params["learn"] = "hold"
    >>> keyer.params["shadows"], keyer.params["learn"]
    (60.0, 1.0)
    >>> keyer.params["shadows"] = 400
    Traceback (most recent call last):
    zchromakey.ArgumentError: ...
    >>> del keyer.params["shadows"]
    >>> keyer.params["shadows"]
    0.0
    """

    def __init__(self, known: dict[str, Parameter], call: Callable[..., bool]) -> None:
        self._known = known
        self._call = call

    def info(self, name: str) -> Parameter:
        """What a parameter takes. KeyError where there is none of that name."""
        if name not in self._known:
            raise KeyError(f'there is no parameter "{name}"; there are {", ".join(self._known)}')
        return self._known[name]

    def __getitem__(self, name: str) -> float:
        value = ctypes.c_double()
        self._call("zck_param_get", self.info(name).name.encode(), ctypes.byref(value))
        return value.value

    def __setitem__(self, name: str, value: float | str) -> None:
        self._call("zck_param_set", name.encode(), self.info(name).value_of(value))

    def __delitem__(self, name: str) -> None:
        self[name] = self.info(name).initial

    def __iter__(self) -> Iterator[str]:
        return iter(self._known)

    def __len__(self) -> int:
        return len(self._known)

    def __repr__(self) -> str:
        return f"{{{', '.join(f'{name}={value:g}' for name, value in self.items())}}}"
