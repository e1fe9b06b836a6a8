// Prints curves for docs/plot_pages.py, one point a line, fields separated by tabs: picture, panel, curve, x, y.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <iterator>
#include <vector>

#include <ravenfit/ravenfit.hpp>

namespace {

using ravenfit::spline;
using ravenfit::spline_options;
using Numbers = std::vector<double>;

struct Kind {
  const char* name;
  spline_options options;
};

Numbers equidistant(double first, double last, std::size_t count) {
  Numbers t(count);
  for (std::size_t i = 0; i < count; ++i)
    t[i] = first + (last - first) * static_cast<double>(i) / static_cast<double>(count - 1);
  return t;
}

void print(const char* picture, const char* panel, const char* curve, const Numbers& x, const Numbers& y) {
  for (std::size_t i = 0; i < x.size(); ++i)
    std::printf("%s\t%s\t%s\t%.6g\t%.6g\n", picture, panel, curve, x[i], y[i]);
}

void printDerivatives(const char* picture, const char* name, const spline& curve, const Numbers& t) {
  print(picture, "value", name, t, curve.at(t));
  print(picture, "slope", name, t, curve.at<1>(t));
  print(picture, "curvature", name, t, curve.at<2>(t));
}

const std::vector<Kind>& localAndNatural() {
  static const std::vector<Kind> kinds = {{"linear", ravenfit::linear()},
                                          {"natural", ravenfit::cubic()},
                                          {"Bessel", ravenfit::bessel()},
                                          {"Akima", ravenfit::akima()},
                                          {"modified Akima", ravenfit::modified_akima()},
                                          {"PCHIP", ravenfit::pchip()},
                                          {"Steffen", ravenfit::steffen()}};
  return kinds;
}

void sampleKinds() {
  const Numbers x = {0, 1, 2, 3, 4.5, 5, 6.5, 8, 9};
  const Numbers y = {0, 0.1, 0.1, 1.6, 2, 1.2, 1, 1, 0.4};
  const Numbers t = equidistant(x.front(), x.back(), 361);
  for (const Kind& kind : localAndNatural())
    printDerivatives("kinds", kind.name, spline(x, y, kind.options), t);
  print("kinds", "value", "data", x, y);
}

void sampleStep() {
  const Numbers x = equidistant(-4, 4, 9);
  Numbers y(x.size());
  std::transform(x.begin(), x.end(), y.begin(), [](double t) { return t > 0 ? 1.0 : 0.0; });
  const Numbers t = equidistant(-4, 4, 321);
  for (const Kind& kind : localAndNatural()) {
    const spline curve(x, y, kind.options);
    print("step", "value", kind.name, t, curve.at(t));
  }
  print("step", "value", "data", x, y);
}

// Every kind for sin, those that need more than values with what belongs to it.
std::vector<Kind> kindsOfSine(const Numbers& x) {
  Numbers slopes(x.size());
  std::transform(x.begin(), x.end(), slopes.begin(), [](double s) { return std::cos(s); });
  Numbers curvatures(x.size() - 2);
  std::transform(x.begin() + 1, x.end() - 1, curvatures.begin(), [](double s) { return -std::sin(s); });
  std::vector<Kind> kinds = localAndNatural();
  kinds.push_back({"Hermite", ravenfit::hermite(slopes)});
  kinds.push_back({"second derivatives", ravenfit::second_derivatives(curvatures)});
  kinds.push_back({"quadratic", ravenfit::quadratic(std::sin(0.5 * (x[0] + x[1])))});
  kinds.push_back(
      {"Subbotin",
       ravenfit::subbotin().left(ravenfit::slope(slopes.front())).right(ravenfit::slope(slopes.back()))});
  return kinds;
}

// The largest error of sin from 2 to 4, where neither an end nor an extremum reaches, at uneven steps.
void sampleErrors() {
  for (std::size_t n = 16; n <= 1024; n *= 2) {
    Numbers x = equidistant(0, 8, n + 1);
    const double step = x[1];
    for (std::size_t i = 1; i < n; ++i)
      x[i] += step * (i % 3 == 0 ? 0.17 : i % 3 == 1 ? -0.11 : 0.0);
    Numbers y(x.size());
    std::transform(x.begin(), x.end(), y.begin(), [](double s) { return std::sin(s); });
    const Numbers t = equidistant(2, 4, 20011);
    for (const Kind& kind : kindsOfSine(x)) {
      const Numbers v = spline(x, y, kind.options).at(t);
      double worst = 0;
      for (std::size_t i = 0; i < t.size(); ++i)
        worst = std::max(worst, std::fabs(v[i] - std::sin(t[i])));
      print("error", "value", kind.name, {step}, {worst});
    }
  }
}

// One picture for every end, on one data set.
void sampleEnds() {
  const Numbers x = {0, 1, 2, 3, 4, 5};
  const Numbers y = {0, 1, 0.2, 0.8, 0.3, 0};
  const std::vector<Kind> ends = {
      {"not_a_knot", ravenfit::cubic().ends(ravenfit::not_a_knot())},
      {"free", ravenfit::cubic().ends(ravenfit::free_end())},
      {"slope", ravenfit::cubic().ends(ravenfit::slope(0))},
      {"curvature", ravenfit::cubic().ends(ravenfit::curvature(-4))},
      {"slope_curvature", ravenfit::cubic().left(ravenfit::slope(0)).right(ravenfit::curvature(-4))},
      {"curvature_slope", ravenfit::cubic().left(ravenfit::curvature(-4)).right(ravenfit::slope(0))},
      {"periodic", ravenfit::cubic().periodic()},
      {"own", ravenfit::akima()},
      {"quadratic_value", ravenfit::quadratic(0.7)}};
  const Numbers t = equidistant(x.front(), x.back(), 301);
  for (const Kind& end : ends) {
    char picture[40];
    std::snprintf(picture, sizeof picture, "end_%s", end.name);
    printDerivatives(picture, end.name, spline(x, y, end.options), t);
    print(picture, "value", "data", x, y);
  }
}

void sampleSmoothing() {
  const Numbers x = equidistant(0, 10, 81);
  Numbers noise(x.size());
  ravenfit::stream(ravenfit::mrg32k3a, 7).fill_normal(noise, 0, 0.2);
  Numbers y(x.size());
  Numbers truth(x.size());
  for (std::size_t i = 0; i < x.size(); ++i) {
    truth[i] = std::sin(x[i]);
    y[i] = truth[i] + noise[i];
  }
  const Numbers t = equidistant(0, 10, 401);
  const spline chosen(x, y, ravenfit::smoothing());
  const double lambda = chosen.lambdas()[0];
  print("smoothing", "value", "data", x, y);
  print("smoothing", "value", "without noise", x, truth);
  print("smoothing", "value", "lambda / 1000", t, spline(x, y, ravenfit::smoothing(lambda / 1000)).at(t));
  print("smoothing", "value", "lambda by cross-validation", t, chosen.at(t));
  print("smoothing", "value", "1000 lambda", t, spline(x, y, ravenfit::smoothing(lambda * 1000)).at(t));
}

// Where the first 16 values of four workers stand in one sequence, a row for each worker.
void sampleStreams() {
  constexpr int workers = 4;
  constexpr std::size_t each = 16;
  Numbers whole(workers * each);
  ravenfit::stream all(ravenfit::mrg32k3a, 1);
  std::vector<ravenfit::stream> parts = all.split(workers, each);
  all.fill_uniform(whole);
  const char* const names[workers] = {"worker 1", "worker 2", "worker 3", "worker 4"};
  for (int w = 0; w < workers; ++w) {
    Numbers drawn(each);
    parts[static_cast<std::size_t>(w)].fill_uniform(drawn);
    Numbers place(each);
    std::transform(drawn.begin(), drawn.end(), place.begin(), [&](double v) {
      return static_cast<double>(std::distance(whole.begin(), std::find(whole.begin(), whole.end(), v)));
    });
    print("disjoint", "value", names[w], place, drawn);
  }
}

}  // namespace

int main() {
  sampleKinds();
  sampleStep();
  sampleErrors();
  sampleEnds();
  sampleSmoothing();
  sampleStreams();
  return 0;
}
