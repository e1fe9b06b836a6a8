// Which results are the same bits at which levels: every operation on fixed data at every level that is built and that the
// machine runs, told by a hash of its results.
//
//   reproducibility              prints the table of docs/reproducibility.md
//   reproducibility --check FILE compares it with the one in FILE, for the levels at hand; ends with 1 where they differ
//   reproducibility --write FILE puts it there, between the lines that mark it

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "dispatch/kernel_slot.h"
#include "runtime/cpu_level.h"
#include "runtime/memory.h"
#include "support/levels.h"

#include <ravenfit/data_fitting.h>
#include <ravenfit/random_streams.h>
#include <ravenfit/smoothing.h>
#include <ravenfit/spline_tools.h>
#include <ravenfit/stream_tools.h>
#include <ravenfit/tools.h>
#include <ravenfit/tridiagonal.h>
#include <ravenfit/variates.h>

namespace {

using Doubles = std::vector<double>;

constexpr std::int32_t nx = 203;
constexpr std::int32_t nsite = 1001;

// Numbers with many digits, by integers alone, so that they are the same everywhere: n fractions of [0, 1).
Doubles fractions(std::size_t n, std::uint64_t seed) {
  Doubles r;
  std::uint64_t state = seed;
  for (std::size_t i = 0; i < n; ++i) {
    state = state * 6364136223846793005 + 1442695040888963407;
    r.push_back(static_cast<double>(state >> 11) * 0x1p-53);
  }
  return r;
}

Doubles breakpoints(int n) {
  Doubles x = fractions(static_cast<std::size_t>(n), 1);
  for (std::size_t i = 0; i < x.size(); ++i)
    x[i] = 0.3 * (static_cast<double>(i) + 0.9 * x[i]);
  return x;
}

// What is not 0 is a fault of this program.
void need(std::int32_t status) {
  if (status == 0) return;
  std::fprintf(stderr, "status %d\n", status);
  std::exit(2);
}

// ---- splines ----

struct Kind {
  std::int32_t order;
  std::int32_t kind;
  std::int32_t bcType;
  std::int32_t icType;
};

struct Spline {
  Doubles x;
  Doubles y;
  Doubles ic;
  Doubles coeff;
  double ends[2] = {0.0, 61.3};
  double bc[2] = {0.375, -0.625};
  DfTask* task = nullptr;

