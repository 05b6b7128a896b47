"""Arrays as the module's pictures. Its channels lie in the order B, G, R, A, those of four bytes also in R, G, B, A;
arrays are copied only where theirs do not."""

import ctypes
from typing import Any

import numpy as np
import numpy.typing as npt

from ._module import FORMAT_BGR, FORMAT_BGRA, FORMAT_BGRA_16, FORMAT_MASK, FORMAT_RGBA, FrameRecord

Array = npt.NDArray[Any]

_ROW_MOST = 2**31 - 1


def checked(frame: Any) -> Array:
    """The array, if it is a picture: height x width x 3 or 4 numbers of 8 or 16 bits."""
    array = np.asarray(frame)
    if array.dtype not in (np.uint8, np.uint16):
        raise TypeError(f"a picture is an array of uint8 or uint16, not of {array.dtype}")
    if array.ndim != 3 or array.shape[2] not in (3, 4) or array.size == 0:
        raise ValueError(f"a picture is an array of height x width x 3 or 4, not of {array.shape}")
    return array


def record(array: Array, is_rgb: bool) -> FrameRecord:
    """What the module is told of an array that it can use as it is. The array has to outlive the call.

    is_rgb: four bytes a pixel lie in the order R, G, B, A; everything else is in the module's order.
    """
    height, width, *channels = array.shape
    record = FrameRecord(size=ctypes.sizeof(FrameRecord), format=_format(array, is_rgb), width=width, height=height)
    record.planes[0] = array.ctypes.data
    record.row_bytes[0] = array.strides[0]
    return record


def is_rgba(array: Array) -> bool:
    """Whether the module has these pixels in the order R, G, B, A, too."""
    return array.dtype == np.uint8 and array.shape[2] == 4


def _format(array: Array, is_rgb: bool) -> int:
    if array.ndim == 2:
        return FORMAT_MASK
    if is_rgb and is_rgba(array):
        return FORMAT_RGBA
    if array.dtype == np.uint16:
        return FORMAT_BGRA_16
    return FORMAT_BGRA if array.shape[2] == 4 else FORMAT_BGR


def is_direct(array: Array) -> bool:
    """Whether the module can use an array as it lies: pixels without gaps, rows that do not overlap, up or down."""
    pixel = array.itemsize * (array.shape[2] if array.ndim == 3 else 1)
    row = abs(array.strides[0])
    return (
        array.strides[1] == pixel
        and (array.ndim == 2 or array.strides[2] == array.itemsize)
        and row >= pixel * array.shape[1]
        and row <= _ROW_MOST
        and array.flags.aligned
    )


def source(frame: Any, is_rgb: bool) -> Array:
    """The picture as `record` takes it: the array itself or a view of it where that can be, else a copy."""
    array = checked(frame)
    is_deep = array.dtype == np.uint16
    swaps = is_rgb and not is_rgba(array)
    colors = array[..., 2::-1] if swaps else array
    if is_direct(colors) and not (swaps and array.shape[2] == 4) and not (is_deep and array.shape[2] == 3):
        return colors
    copy = np.empty(array.shape[:2] + (4 if is_deep else array.shape[2],), array.dtype)
    for channel in range(3):
        copy[..., channel] = array[..., 2 - channel if swaps else channel]
    if copy.shape[2] == 4:
        copy[..., 3] = array[..., 3] if array.shape[2] == 4 else 65535
    return copy


def result(array: Array | None, shape: tuple[int, ...], dtypes: tuple[type, ...], what: str) -> Array:
    """The array that a result goes into: the caller's, if that is right for it, or a new one."""
    if array is None:
        return np.empty(shape, dtypes[0])
    if not isinstance(array, np.ndarray) or array.dtype not in dtypes:
        raise TypeError(f"{what} has to be an array of {' or '.join(np.dtype(each).name for each in dtypes)}")
    if array.shape != shape:
        raise ValueError(f"{what} has to be of {shape}, not of {array.shape}")
    if not array.flags.writeable:
        raise ValueError(f"{what} cannot be written to")
    return array


def swap_red_blue(array: Array) -> None:
    """R, G, B, A out of B, G, R, A, and the other way round, in place."""
    red = array[..., 2].copy()
    array[..., 2] = array[..., 0]
    array[..., 0] = red
