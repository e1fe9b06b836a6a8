"""Three channels that were sampled at uneven times, at even ones; values and slopes in one pass."""

import numpy as np

from ravenfit import Akima1DInterpolator, SmoothingSpline

rng = np.random.default_rng(4)
time = np.sort(rng.uniform(0, 60, 6000))
time = np.unique(np.concatenate([[0.0], time, [60.0]]))
channels = np.stack([np.sin(time), np.cos(2 * time), np.exp(-time / 20)], axis=1)

spline = Akima1DInterpolator(time, channels, extrapolate=False)
even = np.arange(0, 60, 0.01)
values, slopes = spline(even, nu=(0, 1))
print(values.shape, slopes.shape)

# With noise, a smoothing spline, whose roughness is chosen by cross-validation.
noisy = channels[:, 0] + 0.1 * rng.standard_normal(len(time))
smooth = SmoothingSpline(time, noisy)
print("lambda", smooth.lam)

np.testing.assert_allclose(values[:, 0], np.sin(even), atol=2e-3)
np.testing.assert_allclose(values[:, 2], np.exp(-even / 20), atol=1e-5)
assert np.sqrt(np.mean((slopes[:, 1] + 2 * np.sin(2 * even)) ** 2)) < 0.02
assert np.std(smooth(even) - np.sin(even)) < 0.03
