#include <algorithm>
#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <numeric>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "interp/spline_model.h"
#include "support/compare.h"
#include "support/task.h"
#include "task/df_task.h"

#include <ravenfit/data_fitting.h>

namespace {

using support::close;
using support::Expected;
using support::interpolate;
using support::ModelCall;
using support::same;
using support::Task;

constexpr std::size_t guard = 7;
using Orders = std::vector<std::int64_t>;

// Dyadic and equidistant, or irregular.
std::vector<double> breakpoints(std::int32_t nx, bool uniform) {
  std::vector<double> x;
  for (std::int32_t i = 0; i < nx; ++i)
    x.push_back(-1.0 + 0.5 * i + (uniform ? 0.0 : 0.2 * std::sin(7.0 * i)));
  return x;
}

// Inside, outside, breakpoints and both ends.
std::vector<double> sitesOver(const std::vector<double>& x, std::size_t count) {
  std::mt19937_64 random(11);
  std::uniform_real_distribution<double> at(x.front() - 0.4, x.back() + 0.4);
  std::vector<double> sites = {x.front(), x.back(), x[x.size() / 2], x.back() + 2.0, x.front() - 2.0};
  while (sites.size() < count)
    sites.push_back(at(random));
  sites.resize(count);
  return sites;
}

void fill(std::vector<double>& coeff) {
  for (std::size_t i = 0; i < coeff.size(); ++i)
    coeff[i] = std::sin(1.0 + static_cast<double>(i * i % 1009));
}

struct Shape {
  std::int32_t order;
  std::int32_t kind;
  std::int32_t nx;
  std::int32_t ny;
  bool uniform;
  std::size_t nsite;
};

void expectModel(const Shape& shape, const Orders& dorder, std::int32_t rhint) {
  SCOPED_TRACE(testing::Message() << "order " << shape.order << ", uniform " << shape.uniform << ", rhint "
                                  << rhint << ", " << shape.nsite << " sites, dorder "
                                  << testing::PrintToString(dorder));
  const std::vector<double> x = breakpoints(shape.nx, shape.uniform);
  const std::vector<double> given = shape.uniform ? std::vector<double>{x.front(), x.back()} : x;
  Task task(shape.nx, given, shape.uniform ? DF_XHINT_UNIFORM : DF_XHINT_NONE, shape.ny,
            std::vector<double>(static_cast<std::size_t>(shape.nx * shape.ny)), 0,
            {shape.order, shape.kind, DF_END_FREE, nullptr, DF_IC_NONE, nullptr});
  ASSERT_EQ(task.status, DF_STATUS_OK);
  fill(task.coeff());
  const ModelCall call = {x, &task.coeff(), shape.order, shape.ny, sitesOver(x, shape.nsite), dorder, rhint};
  const Expected expected = expectedResults(call, guard);
  std::vector<double> r(expected.r.size(), -77.0);
  EXPECT_EQ(interpolate(task, {call.sites, {dorder.begin(), dorder.end()}, rhint}, r), DF_STATUS_OK);
  EXPECT_TRUE(close(r, expected.r, expected.tolerance));
}

constexpr std::int32_t layouts[] = {DF_RESULTS_DEFAULT, DF_RESULTS_SITES_INNER, DF_RESULTS_DERIVS_INNER, 128};

TEST(Evaluate, EveryCombinationOfDerivativesIsTheDefinition) {
  const std::int32_t kinds[] = {0, 0, DF_KIND_AKIMA, DF_KIND_DEFAULT, DF_KIND_BESSEL, 0, 0, 0, 0, 0, 0, 0};
  for (const std::int32_t order : {2, 3, 4, 5, 6, 10, 11})
    for (unsigned wants = 0; wants < 16; ++wants)
      for (const std::int32_t rhint : layouts)
        for (const auto& [ny, uniform] : {std::pair{2, wants % 2 == 0}, std::pair{1, true}})
          expectModel({order, kinds[order], 6, ny, uniform, 71},
                      {wants & 1U, wants >> 1 & 1U, wants >> 2 & 1U, wants >> 3 & 1U}, rhint);
}

// Sums and entries disagree: positions at or above the sum do not exist, sums at or below 0 mean the value.
TEST(Evaluate, PacksWhatDorderAsksFor) {
  const Orders cases[] = {{},
                          {0},
                          {0, 0, 0},
                          {0, 1},
                          {2},
                          {3, 0, 0, 1},
                          {1, 0, 2, 1},
                          {-3, 1},
                          {1, -1},
                          {0, -1, 0, 0, 1},
                          {1, 1, -1},
                          {1, 1, 1, -2},
                          {0, 0, 0, 0, 1},
                          {1, 1, 1, 1, 1, 1},
                          {1, 0, 0, 0, 0, 1, 1, 0, 0, 1, 1, 1},
                          {0, 1, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}};
  for (const Orders& dorder : cases)
    for (const std::int32_t order : {2, 3, 4, 5, 6, 7, 11, 12})
      for (const std::int32_t rhint : layouts)
        expectModel({order, 0, 9, 1, false, 33}, dorder, rhint);
}

TEST(Evaluate, IsRightAtEveryNumberOfSitesAndBreakpoints) {
  for (const std::size_t nsite :
       {1U, 2U, 3U, 4U, 5U, 31U, 32U, 33U, 63U, 64U, 65U, 255U, 256U, 257U, 512U, 513U, 4096U, 4097U})
    for (const std::int32_t rhint : {DF_RESULTS_SITES_INNER, DF_RESULTS_DERIVS_INNER})
      for (const Orders& dorder : {Orders{1}, Orders{1, 1}, Orders{1, 1, 1}}) {
        expectModel({4, DF_KIND_NATURAL, 40, 1, false, nsite}, dorder, rhint);
        expectModel({3, DF_KIND_DEFAULT, 2, 2, true, nsite}, dorder, rhint);
      }
  for (const std::int32_t nx : {2, 3, 16, 17, 101, 700})
    expectModel({4, DF_KIND_HERMITE, nx, 3, false, 300}, {1}, 0);
  // Few functions share the frame; many go through the scratch that a call asks for.
  for (const std::int32_t ny : {1, 2, 16, 17, 40, 500})
    expectModel({2, 0, 4, ny, false, 301}, {1, 1, 1}, DF_RESULTS_SITES_INNER);
}

TEST(Evaluate, ReadsRequestsOf64Bits) {
  const std::vector<double> x = breakpoints(5, false);
  Task task(5, x, 0, 1, std::vector<double>(5), 0, {7, 0, DF_END_FREE, nullptr, DF_IC_NONE, nullptr});
  fill(task.coeff());
  task.get()->flags = 1;
  // Either half of an entry requests; the sum is 2, which leaves no position for derivative 5.
  constexpr std::int64_t high = std::int64_t{1} << 32;
  const ModelCall call = {x, &task.coeff(), 7, 1, sitesOver(x, 9), {1, 0, 0, 0, high, 1 - high}, 16};
  const Expected expected = expectedResults(call, guard);
  std::vector<double> r(expected.r.size(), -77.0);
  EXPECT_EQ(dfTaskInterpolate(task.get(), 1, 1, 9, call.sites.data(), 0, 6,
                              reinterpret_cast<const std::int32_t*>(call.dorder.data()), nullptr, r.data(),
                              16, nullptr),
            DF_STATUS_OK);
  EXPECT_TRUE(close(r, expected.r, expected.tolerance));
}

// The curvature of a piece tells its number.
TEST(Evaluate, SubbotinPiecesJoinAtTheKnots) {
  const std::vector<double> sites = {-5.0, 0.0, 0.4, 0.5, 0.9, 1.0, 1.49, 1.5, 2.0, 2.49, 2.5, 3.0, 9.0};
  const double knots[5] = {0.0, 0.25, 1.25, 2.75, 3.0};
  const double knotEnds[2] = {0.5, 2.5};
  const struct {
    const char* name;
    std::int32_t icType;
    const double* ic;
    std::vector<double> pieces;
  } rules[] = {
      {"knot array from its first element", DF_IC_KNOTS, knots, {0, 1, 1, 1, 1, 2, 2, 2, 3, 3, 3, 3, 3}},
      {"knot array from its second element", DF_IC_KNOTS, knots + 1, {0, 0, 1, 1, 1, 1, 2, 2, 2, 2, 2, 3, 3}},
      {"two knots", DF_IC_KNOTS | DF_IC_KNOT_ENDS, knotEnds, {0, 0, 0, 1, 1, 1, 1, 2, 2, 2, 3, 3, 3}},
      {"midpoints", DF_IC_NONE, nullptr, {0, 0, 0, 1, 1, 1, 1, 2, 2, 2, 3, 3, 3}},
  };
  for (const auto& rule : rules) {
    for (const bool uniform : {false, true}) {
      SCOPED_TRACE(std::string(rule.name) + (uniform ? ", uniform" : ""));
      Task task(4, uniform ? std::vector<double>{0.0, 3.0} : std::vector<double>{0.0, 1.0, 2.0, 3.0},
                uniform ? DF_XHINT_UNIFORM : DF_XHINT_NONE, 1, std::vector<double>(4), 0,
                {3, DF_KIND_SUBBOTIN, DF_END_NONE, nullptr, rule.icType, rule.ic});
      ASSERT_EQ(task.status, DF_STATUS_OK);
      // Piece q is q + (s - x_q) + q/2 (s - x_q)^2, and x_q is q.
      std::vector<double> want;
      task.coeff() = {0.0, 1.0, 0.0, 1.0, 1.0, 0.5, 2.0, 1.0, 1.0, 3.0, 1.0, 1.5};
      for (std::size_t i = 0; i < sites.size(); ++i) {
        const double q = rule.pieces[i];
        const double t = sites[i] - q;
        want.insert(want.end(), {(0.5 * q * t + 1.0) * t + q, q, 0.0});
      }
      std::vector<double> r(want.size(), -77.0);
      EXPECT_EQ(interpolate(task, {sites, {1, 0, 1, 1}, DF_RESULTS_DERIVS_INNER}, r), DF_STATUS_OK);
      EXPECT_TRUE(same(r, want));
    }
  }
}

// What a call gives whose sites stand among others that make them many, in the places of a call of them alone.
void interpolateAmongMany(const Task& task, const support::Query& query, std::int32_t ny,
                          std::vector<double>& r, std::vector<std::int32_t>& cells) {
  support::Query many = query;
  const auto count = static_cast<std::size_t>(query.nsite);
  if (query.sitehint == DF_SITES_UNIFORM) {
    const double first = query.sites[0];
    const double step = count > 1 ? (query.sites[1] - first) / static_cast<double>(count - 1) : 0.0;
    many.sites.resize(count);
    for (std::size_t i = 0; i < count; ++i)
      many.sites[i] = static_cast<double>(i) * step + first;
    many.sitehint = DF_SITES_NONE;
  }
  const std::size_t all = count + 40;
  many.sites.resize(all, std::numeric_limits<double>::max());
  many.nsite = 0;
  many.want = DF_WANT_INTERPOLATE | DF_WANT_CELLS;
  const std::int32_t sum = std::accumulate(query.dorder.begin(), query.dorder.end(), 0);
  const auto nres = static_cast<std::size_t>(std::max(sum, 1));
  std::vector<double> found(all * nres * static_cast<std::size_t>(ny), -77.0);
  std::vector<std::int32_t> foundCells(all);
  ASSERT_EQ(interpolate(task, many, found, foundCells.data()), DF_STATUS_OK);
  std::copy_n(foundCells.begin(), count, cells.begin());
  const bool sitesInner = query.rhint == DF_RESULTS_SITES_INNER;
  for (std::size_t f = 0; f < static_cast<std::size_t>(ny); ++f)
    for (std::size_t i = 0; i < count; ++i)
      for (std::size_t k = 0; k < nres; ++k) {
        const auto place = [&](std::size_t n) {
          return f * n * nres + (sitesInner ? k * n + i : i * nres + k);
        };
        r[place(count)] = found[place(all)];
      }
}

// Whatever number of sites goes in one call, also one by one, with a likely cell, and where the results replace the sites,
// their cells and bits are those of many.
TEST(Evaluate, FewSitesAreTheBlockwiseResult) {
  constexpr double infinity = std::numeric_limits<double>::infinity();
  constexpr double nan = std::numeric_limits<double>::quiet_NaN();
  const struct {
    std::int32_t order;
    std::int32_t kind;
  } kinds[] = {{2, 0}, {3, 0}, {3, DF_KIND_SUBBOTIN}, {4, DF_KIND_NATURAL}, {5, 0}};
  const std::vector<std::int32_t> requests[] = {{},           {1}, {0, 1},  {1, 0, 1},
                                                {1, 1, 1, 1}, {2}, {1, -1}, {0, 0, 0, 0, 1}};
  for (const auto& kind : kinds)
    for (const std::int32_t nx : {2, 3, 16, 17, 300})
      for (const std::int32_t xhint : {DF_XHINT_NONE, DF_XHINT_QUASI_UNIFORM, DF_XHINT_UNIFORM})
        for (const std::int32_t ny : {1, 3}) {
          const bool uniform = xhint == DF_XHINT_UNIFORM;
          const std::vector<double> x = breakpoints(nx, uniform);
          Task task(nx, uniform ? std::vector<double>{x.front(), x.back()} : x, xhint, ny,
                    std::vector<double>(static_cast<std::size_t>(nx * ny)), 0,
                    {kind.order, kind.kind, DF_END_FREE, nullptr, DF_IC_NONE, nullptr});
          fill(task.coeff());
          for (const std::size_t count : {1U, 2U, 6U, 7U, 40U}) {
            std::vector<double> any = sitesOver(x, count + 3);
            any.insert(any.begin() + 1, {x[1], nan, infinity, -infinity});
            any.resize(count);
            std::vector<double> sorted = sitesOver(x, count);
            std::sort(sorted.begin(), sorted.end());
            for (const std::vector<std::int32_t>& dorder : requests)
              for (const std::int32_t rhint : {DF_RESULTS_SITES_INNER, DF_RESULTS_DERIVS_INNER})
                for (const std::int32_t sitehint : {DF_SITES_NONE, DF_SITES_SORTED, DF_SITES_UNIFORM}) {
                  SCOPED_TRACE(testing::Message()
                               << "order " << kind.order << ", kind " << kind.kind << ", nx " << nx
                               << ", xhint " << xhint << ", ny " << ny << ", " << count << " sites, hint "
                               << sitehint << ", rhint " << rhint << ", dorder "
                               << testing::PrintToString(dorder));
                  support::Query query = {sitehint == DF_SITES_NONE ? any : sorted, dorder, rhint};
                  query.sitehint = sitehint;
                  query.nsite = static_cast<std::int32_t>(count);
                  if (sitehint == DF_SITES_UNIFORM) query.sites = {x.front() - 0.3, x.back()};
                  std::vector<double> blocks(5 * count * static_cast<std::size_t>(ny) + guard, -77.0);
                  std::vector<double> r = blocks;
                  std::vector<std::int32_t> blockCells(count, -9);
                  std::vector<std::int32_t> cells = blockCells;
                  query.want = DF_WANT_INTERPOLATE | DF_WANT_CELLS;
                  interpolateAmongMany(task, query, ny, blocks, blockCells);
                  const double likely[5] = {0.0, 1.0, 0.0, 0.0, nx / 2.0};
                  for (const double* hint : {static_cast<const double*>(nullptr), &likely[0]}) {
                    query.datahint = hint;
                    r.assign(r.size(), -77.0);
                    ASSERT_EQ(interpolate(task, query, r, cells.data()), DF_STATUS_OK);
                    ASSERT_TRUE(same(r, blocks));
                    ASSERT_TRUE(same(cells, blockCells));
                  }
                  query.datahint = nullptr;
                  query.want = DF_WANT_GIVEN_CELLS;
                  r.assign(r.size(), -77.0);
                  ASSERT_EQ(interpolate(task, query, r, cells.data()), DF_STATUS_OK);
                  ASSERT_TRUE(same(r, blocks));
                  query.want = DF_WANT_INTERPOLATE;
                  std::vector<double> inPlace(blocks.size(), -77.0);
                  std::copy(query.sites.begin(), query.sites.end(), inPlace.begin());
                  ASSERT_EQ(dfTaskInterpolate(task.get(), 1, 1, query.nsite, inPlace.data(), sitehint,
                                              static_cast<std::int32_t>(dorder.size()),
                                              dorder.empty() ? nullptr : dorder.data(), nullptr,
                                              inPlace.data(), rhint, nullptr),
                            DF_STATUS_OK);
                  for (std::size_t i = 0; i < count && dorder.empty() && sitehint != DF_SITES_UNIFORM; ++i) {
                    std::vector<double> alone(static_cast<std::size_t>(ny), -77.0);
                    std::vector<double> together;
                    for (std::size_t f = 0; f < alone.size(); ++f)
                      together.push_back(blocks[f * count + i]);
                    ASSERT_EQ(interpolate(task, {{query.sites[i]}, {}, rhint}, alone), DF_STATUS_OK);
                    ASSERT_TRUE(same(alone, together)) << query.sites[i];
                  }
                  if (count > 6 || kind.order > 4) continue;
                  for (std::size_t i = 0; i < blocks.size(); ++i)
                    if (blocks[i] == -77.0) inPlace[i] = -77.0;  // a site behind the results
                  ASSERT_TRUE(same(inPlace, blocks));
                }
          }
        }
}

// A call that wants its cells goes in blocks: the same sites without cells must give the same bits, also where the
// results replace the sites.
void expectBlockwise(const Task& task, std::int32_t order, std::vector<double> sites, std::int32_t sitehint) {
  const std::int32_t dorder[4] = {1, 1, 1, 1};
  const auto nsite = static_cast<std::int32_t>(sites.size());
  const auto evaluate = [&](std::int32_t type, std::int32_t ndorder, const double* at, double* r,
                            std::int32_t* cells) {
    EXPECT_EQ(dfTaskInterpolate(task.get(), type, 1, nsite, at, sitehint, ndorder, dorder, nullptr, r,
                                DF_RESULTS_SITES_INNER, cells),
              DF_STATUS_OK);
  };
  std::vector<std::int32_t> cells(sites.size());
  for (const std::int32_t ndorder : {1, order}) {
    std::vector<double> blockwise(sites.size() * static_cast<std::size_t>(ndorder) + guard, -77.0);
    std::vector<double> r = blockwise;
    evaluate(DF_WANT_INTERPOLATE | DF_WANT_CELLS, ndorder, sites.data(), blockwise.data(), cells.data());
    evaluate(DF_WANT_INTERPOLATE, ndorder, sites.data(), r.data(), nullptr);
    EXPECT_TRUE(same(r, blockwise));
  }
  std::vector<double> values(sites.size());
  evaluate(DF_WANT_INTERPOLATE | DF_WANT_CELLS, 1, sites.data(), values.data(), cells.data());
  evaluate(DF_WANT_INTERPOLATE, 1, sites.data(), sites.data(), nullptr);
  EXPECT_TRUE(same(sites, values));
}

// Whatever the number and place of the sites.
TEST(Evaluate, OnePassOverAUniformPartitionIsTheBlockwiseResult) {
  constexpr double infinity = std::numeric_limits<double>::infinity();
  constexpr double nan = std::numeric_limits<double>::quiet_NaN();
  for (const std::int32_t order : {2, 3, 4})
    for (const std::int32_t nx : {2, 3, 300, 17000})
      for (const std::vector<double>& ends : {std::vector<double>{0.1, 7.3}, {-1e300, 1e300}, {3.0, 3.0}}) {
        Task task(nx, ends, DF_XHINT_UNIFORM, 1, std::vector<double>(static_cast<std::size_t>(nx)), 0,
                  {order, DF_KIND_DEFAULT, DF_END_FREE, nullptr, DF_IC_NONE, nullptr});
        ASSERT_EQ(task.status, DF_STATUS_OK);
        fill(task.coeff());
        const double step = ends[1] / (nx - 1) - ends[0] / (nx - 1);
        for (const std::int32_t nsite : {1, 2, 3, 4, 5, 15, 16, 17, 18, 63, 64, 65, 66, 67, 68, 131, 700}) {
          SCOPED_TRACE("order " + std::to_string(order) + ", " + std::to_string(nx) + " breakpoints from " +
                       std::to_string(ends[0]) + ", " + std::to_string(nsite) + " sites");
          std::mt19937_64 random(static_cast<std::uint64_t>(nsite));
          std::uniform_real_distribution<double> place(-0.2, 1.2);
          std::vector<double> sites = {nan, ends[1], -infinity, ends[0], infinity};
          while (sites.size() < static_cast<std::size_t>(nsite)) {
            const double where = place(random) * (nx - 1);
            sites.push_back(ends[0] + (sites.size() % 3 == 0 ? std::floor(where) : where) * step);
          }
          sites.resize(static_cast<std::size_t>(nsite));
          expectBlockwise(task, order, sites, DF_SITES_NONE);
        }
      }
}

// Several sites to each breakpoint or few, on breakpoints and between, also such as do not ascend as they should.
TEST(Evaluate, OnePassOverSortedSitesIsTheBlockwiseResult) {
  constexpr double nan = std::numeric_limits<double>::quiet_NaN();
  for (const std::int32_t order : {2, 3, 4})
    for (const std::int32_t nx : {2, 3, 40}) {
      const std::vector<double> x = breakpoints(nx, false);
      Task task(nx, x, DF_XHINT_NONE, 1, std::vector<double>(x.size()), 0,
                {order, DF_KIND_DEFAULT, DF_END_FREE, nullptr, DF_IC_NONE, nullptr});
      ASSERT_EQ(task.status, DF_STATUS_OK);
      fill(task.coeff());
      for (const std::size_t nsite :
           std::initializer_list<std::size_t>{8, 11, 12, 15, 16, 17, 33, 159, 160, 163, 166, 700}) {
        SCOPED_TRACE("order " + std::to_string(order) + ", " + std::to_string(nx) + " breakpoints, " +
                     std::to_string(nsite) + " sites");
        std::vector<double> sites = sitesOver(x, nsite);
        for (std::size_t i = 5; i < nsite; i += 4)
          sites[i] = x[i % x.size()];
        std::sort(sites.begin(), sites.end());
        expectBlockwise(task, order, sites, DF_SITES_SORTED);
        sites[nsite / 2] = nan;
        std::swap(sites[0], sites[nsite - 1]);
        expectBlockwise(task, order, sites, DF_SITES_SORTED);
      }
    }
}

}  // namespace
