// The life of a task: settings in any order, constructions, calls of all types. Cells are held against a count, values
// against a plain evaluation of the coefficients, a call against the same sites one by one.

#include <algorithm>
#include <memory>

#include "input.h"

#include <ravenfit/data_fitting.h>
#include <ravenfit/spline_tools.h>
#include <ravenfit/tools.h>

namespace fuzz {
namespace {

struct Life {
  Input in;
  std::int32_t nx;
  std::int32_t xhint;
  std::int32_t ny;
  std::vector<double> x;
  std::vector<double> y;
  bool ascends = false;    // finite, strictly
  bool joins = true;       // where pieces join at knots, these ascend
  bool continues = true;   // the end polynomials go on outside
  std::int32_t order = 0;  // as of the last edit that succeeded
  std::int32_t kind = 0;
  bool settled = false;  // the last edit succeeded
  double* coeff = nullptr;
  std::vector<std::unique_ptr<double[]>> arrays;  // that a task may read, as long as it lives
  DfTask* task = nullptr;

  explicit Life(Input input) : in(input), nx(0), xhint(0), ny(0) {}
  ~Life() {
    if (task != nullptr) FUZZ_EXPECT(dfTaskDestroy(&task) == 0 && task == nullptr);
  }

  std::size_t functions() const { return ny == 0 ? 1 : static_cast<std::size_t>(ny < 0 ? 0 : ny); }

  // An array of its own, so that a byte beyond its end is noticed.
  double* keep(std::size_t n, bool filled) {
    auto array = std::make_unique<double[]>(n);
    for (std::size_t i = 0; i < n && filled; ++i)
      array[i] = in.number();
    arrays.push_back(std::move(array));
    return arrays.back().get();
  }
};

bool isStatus(std::int32_t status) {
  return status == 0 || status == DF_ERROR_SOLVER || (status <= -1000 && status >= -1050);
}

void create(Life& life) {
  Input& in = life.in;
  static constexpr std::int32_t hints[] = {0, 0, 0, 0, 1, 2, 2, 4, 4, 3};
  static constexpr std::int32_t layouts[] = {0, 0, 16, 32, 128, 5};
  static constexpr double steps[] = {1.0, 0.5, 0.125, 3.0, 1e-3, 1e-13, 1e6, 1e15};
  life.nx = in.oneIn(8) ? 2 + 4 * in.below(250) : 2 + in.below(30);
  life.xhint = in.oneOf(hints);
  life.ny = in.oneIn(16) ? -1 : in.below(4);
  if (life.xhint == DF_XHINT_UNIFORM) {
    life.x = in.numbers(2);
  } else if (in.oneIn(5)) {
    life.x = in.numbers(static_cast<std::size_t>(life.nx));
  } else {
    double at = in.number();
    for (std::int32_t i = 0; i < life.nx; ++i, at += in.oneOf(steps))
      life.x.push_back(at);
  }
  life.ascends = life.xhint != DF_XHINT_UNIFORM && std::isfinite(life.x.front());
  for (std::size_t i = 1; i < life.x.size(); ++i)
    life.ascends = life.ascends && life.x[i - 1] < life.x[i] && std::isfinite(life.x[i]);
  const std::size_t values = static_cast<std::size_t>(life.nx) * static_cast<std::size_t>(std::abs(life.ny));
  life.y = in.numbers(values);
  if (life.xhint != DF_XHINT_UNIFORM) {
    std::int32_t bad = -9;
    const bool ordered = dfCheckBreakpoints(life.nx, life.x.data(), &bad) == 0;
    FUZZ_EXPECT(ordered == life.ascends);
  }
  const std::int32_t status = dfTaskCreate(&life.task, life.nx, life.x.data(), life.xhint, life.ny,
                                           life.ny == 0 ? nullptr : life.y.data(), in.oneOf(layouts));
  FUZZ_EXPECT(isStatus(status));
  FUZZ_EXPECT((status == 0) == (life.task != nullptr));
}

void edit(Life& life) {
  Input& in = life.in;
  static constexpr std::int32_t orders[] = {4, 4, 4, 4, 4, 2, 2, 3, 3, 0, 0, 5, 7, 12, 1, -1};
  static constexpr std::int32_t kinds[] = {0, 1, 2, 2, 3, 4, 5, 0x101, 0x102, 0x103, 6, 7, 8, 9};
  static constexpr std::int32_t ends[] = {0,   1,     2,     2,     12,    24, 36, 48, 64,
                                          128, 0x108, 0x120, 0x204, 0x210, 7,  4,  -1};
  static constexpr std::int32_t conditions[] = {0, 0, 0, 1, 2, 8, 12, 4, 3};
  const std::int32_t order = in.oneOf(orders);
  const std::int32_t kind = in.oneOf(kinds);
  const std::int32_t end = in.oneOf(ends);
  const std::int32_t condition = in.oneOf(conditions);
  const double* const bc = in.oneIn(4) ? nullptr : life.keep(2, true);
  double* ic = nullptr;
  if (condition != 0 && !in.oneIn(8)) {
    ic = life.keep(static_cast<std::size_t>(life.nx) + 1, true);
    if (condition == DF_IC_KNOTS && life.x.size() > 2 && !in.oneIn(3)) {  // where knots belong
      ic[0] = life.x.front();
      for (std::int32_t k = 0; k + 1 < life.nx; ++k)
        ic[k + 1] = 0.5 * (life.x[static_cast<std::size_t>(k)] + life.x[static_cast<std::size_t>(k) + 1]);
      ic[life.nx] = life.x.back();
    }
  }
  // Rows as long as the order asks for: they replace those of another order.
  const std::size_t pieces = static_cast<std::size_t>(life.nx) - (kind == DF_KIND_SUBBOTIN ? 0 : 1);
  const std::size_t length =
      static_cast<std::size_t>(std::max(order, 0)) * pieces * std::max<std::size_t>(life.functions(), 1);
  double* const coeff =
      life.coeff == nullptr && in.oneIn(8) ? nullptr : life.keep(length + (length == 0), in.oneIn(2));
  const std::int32_t status = dfTaskEditSpline(life.task, order, kind, end, bc, condition, ic, coeff,
                                               in.oneIn(8) ? DF_COEFF_FIRST_ROW : DF_COEFF_DEFAULT);
  FUZZ_EXPECT(isStatus(status));
  // A failed edit may have taken the order and not the rows: what follows would not be what a caller may do.
  life.settled = status == 0;
  if (!life.settled) return;
  life.order = order;
  life.kind = kind;
  life.joins = condition != DF_IC_KNOTS || ic == nullptr ||
               std::adjacent_find(ic, ic + life.nx + 1, [](double a, double b) { return !(a < b); }) ==
                   ic + life.nx + 1;
  life.coeff = coeff != nullptr ? coeff : life.coeff;
}

struct Call {
  std::int32_t type = 0;
  std::vector<double> sites;
  std::int32_t sitehint = 0;
  std::vector<std::int32_t> wanted;  // dorder
  std::int32_t nres = 1;
  std::int32_t rhint = 0;
  const double* datahint = nullptr;
  std::vector<std::int32_t> cells;

