"""Random streams as bit generators for `numpy.random.Generator`, with fills of their own that are faster.

>>> import numpy as np
>>> from ravenfit.random import MT2203
>>> rng = np.random.Generator(MT2203(7, member=3))
>>> rng.normal(size=3).shape
(3,)

A bit generator's words have 32 bits; NumPy's doubles take two, with 53 bits. Its own `uniform`, `normal` and
`exponential` take one output of the generator for each value, see the library's page on streams. Seeds are

- an integer below 2**32: the library's seed word, so that other languages give the same numbers;
- a larger integer or an array of integers: words of 32 bits, the lowest first, as the generator's authors take them;
- a `numpy.random.SeedSequence`, or nothing, which stands for a new one.
"""

from __future__ import annotations

from typing import TYPE_CHECKING, Any, Union

import numpy as np
import numpy.random._pickle as _numpy_pickle
from numpy.random.bit_generator import BitGenerator, ISeedSequence

from ._core import Engine, generator_info

if TYPE_CHECKING:
    from collections.abc import Iterable, Mapping

    import numpy.typing as npt
    from typing_extensions import Self

    Seed = Union[int, Iterable[int], ISeedSequence, None]
    Size = Union[int, tuple[int, ...], None]

__all__ = ["MCG31", "MCG59", "MRG32k3a", "MT19937", "MT2203", "R250", "RDRAND", "SFMT19937", "WichmannHill"]


def _seed_words(seed):
    """Words of 32 bits of an integer or of an array of them."""
    if isinstance(seed, (int, np.integer)) and not isinstance(seed, (bool, np.bool_)):
        number = int(seed)
        if number < 0:
            raise ValueError("a seed must not be negative")
        words = [number & 0xFFFFFFFF]
        while number := number >> 32:
            words.append(number & 0xFFFFFFFF)
        return words
    if isinstance(seed, str) or not np.iterable(seed):
        raise TypeError(f"a seed is an integer, an array of integers or a SeedSequence, not {seed!r}")
    words = [word for part in seed for word in _seed_words(part)]
    if not words:
        raise ValueError("an array of seeds has one element at least")
    return words


