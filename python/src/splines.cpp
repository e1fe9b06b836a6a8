#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <memory>
#include <pybind11/stl.h>
#include <vector>

#include "bind.h"

namespace py = pybind11;

namespace {

using ravenfit::view;

constexpr std::size_t kMostInACall = std::size_t{1} << 30;
constexpr std::size_t kBlock = 4096;

view<const double> read(const Numbers& a) {
  return {a.data(), static_cast<std::size_t>(a.size())};
}

std::string element(const char* name, std::int32_t i, double value) {
  return std::string(name) + "[" + std::to_string(i) + "] = " + std::string(py::repr(py::float_(value)));
}

void checkBreakpoints(const Numbers& x) {
  if (x.size() < 2) refuse("a spline needs 2 breakpoints at least, and x has " + std::to_string(x.size()));
  if (x.size() > INT32_MAX) refuse("x has more than 2^31 - 1 breakpoints");
  std::int32_t bad = -1;
  if (dfCheckBreakpoints(static_cast<std::int32_t>(x.size()), x.data(), &bad) == DF_STATUS_OK) return;
  const double value = x.data()[bad];
  if (!std::isfinite(value) || bad == 0) refuse(element("x", bad, value) + " is not finite");
  refuse(element("x", bad, value) + " does not exceed " + element("x", bad - 1, x.data()[bad - 1]));
}

// ---- construction ----

struct End {
  std::string word;
  Numbers values;  // one for every function, where the word takes a value

