"""Splines, random streams and tridiagonal systems, with SciPy's and NumPy's words.

>>> from ravenfit import CubicSpline
>>> CubicSpline([0, 1, 2, 3], [0, 1, 4, 9])(1.5)
2.25
"""

from __future__ import annotations

from typing import Any

from . import _core
from .plots import compare
from .solver import SingularMatrixError, solve_tridiagonal
from .splines import *  # noqa: F401,F403
from .splines import __all__ as _splines

__version__ = _core.version()
__all__ = [*_splines, "SingularMatrixError", "compare", "info", "solve_tridiagonal"]


def info() -> dict[str, Any]:
    """Version of the library, level of its kernels (0 to 10), and what the processor has of the features that matter.

    Examples
    --------
    >>> import ravenfit
    >>> sorted(ravenfit.info())
    ['features', 'level', 'version']
    """
    return {"version": _core.version(), "level": _core.level(), "features": _core.features()}