class _Stream(BitGenerator):
    _seed_seq: Any
    _family = 0
    _sequence_words = 8  # that a SeedSequence gives
    _jump = 2**63  # outputs
    _outputs = 1  # of the generator, that make a word
    _period: int | None = None  # outputs, where a stretch may go round it

    def __init__(self, seed: Seed = None) -> None:
        self._start(seed, 0)

    def _start(self, seed, member):
        generator = self._family + member
        if seed is None or isinstance(seed, ISeedSequence):
            super().__init__(seed)
            engine = self._from_sequence(generator, self._seed_seq)
        else:
            words = _seed_words(seed)
            super().__init__(words)
            engine = Engine.seeded(generator, words)
        # A Generator keeps the engine's address: it stays, whatever it holds.
        if not hasattr(self, "_engine"):
            self._engine = engine
        else:
            self._engine.take(engine)
        self._member = member
        self._engine.attach(self.capsule)

    @classmethod
    def _from_sequence(cls, generator, sequence):
        return Engine.seeded(generator, sequence.generate_state(cls._sequence_words).tolist())

    def _like(self, engine):
        """A bit generator that goes on where the engine stands, which may be of another member."""
        made = self._with_seed(self._seed_seq)
        made._engine.take(engine)
        made._member = engine.member
        return made

    def __repr__(self):
        return f"<ravenfit.random.{type(self).__name__} at {id(self):#x}>"

    # ---- state ----
    @property
    def seed_seq(self) -> ISeedSequence:
        """The SeedSequence behind `spawn`; of an integer seed, the one that NumPy would make of it."""
        return self._seed_seq

    @property
    def state(self) -> Mapping[str, Any]:
        """Where the stream stands, as a dictionary of plain values; setting it goes on from there."""
        with self.lock:
            words = self._engine.words
        return self._state_of(np.array(words, np.uint32))

    @state.setter
    def state(self, value: Mapping[str, Any]) -> None:
        words = self._words_of(value)
        with self.lock:
            self._engine.words = words

    def _state_of(self, words):
        return {"bit_generator": _Name(type(self).__name__), "state": {"words": words}}

    def _words_of(self, state):
        self._check_state(state)
        return np.asarray(state["state"]["words"], np.uint32).tolist()

    def _check_state(self, state):
        if not isinstance(state, dict):
            raise TypeError("a state is a dictionary")
        if state.get("bit_generator") != type(self).__name__:
            raise ValueError(f"a state of {type(self).__name__} is needed, not of {state.get('bit_generator')}")
        if state.get("member", 0) != self._member:
            raise ValueError(f"the state belongs to member {state.get('member', 0)}, not {self._member}")

    def __getstate__(self):
        return self.state

    def __setstate__(self, state):
        self.state = state

    def __reduce__(self):
        return self._remade() + (self.state,)

    def _remade(self):
        return type(self), (self._seed_seq,)

    # ---- streams for others ----
    def spawn(self, n_children: int) -> list[Self]:
        """So many new bit generators, independent of this one and of each other; `seed_seq` counts them.

        Examples
        --------
        >>> from ravenfit.random import SFMT19937
        >>> len(SFMT19937(1).spawn(3))
        3
        """
        return [self._with_seed(child) for child in self._seed_seq.spawn(n_children)]

    def _with_seed(self, seed):
        return type(self)(seed)

    def split(self, count: int, stretch: int = 0) -> list[Self]:
        """Bit generators for `count` workers, the first of which begins here; do not draw from this one beside them.

        Parameters
        ----------
        count : int
        stretch : int, optional
            With it, part i begins i * stretch outputs ahead, so that parts that give so many words each (MCG31: half
            as many) give together what one stream would. Without it parts are made as suits the generator: MCG31 and
            MCG59 take turns, MT2203 and WichmannHill take other members with seeds of their own, others begin 2**63
            outputs apart. ValueError where the generator cannot.

        Examples
        --------
        >>> from ravenfit.random import MCG59
        >>> one, two = MCG59(5).split(2)
        """
        with self.lock:
            parts = self._engine.split(count, stretch)
        return [self._like(part) for part in parts]

    # ---- fills ----
    def uniform(
        self,
        low: float = 0.0,
        high: float = 1.0,
        size: Size = None,
        dtype: npt.DTypeLike = np.float64,
        out: npt.NDArray[Any] | None = None,
    ) -> Any:
        """Values of one output each, low <= r < high but for rounding.

        Parameters
        ----------
        low, high : float
        size : int or tuple of int, optional
            A single value without it.
        dtype : {float64, float32}
        out : ndarray, optional
            Receives the values; of the dtype, contiguous, and writeable.

        Examples
        --------
        >>> from ravenfit.random import MT19937
        >>> MT19937(1).uniform(size=2)
        array([0.13436424, 0.56920387])
        """
        return self._fill(self._engine.uniform, size, dtype, (np.float64, np.float32), out, float(low), float(high))

    def normal(
        self, loc: float = 0.0, scale: float = 1.0, size: Size = None, out: npt.NDArray[np.float64] | None = None
    ) -> Any:
        """Normal values of one output each, by the quantile; see `uniform` for `size` and `out`.

        Examples
        --------
        >>> from ravenfit.random import MRG32k3a
        >>> MRG32k3a(12345).normal(10.0, 2.0, size=(2, 3)).shape
        (2, 3)
        """
        return self._fill(self._engine.normal, size, np.float64, (np.float64,), out, float(loc), float(scale))

    def exponential(
        self, scale: float = 1.0, size: Size = None, out: npt.NDArray[np.float64] | None = None
    ) -> Any:
        """Exponential values of one output each, by the quantile; see `uniform` for `size` and `out`."""
        return self._fill(self._engine.exponential, size, np.float64, (np.float64,), out, float(scale))

    def words(
        self, size: Size = None, dtype: npt.DTypeLike = np.uint32, out: npt.NDArray[Any] | None = None
    ) -> Any:
        """Words of 32 bits, or of 64 made of two, the first one in the low half.

        Examples
        --------
        >>> from ravenfit.random import MCG59
        >>> MCG59(1).words(3).dtype
        dtype('uint32')
        """
        return self._fill(self._engine.words_into, size, dtype, (np.uint32, np.uint64), out)

    def _fill(self, call, size, dtype, dtypes, out, *parameters):
        if out is not None:
            if not isinstance(out, np.ndarray) or out.dtype not in dtypes:
                raise TypeError(f"out must be an array of {' or '.join(np.dtype(t).name for t in dtypes)}")
            if not out.flags.carray:
                raise ValueError("out must be contiguous, aligned and writeable")
            if size is not None and out.shape != (tuple(size) if np.iterable(size) else (size,)):
                raise ValueError("size and the shape of out differ")
            r = out
        else:
            dtype = np.dtype(dtype)
            if dtype not in dtypes:
                raise TypeError(f"dtype must be {' or '.join(np.dtype(t).name for t in dtypes)}, not {dtype}")
            r = np.empty(() if size is None else size, dtype)
        with self.lock:
            call(r, *parameters)
        return r[()] if size is None and out is None else r


