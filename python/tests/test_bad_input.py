"""What callers may hand over: the right result, or an exception with a text; never a crash, and nothing printed."""

import os
import subprocess
import sys
import threading

import numpy as np
import pytest

import ravenfit as rf
from ravenfit import random as rr

X = np.arange(8.0)
Y = np.array([0.0, 2, 1, 1, 3, -1, 0, 5])
S = rf.CubicSpline(X, Y)
SITES = np.linspace(-1, 8, 37)
WANT = S(SITES)
GOOD = [v.item() for v in SITES]


def frozen(array):
    array = array.copy()
    array.flags.writeable = False
    return array


# Sites, and what they give: values, or an exception and a part of its text.
TABLE = {
    "list": (GOOD, WANT),
    "tuple": (tuple(GOOD), WANT),
    "objects": (np.array(GOOD, dtype=object), WANT),
    "other byte order": (SITES.astype(">f8"), WANT),
    "every second, backwards": (SITES[::-2], WANT[::-2]),
    "Fortran": (np.asfortranarray(np.stack([SITES, SITES])), np.stack([WANT, WANT])),
    "read-only": (frozen(SITES), WANT),
    "not aligned": (np.frombuffer(b"x" + SITES.tobytes(), dtype=np.uint8)[1:].view(np.float64), WANT),
    "broadcast": (np.broadcast_to(SITES[:, None], (37, 2)), np.stack([WANT, WANT], axis=1)),
    "integers": (X.astype(np.int8), Y),
    "unsigned": (X.astype(np.uint64), Y),
    "booleans": (np.array([True, False]), Y[[1, 0]]),
    "nothing masked": (np.ma.array(SITES), WANT),
    "0-d": (np.array(3.0), Y[3]),
    "empty list": ([], np.empty(0)),
    "empty": (np.empty((3, 0, 2)), np.empty((3, 0, 2))),
    "NaN": ([np.nan, 1.0], [np.nan, Y[1]]),
    "complex": (SITES + 0j, (TypeError, "x is complex")),
    "masked": (np.ma.masked_less(SITES, 0), (ValueError, "masked")),
    "texts": (["1.0", "2.0"], (TypeError, "x holds")),
    "None": (None, (TypeError, "x is None")),
    "times": (np.array(["2024-01-01"], "M8[D]"), (TypeError, "x holds datetime64")),
    "ragged": ([[1.0], [1.0, 2.0]], ((TypeError, ValueError), "")),
    "dictionary": ({1: 2}, (TypeError, "x holds")),
    "huge integer": ([10**400], ((TypeError, ValueError, OverflowError), "")),
}


@pytest.mark.parametrize("name", TABLE)
def test_sites(name, capfd):
    given, want = TABLE[name]
    if isinstance(want, tuple):
        with pytest.raises(want[0], match=want[1]):
            S(given)
    else:
        got = S(given)
        assert np.shape(got) == np.shape(want)
        np.testing.assert_allclose(got, want, atol=1e-12)
    assert capfd.readouterr() == ("", "")


@pytest.mark.parametrize("huge", [np.inf, -np.inf, 1e300, -1e300, 5e-324])
@pytest.mark.parametrize("extrapolate", [True, False, "clamp", "periodic"])
def test_sites_far_away(huge, extrapolate):
    for given in (huge, [huge] * 100):
        assert np.shape(S(given, extrapolate=extrapolate)) == np.shape(given)
    S.integrate(0.0, 1e300, extrapolate=extrapolate), S.solve(1e300, extrapolate=extrapolate)


@pytest.mark.parametrize("nu", range(4))
def test_out_that_overlaps(nu):
    """Results over the sites, and beside them."""
    rng = np.random.default_rng(nu)
    for shift in (0, 1, -3, 20):
        buffer = np.concatenate([SITES, rng.standard_normal(40)])
        at, to = max(-shift, 0), max(shift, 0)
        want = S(buffer[at : at + 37].copy(), nu)
        S(buffer[at : at + 37], nu, out=buffer[to : to + 37])
        np.testing.assert_array_equal(buffer[to : to + 37], want)
    askew = np.empty(37 * 8 + 1, np.uint8)[1:].view(np.float64)
    np.testing.assert_array_equal(S(SITES, nu, out=askew), S(SITES, nu))
    with pytest.raises(ValueError, match="aligned"):
        rr.MT19937(1).uniform(out=askew)
    twice = np.empty(37)
    S(SITES, nu=(0, nu), out=(twice, twice))
    np.testing.assert_array_equal(twice, S(SITES, nu))


