// Sixteen channels of an instrument, read at uneven times, brought to even ones. All of them are functions of one spline;
// results come as frames, the channels of a time side by side. Before the first reading and after the last one, a channel
// keeps its value.

#include <cmath>
#include <cstddef>
#include <cstdio>
#include <vector>

#include <ravenfit/ravenfit.hpp>

namespace {

constexpr std::size_t channels = 16;
constexpr std::size_t readings = 2000;
constexpr double interval = 0.01;  // seconds between readings, roughly

// What the instrument measures, by channel; frequencies are 0.5 to 2 Hz.
double signal(std::size_t channel, double t) {
  const double omega = 6.283185307179586 * (0.5 + 0.1 * static_cast<double>(channel));
  return std::sin(omega * t) + 0.25 * std::cos(0.5 * omega * t + static_cast<double>(channel));
}

int failures = 0;

void expect(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "wrong: %s\n", what);
  ++failures;
}

}  // namespace

int main() {
  // The clock jitters by up to a fifth of the interval.
  std::vector<double> jitter(readings);
  ravenfit::stream(ravenfit::mrg32k3a, 2024).fill_uniform(jitter, -0.2 * interval, 0.2 * interval);
  std::vector<double> time(readings);
  std::vector<double> frames(readings * channels);
  for (std::size_t i = 0; i < readings; ++i) {
    time[i] = interval * static_cast<double>(i) + jitter[i];
    for (std::size_t c = 0; c < channels; ++c)
      frames[i * channels + c] = signal(c, time[i]);
  }

  const auto how = ravenfit::cubic().ends(ravenfit::not_a_knot()).outside(ravenfit::clamp).by_breakpoint();
  const ravenfit::spline all(time, frames, how);
  expect(all.functions() == channels, "every channel is a function");

  // 44 kHz would do as well: sites are any number of doubles or floats.
  const auto [first, last] = all.domain();
  std::vector<double> even;
  for (int i = -50; i < 4050; ++i)
    even.push_back(0.005 * i);
  std::vector<double> resampled(even.size() * channels);
  all.by_site(even, resampled);

  double off = 0.0;
  for (std::size_t i = 0; i < even.size(); ++i)
    for (std::size_t c = 0; c < channels; ++c) {
      const double value = resampled[i * channels + c];
      if (even[i] < first)
        expect(value == frames[c], "before the first reading its value holds");
      else if (even[i] > last)
        expect(std::fabs(value - frames[(readings - 1) * channels + c]) < 1e-14,
               "after the last reading its value holds");
      else
        off = std::fmax(off, std::fabs(value - signal(c, even[i])));
    }
  std::printf("%d frames of %d channels, off by %.1e at most\n", static_cast<int>(even.size()),
              static_cast<int>(channels), off);
  // A cubic spline errs by 5/384 h^4 max |f''''|; not-a-knot ends add a few times that to the outer intervals.
  const double omega = 6.283185307179586 * 2.0;
  const double bound =
      std::pow(1.4 * interval, 4.0) * 5.0 / 384.0 * std::pow(omega, 4.0) * (1.0 + 0.25 / 16.0);
  expect(off < 4.0 * bound, "between readings the signal is met");

  // The same by channel, and with a channel alone.
  const std::vector<double> rows = all.at(even);
  std::vector<double> one;
  for (std::size_t i = 0; i < readings; ++i)
    one.push_back(frames[i * channels + 3]);
  const std::vector<double> alone =
      ravenfit::spline(time, one, ravenfit::cubic().ends(ravenfit::not_a_knot()).outside(ravenfit::clamp))
          .at(even);
  for (std::size_t i = 0; i < even.size(); ++i) {
    for (std::size_t c = 0; c < channels; ++c)
      expect(rows[c * even.size() + i] == resampled[i * channels + c], "both layouts hold the same numbers");
    expect(std::fabs(alone[i] - rows[3 * even.size() + i]) < 1e-14, "a channel alone is the same");
  }

  // Clamped, a channel does not move outside.
  std::vector<double> rates(channels);
  all.by_site<1>(std::vector<double>{last + 1.0}, rates);
  for (const double rate : rates)
    expect(rate == 0.0, "outside, channels rest");
  return failures == 0 ? 0 : 1;
}