  ravenfit::end_condition of(std::size_t function) const {
    using e = ravenfit::end_condition;
    const double value = values.size() == 0 ? 0.0 : values.data()[function];
    if (word == "own") return {e::own, 0.0};
    if (word == "not-a-knot") return {e::not_a_knot, 0.0};
    if (word == "periodic") return {e::periodic, 0.0};
    if (word == "slope") return {e::slope, value};
    if (word == "curvature") return {e::curvature, value};
    refuse("there is no end '" + word + "'");
  }
  bool differs() const {
    for (py::ssize_t f = 1; f < values.size(); ++f)
      if (values.data()[f] != values.data()[0]) return true;
    return false;
  }
};

// inner: slopes, function by function; midpoint values, one for each; weights, or none.
ravenfit::spline_options optionsOf(const std::string& kind, view<const double> inner, double lambda) {
  if (kind == "cubic") return ravenfit::cubic();
  if (kind == "linear") return ravenfit::linear();
  if (kind == "akima") return ravenfit::akima();
  if (kind == "makima") return ravenfit::modified_akima();
  if (kind == "pchip") return ravenfit::pchip();
  if (kind == "steffen") return ravenfit::steffen();
  if (kind == "bessel") return ravenfit::bessel();
  if (kind == "subbotin") return ravenfit::subbotin();
  if (kind == "hermite") return ravenfit::hermite(inner);
  if (kind == "quadratic") return ravenfit::quadratic(inner[0]);
  if (kind == "smoothing")
    return lambda < 0.0 ? ravenfit::smoothing(inner) : ravenfit::smoothing(lambda, inner);
  refuse("there is no kind '" + kind + "'");
}

bool allFinite(const Numbers& a) {
  const double* const from = a.data();
  // A product with 0 is 0 or NaN; sums of them are looked at once.
  double sums[8] = {};
  const auto n = static_cast<std::size_t>(a.size());
  std::size_t i = 0;
  for (; i + 8 <= n; i += 8)
    for (std::size_t k = 0; k < 8; ++k)
      sums[k] += from[i + k] * 0.0;
  for (; i < n; ++i)
    sums[0] += from[i] * 0.0;
  for (const double sum : sums)
    if (sum != 0.0) return false;
  return true;
}

// Weights of Akima's kinds count as none if their sum is below 1e-10 in the library, and below 1e-9 of the largest sum
// for SciPy: with function values times a power of two the one is the other, and nothing else changes.
constexpr double limit = 1e-10;

// What of the sums decides on the power: the largest one of all functions, the least of half the limit or more, and the
// largest of twice the limit or less.
py::tuple akimaSums(const std::string& kind, const Numbers& x, const Numbers& y) {
  const auto n = static_cast<std::size_t>(x.size());
  const auto functions = n == 0 ? 0 : static_cast<std::size_t>(y.size()) / n;
  if (n < 5) refuse("Akima's kinds need 5 breakpoints at least");
  const bool modified = kind == "makima";
  const double* const at = x.data();
  const double* const values = y.data();
  double largest = 0.0;
  double above = std::numeric_limits<double>::infinity();
  double below = 0.0;
  for (std::size_t f = 0; f < functions; ++f) {
    const auto chord = [&](std::size_t i) {
      return (values[(i + 1) * functions + f] - values[i * functions + f]) / (at[i + 1] - at[i]);
    };
    const auto weight = [&](double left, double right) {
      return std::fabs(right - left) + (modified ? 0.5 * std::fabs(left + right) : 0.0);
    };
    const auto count = [&](double sum) {
      largest = std::max(largest, sum);
      above = std::min(above, sum < 0.5 * limit ? above : sum);
      below = std::max(below, sum > 2.0 * limit ? below : sum);
    };
    // Two more chords beyond both ends go on in a line.
    double d = chord(0);
    const double before = 2.0 * d - chord(1);
    double older = weight(2.0 * before - d, before);
    double old = weight(before, d);
    const auto next = [&](double e) {
      const double w = weight(d, e);
      count(w + older);
      older = old;
      old = w;
      d = e;
    };
    for (std::size_t i = 1; i + 1 < n; ++i)
      next(chord(i));
    const double after = 2.0 * d - chord(n - 3);
    const double last = d;
    next(after);
    next(2.0 * after - last);
  }
  return py::make_tuple(largest, above, below);
}

// The exponent, or 0 where no sum lies between both limits, nor near them, and products of sums and chords stay numbers.
int akimaPower(double largest, double above, double below) {
  if (largest == 0.0 || !std::isfinite(largest)) return 0;
  const int power = std::clamp(-static_cast<int>(std::nearbyint(std::log2(largest / 0.1))), -900, 900);
  const double other = std::ldexp(limit, -power);
  const bool apart = other < limit ? below < 0.5 * other : above > 2.0 * other;
  return apart && std::abs(power) < 300 ? 0 : power;
}

// Coefficients of all functions, function by function, and the lambdas of smoothing splines. y: value of function f at
// breakpoint i at y[i * functions + f].
py::tuple construct(const std::string& kind, const Numbers& x, const Numbers& y, const End& left,
                    const End& right, const Numbers& inner, double lambda) {
  const auto nx = static_cast<std::size_t>(x.size());
  const std::size_t functions = static_cast<std::size_t>(y.size()) / nx;
  const bool oneByOne = functions > 1 && (left.differs() || right.differs() || kind == "quadratic");
  const std::size_t together = oneByOne ? 1 : functions;
  const int order = kind == "linear" ? 2 : kind == "quadratic" || kind == "subbotin" ? 3 : 4;
  const std::size_t pieces = nx - (kind == "subbotin" ? 0 : 1);
  Numbers coeff = fresh({static_cast<py::ssize_t>(functions), static_cast<py::ssize_t>(pieces), order});
  py::array_t<double> lambdas(kind == "smoothing" ? functions : 0);
  double* const to = coeff.mutable_data();
  double* const lambdaTo = lambdas.mutable_data();
  const view<const double> breakpoints = read(x);
  const view<const double> values = read(y);
  const view<const double> more = read(inner);
  const std::size_t row = pieces * static_cast<std::size_t>(order);
  std::vector<ravenfit::spline_options> options;
  for (std::size_t f = 0; f < functions; f += together) {
    options.push_back(optionsOf(kind, kind == "quadratic" ? more.part(f, 1) : more, lambda));
    options.back().unchecked().by_breakpoint();
    if (kind != "linear" && kind != "quadratic" && kind != "hermite" && kind != "smoothing")
      options.back().left(left.of(f)).right(right.of(f));
  }
  ravenfit::status s;
  {
    const Unlocked unlocked;
    std::vector<double> column;
    for (std::size_t f = 0; f < functions && s.ok(); f += together) {
      view<const double> part = values;
      if (oneByOne) {
        column.resize(nx);
        for (std::size_t i = 0; i < nx; ++i)
          column[i] = values[i * functions + f];
        part = column;
      }
      // Neither points nor coefficients are copied: fresh memory costs more than the spline.
      ravenfit::detail::spline_state made(options[oneByOne ? f : 0]);
      made.x = breakpoints;
      made.y = part;
      made.borrowed = to + f * row;
      s = made.make();
      std::copy(made.lambdas.begin(), made.lambdas.end(), lambdaTo + f);
    }
  }
  if (!s.ok()) refuse(s);
  return py::make_tuple(coeff, lambdas);
}

// ---- pieces ----

// Polynomial pieces of several functions over one partition, as coefficients: function by function, cell by cell, in
// ascending powers. Keeps the arrays alive, which nobody changes. A task is made for each way of being outside, when it
// is first needed and under the GIL; evaluation only reads.
class Pieces {
 public:
  Pieces(Numbers x, Numbers coeff, int mode) : x_(std::move(x)), coeff_(std::move(coeff)) {
    checkBreakpoints(x_);
    if (coeff_.ndim() != 3 || coeff_.shape(0) < 1 || coeff_.shape(1) != x_.size() - 1 || coeff_.shape(2) < 2)
      refuse("coefficients must be of shape (functions, len(x) - 1, order)");
    if (coeff_.shape(0) > INT32_MAX || coeff_.shape(2) > 64)
      refuse("too many functions, or too high an order");
    functions_ = static_cast<std::size_t>(coeff_.shape(0));
    order_ = static_cast<std::int32_t>(coeff_.shape(2));
    own_ = task(mode);
  }

