"""Tridiagonal systems."""

from __future__ import annotations

from typing import TYPE_CHECKING

import numpy as np

from . import _core
from ._arrays import contiguous, numbers

if TYPE_CHECKING:
    import numpy.typing as npt


class SingularMatrixError(ValueError, np.linalg.LinAlgError):
    """A pivot is zero, or not a number."""


def solve_tridiagonal(
    dl: npt.ArrayLike, d: npt.ArrayLike, du: npt.ArrayLike, b: npt.ArrayLike
) -> npt.NDArray[np.float64]:
    """Solves A x = b without pivoting, for matrices that need none, such as diagonally dominant ones.

    Parameters
    ----------
    dl, d, du : array_like, shapes (n - 1,), (n,), (n - 1,)
        The diagonal below the main one, the main one, the one above.
    b : array_like, shape (n, ...)
        Right-hand sides, along the first axis.

    Returns
    -------
    ndarray
        The solutions, of the shape of b.

    Examples
    --------
    >>> from ravenfit import solve_tridiagonal
    >>> solve_tridiagonal([1, 1], [4, 4, 4], [1, 1], [6, 12, 14])
    array([1., 2., 3.])
    """
    dl, d, du = (contiguous(name, given) for name, given in (("dl", dl), ("d", d), ("du", du)))
    b = numbers("b", b)
    for name, array in (("dl", dl), ("d", d), ("du", du)):
        if array.ndim != 1:
            raise ValueError(f"{name} has {array.ndim} dimensions; it must have 1")
    for name, array in (("dl", dl), ("du", du)):
        if len(array) != max(len(d) - 1, 0):
            raise ValueError(f"{name} has {len(array)} elements; it must have one less than d, which has {len(d)}")
    if b.ndim == 0 or len(b) != len(d):
        raise ValueError(f"b has shape {b.shape}; its first axis must have {len(d)} elements, as d has")
    if b.size == 0:
        return b.copy()
    columns = b.reshape(len(d), -1).T.copy()
    row = _core.solve_tridiagonal(dl, d, du, columns)
    if row >= 0:
        raise SingularMatrixError(f"the pivot of row {row} is zero or not a number")
    return np.ascontiguousarray(columns.T).reshape(b.shape)
