import pickle
import subprocess
import sys

import numpy as np
import pytest
from hypothesis import given, settings
from hypothesis import strategies as st

from drawing import steps
from ravenfit import random as rr

KINDS = [getattr(rr, name) for name in rr.__all__ if name != "RDRAND"]
SKIPPING = [kind for kind in KINDS if hasattr(kind, "advance")]
every = pytest.mark.parametrize("kind", KINDS, ids=lambda kind: kind.__name__)
skipping = pytest.mark.parametrize("kind", SKIPPING, ids=lambda kind: kind.__name__)


def numpy_twin(words):
    """NumPy's generator, seeded by its authors' array seeding."""
    twin = np.random.MT19937()
    twin._legacy_seeding(words)
    return twin


@pytest.mark.parametrize(
    "seed, words", [(1, [1]), (0, [0]), (2**32 - 1, [2**32 - 1]), (2**40 + 7, [7, 256]), ([3, 4, 5], [3, 4, 5])]
)
def test_mt19937_is_numpys(seed, words):
    ours = np.random.Generator(rr.MT19937(seed))
    theirs = np.random.Generator(numpy_twin(words))
    for draw in (
        lambda g: g.normal(size=5001),
        lambda g: g.random(777, dtype=np.float32),  # an odd number of words
        lambda g: g.random(1500),
        lambda g: g.integers(0, 10, 999),
        lambda g: g.integers(0, 2**63, 100),
        lambda g: g.bit_generator.random_raw(2000),
        lambda g: g.gamma(2.5, size=2000),
    ):
        np.testing.assert_array_equal(draw(ours), draw(theirs))
    np.testing.assert_equal(ours.bit_generator.state["state"], theirs.bit_generator.state["state"])


def test_mt19937_of_a_seed_sequence_and_states_of_numpy():
    np.testing.assert_array_equal(
        rr.MT19937(np.random.SeedSequence(5)).random_raw(100), np.random.MT19937(5).random_raw(100)
    )
    old = np.random.RandomState(3)
    old.standard_normal(99)
    taken = rr.MT19937()
    taken.state = old.get_state()
    np.testing.assert_array_equal(taken.random_raw(1000), old._bit_generator.random_raw(1000))


def test_first_numbers_of_published_generators():
    # L'Ecuyer's two recurrences in Python's own integers, both from 12345.
    m, n = 2**32 - 209, 2**32 - 22853
    a, b, expected = [12345] * 3, [12345] * 3, []
    for _ in range(3000):
        a = [*a[1:], (1403580 * a[1] - 810728 * a[0]) % m]
        b = [*b[1:], (527612 * b[2] - 1370589 * b[0]) % n]
        expected.append((a[2] - b[2]) % m or m)
    np.testing.assert_array_equal(rr.MRG32k3a([12345] * 6).random_raw(3000), expected)
    # x, 13^13 x, ... modulo 2^59, in Python's own integers; the word is its upper half.
    x, expected = 987654321, []
    for _ in range(3000):
        expected.append(x >> 27)
        x = x * 13**13 % 2**59
    np.testing.assert_array_equal(rr.MCG59(987654321).random_raw(3000), expected)


@every
@settings(max_examples=15, deadline=None)
@given(seed=st.integers(0, 2**64), steps=steps("wdnurs", 1500))
def test_words_do_not_depend_on_how_they_are_drawn(kind, seed, steps):
    """Any mixture of single draws, fills, copies and states gives the words of one fill, in order."""
    one = kind(seed)
    wanted = kind(seed).words(20000)
    at = 0
    for step, n in steps:
        if step == "w":
            got, took = one.words(n), n
        elif step == "r":
            got, took = one.random_raw(n), n
        elif step == "d":
            np.testing.assert_array_equal(
                np.random.Generator(one).random(n),
                ((wanted[at : at + 2 * n : 2] >> 5) * 67108864.0 + (wanted[at + 1 : at + 2 * n : 2] >> 6)) / 2.0**53,
            )
            at += 2 * n
            continue
        elif step == "u":
            one, got, took = pickle.loads(pickle.dumps(one)), (), 0
        elif step == "s":
            state, other = one.state, kind(1)
            other.state = state
            one, got, took = other, (), 0
        else:
            got, took = one.random_raw(1) if n else (), min(n, 1)
        np.testing.assert_array_equal(got, wanted[at : at + took])
        at += took
    np.testing.assert_array_equal(one.words(10), wanted[at : at + 10])


@skipping
@settings(max_examples=10, deadline=None)
@given(before=st.integers(0, 1100), delta=st.integers(0, 3000))
def test_advance_is_drawing(kind, before, delta):
    one, two = kind(77), kind(77)
    one.random_raw(before), two.random_raw(before)
    assert one.advance(delta) is one
    two.random_raw(delta)
    assert one.random_raw() == two.random_raw()


@skipping
def test_jumps_and_parts(kind):
    one = kind(5)
    one.random_raw(3)
    np.testing.assert_array_equal(one.jumped().jumped().random_raw(9), one.jumped(2).random_raw(9))
    period = kind._period
    if period is None:
        np.testing.assert_array_equal(one.jumped().random_raw(9), kind(5).advance(3 + 2**63).random_raw(9))
    parts = one.split(3, 10 * kind._outputs)
    np.testing.assert_array_equal(
        np.concatenate([part.random_raw(10) for part in parts]), np.concatenate([one.random_raw(30)])
    )


