// Runs the rows at the level of the environment and prints one table: ns per element of this library, and how
// many times longer each other party of the same row took in the same run.

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "rows.h"
#include "runtime/cpu_level.h"

namespace {

const std::vector<std::string> others = {"plain", "gsl", "boost", "alglib", "std", "lapack", "c", "copy"};

class RatioReporter : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context&) override { return true; }

  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type != Run::RT_Iteration) continue;
      const std::string name = run.run_name.function_name;
      const std::size_t bar = name.find('|');
      const std::string row = name.substr(0, bar);
      const std::string who = name.substr(bar + 1);
      if (std::find(rows_.begin(), rows_.end(), row) == rows_.end()) rows_.push_back(row);
      if (run.error_occurred) {
        errors_[row] += " " + who + ": " + run.error_message;
        continue;
      }
      const auto rate = run.counters.find("items_per_second");
      if (rate == run.counters.end()) continue;
      samples_[row][who].push_back(1e9 / rate->second.value);
    }
  }

  void Finalize() override {
    std::printf("\nlevel %d, solver class %d\n", rvn::cpuLevel(), rvn::solverCpuType());
    std::printf("%-44s %10s", "row", "ravenfit ns");
    for (const std::string& who : others)
      std::printf(" %9s", who.c_str());
    std::printf("\n");
    for (const std::string& row : rows_) {
      if (errors_.contains(row)) {
        std::printf("%-44s wrong result:%s\n", row.c_str(), errors_[row].c_str());
        continue;
      }
      const double own = median(samples_[row]["ravenfit"]);
      std::printf("%-44s %10.3f", row.c_str(), own);
      for (const std::string& who : others) {
        const auto found = samples_[row].find(who);
        if (found == samples_[row].end()) {
          std::printf(" %9s", "");
        } else {
          std::printf(" %8.2fx", median(found->second) / own);
        }
      }
      std::printf("\n");
    }
  }

 private:
  static double median(std::vector<double> values) {
    if (values.empty()) return 0.0;
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
  }

  std::vector<std::string> rows_;
  std::map<std::string, std::map<std::string, std::vector<double>>> samples_;
  std::map<std::string, std::string> errors_;
};

}  // namespace

int main(int argc, char** argv) {
  std::vector<char*> arguments(argv, argv + argc);
  std::string repetitions = "--benchmark_repetitions=3";
  std::string time = "--benchmark_min_time=0.02";
  arguments.insert(arguments.begin() + 1, {repetitions.data(), time.data()});
  int count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, arguments.data());
  bench::registerConstructRows();
  bench::registerSolveRows();
  bench::registerStreamRows();
  bench::registerStreamToolRows();
  bench::registerCallRows();
  bench::registerSearchRows();
  bench::registerEvaluateRows();
  bench::registerSplineToolRows();
  bench::registerSmoothingRows();
  bench::registerVariateRows();
  bench::registerCppRows();
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  return 0;
}
