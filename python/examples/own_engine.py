"""Everything that numpy.random.Generator has, from a generator of this package: several workers, and the same numbers again."""

import pickle
from concurrent.futures import ThreadPoolExecutor

import numpy as np

from ravenfit.random import MRG32k3a

rng = np.random.Generator(MRG32k3a(12345))
sample = rng.gamma(2.5, size=100_000)
deck = rng.permutation(52)
print("mean of gamma(2.5)", sample.mean())


# Four workers, each with a stretch of one sequence; the sum is that of one worker.
def work(bits: MRG32k3a) -> np.ndarray:
    return np.random.Generator(bits).random(250_000)


with ThreadPoolExecutor(4) as workers:
    parts = list(workers.map(work, MRG32k3a(7).split(4, stretch=500_000)))  # a double takes two words

alone = np.random.Generator(MRG32k3a(7)).random(1_000_000)

# A saved generator goes on where it was.
kept = pickle.dumps(rng)
later = rng.normal(size=5)

np.testing.assert_array_equal(np.concatenate(parts), alone)
np.testing.assert_array_equal(pickle.loads(kept).normal(size=5), later)
assert abs(sample.mean() - 2.5) < 5 * np.sqrt(2.5 / 100_000)
assert sorted(deck) == list(range(52)) and abs(alone.mean() - 0.5) < 5 / np.sqrt(12 * 1e6)