  Spline(const Kind& kind, std::int32_t xhint, std::int32_t ny, int n = nx)
      : x(breakpoints(n)), y(fractions(static_cast<std::size_t>(n * ny), 2)) {
    if (kind.icType == DF_IC_KNOTS) {
      const Doubles& at = x;
      ic.push_back(at.front());
      for (std::size_t i = 0; i + 1 < at.size(); ++i)
        ic.push_back(0.25 * at[i] + 0.75 * at[i + 1]);
      ic.push_back(at.back());
    } else if (kind.icType != DF_IC_NONE) {
      ic = fractions(x.size(), 3);
    }
    coeff.resize(static_cast<std::size_t>(ny * n * kind.order));
    const double* const where = xhint == DF_XHINT_UNIFORM ? ends : x.data();
    need(dfTaskCreate(&task, n, where, xhint, ny, y.data(), DF_VALUES_DEFAULT));
    need(dfTaskEditSpline(task, kind.order, kind.kind, kind.bcType, bc, kind.icType,
                          ic.empty() ? nullptr : ic.data(), coeff.data(), DF_COEFF_DEFAULT));
    need(dfTaskConstruct(task, 0, 0));
  }
  Spline(const Spline&) = delete;
  Spline& operator=(const Spline&) = delete;
  ~Spline() { dfTaskDestroy(&task); }
};

constexpr Kind natural = {DF_ORDER_CUBIC, DF_KIND_NATURAL, 12, DF_IC_NONE};
constexpr Kind akima = {DF_ORDER_CUBIC, DF_KIND_AKIMA, DF_END_NONE, DF_IC_NONE};
constexpr Kind parabolas = {DF_ORDER_QUADRATIC, DF_KIND_DEFAULT, DF_END_QUADRATIC_VALUE, DF_IC_NONE};
constexpr Kind brokenLine = {DF_ORDER_LINEAR, DF_KIND_DEFAULT, DF_END_NONE, DF_IC_NONE};

Doubles construct(const Kind& kind, std::int32_t ny, int n = nx) {
  Doubles all;
  for (const std::int32_t xhint : {DF_XHINT_NONE, DF_XHINT_UNIFORM}) {
    if (kind.icType == DF_IC_KNOTS && xhint == DF_XHINT_UNIFORM) continue;
    const Spline s(kind, xhint, ny, n);
    all.insert(all.end(), s.coeff.begin(), s.coeff.end());
  }
  return all;
}

// Sites anywhere, and at breakpoints and their neighbours.
Doubles sites(const Spline& s, bool uniform) {
  Doubles r = fractions(nsite, 4);
  for (std::size_t i = 0; i < r.size(); ++i) {
    const double breakpoint = uniform ? static_cast<double>(i % nx) * (61.3 / (nx - 1)) : s.x[i % nx];
    r[i] = i % 4 == 0 ? breakpoint : i % 4 == 1 ? std::nextafter(breakpoint, 1e9) : 70.0 * r[i] - 4.0;
  }
  return r;
}

// Constructed by broken lines or local rules, whose coefficients are the same at every level.
Doubles evaluate(const Kind& kind, std::int32_t xhint, std::int32_t want, std::int32_t sitehint) {
  const Spline s(kind, xhint, 2);
  const bool uniform = xhint == DF_XHINT_UNIFORM;
  Doubles at = sites(s, uniform);
  // At rounded breakpoints of a uniform partition cells may differ; a row of its own shows that.
  if (uniform && (want & DF_WANT_CELLS) == 0) {
    at = fractions(nsite, 4);
    for (double& one : at)
      one = 70.0 * one - 4.0;
  }
  if (sitehint == DF_SITES_SORTED) std::sort(at.begin(), at.end());
  const std::int32_t wanted[] = {1, 1, 1};
  Doubles r(std::size_t{2} * 3 * nsite);
  std::vector<std::int32_t> cells(nsite);
  need(dfTaskInterpolate(s.task, want, DF_METHOD_POLYNOMIAL, nsite, at.data(), sitehint, 3, wanted, nullptr,
                         r.data(), DF_RESULTS_DEFAULT, cells.data()));
  return want == DF_WANT_CELLS ? Doubles(cells.begin(), cells.end()) : r;
}

Doubles integrals() {
  const Spline s(akima, DF_XHINT_NONE, 2);
  Doubles a = fractions(nsite, 5);
  Doubles b = fractions(nsite, 6);
  for (std::size_t i = 0; i < a.size(); ++i) {
    a[i] = 70.0 * a[i] - 4.0;
    b[i] = 70.0 * b[i] - 4.0;
  }
  Doubles r(std::size_t{2} * nsite);
  need(dfTaskIntegrate(s.task, nsite, a.data(), b.data(), r.data(), 0));
  return r;
}

Doubles relatives() {
  const Spline s(akima, DF_XHINT_NONE, 2);
  Doubles r(std::size_t{2} * 9 * nx);
  need(dfTaskAntiderivative(s.task, r.data()));
  need(dfTaskDerivative(s.task, r.data() + std::ptrdiff_t{2} * 5 * nx));
  return r;
}

Doubles levelSites() {
  const Spline s(akima, DF_XHINT_NONE, 2);
  Doubles r(nsite);
  std::int64_t count = 0;
  need(dfTaskSolve(s.task, 1, 0.4375, 0.0, 70.0, nsite, r.data(), &count));
  r.resize(static_cast<std::size_t>(count));
  return r;
}

Doubles inverse() {
  const Doubles x = breakpoints(nx);
  Doubles y = fractions(nx, 2);
  for (std::size_t i = 1; i < y.size(); ++i)
    y[i] += y[i - 1];
  Doubles coeff(std::size_t{4} * nx);
  DfTask* task = nullptr;
  need(dfTaskCreate(&task, nx, x.data(), DF_XHINT_NONE, 1, y.data(), 0));
  need(dfTaskEditSpline(task, 4, DF_KIND_STEFFEN, DF_END_NONE, nullptr, 0, nullptr, coeff.data(), 0));
  need(dfTaskConstruct(task, 0, 0));
  Doubles r = fractions(nsite, 7);
  for (double& one : r)
    one *= 100.0;
  need(dfTaskInverse(task, 0, nsite, r.data(), r.data()));
  need(dfTaskDestroy(&task));
  std::replace_if(
      r.begin(), r.end(), [](double v) { return v != v; }, -1.0);
  return r;
}

Doubles smooth(std::int32_t method) {
  const Doubles x = breakpoints(nx);
  const Doubles y = fractions(std::size_t{2} * nx, 2);
  Doubles coeff(std::size_t{8} * (nx - 1));
  need(dfSmooth(nx, x.data(), DF_XHINT_NONE, 2, y.data(), 0, nullptr, method, 0.0625, nullptr, coeff.data()));
  return coeff;
}

// ---- streams ----

struct Generator {
  const char* name;
  std::int32_t id;
};
constexpr Generator generators[] = {{"MCG31", RSG_BRNG_MCG31},
                                    {"R250", RSG_BRNG_R250},
                                    {"MRG32k3a", RSG_BRNG_MRG32K3A},
                                    {"MCG59", RSG_BRNG_MCG59},
                                    {"Wichmann-Hill", RSG_BRNG_WICHMANN_HILL + 5},
                                    {"Sobol", RSG_BRNG_SOBOL},
                                    {"Niederreiter", RSG_BRNG_NIEDERREITER},
                                    {"MT19937", RSG_BRNG_MT19937},
                                    {"MT2203", RSG_BRNG_MT2203 + 5},
                                    {"SFMT19937", RSG_BRNG_SFMT19937}};

constexpr std::int32_t drawn = 5003;

template <class T, class Fill>
Doubles draw(std::int32_t id, Fill fill) {
  RsgStream* stream = nullptr;
  need(rsgNewStream(&stream, id, 7));
  std::vector<T> r(drawn);
  need(fill(stream, drawn, r.data()));
  need(rsgDeleteStream(&stream));
  return Doubles(r.begin(), r.end());
}

template <class T, class Fill>
Doubles drawAll(Fill fill) {
  Doubles all;
  for (const Generator& g : generators) {
    const Doubles one = draw<T>(g.id, fill);
    all.insert(all.end(), one.begin(), one.end());
  }
  return all;
}

Doubles uniform(std::int32_t id) {
  return draw<double>(
      id, [](RsgStream* s, std::int32_t n, double* r) { return vdRngUniform(0, s, n, r, -0.3, 0.8); });
}

Doubles scrambled() {
  RsgStream* stream = nullptr;
  need(rsgNewScrambledSobol(&stream, 7, 99, RSG_SCRAMBLING_LINEAR));
  Doubles r(drawn);
  need(vdRngUniform(0, stream, drawn, r.data(), -0.3, 0.8));
  need(rsgDeleteStream(&stream));
  return r;
}

Doubles solve(std::int32_t columns) {
  constexpr std::int32_t n = 301;
  Doubles dl = fractions(n - 1, 8);
  Doubles d = fractions(n, 9);
  const Doubles du = fractions(n - 1, 10);
  for (double& one : d)
    one += 2.0;
  Doubles b = fractions(static_cast<std::size_t>(n * columns), 11);
  std::int32_t info = -9;
  DDTSVB(&n, &columns, dl.data(), d.data(), du.data(), b.data(), &n, &info);
  need(info);
  return b;
}

// ---- the table ----

struct Row {
  std::string operation;
  std::map<std::int32_t, Doubles> results;  // by level
};

template <class Compute>
void addRow(std::vector<Row>& rows, std::int32_t level, const std::string& operation, Compute compute) {
  const auto at =
      std::find_if(rows.begin(), rows.end(), [&](const Row& row) { return row.operation == operation; });
  Row& row = at != rows.end() ? *at : rows.emplace_back(Row{operation, {}});
  row.results[level] = compute();
}

void addRows(std::vector<Row>& rows, std::int32_t level) {
  const auto add = [&](const std::string& operation, auto compute) {
    addRow(rows, level, operation, compute);
  };
  constexpr std::int32_t none = DF_XHINT_NONE;
  constexpr std::int32_t even = DF_XHINT_UNIFORM;
  add("cells, general partition", [] { return evaluate(akima, none, DF_WANT_CELLS, DF_SITES_GENERAL); });
  add("cells, sorted sites", [] { return evaluate(akima, none, DF_WANT_CELLS, DF_SITES_SORTED); });
  add("cells, uniform partition", [] { return evaluate(akima, even, DF_WANT_CELLS, DF_SITES_GENERAL); });
  add("cubic, values and derivatives",
      [] { return evaluate(akima, none, DF_WANT_INTERPOLATE, DF_SITES_GENERAL); });
  add("cubic, uniform partition, sites between breakpoints",
      [] { return evaluate(akima, even, DF_WANT_INTERPOLATE, DF_SITES_GENERAL); });
  add("quadratic, values and derivatives",
      [] { return evaluate(parabolas, none, DF_WANT_INTERPOLATE, DF_SITES_SORTED); });
  add("linear, values and derivatives",
      [] { return evaluate(brokenLine, none, DF_WANT_INTERPOLATE, DF_SITES_GENERAL); });
  static constexpr struct {
    const char* name;
    Kind kind;
  } kinds[] = {{"linear", brokenLine},
               {"quadratic", parabolas},
               {"Subbotin", {DF_ORDER_QUADRATIC, DF_KIND_SUBBOTIN, 12, DF_IC_KNOTS}},
               {"second derivatives", {DF_ORDER_CUBIC, DF_KIND_DEFAULT, 12, DF_IC_CURVATURES}},
               {"Hermite", {DF_ORDER_CUBIC, DF_KIND_HERMITE, 12, DF_IC_SLOPES}},
               {"Bessel", {DF_ORDER_CUBIC, DF_KIND_BESSEL, DF_END_NOT_A_KNOT, DF_IC_NONE}},
               {"Akima", akima},
               {"modified Akima", {DF_ORDER_CUBIC, DF_KIND_MODIFIED_AKIMA, DF_END_NONE, DF_IC_NONE}},
               {"PCHIP", {DF_ORDER_CUBIC, DF_KIND_PCHIP, DF_END_NONE, DF_IC_NONE}},
               {"Steffen", {DF_ORDER_CUBIC, DF_KIND_STEFFEN, DF_END_NONE, DF_IC_NONE}}};
  for (const auto& k : kinds)
    add(std::string("coefficients, ") + k.name, [&] { return construct(k.kind, 2); });
  add("coefficients, natural, 1 function", [] { return construct(natural, 1); });
  add("coefficients, natural, 1 function, 6000 breakpoints", [] { return construct(natural, 1, 6000); });
  add("coefficients, natural, 9 functions", [] { return construct(natural, 9); });
  add("integrals", integrals);
  add("antiderivative, derivative", relatives);
  add("sites with a value", levelSites);
  add("inverse", inverse);
  add("smoothing, lambda given", [] { return smooth(DF_SMOOTH_LAMBDA); });
  add("smoothing, by cross-validation", [] { return smooth(DF_SMOOTH_GCV); });
  add("words of all generators", [] { return drawAll<std::uint32_t>(rsgWords32); });
  for (const Generator& g : generators)
    add(std::string("doubles, ") + g.name, [&] { return uniform(g.id); });
  add("doubles, scrambled Sobol", scrambled);
  add("doubles of 53 bits, MT19937", [] { return draw<double>(RSG_BRNG_MT19937, rsgUniform53); });
  add("integers, MT19937", [] {
    return draw<std::int32_t>(RSG_BRNG_MT19937, [](RsgStream* s, std::int32_t n, std::int32_t* r) {
      return rsgIntegers(s, n, r, -7, 999);
    });
  });
  add("floats, MT19937", [] {
    return draw<float>(RSG_BRNG_MT19937, [](RsgStream* s, std::int32_t n, float* r) {
      return rsgUniformFloat(s, n, r, -0.3F, 0.8F);
    });
  });
  add("normal variates", [] {
    return drawAll<double>(
        [](RsgStream* s, std::int32_t n, double* r) { return rsgNormal(s, n, r, 0.3, 1.7); });
  });
  add("exponential variates", [] {
    return drawAll<double>(
        [](RsgStream* s, std::int32_t n, double* r) { return rsgExponential(s, n, r, 1.7); });
  });
  add("log-normal variates", [] {
    return drawAll<double>(
        [](RsgStream* s, std::int32_t n, double* r) { return rsgLogNormal(s, n, r, 0.3, 1.7); });
  });
  add("solver, 1 column", [] { return solve(1); });
  add("solver, 9 columns", [] { return solve(9); });
}

// FNV-1a of the bits, folded to 8 digits; no result here is a NaN.
std::string hashOf(const Doubles& results) {
  std::uint64_t sum = 0xCBF29CE484222325;
  for (const double one : results) {
    std::uint64_t bits = 0;
    std::memcpy(&bits, &one, sizeof bits);
    for (int i = 0; i < 64; i += 8)
      sum = (sum ^ (bits >> i & 0xFF)) * 0x100000001B3;
  }
  char text[9];
  std::snprintf(text, sizeof text, "%08x", static_cast<unsigned>(sum ^ sum >> 32));
  return text;
}

std::string listed(const std::vector<std::int32_t>& levels) {
  std::string text;
  for (std::size_t i = 0; i < levels.size();) {
    std::size_t end = i;
    while (end + 1 < levels.size() && levels[end + 1] == levels[end] + 1)
      ++end;
    text += (text.empty() ? "" : ", ") + std::to_string(levels[i]);
    if (end > i) text += (end > i + 1 ? " to " : ", ") + std::to_string(levels[end]);
    i = end + 1;
  }
  return text;
}

// The largest difference between two levels, in units of the largest result.
std::string difference(const Row& row) {
  double most = 0.0;
  double largest = 0.0;
  const Doubles& first = row.results.begin()->second;
  for (const auto& [level, results] : row.results)
    for (std::size_t i = 0; i < results.size() && i < first.size(); ++i) {
      most = std::max(most, std::fabs(results[i] - first[i]));
      largest = std::max(largest, std::fabs(results[i]));
    }
  if (most == 0.0) return "";
  char text[40];
  std::snprintf(text, sizeof text, "%.1e of the largest", most / largest);
  return text;
}

std::string lineOf(const Row& row) {
  std::vector<std::string> hashes;
  std::map<std::string, std::vector<std::int32_t>> levels;
  for (const auto& [level, results] : row.results) {
    const std::string hash = hashOf(results);
    if (levels[hash].empty()) hashes.push_back(hash);
    levels[hash].push_back(level);
  }
  std::string line = "| " + row.operation + " | ";
  for (const std::string& hash : hashes)
    line += (hash == hashes.front() ? "" : "; ") + ("`" + hash + "` " + listed(levels[hash]));
  return line + " | " + difference(row) + " |";
}

// The hash that a line of the table has for a level; empty if it has none.
std::string hashIn(const std::string& line, std::int32_t level) {
  std::istringstream words(line.substr(line.find('`')));
  std::string hash;
  std::string word;
  std::int32_t last = -1;
  bool range = false;
  while (words >> word && word != "|") {
    if (word[0] == '`') {
      hash = word.substr(1, 8);
      range = false;
    } else if (word == "to") {
      range = true;
    } else {
      const auto number = static_cast<std::int32_t>(std::strtol(word.c_str(), nullptr, 10));
      if (number == level || (range && last < level && level < number)) return hash;
      last = number;
      range = false;
    }
  }
  return {};
}

constexpr const char* head =
    "| operation | hash of the results and levels that have it | largest difference |\n|---|---|---|\n";
constexpr const char* beginMark = "<!-- table by tools/reproducibility -->\n";
constexpr const char* endMark = "<!-- end of the table -->\n";

std::string contents(const char* name) {
  std::ifstream file(name, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

int check(const std::vector<Row>& rows, const char* name) {
  const std::string text = contents(name);
  int wrong = 0;
  for (const Row& row : rows) {
    const std::size_t at = text.find("\n| " + row.operation + " |");
    const std::string line =
        at == std::string::npos ? "" : text.substr(at + 1, text.find('\n', at + 1) - at - 1);
    for (const auto& [level, results] : row.results) {
      const std::string hash = hashOf(results);
      const std::string listedHash = line.find('`') == std::string::npos ? "" : hashIn(line, level);
      if (hash == listedHash) continue;
      ++wrong;
      std::printf("%s, level %d: %s, the table has %s\n", row.operation.c_str(), level, hash.c_str(),
                  listedHash.empty() ? "nothing" : listedHash.c_str());
    }
  }
  std::printf("%zu operations, %zu levels, %d differ\n", rows.size(), rows.front().results.size(), wrong);
  return wrong == 0 ? 0 : 1;
}

int write(const std::string& table, const char* name) {
  std::string text = contents(name);
  const std::size_t begin = text.find(beginMark);
  const std::size_t end = text.find(endMark);
  if (begin == std::string::npos || end == std::string::npos) return 2;
  const std::size_t from = begin + std::strlen(beginMark);
  text.replace(from, end - from, table);
  std::ofstream(name, std::ios::binary) << text;
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<Row> rows;
  std::int32_t solver = 2;
  for (const std::int32_t level : support::runnableLevels()) {
    if (level > 10) continue;  // on trial
    if (support::levelRow(level).solverClass > 0) solver = support::levelRow(level).solverClass;
    rvn::mmLockAcquire();
    rvn::emptySlots();
    rvn::cpuState.level = level;
    rvn::cpuState.solverType = solver;
    rvn::mmLockRelease();
    addRows(rows, level);
  }
  if (argc == 3 && std::strcmp(argv[1], "--check") == 0) return check(rows, argv[2]);
  std::string table = head;
  for (const Row& row : rows)
    table += lineOf(row) + "\n";
  if (argc == 3 && std::strcmp(argv[1], "--write") == 0) return write(table, argv[2]);
  std::fputs(table.c_str(), stdout);
  return 0;
}
