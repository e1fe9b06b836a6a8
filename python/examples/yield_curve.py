"""Zero rates between quoted maturities, forward rates, and the maturity at which the curve is at its top."""

import numpy as np

from ravenfit import PchipInterpolator, SteffenInterpolator

years = np.array([0.25, 0.5, 1, 2, 3, 5, 7, 10, 20, 30])
rates = np.array([5.35, 5.32, 5.05, 4.53, 4.27, 4.14, 4.16, 4.18, 4.48, 4.33]) / 100

# r t, the negative logarithm of the discount factor, grows; its slope is the forward rate.
growth = PchipInterpolator(np.append(0, years), np.append(0, rates * years))
forward = growth.derivative()
month = np.arange(1, 361) / 12
discount = np.exp(-growth(month))
print("5-year rate in 5 years:", growth.integrate(5, 10) / 5)
print("1-year forward rate in 9 years:", growth(10.0) - growth(9.0))

curve = SteffenInterpolator(years, rates)
extremes = curve.derivative().roots(extrapolate=False)
print("slopes of 0 at", extremes)

# The curve goes through the quotes and does not leave their range; money is never worth more later.
np.testing.assert_allclose(growth(years), rates * years, rtol=1e-14)
assert (np.diff(discount) < 0).all() and forward(month).min() > 0
dense = curve(np.linspace(0.25, 30, 5000))
assert rates.min() - 1e-15 <= dense.min() and dense.max() <= rates.max() + 1e-15
assert np.isclose(forward.integrate(9, 10), growth(10.0) - growth(9.0), rtol=1e-12)
assert any(abs(t - 5) < 1e-9 for t in extremes)
