"""The tridiagonal solver beside SciPy's, and what is known of the package."""

import os
import subprocess
import sys

import numpy as np
import pytest
import scipy.linalg

import ravenfit as rf


def test_against_bands():
    rng = np.random.default_rng(2)
    for n in (1, 2, 3, 4, 5, 17, 100, 1000):
        dl, du = rng.standard_normal((2, n - 1))
        d = 4 + rng.standard_normal(n)
        bands = np.zeros((3, n))
        bands[0, 1:], bands[1], bands[2, :-1] = du, d + np.sign(d) * 2, dl
        for shape in ((n,), (n, 1), (n, 9), (n, 2, 3)):
            b = rng.standard_normal(shape)
            kept = [a.copy() for a in (dl, d, du, b)]
            x = rf.solve_tridiagonal(dl, bands[1], du, b)
            want = scipy.linalg.solve_banded((1, 1), bands, b.reshape(n, -1)) if n > 1 else b.reshape(1, -1) / bands[1]
            np.testing.assert_allclose(x, want.reshape(shape), rtol=1e-9, atol=1e-12)
            for a, was in zip((dl, d, du, b), kept):
                np.testing.assert_array_equal(a, was)
    assert rf.solve_tridiagonal([], [], [], []).shape == (0,)
    assert rf.solve_tridiagonal([1], [2, 2], [1], np.empty((2, 0))).shape == (2, 0)


@pytest.mark.parametrize(
    "arguments, error, text",
    [
        (([1, 1], [0, 1, 0], [1, 1], [1, 1, 1]), rf.SingularMatrixError, "row 0"),
        (([1, 1], [np.nan, 1, 3], [1, 1], [1, 1, 1]), np.linalg.LinAlgError, "row 0"),
        (([1], [1, 1, 1], [1, 1], [1, 1, 1]), ValueError, "dl has 1 elements"),
        (([1, 1], [1, 1, 1], [1], [1, 1, 1]), ValueError, "du has 1 elements"),
        (([1, 1], [1, 1, 1], [1, 1], [1, 1]), ValueError, "first axis"),
        (([1, 1], [1, 1, 1], [1, 1], 1.0), ValueError, "first axis"),
        (([1, 1], [[1, 1, 1]], [1, 1], [1, 1, 1]), ValueError, "d has 2 dimensions"),
        (([1j, 1], [1, 1, 1], [1, 1], [1, 1, 1]), TypeError, "dl is complex"),
    ],
)
def test_bad_systems(arguments, error, text, capfd):
    with pytest.raises(error, match=text):
        rf.solve_tridiagonal(*arguments)
    assert capfd.readouterr() == ("", "")


def in_a_process(code, **environment):
    return subprocess.run(
        [sys.executable, "-c", code], env={**os.environ, **environment}, capture_output=True, text=True, check=True
    ).stdout


def test_levels_forks_and_exits():
    show = "import ravenfit; print(ravenfit.info()['level'])"
    assert in_a_process(show, RVN_KERNEL_LEVEL_FORCE="2").strip() == "2"
    if "avx2" in rf.info()["features"] and not os.environ.get("RVN_KERNEL_LEVEL_FORCE"):
        assert rf.info()["level"] == (10 if "avx512vl" in rf.info()["features"] else 9)
    # A child after use, and objects that live until the interpreter ends.
    code = (
        "import os, ravenfit\n"
        "s = ravenfit.CubicSpline([0, 1, 2, 3], [0, 1, 8, 27])\n"
        "loop = [s]; loop.append(loop)\n"
        "s(1.5)\n"
        "child = os.fork()\n"
        "if child == 0: os._exit(0 if s(1.5) == 3.375 and s.integrate(0, 3) == 20.25 else 1)\n"
        "print(os.waitpid(child, 0)[1])\n"
    )
    assert in_a_process(code).strip() == "0"