  std::int32_t run(const DfTask* task, double* r, std::int32_t* cell, std::int32_t nsite) const {
    return dfTaskInterpolate(task, type, DF_METHOD_POLYNOMIAL, nsite, sites.data(), sitehint,
                             static_cast<std::int32_t>(wanted.size()),
                             wanted.empty() ? nullptr : wanted.data(), datahint, r, rhint, cell);
  }
};

// Coefficients of a piece as the formulas of orders 2 to 4 take them.
double formula(std::int32_t order, std::size_t k, const double* c, double t) {
  if (k >= static_cast<std::size_t>(order)) return 0.0;
  if (order == 2) return k == 0 ? c[0] + c[1] * t : c[1];
  if (order == 3) return k == 0 ? (c[2] * t + c[1]) * t + c[0] : k == 1 ? c[1] + 2.0 * c[2] * t : 2.0 * c[2];
  if (k == 0) return ((c[3] * t + c[2]) * t + c[1]) * t + c[0];
  if (k == 1) return c[1] + (2.0 * c[2] + 3.0 * c[3] * t) * t;
  return k == 2 ? 2.0 * c[2] + 6.0 * c[3] * t : 6.0 * c[3];
}

void expectPlainValues(const Life& life, const Call& call, const std::vector<double>& r,
                       const std::vector<std::int32_t>& cells) {
  const std::size_t nsite = call.sites.size();
  const auto nres = static_cast<std::size_t>(call.nres);
  const auto order = static_cast<std::size_t>(life.order);
  const bool bySite = call.rhint == DF_RESULTS_BY_SITE;
  const bool derivativesInner = call.rhint == 16 || call.rhint == 128;
  const std::size_t functions = life.functions();
  for (std::size_t f = 0; f < functions; ++f)
    for (std::size_t i = 0; i < nsite; ++i) {
      const auto cell = static_cast<std::size_t>(cells[i]);
      const std::size_t q = cell - (cell > 0) - (cell == static_cast<std::size_t>(life.nx));
      const double* const c = life.coeff + (f * (life.x.size() - 1) + q) * order;
      std::size_t position = 0;
      for (std::size_t k = 0; k < std::max<std::size_t>(call.wanted.size(), 1) && position < nres; ++k) {
        if (!call.wanted.empty() && call.wanted[k] == 0) continue;
        const std::size_t at = bySite             ? (i * nres + position) * functions + f
                               : derivativesInner ? (f * nsite + i) * nres + position
                                                  : (f * nres + position) * nsite + i;
        FUZZ_EXPECT(same(r[at], formula(life.order, k, c, call.sites[i] - life.x[q])));
        ++position;
      }
    }
}

// Entries of 0 and 1 alone pack as one expects.
bool isPlainRequest(const Call& call) {
  bool any = call.wanted.empty();
  for (const std::int32_t entry : call.wanted) {
    if (entry != 0 && entry != 1) return false;
    any = any || entry == 1;
  }
  return any;
}

void interpolate(Life& life) {
  Input& in = life.in;
  static constexpr std::int32_t siteHints[] = {0, 0, 1, 4, 64, 64, 2};
  static constexpr std::int32_t layouts[] = {0, 16, 32, 64, 128, 3};
  static constexpr std::int32_t entries[] = {1, 1, 1, 0, 0, 2, -1};
  Call call;
  call.type = in.below(8);
  const std::size_t nsite = in.oneIn(4) ? 1 + in.byte() * 3u : 1 + static_cast<std::size_t>(in.below(20));
  const std::vector<double> seeds = in.numbers(std::min<std::size_t>(nsite, 24));
  for (std::size_t i = 0; i < nsite; ++i) {  // numbers, breakpoints, and their neighbours
    const double breakpoint = life.x[(i * 7 + 3) % life.x.size()];
    const double near = i % 5 == 3   ? breakpoint
                        : i % 5 == 4 ? std::nextafter(breakpoint, 1e308)
                                     : seeds[i % seeds.size()];
    call.sites.push_back(near);
  }
  call.sitehint = in.oneOf(siteHints);
  const bool sorts = call.sitehint == DF_SITES_SORTED && !in.oneIn(8);
  if (sorts) {
    std::erase_if(call.sites, [](double s) { return s != s; });
    if (call.sites.empty()) call.sites.push_back(0.0);
    std::sort(call.sites.begin(), call.sites.end());
  }
  const bool sorted = call.sitehint != DF_SITES_SORTED || sorts;
  for (int k = in.below(7); k > 0; --k)
    call.wanted.push_back(in.oneOf(entries));
  std::int32_t sum = 0;
  for (const std::int32_t entry : call.wanted)
    sum += entry;
  call.nres = std::max(sum, 1);
  call.rhint = in.oneOf(layouts);
  double information[5] = {0, in.oneIn(3) ? in.number() : 1.0, 0, 0,
                           in.oneIn(3) ? in.number() : in.below(life.nx + 1)};
  if (in.oneIn(4)) call.datahint = information;
  const auto count = static_cast<std::int32_t>(call.sites.size());
  std::vector<std::int32_t> given(call.sites.size());
  for (std::int32_t& cell : given)
    cell = in.below(life.nx + 3) - 1;
  std::vector<std::int32_t> cells = given;
  const std::size_t results = life.functions() * static_cast<std::size_t>(call.nres) * call.sites.size();
  const double untouched = -77.25;
  std::vector<double> r(results, untouched);
  // With two ends for all sites, the array may have no more.
  if (call.sitehint == DF_SITES_UNIFORM) call.sites.resize(std::min<std::size_t>(call.sites.size(), 2));
  if (call.sitehint == DF_SITES_UNIFORM && call.sites.size() < 2) call.sites.push_back(1.0);
  const std::int32_t status = call.run(life.task, r.data(), cells.data(), count);
  FUZZ_EXPECT(isStatus(status));
  if (status != 0) {
    const bool lookup = life.order == 0;
    for (const double one : r)
      FUZZ_EXPECT(lookup || same(one, untouched));
    return;
  }
  if ((call.type & DF_WANT_GIVEN_CELLS) != 0) FUZZ_EXPECT(call.type != 4 || cells == given);
  if (call.sitehint == DF_SITES_UNIFORM || !life.ascends || !sorted || !life.continues) return;
  if (call.type == DF_WANT_GIVEN_CELLS) {
    for (std::int32_t& cell : cells)
      cell = std::clamp(cell, 0, life.nx);
  } else {
    for (std::size_t i = 0; i < call.sites.size(); ++i) {
      const auto above = std::upper_bound(life.x.begin(), life.x.end(), call.sites[i]);
      const bool nan = call.sites[i] != call.sites[i];
      const auto counted = static_cast<std::int32_t>(nan ? 0 : above - life.x.begin());
      const bool tie = life.xhint == DF_XHINT_QUASI_UNIFORM && counted > 0 &&
                       life.x[static_cast<std::size_t>(counted) - 1] == call.sites[i];
      if (nan && call.datahint != nullptr) return;  // a likely cell says nothing of these
      if (call.type == 2 || call.type == 3)
        FUZZ_EXPECT(cells[i] == counted || (tie && cells[i] == counted - 1));
      if (tie && call.type == 1) return;
      if (call.type == 1) cells[i] = counted;
    }
  }
  if (call.type == 2 || life.order < 2 || life.order > 4 || life.kind == DF_KIND_SUBBOTIN ||
      life.coeff == nullptr)
    return;
  if (life.functions() == 0 || call.type > 4 || !isPlainRequest(call)) return;
  expectPlainValues(life, call, r, cells);
  // One by one.
  Call one = call;
  std::vector<double> each(life.functions() * static_cast<std::size_t>(call.nres), untouched);
  for (std::size_t i = 0; i < call.sites.size() && i < 12; ++i) {
    one.sites = {call.sites[i]};
    std::int32_t cell = given[i];
    FUZZ_EXPECT(one.run(life.task, each.data(), &cell, 1) == 0);
    if (life.xhint != DF_XHINT_QUASI_UNIFORM && (call.type == 2 || call.type == 3))
      FUZZ_EXPECT(cell == cells[i]);
    if (call.rhint == DF_RESULTS_BY_SITE || call.nres > 1) continue;
    for (std::size_t f = 0; f < life.functions(); ++f)
      FUZZ_EXPECT(same(each[f], r[f * call.sites.size() + i]) || life.xhint == DF_XHINT_QUASI_UNIFORM);
  }
}

void useTools(Life& life) {
  Input& in = life.in;
  const std::size_t functions = std::max<std::size_t>(life.functions(), 1);
  if (in.oneIn(2)) {
    const int n = 1 + in.below(6);
    const std::vector<double> a = in.numbers(static_cast<std::size_t>(n));
    const std::vector<double> b = in.numbers(static_cast<std::size_t>(n));
    std::vector<double> r(functions * static_cast<std::size_t>(n));
    FUZZ_EXPECT(isStatus(dfTaskIntegrate(life.task, n, a.data(), b.data(), r.data(), in.oneIn(3) ? 64 : 0)));
    return;
  }
  std::int64_t count = 0;
  std::vector<double> sites(static_cast<std::size_t>(in.below(9)));
  const double a = in.number();
  const double b = in.number();
  const double value = in.number();
  const double far = std::numeric_limits<double>::max();  // as far as infinities reach
  const std::int32_t status = dfTaskSolve(life.task, in.below(4), value, a, b,
                                          static_cast<std::int64_t>(sites.size()), sites.data(), &count);
  FUZZ_EXPECT(isStatus(status));
  const bool ordered = life.ascends || (life.xhint == DF_XHINT_UNIFORM && life.x[0] < life.x[1] &&
                                        std::isfinite(life.x[1] - life.x[0]));
  if (status == 0 && ordered && life.joins) {
    const std::size_t written = std::min(sites.size(), static_cast<std::size_t>(count));
    for (std::size_t i = 0; i < written; ++i) {
      FUZZ_EXPECT(std::min(a, far) <= sites[i] && sites[i] <= std::max(b, -far));
      FUZZ_EXPECT(i == 0 || sites[i - 1] < sites[i]);
    }
  }
  std::vector<double> inverse(4);
  const std::vector<double> values = in.numbers(4);
  FUZZ_EXPECT(isStatus(dfTaskInverse(life.task, in.below(4), 4, values.data(), inverse.data())));
}

}  // namespace

void runTask(Input input) {
  Life life(input);
  create(life);
  if (life.task == nullptr) return;
  for (int step = 0; step < 12 && !life.in.empty(); ++step) {
    const int what = life.in.below(8);
    if (what < 2 || !life.settled) {
      edit(life);
    } else if (what < 3) {
      const std::int32_t below = life.in.below(7);
      const std::int32_t above = life.in.below(7);
      const std::int32_t status = dfTaskSetOutside(life.task, below, above, life.in.number());
      FUZZ_EXPECT(isStatus(status));
      if (status == 0) life.continues = below == DF_OUTSIDE_CONTINUE && above == DF_OUTSIDE_CONTINUE;
    } else if (what < 5) {
      FUZZ_EXPECT(isStatus(dfTaskConstruct(life.task, life.in.oneIn(16), 0)));
    } else if (what < 7) {
      interpolate(life);
    } else {
      useTools(life);
    }
  }
}

}  // namespace fuzz
