import pickle

import numpy as np
import pytest
from hypothesis import given, settings
from hypothesis import strategies as st
from scipy import integrate, stats
from scipy.stats import qmc

from drawing import steps
from ravenfit.qmc import Niederreiter, Sobol

ENGINES = {
    "sobol": lambda d: Sobol(d, scramble=False),
    "scrambled": lambda d: Sobol(d, seed=11),
    "niederreiter": lambda d: Niederreiter(d),
}
every = pytest.mark.parametrize("make", ENGINES.values(), ids=ENGINES)


def test_sobol_is_scipys_where_direction_numbers_agree():
    ours, theirs = Sobol(2, scramble=False), qmc.Sobol(2, scramble=False, bits=31)
    np.testing.assert_array_equal(ours.random(4096), theirs.random(4096))
    np.testing.assert_array_equal(ours.fast_forward(10**6).random(5), theirs.fast_forward(10**6).random(5))


@every
@settings(max_examples=20, deadline=None)
@given(d=st.integers(1, 40), steps=steps(["draw", "forward", "pickle"], 300))
@pytest.mark.filterwarnings("ignore:The balance properties")
def test_points_do_not_depend_on_how_they_are_drawn(make, d, steps):
    engine = make(d)
    wanted = make(d).random(2048)
    at = 0
    for step, n in steps:
        if step == "draw":
            np.testing.assert_array_equal(engine.random(n), wanted[at : at + n])
        elif step == "forward":
            assert engine.fast_forward(n) is engine
        else:
            engine, n = pickle.loads(pickle.dumps(engine)), 0
        at += n
        assert engine.num_generated == at
    np.testing.assert_array_equal(engine.random(2), wanted[at : at + 2])
    np.testing.assert_array_equal(engine.reset().random(8), wanted[:8])


@every
def test_points_are_nets(make):
    """Each of the first 2^10 intervals of length 2^-10 has one of 2^10 points, in each coordinate."""
    engine = make(40)
    for block in (engine.random_base2(10), engine.random_base2(10)):
        cells = np.sort((block * 1024).astype(int), axis=0)
        np.testing.assert_array_equal(cells, np.arange(1024)[:, None].repeat(40, axis=1))


def test_scipy_takes_them():
    assert isinstance(Sobol(2), qmc.QMCEngine)
    drawn = stats.qmc.MultivariateNormalQMC(mean=[1.0, -2.0], engine=Sobol(2, seed=3)).random(4096)
    np.testing.assert_allclose(drawn.mean(axis=0), [1.0, -2.0], atol=2e-3)
    qmc_quad = getattr(integrate, "qmc_quad", None) or integrate._quadrature._qmc_quad  # not public before 1.11
    coordinates = -1 if qmc_quad.__name__.startswith("_") else 0
    found = qmc_quad(lambda x: np.exp(x).prod(axis=coordinates), [0, 0], [1, 1], n_points=1024, qrng=Sobol(2, seed=1))
    assert found.integral == pytest.approx((np.e - 1) ** 2, rel=1e-4)
    assert 0 < found.standard_error < 1e-3
    whole = Niederreiter(3).integers([0, 0, 0], u_bounds=[4, 8, 16], n=1024)
    assert np.unique(whole, axis=0).shape == (512, 3)
    better = Sobol(2, seed=1, optimization="random-cd").random(16)
    assert qmc.discrepancy(better) <= qmc.discrepancy(Sobol(2, seed=1).random(16))


def test_seeds():
    one, again, other = Sobol(3, seed=4).random(64), Sobol(3, seed=4).random(64), Sobol(3, seed=5).random(64)
    np.testing.assert_array_equal(one, again)
    assert (one != other).all()
    generator = np.random.default_rng(4)
    np.testing.assert_array_equal(Sobol(3, seed=generator).random(64), one)
    assert (Sobol(3, seed=generator).random(64) != one).all()
    # Randomised points are uniform one by one: the mean of first points over seeds.
    first = np.array([Sobol(2, seed=seed).random(1)[0] for seed in range(2000)])
    assert abs(first.mean() - 0.5) < 5 / np.sqrt(12 * 4000)


@every
@pytest.mark.parametrize(
    "call",
    [
        lambda make: make(319),
        lambda make: make(-1),
        lambda make: make(1.5),
        lambda make: make(2).random(-1),
        lambda make: make(2).fast_forward(-1),
        lambda make: make(2).fast_forward(2**32 + 1),
        lambda make: make(2).fast_forward(2**32).random(1),
        lambda make: make(2).fast_forward(3).random_base2(3),
    ],
)
def test_refusals(make, call):
    with pytest.raises(ValueError):
        call(make)


@every
def test_the_last_points(make):
    engine = make(3).fast_forward(2**32 - 4)
    last = engine.random(4)
    assert ((last >= 0) & (last < 1)).all() and len(np.unique(last, axis=0)) == 4
    assert make(0).random(4).shape == (4, 0)
