// A yield curve: logarithms of discount factors over tenors in years, with the forward rate as minus their slope. The
// curve is checked against relations that hold exactly, and against the rates that its quotes were made from.

#include <cmath>
#include <cstddef>
#include <cstdio>
#include <vector>

#include <ravenfit/ravenfit.hpp>

namespace {

// Zero rates by C. R. Nelson and A. F. Siegel (1987), continuously compounded.
double zero_rate(double t) {
  if (t == 0.0) return 0.018;
  const double u = t / 2.5;
  const double decay = (1.0 - std::exp(-u)) / u;
  return 0.035 - 0.017 * decay + 0.012 * (decay - std::exp(-u));
}

int failures = 0;

void expect(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "wrong: %s\n", what);
  ++failures;
}

}  // namespace

int main() {
  const std::vector<double> tenor = {0.0, 0.25, 0.5, 1.0, 2.0, 3.0, 5.0, 7.0, 10.0, 15.0, 20.0, 30.0};
  std::vector<double> log_df;
  for (const double t : tenor)
    log_df.push_back(-zero_rate(t) * t);

  const auto ends = ravenfit::cubic().left(ravenfit::not_a_knot()).right(ravenfit::free_end());
  const ravenfit::spline curve(tenor, log_df, ends);
  const ravenfit::spline slope = curve.derivative_spline();

  std::puts("years   zero %  forward %");
  double off = 0.0;
  for (double t = 0.5; t <= 30.0; t += 0.5) {
    const double zero = -curve(t) / t;
    off = std::fmax(off, std::fabs(zero - zero_rate(t)));
    if (std::fmod(t, 5.0) == 0.0)
      std::printf("%5.1f  %7.4f  %9.4f\n", t, 100.0 * zero, -100.0 * curve.derivative(t));
  }
  std::printf("zero rates between the quotes are off by %.3f basis points at most\n", 1e4 * off);
  expect(off < 0.2e-4, "zero rates are within a fifth of a basis point");

  const std::vector<double> quoted = curve.at(tenor);
  for (std::size_t i = 0; i < tenor.size(); ++i)
    expect(std::fabs(quoted[i] - log_df[i]) <= 1e-15, "the curve runs through its quotes");

  // Forward rates over a period make up the ratio of discount factors at its ends.
  const double accrued = -slope.integral(1.75, 12.5);
  expect(std::fabs(accrued - (curve(1.75) - curve(12.5))) < 1e-15, "forward rates add up");

  // Its ends: one cubic over the first two periods, and no curvature at the last quote.
  const double before = curve.derivative(0.125, 3);
  const double behind = curve.derivative(0.375, 3);
  expect(std::fabs(before - behind) < 1e-12, "the second quote is no knot");
  expect(std::fabs(curve.derivative(30.0, 2)) < 1e-15, "the right end is free");

  // Where a unit is worth a half.
  const std::vector<double> halved = curve.solve(std::log(0.5));
  expect(halved.size() == 1 && std::fabs(curve(halved.front()) - std::log(0.5)) < 1e-15,
         "the discount factor is 1/2 once");

  // A flat curve is a line, which the spline reproduces between quotes and beyond them.
  std::vector<double> flat;
  for (const double t : tenor)
    flat.push_back(-0.03 * t);
  const ravenfit::spline line(tenor, flat, ends);
  for (double t = 0.0; t <= 40.0; t += 0.3)
    expect(std::fabs(line.derivative(t) + 0.03) < 1e-15, "forward rates of a flat curve are its rate");
  return failures == 0 ? 0 : 1;
}
