"""A chroma keyer for numpy arrays: the green, blue or any other backdrop of a picture becomes transparent.

A picture is an array of height x width x 3 or 4 numbers of 8 or 16 bits, the channels in the order R, G, B, A unless
"BGR" is asked for. What comes back has four channels: the colours without the backdrop's tint, and straight alpha.

>>> import numpy as np
>>> import zchromakey
>>> frame = np.full((180, 320, 3), (29, 148, 56), np.uint8)  # a green wall,
>>> frame[60:, 120:200] = (200, 60, 40)  # and something red before it
>>> with zchromakey.Keyer() as keyer:
...     rgba = keyer.process(frame)
>>> rgba.shape
(180, 320, 4)
>>> rgba[20, 20].tolist(), rgba[120, 160].tolist()
([0, 0, 0, 0], [200, 58, 40, 255])

Nothing had to be said, for the backdrop was found, and its tint taken out of what stays. Keys, protected colours and parameters say the rest: see Keyer.

What the keyer's module logs goes to Python's logging, under the name "zchromakey". How much of it, each new keyer asks
that logger: logging.getLogger("zchromakey").setLevel(logging.DEBUG).
"""

from ._errors import ArgumentError, BusyError, Error, FormatError, ModuleMissing, OutOfMemory, StateError
from ._keyer import Keyer
from ._module import version
from ._params import Parameter, Parameters, parameters

__all__ = [
    "ArgumentError",
    "BusyError",
    "Error",
    "FormatError",
    "Keyer",
    "ModuleMissing",
    "OutOfMemory",
    "Parameter",
    "Parameters",
    "StateError",
    "parameters",
    "version",
]
