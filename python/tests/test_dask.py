"""Dask's arrays against one piece: the same bits however they are cut, on two worker processes, one of which is killed."""

import os
import signal
import time

import numpy as np
import pytest

import ravenfit as rf
from ravenfit import random as rr

dask = pytest.importorskip("dask")
da = pytest.importorskip("dask.array")
distributed = pytest.importorskip("distributed")
rd = pytest.importorskip("ravenfit.dask")


@pytest.fixture
def client():
    # A worker tries for so long to reach one that is gone, 30 s unless told otherwise, before it computes by itself what
    # it asks for.
    with dask.config.set({"distributed.comm.timeouts.connect": "5s"}), distributed.LocalCluster(
        n_workers=2, threads_per_worker=1, dashboard_address=None
    ) as cluster, distributed.Client(cluster) as client:
        yield client


def problem(n, shape=()):
    rng = np.random.default_rng(n)
    return np.cumsum(rng.uniform(0.5, 1.5, n)), rng.standard_normal((n, *shape)), rng


@pytest.mark.parametrize("shape, axis", [((), 0), ((3,), 0), ((3, 2), 1), ((3, 2), 2)])
@pytest.mark.parametrize("cut", [(7, 5), (40, 30), (11, 30)])
def test_values(shape, axis, cut):
    x, y, rng = problem(50, shape)
    s = rf.CubicSpline(x, np.moveaxis(y, 0, axis), axis=axis)
    sites = rng.uniform(x[0] - 1, x[-1] + 1, (40, 30))
    chunked = da.from_array(sites, chunks=cut)
    got = rd.evaluate(s, chunked, extrapolate="clamp")
    want = s(sites, extrapolate="clamp")
    assert got.shape == want.shape
    np.testing.assert_array_equal(got.compute(scheduler="threads"), want)
    for got, want in zip(rd.evaluate(s, chunked, nu=(2, 0)), s(sites, nu=(2, 0))):
        np.testing.assert_array_equal(got.compute(scheduler="threads"), want)


@pytest.mark.parametrize("kind", [k for k in rf.splines.__all__ if k not in ("PPoly", "CubicHermiteSpline")])
def test_many_series(kind):
    x, y, rng = problem(30, (4, 9))
    y = np.moveaxis(y, 0, 1)
    many = rd.fit(kind, x, da.from_array(y, chunks=(3, 10, 5)), axis=1)
    # Akima's weights count beside the largest of the series that are fitted at once.
    one = getattr(rf, kind)(x, y, axis=1)
    np.testing.assert_allclose(many.c.compute(scheduler="threads"), one.c, rtol=1e-11, atol=1e-12)
    sites = np.linspace(x[0], x[-1], 12).reshape(3, 4)
    for nu in (0, 1):
        got = many(sites, nu=nu)
        assert got.shape == (4, 3, 4, 9)
        np.testing.assert_allclose(got.compute(scheduler="threads"), one(sites, nu=nu), rtol=1e-11, atol=1e-12)


LONG = [*((kind, {}) for kind in rd._LOCAL), ("Akima1DInterpolator", {"method": "makima"})]


@pytest.mark.parametrize("kind, options", LONG)
@pytest.mark.parametrize("chunks", [6, 7, 100, (5, 990, 5), 1000])
def test_one_long_series(kind, options, chunks):
    x, y, rng = problem(1000)
    y[200:400] = np.round(y[200:400])  # flat stretches
    y[500:700] *= 1e-10  # small weights, which count beside large ones elsewhere
    one = getattr(rf, kind)(x, y, **options)
    cut = (chunks,) if isinstance(chunks, tuple) else chunks
    made = rd.fit_long(kind, da.from_array(x, chunks=cut), da.from_array(y, chunks=cut), **options)
    np.testing.assert_array_equal(made.c.compute(scheduler="threads"), one.c)
    sites = np.sort(np.concatenate([rng.uniform(x[0] - 1, x[-1] + 1, 700), x[::9]]))
    got = made(da.from_array(sites, chunks=90), nu=1)
    np.testing.assert_array_equal(got.compute(scheduler="threads"), one(sites, nu=1, extrapolate=True))


