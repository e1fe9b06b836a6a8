"""What callers hand over, as the arrays that the library takes, or an exception that says what is wrong."""

import numpy as np

from . import _core

NONE = np.empty(0)


def numbers(name, given):
    """Real numbers as a float64 array; copies only what is something else."""
    if type(given) is np.ndarray and given.dtype == np.float64 and given.dtype.isnative and given.flags.aligned:
        return given
    if given is None:
        raise TypeError(f"{name} is None")
    if np.ma.is_masked(given):
        raise ValueError(f"{name} has masked elements: leave them out")
    array = np.asarray(given)
    if array.dtype.kind == "c":
        raise TypeError(f"{name} is complex: take its real and imaginary parts one by one")
    if array.dtype.kind in "USMm":
        raise TypeError(f"{name} holds {array.dtype}, not numbers")
    try:
        return array.astype(np.float64)
    except (TypeError, ValueError) as why:
        raise type(why)(f"{name} holds something that is not a real number") from why


def contiguous(name, given):
    return np.asarray(numbers(name, given), order="C")


def finite(name, array):
    """The same array, if all its elements are finite."""
    if array.flags.c_contiguous and _core.all_finite(array):
        return array
    bad = ~np.isfinite(array)
    if bad.any():
        where = np.unravel_index(int(np.argmax(bad)), array.shape)
        place = f"[{', '.join(map(str, where))}]" if where else ""
        raise ValueError(f"{name}{place} = {float(array[where])!r} is not finite")
    return array


def result(shape, out):
    """Where to compute results of a shape: (array, True if it must be copied to out afterwards)."""
    if out is None:
        return np.empty(shape), False
    if not isinstance(out, np.ndarray):
        raise TypeError(f"out must be a NumPy array, not {type(out).__name__}")
    if out.shape != tuple(shape):
        raise ValueError(f"out has shape {out.shape}; it must have {tuple(shape)}")
    if not out.flags.writeable:
        raise ValueError("out is read-only")
    if not np.can_cast(np.float64, out.dtype, "same_kind"):
        raise TypeError(f"out holds {out.dtype}, which takes no floating-point numbers")
    return out, True