def test_parts_by_members_keep_their_members():
    parts = rr.MT2203(5, 6022).split(3)
    assert [part.member for part in parts] == [6022, 6023, 0]
    for part in parts:
        again = pickle.loads(pickle.dumps(part))
        assert again.member == part.member
        np.testing.assert_array_equal(again.random_raw(100), part.random_raw(100))


@every
def test_spawned_differ_and_are_repeated(kind):
    one, two = kind(5), kind(5)
    children = [*one.spawn(2), *one.spawn(1)]
    heads = {tuple(child.random_raw(4)) for child in [*children, one, *children[0].spawn(1)]}
    assert len(heads) == 5
    np.testing.assert_array_equal(two.spawn(3)[2].random_raw(8), kind(5).spawn(3)[2].random_raw(8))


@every
def test_generators_survive_pickling_in_a_fresh_process(kind):
    generator = np.random.Generator(kind(9))
    generator.normal(size=101)
    code = "import pickle, sys; g = pickle.load(sys.stdin.buffer); print(g.normal(size=3).tolist())"
    run = subprocess.run([sys.executable, "-c", code], input=pickle.dumps(generator), capture_output=True, check=True)
    assert run.stdout.decode().strip() == str(generator.normal(size=3).tolist())


def test_direct_fills():
    # Python's own generator is the same one, seeded by the same array seeding, with doubles of two words.
    one = rr.MT19937(123)
    words = numpy_twin([123]).random_raw(4000)
    np.testing.assert_array_equal(one.uniform(size=(10, 100)).ravel(), words[:1000] / 2.0**32)
    np.testing.assert_array_equal(one.words(100), words[1000:1100])
    pairs = words[1100:1300].astype(np.uint64)
    np.testing.assert_array_equal(one.words(100, np.uint64), pairs[::2] | pairs[1::2] << np.uint64(32))
    from scipy.special import ndtri

    quantiles = 3.0 + 0.5 * ndtri((words[1300:2300] + 0.5) / 2.0**32)
    out = np.empty(1000)
    assert one.normal(3.0, 0.5, out=out) is out
    np.testing.assert_allclose(out, quantiles, rtol=1e-13)
    np.testing.assert_allclose(one.exponential(2.0, 1000), -2.0 * np.log1p(-(words[2300:3300] + 0.5) / 2.0**32), 1e-13)
    assert isinstance(one.uniform(), float) and one.uniform(size=0).shape == (0,)
    assert one.uniform(1, 2, 3, np.float32).dtype == np.float32


@pytest.mark.parametrize(
    "error, call",
    [
        (ValueError, lambda: rr.MT19937(-1)),
        (ValueError, lambda: rr.MT19937([])),
        (TypeError, lambda: rr.MT19937(1.5)),
        (TypeError, lambda: rr.MT19937([1.5])),
        (TypeError, lambda: rr.MT19937("seed")),
        (ValueError, lambda: rr.MT2203(1, 6024)),
        (ValueError, lambda: rr.WichmannHill(1, -1)),
        (ValueError, lambda: rr.R250(1).split(2)),
        (ValueError, lambda: rr.MCG59(1).split(0)),
        (ValueError, lambda: rr.MRG32k3a(1).advance(-1)),
        (ValueError, lambda: rr.MRG32k3a(1).advance(2**64)),
        (ValueError, lambda: rr.SFMT19937(1).uniform(2.0, 1.0)),
        (ValueError, lambda: rr.SFMT19937(1).normal(0.0, -1.0)),
        (ValueError, lambda: rr.SFMT19937(1).normal(np.nan)),
        (TypeError, lambda: rr.SFMT19937(1).uniform(size=3, dtype=int)),
        (TypeError, lambda: rr.SFMT19937(1).uniform(out=[0.0])),
        (ValueError, lambda: rr.SFMT19937(1).uniform(out=np.empty(10)[::2])),
        (ValueError, lambda: rr.SFMT19937(1).uniform(out=np.broadcast_to(0.0, 1))),
        (ValueError, lambda: rr.SFMT19937(1).uniform(size=2, out=np.empty(3))),
        (ValueError, lambda: setattr(rr.MCG31(1), "state", rr.MCG59(1).state)),
        (ValueError, lambda: setattr(rr.MT2203(1), "state", rr.MT2203(1, 1).state)),
        (ValueError, lambda: setattr(rr.MCG31(1), "state", {"bit_generator": "MCG31", "state": {"words": [0, 0, 0]}})),
        (TypeError, lambda: setattr(rr.MCG31(1), "state", 3)),
    ],
)
def test_refusals(error, call, capfd):
    with pytest.raises(error):
        call()
    assert capfd.readouterr().out == ""


def test_seeding_again_keeps_what_numpy_points_at():
    bits = rr.SFMT19937(1)
    generator = np.random.Generator(bits)
    generator.random(10)
    bits.__init__(2)
    np.testing.assert_array_equal(generator.random(10), np.random.Generator(rr.SFMT19937(2)).random(10))


def test_hardware():
    try:
        one = rr.RDRAND()
    except RuntimeError:
        pytest.skip("the processor has no random numbers")
    values = np.random.Generator(one).random(1000)
    assert 0.4 < values.mean() < 0.6 and len(np.unique(values)) == 1000