  // One value of the one function; what is outside is as the object has it.
  double value(double site) const {
    double r;
    check(dfTaskInterpolate(own_, DF_WANT_INTERPOLATE, DF_METHOD_POLYNOMIAL, 1, &site, DF_SITES_GENERAL, 0,
                            nullptr, nullptr, &r, DF_RESULTS_DEFAULT, nullptr));
    return r;
  }

  // orders: derivatives, ascending. Result of function f, order k of nk, site i at out[(i * nk + k) * functions + f], or
  // by rows at out[(f * nk + k) * n + i].
  void evaluate(const Numbers& sites, const std::vector<int>& orders, int mode, bool bySite, Numbers out) {
    const DfTask* const task = this->task(mode);
    std::vector<std::int32_t> wanted(orders.empty() ? 0 : static_cast<std::size_t>(orders.back()) + 1);
    for (int k : orders)
      wanted[static_cast<std::size_t>(k)] = 1;
    const auto n = static_cast<std::size_t>(sites.size());
    const std::size_t results = orders.size() * functions_;
    if (static_cast<std::size_t>(out.size()) != n * results) refuse("out has the wrong size");
    const double* const from = sites.data();
    double* const to = out.mutable_data();
    // Where rows are not torn apart by it, order is looked for block by block.
    const bool blockwise = bySite || results == 1;
    const std::size_t step = blockwise ? kBlock : std::min(n, kMostInACall);
    if (!blockwise && n > kMostInACall) refuse("too many sites for a result by rows");
    std::int32_t code = DF_STATUS_OK;
    {
      const Unlocked unlocked;
      for (std::size_t i = 0; i < n && code == DF_STATUS_OK; i += step) {
        const std::size_t part = std::min(step, n - i);
        code = dfTaskInterpolate(
            task, DF_WANT_INTERPOLATE, DF_METHOD_POLYNOMIAL, static_cast<std::int32_t>(part), from + i,
            ascend(from + i, part) ? DF_SITES_SORTED : DF_SITES_GENERAL,
            static_cast<std::int32_t>(wanted.size()), wanted.data(), nullptr, to + i * results,
            bySite ? int{DF_RESULTS_BY_SITE} : int{DF_RESULTS_SITES_INNER}, nullptr);
      }
    }
    check(code);
  }

  // (pairs, functions)
  Numbers integrate(const Numbers& a, const Numbers& b, int mode) {
    const DfTask* const task = this->task(mode);
    const auto n = static_cast<std::size_t>(a.size());
    if (b.size() != a.size()) refuse("as many upper limits as lower ones are needed");
    py::array_t<double> out({n, functions_});
    double* const to = out.mutable_data();
    std::int32_t code = DF_STATUS_OK;
    {
      const Unlocked unlocked;
      for (std::size_t i = 0; i < n && code == DF_STATUS_OK; i += kMostInACall)
        code = dfTaskIntegrate(task, static_cast<std::int32_t>(std::min(kMostInACall, n - i)), a.data() + i,
                               b.data() + i, to + i * functions_, DF_RESULTS_BY_SITE);
    }
    check(code);
    return out;
  }

  Numbers solve(std::int32_t function, double value, double a, double b, int mode) {
    const DfTask* const task = this->task(mode);
    std::vector<double> sites(64);
    std::int64_t count = 0;
    std::int32_t code = DF_STATUS_OK;
    {
      const Unlocked unlocked;
      for (bool complete = false; !complete && code == DF_STATUS_OK;) {
        code = dfTaskSolve(task, function, value, a, b, static_cast<std::int64_t>(sites.size()), sites.data(),
                           &count);
        complete = count <= static_cast<std::int64_t>(sites.size());
        if (!complete) sites.resize(static_cast<std::size_t>(count));
      }
    }
    check(code);
    return Numbers(static_cast<py::ssize_t>(count), sites.data());
  }

