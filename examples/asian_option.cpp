// An Asian call by quasi-Monte Carlo: the payoff depends on the mean of an asset's price at sixteen dates. Points are
// scrambled Sobol ones; estimates by several seeds are independent, and their spread is the error. The option on the
// geometric mean has a closed form, which checks the paths and, as a control, takes most of the error away.

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <vector>

#include <ravenfit/ravenfit.hpp>

namespace {

constexpr int dates = 16;
constexpr double spot = 100.0;
constexpr double strike = 100.0;
constexpr double rate = 0.05;
constexpr double volatility = 0.3;
constexpr double years = 1.0;
constexpr std::size_t points = 4096;  // a power of two, so that they are a whole net
constexpr std::uint64_t seeds = 16;

double normal_cdf(double z) {
  return 0.5 * std::erfc(-z / std::sqrt(2.0));
}

// A. G. Z. Kemna and A. C. F. Vorst (1990): the geometric mean of log-normal prices is log-normal. The dates are
// years / dates apart, and the last one is the end.
double geometric_call() {
  constexpr double n = dates;
  const double mean = std::log(spot) + (rate - 0.5 * volatility * volatility) * years * (n + 1.0) / (2.0 * n);
  const double variance = volatility * volatility * years * (n + 1.0) * (2.0 * n + 1.0) / (6.0 * n * n);
  const double d = (mean - std::log(strike) + variance) / std::sqrt(variance);
  return std::exp(-rate * years) *
         (std::exp(mean + 0.5 * variance) * normal_cdf(d) - strike * normal_cdf(d - std::sqrt(variance)));
}

// The forward price of the arithmetic mean: the mean of the forward prices.
double forward_mean() {
  double sum = 0.0;
  for (int j = 1; j <= dates; ++j)
    sum += spot * std::exp(rate * years * j / dates);
  return sum / dates;
}

// What estimates by several seeds tell.
struct Estimate {
  double sum = 0.0;
  double squares = 0.0;
  int count = 0;

  void add(double value) {
    sum += value;
    squares += value * value;
    ++count;
  }
  double mean() const { return sum / count; }
  double error() const {
    const double variance = (squares - sum * sum / count) / (count - 1);
    return std::sqrt(std::fmax(variance, 0.0) / count);
  }
};

// One seed's means over all paths, discounted.
struct Run {
  double call = 0.0;
  double put = 0.0;
  double geometric = 0.0;
};

Run run(std::uint64_t seed) {
  std::vector<double> normal(points * dates);
  ravenfit::sobol(dates).scramble(seed).fill_normal(normal);
  const double step = years / dates;
  const double drift = (rate - 0.5 * volatility * volatility) * step;
  const double spread = volatility * std::sqrt(step);
  Run sums;
  for (std::size_t path = 0; path < points; ++path) {
    double log_price = std::log(spot);
    double arithmetic = 0.0;
    double logs = 0.0;
    for (int j = 0; j < dates; ++j) {
      log_price += drift + spread * normal[path * dates + static_cast<std::size_t>(j)];
      arithmetic += std::exp(log_price);
      logs += log_price;
    }
    sums.call += std::fmax(arithmetic / dates - strike, 0.0);
    sums.put += std::fmax(strike - arithmetic / dates, 0.0);
    sums.geometric += std::fmax(std::exp(logs / dates) - strike, 0.0);
  }
  const double weight = std::exp(-rate * years) / static_cast<double>(points);
  return {sums.call * weight, sums.put * weight, sums.geometric * weight};
}

int failures = 0;

// Estimates are within six of their errors, which sixteen seeds hardly ever miss.
void expect(const char* what, const Estimate& estimate, double exact) {
  const bool holds = std::fabs(estimate.mean() - exact) <= 6.0 * estimate.error();
  std::printf("%-22s %9.5f +- %.5f, exactly %9.5f\n", what, estimate.mean(), estimate.error(), exact);
  if (holds) return;
  std::fprintf(stderr, "wrong: %s\n", what);
  ++failures;
}

}  // namespace

int main() {
  const double geometric = geometric_call();
  Estimate plain;
  Estimate controlled;
  Estimate control;
  Estimate parity;
  for (std::uint64_t seed = 1; seed <= seeds; ++seed) {
    const Run r = run(seed);
    plain.add(r.call);
    controlled.add(r.call - (r.geometric - geometric));
    control.add(r.geometric);
    parity.add(r.call - r.put);
  }
  std::printf("%-22s %9.5f +- %.5f\n", "call", plain.mean(), plain.error());
  std::printf("%-22s %9.5f +- %.5f\n", "call, controlled", controlled.mean(), controlled.error());
  expect("geometric call", control, geometric);
  expect("call less put", parity, std::exp(-rate * years) * (forward_mean() - strike));
  expect("call without control", plain, controlled.mean());

  // Points that are no better than random ones would err by some 0.05 here.
  if (!(control.error() < 0.01) || !(controlled.error() < 0.2 * plain.error())) {
    std::fprintf(stderr, "wrong: the errors are larger than they should be\n");
    ++failures;
  }
  return failures == 0 ? 0 : 1;
}
