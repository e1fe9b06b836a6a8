"""Tables at other times, against splines over the same numbers and against pandas' own interpolation."""

import subprocess
import sys

import numpy as np
import pytest

import ravenfit as rf

pd = pytest.importorskip("pandas")
from ravenfit.pandas import resample  # noqa: E402

TIMES = pd.to_datetime(["2024-03-01 00:10", "2024-03-01 01:00", "2024-03-01 03:20", "2024-03-01 04:00", "2024-03-01 06:00", "2024-03-01 09:30"])
VALUES = np.array([1.0, 3.0, 2.0, 2.5, 0.0, 1.0])
HOURS = np.array([10 / 60, 1, 3 + 1 / 3, 4, 6, 9.5])


@pytest.mark.parametrize("zone", [None, "Europe/Berlin"])
@pytest.mark.parametrize("kind", ["Akima1DInterpolator", "PchipInterpolator", rf.CubicSpline])
def test_series_of_times(zone, kind):
    series = pd.Series(VALUES, TIMES.tz_localize(zone), name="level").sample(frac=1, random_state=1)
    got = resample(series, "30min", kind=kind)
    cls = getattr(rf, kind) if isinstance(kind, str) else kind
    assert got.name == "level" and str(got.index.tz) == str(zone)
    assert list(got.index) == list(series.sort_index().resample("30min").asfreq().index)
    want = cls(HOURS, VALUES, extrapolate=False)(0.5 * np.arange(len(got)))
    np.testing.assert_allclose(got, want, atol=1e-12)
    assert np.isnan(got[0]) and not np.isnan(got[1:]).any()


def test_frame_with_gaps():
    rng = np.random.default_rng(2)
    frame = pd.DataFrame({"a": VALUES, "b": rng.standard_normal(6), "c": np.arange(6)}, TIMES)
    whole = resample(frame, "20min", kind="CubicSpline", bc_type="natural")
    assert list(whole.columns) == ["a", "b", "c"]
    alone = resample(frame["b"], "20min", kind="CubicSpline", bc_type="natural")
    np.testing.assert_allclose(whole["b"], alone, atol=1e-13)
    frame.iloc[2, 1] = frame.iloc[0, 0] = np.nan
    got = resample(frame, "20min", kind="LinearSpline")
    both = frame.index.union(got.index)
    want = frame.reindex(both).interpolate("index", limit_area="inside").reindex(got.index)
    pd.testing.assert_frame_equal(got, want, check_freq=False)


def test_numbers_durations_and_an_index():
    series = pd.Series(VALUES, pd.Index(HOURS, name="hour"))
    got = resample(series, 0.25, kind="PchipInterpolator")
    assert got.index.name == "hour" and len(got) == 38
    np.testing.assert_allclose(got, rf.PchipInterpolator(HOURS, VALUES)(got.index.to_numpy()), atol=1e-12)
    whole = pd.Series([0, 1, 4, 9], [0, 1, 2, 3])
    np.testing.assert_allclose(resample(whole, 0.5, kind="CubicSpline"), np.arange(0, 3.1, 0.5) ** 2, atol=1e-12)
    at = pd.Index([0.5, 3.0, 100.0])
    np.testing.assert_allclose(resample(series, at, kind="LinearSpline"), [1 + 2 * 0.4, 3 - 2 / (2 + 1 / 3), np.nan], rtol=1e-12)
    lengths = pd.Series(VALUES, pd.to_timedelta(HOURS, unit="h"))
    got = resample(lengths, "1h", kind="LinearSpline")
    np.testing.assert_allclose(got, np.interp(HOURS[0] + np.arange(len(got)), HOURS, VALUES), atol=1e-8)


@pytest.mark.parametrize(
    "error, text, call",
    [
        (ValueError, "more than once", lambda: resample(pd.Series([1.0, 2, 3], [0.0, 1.0, 1.0]), 1.0)),
        (ValueError, "missing places", lambda: resample(pd.Series([1.0, 2, 3], [0.0, np.nan, 1.0]), 1.0)),
        (ValueError, "leads nowhere", lambda: resample(pd.Series([1.0, 2], [0.0, 1.0]), 0)),
        (ValueError, "leads nowhere", lambda: resample(pd.Series([1.0, 2], [0.0, 1.0]), np.nan)),
        (TypeError, "times or durations", lambda: resample(pd.Series([1.0, 2], [0.0, 1.0]), "D")),
        (TypeError, "index of numbers", lambda: resample(pd.Series(VALUES, TIMES), 3.0)),
        (TypeError, "Series", lambda: resample([1, 2], 3.0)),
        (ValueError, "kind", lambda: resample(pd.Series([1.0, 2], [0.0, 1.0]), 1.0, kind="spline")),
        (ValueError, "2 breakpoints", lambda: resample(pd.Series([1.0, np.nan], [0.0, 1.0]), 1.0)),
        (ValueError, "", lambda: resample(pd.Series(["a", "b"], [0.0, 1.0]), 1.0)),
        (ValueError, "empty", lambda: resample(pd.Series([], dtype=float), 1.0)),
    ],
)
def test_refusals(error, text, call):
    with pytest.raises(error, match=text):
        call()


def test_pandas_is_not_imported():
    code = "import sys, ravenfit.pandas; sys.exit('pandas' in sys.modules or 'dask' in sys.modules)"
    assert subprocess.run([sys.executable, "-c", code]).returncode == 0