@pytest.mark.parametrize("kind", [rr.MRG32k3a, rr.MCG59, rr.MCG31, rr.WichmannHill, rr.MT19937, rr.SFMT19937])
@pytest.mark.parametrize("name", ["uniform", "normal", "exponential"])
def test_random_arrays_do_not_depend_on_chunks(kind, name):
    def begin():
        bits = kind(5)
        np.random.Generator(bits).random(3)  # words are waiting
        return bits

    one = begin()
    wanted = getattr(one, name)(size=(60, 7))
    for chunks in (1, 13, 60, "auto", (20, 7)):
        bits = begin()
        got = getattr(rd, name)(bits, (60, 7), chunks=chunks)
        np.testing.assert_array_equal(got.compute(scheduler="threads"), wanted)
        np.testing.assert_array_equal(got.compute(scheduler="sync"), wanted)
    np.testing.assert_array_equal(bits.words(5), one.words(5))


def test_a_worker_dies(client):
    """Slow chunks; when some are done and most are not, a worker is killed."""
    x, y, rng = problem(300)
    s = rf.CubicSpline(x, y)
    n, chunks = 20_000, 500
    noise = rd.normal(rr.MRG32k3a(3), n, chunks=chunks)
    sites = rd.uniform(rr.MRG32k3a(4), n, chunks=chunks, low=x[0], high=x[-1])
    long_x, long_y, _ = problem(5_000)
    long = rd.fit_long("Akima1DInterpolator", da.from_array(long_x, chunks=500), da.from_array(long_y, chunks=500))

    def slowly(block):
        time.sleep(0.05)
        return block

    total = (rd.evaluate(s, sites) + noise).map_blocks(slowly, dtype=float)
    pids = client.run(os.getpid)
    assert len(set(pids.values())) == 2
    future = client.compute(total)
    # Both have what all chunks share, and results that are lost with them.
    while not future.done() and min(len(keys) for keys in client.has_what().values()) < 3:
        time.sleep(0.01)
    os.kill(next(iter(pids.values())), signal.SIGKILL)
    assert not future.done()
    got = future.result(timeout=60)
    np.testing.assert_array_equal(
        got, s(rr.MRG32k3a(4).uniform(x[0], x[-1], n)) + rr.MRG32k3a(3).normal(size=n)
    )
    assert set(client.scheduler_info()["workers"]) != set(pids), "nobody died"
    c = client.compute(long.c).result(timeout=60)
    np.testing.assert_array_equal(c, rf.Akima1DInterpolator(long_x, long_y).c)


@pytest.mark.parametrize(
    "error, call",
    [
        (ValueError, lambda x: rd.fit("CubicHermiteSpline", np.arange(8.0), x)),
        (ValueError, lambda x: rd.fit("spline", np.arange(8.0), x)),
        (ValueError, lambda x: rd.fit("CubicSpline", np.arange(7.0), x)),
        (ValueError, lambda x: rd.fit_long("CubicSpline", x, x)),
        (ValueError, lambda x: rd.fit_long("LinearSpline", x, x[:5])),
        (ValueError, lambda x: rd.uniform(rr.MRG32k3a(1), (4, 4), chunks=(2, 2))),
        (ValueError, lambda x: rd.uniform(rr.MRG32k3a(1), ())),
        (TypeError, lambda x: rd.uniform(rr.R250(1), 4)),
        (TypeError, lambda x: rd.normal(np.random.PCG64(1), 4)),
        (ValueError, lambda x: rd.fit_long("LinearSpline", x[::-1], x).c.compute(scheduler="sync")),
    ],
)
def test_refusals(error, call):
    with pytest.raises(error):
        call(da.arange(8.0, chunks=4))