# What the other calls refuse.
REFUSED = {
    "y wholly masked": (ValueError, lambda: rf.CubicSpline(X, np.ma.masked_all(8))),
    "a number for x": (ValueError, lambda: rf.CubicSpline(3.0, Y)),
    "duplicates": (ValueError, lambda: rf.PchipInterpolator([0, 1, 1, 2], [0, 1, 2, 3])),
    "duplicates by rounding": (ValueError, lambda: rf.PchipInterpolator([2**53, 2**53 + 1], [0, 1])),
    "infinite x": (ValueError, lambda: rf.LinearSpline([0, np.inf], [0, 1])),
    "axis too far": (ValueError, lambda: rf.LinearSpline(X, Y, axis=-2)),
    "axis of no integer": (TypeError, lambda: rf.LinearSpline(X, Y, axis=0.5)),
    "bc of a wrong shape": (ValueError, lambda: rf.CubicSpline(X, np.stack([Y, Y], 1), bc_type=((1, 0.0), (1, 0.0)))),
    "bc of three": (ValueError, lambda: rf.CubicSpline(X, Y, bc_type=("natural",) * 3)),
    "bc of none": (TypeError, lambda: rf.CubicSpline(X, Y, bc_type=None)),
    "bc of texts": (TypeError, lambda: rf.CubicSpline(X, Y, bc_type=((1, "a"), (1, "b")))),
    "limits of two lengths": (ValueError, lambda: S.integrate([0, 1, 2], [1, 2])),
    "complex limits": (TypeError, lambda: S.integrate(0, 1j)),
    "complex level": (TypeError, lambda: S.solve(1j)),
    "out for a float": (TypeError, lambda: S(1.0, out=3.0)),
    "out for two": (ValueError, lambda: S(SITES, nu=(0, 1), out=(np.empty(37),))),
    "a dtype of integers for out": (TypeError, lambda: S(SITES, out=np.empty(37, np.int64))),
    "derivative by text": (TypeError, lambda: S.derivative("a")),
    "no coefficients": (ValueError, lambda: rf.PPoly(np.empty((0, 2)), [0, 1, 2])),
    "no state": (TypeError, lambda: rr.MT19937(1).__setstate__(None)),
    "system of two sizes": (ValueError, lambda: rf.solve_tridiagonal([1.0], [2.0, 2.0, 2.0], [1.0], [1.0, 1.0, 1.0])),
    "a singular system": (ValueError, lambda: rf.solve_tridiagonal([1.0], [0.0, 0.0], [1.0], [1.0, 1.0])),
}


@pytest.mark.parametrize("name", REFUSED)
def test_refusals(name, capfd):
    error, call = REFUSED[name]
    with pytest.raises(error, match="."):
        call()
    assert capfd.readouterr() == ("", "")


def test_a_fork_after_use():
    """The child draws and evaluates what the parent would."""
    bits = rr.SFMT19937(3)
    rng = np.random.Generator(bits)
    rng.random(11)
    read, write = os.pipe()
    child = os.fork()
    if child == 0:
        try:
            told = np.concatenate([S(SITES), rng.random(3000), rf.Akima1DInterpolator(X, Y)(X + 0.5)]).tobytes()
            os.write(write, told)
        finally:
            os._exit(0)
    os.close(write)
    with os.fdopen(read, "rb") as pipe:
        told = np.frombuffer(pipe.read())
    assert os.waitpid(child, 0)[1] == 0
    here = np.concatenate([S(SITES), rng.random(3000), rf.Akima1DInterpolator(X, Y)(X + 0.5)])
    np.testing.assert_array_equal(told, here)


def test_threads_share_a_generator():
    """Each word goes to one thread; together they are the stream."""
    bits = rr.MRG32k3a(8)
    drawn = [[] for _ in range(4)]

    def draw(mine):
        for _ in range(50):
            mine.append(bits.words(97))
            mine.append(bits.random_raw(31).astype(np.uint32))

    threads = [threading.Thread(target=draw, args=(mine,)) for mine in drawn]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    together = np.sort(np.concatenate([part for mine in drawn for part in mine]))
    np.testing.assert_array_equal(together, np.sort(rr.MRG32k3a(8).words(len(together))))


def test_the_interpreter_ends_with_live_objects():
    code = """
import threading, time, numpy as np, ravenfit as rf
from ravenfit import random as rr
from ravenfit.qmc import Sobol
x = np.linspace(0, 1, 100000)
spline = rf.CubicSpline(x, np.sin(x))
kept = [spline, spline.derivative(), spline.c, np.random.Generator(rr.SFMT19937(1)), Sobol(3), rr.MT2203(1, 5)]
kept.append(kept)
kept[3].random(5)
def work():
    while True:
        spline(x), kept[3].random(1000)
threading.Thread(target=work, daemon=True).start()
time.sleep(0.2)
"""
    run = subprocess.run([sys.executable, "-c", code], capture_output=True, text=True, timeout=60)
    assert (run.returncode, run.stdout, run.stderr) == (0, "", "")