class _Skipping(_Stream):
    def advance(self, delta: int) -> Self:
        """Moves on as if `delta` words had been drawn (`random_raw` draws one, NumPy's doubles are of two), in a time
        that hardly depends on how many. Returns the bit generator.

        Examples
        --------
        >>> from ravenfit.random import MRG32k3a
        >>> MRG32k3a(1).advance(10**12).random_raw() == MRG32k3a(1).advance(10**12).random_raw()
        True
        """
        delta = int(delta)
        if delta < 0:
            raise ValueError("a stream moves ahead only")
        with self.lock:
            self._move(self._engine, delta * self._outputs)
        return self

    def jumped(self, jumps: int = 1) -> Self:
        """A bit generator as this one is after so many jumps of 2**63 words; MCG31 and MCG59, whose periods are
        shorter, jump by the golden section of them.

        Examples
        --------
        >>> from ravenfit.random import SFMT19937
        >>> SFMT19937(1).jumped().random_raw() != SFMT19937(1).random_raw()
        True
        """
        jumps = int(jumps)
        if jumps < 0:
            raise ValueError("a stream moves ahead only")
        with self.lock:
            engine = self._engine.copy()
        if self._period is not None:
            self._move(engine, jumps * self._jump)
        else:
            for _ in range(jumps):
                engine.skip(self._jump)
        return self._like(engine)

    def _move(self, engine, outputs):
        if self._period is not None:
            outputs %= self._period
        if outputs >= 2**64:
            raise ValueError("a stream moves by less than 2**64 outputs at once")
        engine.skip(outputs)


class _Family(_Stream):
    """Members with recurrences of one form and parameters of their own."""

    def __init__(self, seed: Seed = None, member: int = 0) -> None:
        members = generator_info(self._family)["members"]
        if not 0 <= member < members:
            raise ValueError(f"member {member}: there are 0 to {members - 1}")
        self._start(seed, int(member))

    @property
    def member(self) -> int:
        return self._member

    def _state_of(self, words):
        return {**super()._state_of(words), "member": self._member}

    def _remade(self):
        return type(self), (self._seed_seq, self._member)

    def _with_seed(self, seed):
        return type(self)(seed, self._member)


