// Prints one table: nanoseconds an element of this library at levels 2, 9 and 10, and how many times longer than level 9
// the best other party of the row took, a textbook loop, and the time that the row's loads and stores alone take.
//
// The program starts itself for each level and once for the others, since a process keeps its level, and goes round three
// times, so that what the machine does meanwhile meets all of them. Arguments go to Google Benchmark; --markdown before
// them prints the table for a page.

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "rows.h"
#include "runtime/cpu_level.h"

namespace {

void registerRows() {
  bench::registerConstructRows();
  bench::registerSolveRows();
  bench::registerStreamRows();
  bench::registerStreamToolRows();
  bench::registerCallRows();
  bench::registerSearchRows();
  bench::registerEvaluateRows();
  bench::registerChannelRows();
  bench::registerSplineToolRows();
  bench::registerSmoothingRows();
  bench::registerVariateRows();
  bench::registerCppRows();
}

// ---- a process of one party ----

// Lines of "row|who|ns", or "row|who|!message" for a wrong result.
class LineReporter : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context&) override { return true; }

  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type != Run::RT_Iteration) continue;
      const auto rate = run.counters.find("items_per_second");
      std::cout << run.run_name.function_name << '|';
      if (run.error_occurred) {
        std::cout << '!' << run.error_message;
      } else if (rate != run.counters.end()) {
        std::cout << 1e9 / rate->second.value;
      }
      std::cout << std::endl;
    }
  }
};

int runParty(int argc, char** argv) {
  std::vector<char*> arguments(argv, argv + argc);
  std::string time = "--benchmark_min_time=0.02";
  arguments.insert(arguments.begin() + 1, time.data());
  int count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, arguments.data());
  registerRows();
  std::cout << "level " << rvn::cpuLevel() << std::endl;
  LineReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  return 0;
}

// ---- the table ----

struct Party {
  const char* environment;
  const char* names;  // of benchmarks, as a regular expression
};

constexpr Party own[] = {{"RVN_KERNEL_LEVEL_FORCE=2", "ravenfit"},
                         {"RVN_KERNEL_LEVEL_FORCE=9", "ravenfit|c"},
                         {"RVN_BEST_LEVEL=1", "ravenfit"}};
constexpr Party others = {"RVN_KERNEL_LEVEL_FORCE=9", "plain|gsl|boost|alglib|std|lapack|limit"};

struct Table {
  std::vector<std::string> rows;
  std::map<std::string, std::map<std::string, std::vector<double>>> samples;  // by row and column
  std::map<std::string, std::string> errors;
};

std::string quoted(const std::string& text) {
  std::string result = "'";
  for (const char c : text)
    result += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return result + "'";
}

// The benchmarks of a party among those that the user's filter names.
std::string commandOf(const Party& party, const char* self, const std::vector<std::string>& arguments) {
  std::string filter = ".";
  std::string rest;
  for (const std::string& argument : arguments) {
    constexpr const char* option = "--benchmark_filter=";
    if (argument.rfind(option, 0) == 0) {
      filter = argument.substr(std::strlen(option));
    } else {
      rest += ' ' + quoted(argument);
    }
  }
  return std::string(party.environment) + ' ' + quoted(self) + " --party" + rest + ' ' +
         quoted("--benchmark_filter=(" + filter + ").*[|](" + party.names + ")(/|$)");
}

// Runs a party and returns its level.
int collect(Table& table, const std::string& command, bool namedByLevel) {
  std::FILE* const pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) return 0;
  int level = 0;
  char buffer[1024];
  while (std::fgets(buffer, sizeof buffer, pipe) != nullptr) {
    std::string line = buffer;
    line.erase(line.find_last_not_of('\n') + 1);
    if (std::sscanf(line.c_str(), "level %d", &level) == 1) continue;
    const std::size_t end = line.rfind('|');
    if (end == std::string::npos || end == 0) continue;
    const std::size_t bar = line.rfind('|', end - 1);
    const std::string row = line.substr(0, bar);
    const std::string who = line.substr(bar + 1, end - bar - 1);
    const std::string what = line.substr(end + 1);
    if (std::find(table.rows.begin(), table.rows.end(), row) == table.rows.end()) table.rows.push_back(row);
    if (!what.empty() && what[0] == '!') {
      table.errors[row] +=
          ' ' + who + (namedByLevel ? " at level " + std::to_string(level) : "") + ": " + what.substr(1);
    } else if (!what.empty()) {
      const bool ours = namedByLevel && who == "ravenfit";
      table.samples[row][ours ? std::to_string(level) : who].push_back(std::strtod(what.c_str(), nullptr));
    }
  }
  pclose(pipe);
  return level;
}

double median(std::vector<double> values) {
  if (values.empty()) return 0.0;
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

std::string shown(const char* format, double value) {
  if (value == 0.0) return "";
  char text[64];
  std::snprintf(text, sizeof text, format, value);
  return text;
}

void printLine(bool markdown, const std::vector<std::string>& cells) {
  static constexpr int widths[] = {-46, 9, 9, 9, 8, -8, 8, 8};
  for (std::size_t i = 0; i < cells.size(); ++i) {
    if (markdown) {
      std::printf("| %s ", cells[i].c_str());
    } else {
      std::printf("%*s ", widths[i], cells[i].c_str());
    }
  }
  std::printf(markdown ? "|\n" : "\n");
}

void print(const Table& table, bool markdown) {
  printLine(markdown, {"row", "level 2", "level 9", "level 10", "peer", "which", "plain", "limit"});
  if (markdown) std::printf("|---|---|---|---|---|---|---|---|\n");
  for (const std::string& row : table.rows) {
    if (const auto wrong = table.errors.find(row); wrong != table.errors.end()) {
      printLine(markdown, {row, "wrong result:" + wrong->second});
      continue;
    }
    const auto samples = table.samples.find(row);
    if (samples == table.samples.end()) continue;
    const auto of = [&](const std::string& who) {
      const auto found = samples->second.find(who);
      return found == samples->second.end() ? 0.0 : median(found->second);
    };
    const double nine = of("9");
    double best = 0.0;
    std::string which;
    for (const char* who : {"gsl", "boost", "alglib", "std", "lapack", "c"})
      if (const double time = of(who); time > 0.0 && (best == 0.0 || time < best)) {
        best = time;
        which = who;
      }
    const auto ratio = [&](double time) { return nine > 0.0 ? shown("%.2fx", time / nine) : std::string(); };
    printLine(markdown, {row, shown("%.3f", of("2")), shown("%.3f", nine), shown("%.3f", of("10")),
                         ratio(best), which, ratio(of("plain")), shown("%.3f", of("limit"))});
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc > 1 && std::strcmp(argv[1], "--party") == 0) {
    argv[1] = argv[0];
    return runParty(argc - 1, argv + 1);
  }
  std::vector<std::string> arguments(argv + 1, argv + argc);
  const bool markdown = !arguments.empty() && arguments[0] == "--markdown";
  if (markdown) arguments.erase(arguments.begin());
  Table table;
  for (int round = 0; round < 3; ++round) {
    for (const Party& party : own)
      collect(table, commandOf(party, argv[0], arguments), true);
    collect(table, commandOf(others, argv[0], arguments), false);
  }
  print(table, markdown);
  return table.errors.empty() ? 0 : 1;
}
