"""Quasi-random points where SciPy takes its own: engines for `scipy.stats.qmc`, which this module needs.

>>> from ravenfit.qmc import Sobol
>>> Sobol(2, scramble=False).random_base2(2)
array([[0.  , 0.  ],
       [0.5 , 0.5 ],
       [0.75, 0.25],
       [0.25, 0.75]])
"""

from __future__ import annotations

import warnings
from typing import TYPE_CHECKING, Any, Literal

import numpy as np
from scipy.stats.qmc import QMCEngine

from ._core import Engine

if TYPE_CHECKING:
    import numpy.typing as npt
    from typing_extensions import Self

    Seed = int | np.random.Generator | None
    Optimization = Literal["random-cd", "lloyd"] | None

__all__ = ["Niederreiter", "Sobol"]

_SOBOL = 0x600000
_NIEDERREITER = 0x700000
_LINEAR_SCRAMBLING = 2


class _Points(QMCEngine):
    d: int
    num_generated: int
    rng: np.random.Generator
    MAXDIM = 0
    MAXN = 2**32
    _zero_is_first = True  # point 0, which the library's own sequences leave out

    def __init__(self, d, optimization=None, seed=None):
        super().__init__(d=d, optimization=optimization, seed=seed)
        if d > self.MAXDIM:
            raise ValueError(f"Maximum supported dimensionality is {self.MAXDIM}.")

    def _rewind(self):
        self._engine = self._fresh() if self.d > 0 else None

    def _random(self, n=1, *, workers=1):
        n = int(n)
        if n < 0:
            raise ValueError("n must not be negative")
        sample = np.empty((n, self.d))
        if n == 0:
            return sample
        self._expect(n)
        if self.num_generated == 0 and n & (n - 1) != 0:
            warnings.warn(
                f"The balance properties of {type(self).__name__} points require n to be a power of 2.", stacklevel=3
            )
        if self.d == 0:
            return sample
        to = sample
        if self._zero_is_first and self.num_generated == 0:
            sample[0] = 0.0
            to = sample[1:]
        self._engine.uniform(to, 0.0, 1.0)
        return sample

    def random_base2(self, m: int) -> npt.NDArray[np.float64]:
        """The next 2**m points, which make a power of two of them in all.

        Examples
        --------
        >>> from ravenfit.qmc import Sobol
        >>> Sobol(3, seed=1).random_base2(4).shape
        (16, 3)
        """
        n = 2**m
        total = self.num_generated + n
        if total & (total - 1) != 0:
            raise ValueError(
                f"The balance properties of {type(self).__name__} points require n to be a power of 2. "
                f"{self.num_generated} points have been previously generated, then: "
                f"n={self.num_generated}+2**{m}={total}. If you still want to do this, the function 'random()' "
                "can be used."
            )
        return self.random(n)

    def fast_forward(self, n: int) -> Self:
        """Leaves out the next n points, in a time that hardly depends on n.

        Examples
        --------
        >>> from ravenfit.qmc import Niederreiter
        >>> Niederreiter(2).fast_forward(10**9).random(1).shape
        (1, 2)
        """
        n = int(n)
        if n < 0:
            raise ValueError("points are left out ahead only")
        self._expect(n)
        stands = self.num_generated + n
        # Behind the last point there is no place to move to, and nothing to draw.
        if n > 0 and self.d > 0 and stands < self.MAXN:
            skipped = n - 1 if self._zero_is_first and self.num_generated == 0 else n
            self._engine.skip(skipped * self.d)
        self.num_generated = stands
        return self

    def reset(self) -> Self:
        """Begins again, with the same points."""
        super().reset()
        self._rewind()
        return self

    def _expect(self, n):
        if self.num_generated + n > self.MAXN:
            raise ValueError(
                f"At most 2**32={self.MAXN} distinct points can be generated. {self.num_generated} points have been "
                f"previously generated, then: n={self.num_generated}+{n}={self.num_generated + n}."
            )

    def __getstate__(self):
        return {**self.__dict__, "_engine": None}

    def __setstate__(self, state):
        self.__dict__.update(state)
        self._rewind()
        stands, self.num_generated = self.num_generated, 0
        self.fast_forward(stands)


class Sobol(_Points):
    """Sobol's points, in 1 to 40 dimensions.

    Parameters
    ----------
    d : int
        Dimensions.
    scramble : bool, optional
        Random linear scrambling and a digital shift, on unless switched off: estimates are then without bias, and those
        of several seeds tell the error.
    seed : {None, int, numpy.random.Generator}, optional
        As SciPy takes it.
    optimization : {None, "random-cd", "lloyd"}, optional
        As SciPy takes it.

    There are 2**32 points. Beyond the first coordinates the direction numbers are others than SciPy's, those of
    P. Bratley and B. L. Fox (1988), and a seed scrambles differently.

    Examples
    --------
    >>> from scipy.stats import qmc
    >>> from ravenfit.qmc import Sobol
    >>> bool(qmc.discrepancy(Sobol(2, seed=5).random(256)) < 1e-4)
    True
    """

    MAXDIM = 40

    def __init__(
        self,
        d: int,
        *,
        scramble: bool = True,
        seed: Seed = None,
        optimization: Optimization = None,
    ) -> None:
        self._init_quad = {"d": d, "scramble": True, "optimization": optimization}
        super().__init__(d, optimization, seed)
        self._zero_is_first = not scramble
        self._scrambling_seed = int.from_bytes(self.rng.bytes(8), "little") if scramble else None
        self._rewind()

    def _fresh(self):
        if self._scrambling_seed is None:
            return Engine.seeded(_SOBOL, [self.d])
        return Engine.scrambled_sobol(self.d, self._scrambling_seed, _LINEAR_SCRAMBLING)


class Niederreiter(_Points):
    """Niederreiter's points in base 2 (1988), in 1 to 318 dimensions. There are 2**32, the first of which is 0.

    Parameters
    ----------
    d : int
        Dimensions.
    optimization : {None, "random-cd", "lloyd"}, optional
        As SciPy takes it.
    seed : {None, int, numpy.random.Generator}, optional
        For `optimization`; the points do not depend on it.

    Examples
    --------
    >>> from ravenfit.qmc import Niederreiter
    >>> Niederreiter(3).random(2)
    array([[0. , 0. , 0. ],
           [0.5, 0.5, 0.5]])
    """

    MAXDIM = 318

    def __init__(self, d: int, *, optimization: Optimization = None, seed: Seed = None) -> None:
        super().__init__(d, optimization, seed)
        self._rewind()

    def _fresh(self):
        return Engine.seeded(_NIEDERREITER, [self.d])
