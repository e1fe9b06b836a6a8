"""An Asian option's price with scrambled Sobol points and with random numbers, and the error of both."""

import numpy as np
from scipy.stats import norm

from ravenfit.qmc import Sobol
from ravenfit.random import MRG32k3a

DATES, SPOT, STRIKE, RATE, VOLATILITY = 16, 100.0, 100.0, 0.05, 0.2
step = 1 / DATES


def payoff(normals: np.ndarray) -> np.ndarray:
    """Discounted payoff on the geometric mean at the dates of a year, for which the price is known."""
    moves = (RATE - VOLATILITY**2 / 2) * step + VOLATILITY * np.sqrt(step) * normals
    mean = SPOT * np.exp(np.cumsum(moves, axis=1).mean(axis=1))
    return np.exp(-RATE) * np.maximum(mean - STRIKE, 0)


def price() -> float:
    """In closed form (A. G. Z. Kemna, A. C. F. Vorst, 1990)."""
    dates = step * np.arange(1, DATES + 1)
    mean = np.log(SPOT) + (RATE - VOLATILITY**2 / 2) * dates.mean()
    deviation = VOLATILITY * np.sqrt(np.minimum.outer(dates, dates).mean())
    d = (mean - np.log(STRIKE)) / deviation
    return float(np.exp(-RATE) * (np.exp(mean + deviation**2 / 2) * norm.cdf(d + deviation) - STRIKE * norm.cdf(d)))


quasi = [payoff(norm.ppf(Sobol(DATES, seed=seed).random_base2(12))).mean() for seed in range(16)]
stream = MRG32k3a(2024)
plain = [payoff(stream.normal(size=(1 << 12, DATES))).mean() for _ in range(16)]

print(f"exact  {price():.5f}")
for name, found in (("Sobol ", quasi), ("random", plain)):
    print(f"{name} {np.mean(found):.5f} +- {np.std(found) / 4:.5f}")

assert abs(np.mean(quasi) - price()) < 5 * np.std(quasi) / 4
assert abs(np.mean(plain) - price()) < 5 * np.std(plain) / 4
assert np.std(quasi) < np.std(plain) / 3