  Numbers inverse(std::int32_t function, const Numbers& values) {
    const DfTask* const task = this->task(DF_OUTSIDE_CONTINUE);
    py::array_t<double> out(values.size());
    double* const to = out.mutable_data();
    if (values.size() > static_cast<py::ssize_t>(kMostInACall)) refuse("too many values in a call");
    if (values.size() == 0) return out;
    std::int32_t code;
    {
      const Unlocked unlocked;
      code = dfTaskInverse(task, function, static_cast<std::int32_t>(values.size()), values.data(), to);
    }
    check(code);
    return out;
  }

  // Coefficients of the derivative (more = -1) or of the antiderivative that is 0 at the first breakpoint (more = 1).
  Numbers related(int more) {
    Numbers out = fresh({coeff_.shape(0), coeff_.shape(1), coeff_.shape(2) + more});
    double* const to = out.mutable_data();
    std::int32_t code;
    {
      const Unlocked unlocked;
      code = more < 0 ? dfTaskDerivative(own_, to) : dfTaskAntiderivative(own_, to);
    }
    check(code);
    return out;
  }

 private:
  static bool ascend(const double* s, std::size_t n) {
    for (std::size_t i = 1; i < n; ++i)
      if (!(s[i - 1] <= s[i])) return false;
    return s[0] == s[0];
  }

  DfTask* task(int mode) {
    if (mode < DF_OUTSIDE_CONTINUE || mode > DF_OUTSIDE_REFUSE) refuse("unknown extrapolation");
    auto& kept = tasks_[mode];
    if (kept == nullptr) {
      DfTask* made = nullptr;
      // Breakpoints one by one, also where they are equidistant: a site on one of them belongs to the piece on its right.
      // Function values are not read where there are coefficients, but must be there.
      const std::int32_t code =
          dfTaskCreate(&made, static_cast<std::int32_t>(x_.size()), x_.data(), DF_XHINT_NONE,
                       static_cast<std::int32_t>(functions_), coeff_.data(), DF_VALUES_DEFAULT);
      std::unique_ptr<DfTask, ravenfit::detail::destroy_task> guard(made);
      check(code);
      check(dfTaskSetOutside(made, mode, mode, 0.0));
      // The coefficients are not written: nothing is constructed.
      check(dfTaskEditSpline(made, order_, order_ == DF_ORDER_CUBIC ? DF_KIND_NATURAL : DF_KIND_DEFAULT,
                             DF_END_NONE, nullptr, DF_IC_NONE, nullptr, const_cast<double*>(coeff_.data()),
                             DF_COEFF_DEFAULT));
      kept = std::move(guard);
    }
    return kept.get();
  }

  Numbers x_;
  Numbers coeff_;
  std::size_t functions_ = 0;
  std::int32_t order_ = 0;
  std::unique_ptr<DfTask, ravenfit::detail::destroy_task> tasks_[DF_OUTSIDE_REFUSE + 1];
  const DfTask* own_ = nullptr;
};

}  // namespace

void bindSplines(py::module_& m) {
  m.def("check_breakpoints", &checkBreakpoints);
  m.def("all_finite", &allFinite);
  m.def("akima_sums", &akimaSums);
  m.def("akima_power", &akimaPower);
  m.def("construct", [](const std::string& kind, const Numbers& x, const Numbers& y,
                        const std::string& leftWord, const Numbers& leftValues, const std::string& rightWord,
                        const Numbers& rightValues, const Numbers& inner, double lambda) {
    return construct(kind, x, y, {leftWord, leftValues}, {rightWord, rightValues}, inner, lambda);
  });
  py::class_<Pieces>(m, "Pieces")
      .def(py::init<Numbers, Numbers, int>())
      .def("value", &Pieces::value)
      .def("evaluate", &Pieces::evaluate)
      .def("integrate", &Pieces::integrate)
      .def("solve", &Pieces::solve)
      .def("inverse", &Pieces::inverse)
      .def("related", &Pieces::related);
  m.attr("CONTINUE") = int{DF_OUTSIDE_CONTINUE};
  m.attr("CLAMP") = int{DF_OUTSIDE_CLAMP};
  m.attr("NAN") = int{DF_OUTSIDE_NAN};
  m.attr("WRAP") = int{DF_OUTSIDE_WRAP};
  m.attr("REFUSE") = int{DF_OUTSIDE_REFUSE};
}
