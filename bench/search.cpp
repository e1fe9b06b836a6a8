#include <benchmark/benchmark.h>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "interp_data.h"
#include "limits.h"
#include "plain_interp.h"
#include "rows.h"

#include <ravenfit/data_fitting.h>

namespace bench {
namespace {

enum class Path { general, quasiUniform, uniform, sorted, likely };

struct SearchRow {
  Path path;
  std::size_t nx;
  std::size_t batch;
};

const std::vector<double>& sitesOf(const SearchRow& row) {
  InterpData& data = interpData(row.nx, row.path == Path::uniform);
  return row.path == Path::sorted ? data.sortedSites : data.randomSites;
}

// Sites crowd in four cells about the likely one.
std::vector<double> crowdedSites(const InterpData& data) {
  const std::size_t middle = data.x.size() / 2;
  std::vector<double> sites = data.randomSites;
  const double scale = (data.x[middle + 2] - data.x[middle - 2]) / (data.x.back() - data.x.front());
  for (double& s : sites)
    s = data.x[middle - 2] + scale * (s - data.x.front());
  return sites;
}

const std::vector<double>& breakpointsOf(const SearchRow& row, const InterpData& data) {
  return row.path == Path::quasiUniform ? data.nearlyUniform() : data.x;
}

void find(const SearchRow& row, const InterpData& data, const double* site, std::int32_t* cell) {
  const DfTask* task = row.path == Path::uniform        ? data.uniform
                       : row.path == Path::quasiUniform ? data.quasiUniform
                                                        : data.general;
  const double likely[5] = {0.0, 1.0, 0.0, 0.0, static_cast<double>(row.nx / 2)};
  dfTaskInterpolate(task, DF_WANT_CELLS, DF_METHOD_POLYNOMIAL, static_cast<std::int32_t>(row.batch), site,
                    row.path == Path::sorted ? DF_SITES_SORTED : DF_SITES_GENERAL, 0, nullptr,
                    row.path == Path::likely ? likely : nullptr, nullptr, 0, cell);
}

void findPlain(const SearchRow& row, const InterpData& data, const double* site, std::int32_t* cell) {
  if (row.path == Path::uniform) {
    plainUniformCells(row.nx, data.x.front(), data.step, row.batch, site, cell);
  } else if (row.path == Path::sorted && row.batch > row.nx / 10) {
    plainSortedCells(row.nx, breakpointsOf(row, data).data(), row.batch, site, cell);
  } else {
    plainCells(row.nx, breakpointsOf(row, data).data(), row.batch, site, cell);
  }
}

enum class Who { ravenfit, plain, limit };

void run(benchmark::State& state, const SearchRow& row, Who who) {
  const InterpData& data = interpData(row.nx, row.path == Path::uniform);
  const std::vector<double> crowded = row.path == Path::likely ? crowdedSites(data) : std::vector<double>{};
  Batches batches(row.path == Path::likely ? crowded : sitesOf(row), row.batch);
  std::vector<std::int32_t> cells(row.batch);
  std::vector<std::int32_t> expected(row.batch);
  const double* site = batches.next();
  find(row, data, site, cells.data());
  plainCells(row.nx, breakpointsOf(row, data).data(), row.batch, site, expected.data());
  if (cells != expected) state.SkipWithError("cells");
  for (auto _ : state) {
    if (who == Who::plain) {
      findPlain(row, data, batches.next(), cells.data());
    } else if (who == Who::limit && row.path == Path::uniform) {
      limitUniformCells(data.x.front(), 1.0 / data.step, static_cast<std::int32_t>(row.nx), row.batch,
                        batches.next(), cells.data());
    } else if (who == Who::limit) {
      limitCells(breakpointsOf(row, data).data(), row.batch, site, expected.data(), cells.data());
    } else {
      find(row, data, batches.next(), cells.data());
    }
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(row.batch));
}

void add(const std::string& row, const SearchRow& where) {
  const std::pair<const char*, Who> parties[] = {
      {"|ravenfit", Who::ravenfit}, {"|plain", Who::plain}, {"|limit", Who::limit}};
  for (const auto& [name, who] : parties)
    benchmark::RegisterBenchmark((row + name).c_str(),
                                 [=, party = who](benchmark::State& state) { run(state, where, party); });
}

}  // namespace

void registerSearchRows() {
  const struct {
    const char* name;
    Path path;
  } paths[] = {{"random sites", Path::general},
               {"quasi-uniform, random sites", Path::quasiUniform},
               {"uniform, random sites", Path::uniform},
               {"sorted sites", Path::sorted},
               {"crowded sites, likely cell", Path::likely}};
  for (const auto& path : paths)
    for (const std::size_t nx : {std::size_t{100}, std::size_t{10000}, std::size_t{1000000}})
      add(std::string("cells, ") + path.name + ", nx " + std::to_string(nx), {path.path, nx, 1000000});
  add("cells, 1000 sorted sites, nx 1000000", {Path::sorted, 1000000, 1000});
}

}  // namespace bench
