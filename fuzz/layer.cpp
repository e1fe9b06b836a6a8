// The C++ layer: splines of all kinds and options, streams through text, points and systems. What it gives must be what
// the C operations give, what it refuses must say why, and both ways to fail must agree.

#include <algorithm>
#include <sstream>
#include <string>

#include "input.h"

#include <ravenfit/ravenfit.hpp>

namespace fuzz {
namespace {

using Doubles = std::vector<double>;

// The code of what `call` throws, 0 if it throws nothing. Anything but ravenfit::error ends the run.
template <class Call>
int thrownBy(Call call) {
  try {
    call();
    return 0;
  } catch (const ravenfit::error& e) {
    FUZZ_EXPECT(e.what()[0] != '\0');
    return e.code();
  }
}

void expectReason(const ravenfit::status& s) {
  FUZZ_EXPECT(!s.ok() && s.code != 0 && !s.text().empty());
}

ravenfit::end_condition end(Input& in) {
  switch (in.below(6)) {
    case 0:
      return ravenfit::own_end();
    case 1:
      return ravenfit::not_a_knot();
    case 2:
      return ravenfit::slope(in.number());
    case 3:
      return ravenfit::curvature(in.number());
    default:
      return ravenfit::free_end();
  }
}

ravenfit::spline_options options(Input& in, std::size_t nx) {
  using namespace ravenfit;
  spline_options made = cubic();
  switch (in.below(12)) {
    case 0:
      made = linear();
      break;
    case 1:
      made = akima();
      break;
    case 2:
      made = modified_akima();
      break;
    case 3:
      made = pchip();
      break;
    case 4:
      made = steffen();
      break;
    case 5:
      made = bessel();
      break;
    case 6:
      made = subbotin();
      break;
    case 7:
      made = quadratic(in.number());
      break;
    case 8:
      made = hermite(in.numbers(in.oneIn(3) ? nx : in.byte() % (nx + 2)));
      break;
    case 9:
      made = second_derivatives(in.numbers(in.oneIn(4) ? in.byte() % 9u : nx - std::min<std::size_t>(nx, 2)));
      break;
    case 10:
      made = in.oneIn(2) ? smoothing(in.number()) : smoothing();
      break;
    default:
      break;
  }
  if (in.oneIn(3)) made.left(end(in));
  if (in.oneIn(3)) made.right(end(in));
  if (in.oneIn(8)) made.periodic();
  if (in.oneIn(3)) made.below(static_cast<outside_mode>(in.below(6)));
  if (in.oneIn(3)) made.above(static_cast<outside_mode>(in.below(6)));
  if (in.oneIn(8)) made.outside(in.number());
  if (in.oneIn(6)) made.by_breakpoint();
  if (in.oneIn(8)) made.unchecked();
  return made;
}

Doubles breakpoints(Input& in) {
  static constexpr double steps[] = {1.0, 1.0, 1.0, 0.5, 0.125, 3.0, 1e-3, 1e6};
  const auto nx = static_cast<std::size_t>(in.below(in.oneIn(6) ? 200 : 20));
  if (in.oneIn(6)) return in.numbers(nx);
  const bool even = in.oneIn(3);
  Doubles x;
  double at = (in.byte() - 100) / 8.0;
  for (std::size_t i = 0; i < nx; ++i, at += even ? 0.5 : in.oneOf(steps))
    x.push_back(at);
  return x;
}

// Values by the C operation on the task behind.
int plain(const ravenfit::spline& s, const Doubles& sites, std::int32_t derivative, Doubles& r) {
  std::vector<std::int32_t> wanted(static_cast<std::size_t>(derivative) + 1);
  wanted.back() = 1;
  return dfTaskInterpolate(s.task(), DF_WANT_INTERPOLATE, DF_METHOD_POLYNOMIAL,
                           static_cast<std::int32_t>(sites.size()), sites.data(), DF_SITES_GENERAL,
                           static_cast<std::int32_t>(wanted.size()), wanted.data(), nullptr, r.data(),
                           DF_RESULTS_SITES_INNER, nullptr);
}

bool equal(const Doubles& a, const Doubles& b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i)
    if (!same(a[i], b[i])) return false;
  return true;
}

void evaluate(Input& in, const ravenfit::spline& s) {
  Doubles sites = in.numbers(1 + in.byte() % 40u);
  if (in.oneIn(3))
    std::sort(sites.begin(), sites.end(), [](double a, double b) { return a < b || (b != b && a == a); });
  const std::size_t functions = s.functions();
  Doubles want(functions * sites.size(), -77.25);
  Doubles got = want;
  const ravenfit::status status = s.try_at<1>(sites, got);
  const int code = plain(s, sites, 1, want);
  FUZZ_EXPECT(status.code == code);
  FUZZ_EXPECT(equal(got, want));
  if (!status.ok()) {
    expectReason(status);
    FUZZ_EXPECT(thrownBy([&] { s.at<1>(sites, got); }) == code);
    FUZZ_EXPECT(status.code != DF_ERROR_OUTSIDE ||
                (status.index >= 0 && status.index < static_cast<std::ptrdiff_t>(sites.size())));
    FUZZ_EXPECT(s.try_sites(sites).code == status.code);
    return;
  }
  // One by one, side by side, and as a copy; values and derivatives together.
  const ravenfit::spline copy(s);
  Doubles both(2 * functions * sites.size());
  FUZZ_EXPECT((copy.try_by_site<0, 1>(sites, both).ok()));
  for (std::size_t f = 0; f < functions; ++f)
    for (std::size_t i = 0; i < sites.size(); ++i) {
      FUZZ_EXPECT(same(both[(i * 2 + 1) * functions + f], want[f * sites.size() + i]));
      FUZZ_EXPECT(same(s.derivative(sites[i], 1, f), want[f * sites.size() + i]));
      FUZZ_EXPECT(same(s(sites[i], f), both[i * 2 * functions + f]));
    }
  FUZZ_EXPECT(s.try_at<0>(sites, ravenfit::view<double>(both.data(), want.size() + 1)).code ==
              DF_ERROR_NULL_RESULTS);
}

void useTools(Input& in, const ravenfit::spline& s) {
  const double a = in.number();
  const double b = in.number();
  const std::size_t function = in.byte() % (s.functions() + 1);
  double integral = 0.0;
  const int integrated = thrownBy([&] { integral = s.integral(a, b, function); });
  if (function == s.functions()) FUZZ_EXPECT(integrated == DF_ERROR_FUNCTION_INDEX);
  if (integrated == 0 && std::isfinite(integral)) {
    double back = 0.0;
    FUZZ_EXPECT(thrownBy([&] { back = s.integral(b, a, function); }) == 0);
    FUZZ_EXPECT(back == -integral);
  }
  const auto sites = s.try_solve(in.number(), std::min(a, b), std::max(a, b), function);
  if (sites.ok()) {
    FUZZ_EXPECT(std::is_sorted(sites.value().begin(), sites.value().end()));
  } else {
    expectReason(sites.why());
  }
  const Doubles values = in.numbers(3);
  Doubles inverse(3, -77.25);
  const ravenfit::status inverted = s.try_inverse(values, inverse, function);
  const auto [first, last] = s.domain();
  for (const double site : inverse)
    if (inverted.ok() && site == site) FUZZ_EXPECT(first <= site && site <= last);
  if (!inverted.ok()) FUZZ_EXPECT(inverse == Doubles(3, -77.25));
  ravenfit::spline derivative;
  if (thrownBy([&] { derivative = s.derivative_spline(); }) == 0)
    FUZZ_EXPECT(derivative.order() == s.order() - 1 && derivative.functions() == s.functions());
  if (thrownBy([&] { derivative = s.antiderivative(); }) == 0)
    FUZZ_EXPECT(derivative.order() == s.order() + 1 && derivative.functions() == s.functions());
}

void liveWithSpline(Input& in) {
  const Doubles x = breakpoints(in);
  Doubles y = in.numbers(x.size() * (1 + in.byte() % 3u) + (in.oneIn(12) ? 1 : 0));
  const ravenfit::spline_options set = options(in, x.size());
  const auto made = ravenfit::spline::try_make(x, y, set);
  const int thrown = thrownBy([&] { static_cast<void>(ravenfit::spline(x, y, set)); });
  FUZZ_EXPECT(thrown == made.why().code);
  if (!made.ok()) {
    expectReason(made.why());
    FUZZ_EXPECT(made.why().index >= -1);
    return;
  }
  ravenfit::spline s = made.value();
  FUZZ_EXPECT(s.breakpoints().size() >= 2);
  for (int step = 0; step < 6 && !in.empty(); ++step)
    if (in.oneIn(2))
      evaluate(in, s);
    else
      useTools(in, s);
  ravenfit::spline moved = std::move(s);
  FUZZ_EXPECT(thrownBy([&] { s(0.0); }) == DF_ERROR_NULL_TASK);
  FUZZ_EXPECT(moved.functions() >= 1);
}

void liveWithStream(Input& in) {
  static constexpr ravenfit::generator generators[] = {ravenfit::mcg31,
                                                       ravenfit::r250,
                                                       ravenfit::mrg32k3a,
                                                       ravenfit::mcg59,
                                                       ravenfit::mt19937,
                                                       ravenfit::sfmt19937,
                                                       ravenfit::wichmann_hill(7),
                                                       ravenfit::mt2203(11),
                                                       ravenfit::generator{RSG_BRNG_SOBOL},
                                                       {12345678}};
  auto made = ravenfit::stream::try_make(in.oneOf(generators), static_cast<std::uint32_t>(in.word()));
  if (!made.ok()) return expectReason(made.why());
  ravenfit::stream s = std::move(made).value();
  Doubles r(1 + in.byte() % 50u);
  s.fill_uniform(r);
  const ravenfit::status skipped = s.try_skip(in.oneIn(2) ? in.byte() : in.word());
  if (!skipped.ok()) expectReason(skipped);
  const auto parts = s.try_split(in.below(5), in.oneIn(2) ? 0 : in.byte());
  if (!parts.ok()) expectReason(parts.why());
  // Through text that may be damaged on its way.
  std::ostringstream written;
  s.save(written);
  std::string text = written.str();
  const std::size_t changes = in.byte() % 3u;
  for (std::size_t i = 0; i < changes; ++i)
    text[in.word() % text.size()] = static_cast<char>(in.byte());
  if (in.oneIn(4)) text.resize(in.word() % text.size());
  std::istringstream from(text);
  const auto loaded = ravenfit::stream::try_load(from);
  if (!loaded.ok()) {
    expectReason(loaded.why());
    FUZZ_EXPECT(text != written.str());
  } else if (text == written.str()) {
    ravenfit::stream again = loaded.value();
    Doubles mine(20);
    Doubles theirs(20);
    s.fill_normal(mine);
    again.fill_normal(theirs);
    FUZZ_EXPECT(equal(mine, theirs));
  }
  const double a = in.number();
  const double b = in.number();
  const ravenfit::status filled = s.try_fill_uniform(r, a, b);
  FUZZ_EXPECT(filled.ok() == (a < b));
}

void liveWithSystem(Input& in) {
  const std::size_t n = in.byte() % 12u;
  const auto about = [&](std::size_t m) { return in.oneIn(9) ? m + 1 : m; };
  const Doubles dl = in.numbers(about(n - (n > 0)));
  const Doubles d = in.numbers(n);
  const Doubles du = in.numbers(about(n - (n > 0)));
  Doubles b = in.numbers(about(n * (in.byte() % 3u)));
  const Doubles before = b;
  const ravenfit::status solved = ravenfit::try_solve_tridiagonal(dl, d, du, b);
  if (solved.ok()) return;
  expectReason(solved);
  FUZZ_EXPECT(solved.code < 0 ? equal(b, before)
                              : solved.index >= 0 && solved.index < static_cast<std::ptrdiff_t>(n));
}

void liveWithPoints(Input& in) {
  const int dimension = in.byte() - 5;
  const auto work = [&] {
    ravenfit::niederreiter points(dimension);
    Doubles matrix(static_cast<std::size_t>(dimension) * (1 + in.byte() % 4u) + (in.oneIn(6) ? 1 : 0));
    points.fill(matrix);
    for (const double one : matrix)
      FUZZ_EXPECT(one >= 0.0 && one < 1.0);
    points.skip(in.oneIn(2) ? in.byte() : in.word());
    points.fill_normal(matrix);
  };
  const int code = thrownBy(work);
  FUZZ_EXPECT((code == RSG_ERROR_DIMENSION) == (dimension < 1));
  if (dimension < 1 || dimension > 40) return;
  thrownBy([&] {
    ravenfit::sobol points(dimension);
    points.skip(in.word()).scramble(in.word(), in.oneIn(2));
    Doubles matrix(static_cast<std::size_t>(dimension));
    points.fill(matrix);
  });
}

}  // namespace

void runLayer(Input in) {
  switch (in.below(8)) {
    case 0:
      return liveWithStream(in);
    case 1:
      return liveWithSystem(in);
    case 2:
      return liveWithPoints(in);
    default:
      return liveWithSpline(in);
  }
}

}  // namespace fuzz