class MT19937(_Skipping):
    """Mersenne Twister of M. Matsumoto and T. Nishimura (1998). Given one state, it and `numpy.random.MT19937` give the
    same numbers, bit for bit, and each takes the other's `state`; both make the same of a SeedSequence. An integer seed
    is the only word of the array seeding.

    Examples
    --------
    >>> import numpy as np
    >>> from ravenfit.random import MT19937
    >>> theirs = np.random.MT19937()
    >>> theirs.state = MT19937(7).state
    >>> bool(theirs.random_raw() == MT19937(7).random_raw())
    True
    """

    _family = 0x800000
    _words = 624

    @classmethod
    def _from_sequence(cls, generator, sequence):
        # As NumPy does it: the words are the state itself, which is never 0, and one is left over.
        key = sequence.generate_state(cls._words)
        key[0] = 0x80000000
        engine = Engine.seeded(generator, [1])
        engine.words = [*key.tolist(), cls._words - 1]
        return engine

    def _state_of(self, words):
        return {
            "bit_generator": _Name(type(self).__name__),
            "state": {"key": words[: self._words].copy(), "pos": int(words[self._words])},
        }

    def _words_of(self, state):
        if isinstance(state, (tuple, list)):
            if len(state) not in (3, 5):
                raise ValueError("a state as a tuple has 3 or 5 elements")
            state = {"bit_generator": state[0], "state": {"key": state[1], "pos": state[2]}}
        self._check_state(state)
        key = np.asarray(state["state"]["key"], np.uint32)
        if key.shape != (self._words,) or not 0 <= state["state"]["pos"] <= self._words:
            raise ValueError(f"the key has {self._words} words, the position is 0 to {self._words}")
        return [*key.tolist(), int(state["state"]["pos"])]


class SFMT19937(_Skipping):
    """SIMD-oriented Mersenne Twister of M. Saito and M. Matsumoto (2008), the fastest."""

    _family = 0xD00000


class MT2203(_Family):
    """Small Mersenne Twisters, members 0 to 6023. Give members different seeds, s + member."""

    _family = 0x900000


class MRG32k3a(_Skipping):
    """Combined recurrences of P. L'Ecuyer (1999)."""

    _family = 0x300000
    _sequence_words = 6


class WichmannHill(_Family, _Skipping):
    """Four multiplicative generators combined (1982), members 0 to 272. Drop the first 10 values of integer seeds."""

    _family = 0x500000
    _sequence_words = 4


class MCG59(_Skipping):
    """Multiplicative generator modulo 2**59 of N. M. Maclaren (1989); its low bits have short periods."""

    _family = 0x400000
    _sequence_words = 2
    _period = 2**57
    _jump = round(2**57 * 0.6180339887498949) | 1

    @classmethod
    def _from_sequence(cls, generator, sequence):
        low, high = sequence.generate_state(cls._sequence_words).tolist()
        return Engine.seeded(generator, [low | 1, high])  # an even one would shorten the period


class MCG31(_Skipping):
    """Multiplicative generator modulo 2**31 - 1 of P. L'Ecuyer (1999), to repeat old results: 2**31 - 2 values."""

    _family = 0x100000
    _sequence_words = 1
    _outputs = 2
    _period = 2**31 - 2
    _jump = round((2**31 - 2) * 0.6180339887498949) | 1


class R250(_Stream):
    """Shift register of S. Kirkpatrick and E. P. Stoll (1981), to repeat old results."""

    _family = 0x200000
    _sequence_words = 250


class RDRAND(_Stream):
    """The processor's own random numbers, which no seed repeats; RuntimeError where it has none.

    `state` is there for the sake of the interface and leads nowhere. Should the hardware fail for good in the middle of
    a call of NumPy's, which cannot be told, the process ends.
    """

    _family = 0xE00000
    _sequence_words = 1

    def __init__(self) -> None:
        super().__init__(0)
        self.words()

    def _remade(self):
        return type(self), ()

    def _with_seed(self, seed):
        return type(self)()


# NumPy pickles a Generator by the name that is in its bit generator's state, and looks it up in a table of its own.
# Such a name, loaded, imports this module, which enters the classes there. MT19937 has NumPy's own name and becomes
# NumPy's, with the same numbers to come.
class _Name(str):
    def __reduce__(self):
        return _Name, (str(self),)


for _name in __all__:
    _numpy_pickle.BitGenerators.setdefault(_name, globals()[_name])
