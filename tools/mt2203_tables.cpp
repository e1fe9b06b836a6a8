// Prints src/streams/tables/mt2203_tables.h: the parameters of the 6024 members of MT2203.
//
//   mt2203_tables ROWS           finds the rows that the file ROWS lacks, appending each as it is found, with
//                                progress on standard error; then prints the table. Can be stopped and started
//                                again at will. All rows take about an hour of one core.
//   mt2203_tables ROWS FROM TO   the same for the members FROM to TO - 1, and prints these rows only.
//
// What is found does not depend on the number of threads, nor on what ROWS had.

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "mt2203/rows.h"

namespace {

using mt2203::Row;
using Table = std::vector<std::optional<Row>>;

void read(const char* path, Table& table) {
  std::FILE* const file = std::fopen(path, "r");
  if (file == nullptr) return;
  int member = 0;
  Row row = {};
  while (std::fscanf(file, "%d %x %x %x\n", &member, &row.matrixA, &row.temperB, &row.temperC) == 4)
    if (member >= 0 && member < mt2203::members) table[static_cast<std::size_t>(member)] = row;
  std::fclose(file);
}

bool find(const char* path, Table& table, int from, int to) {
  std::vector<int> missing;
  for (int member = from; member < to; ++member)
    if (!table[static_cast<std::size_t>(member)]) missing.push_back(member);
  if (missing.empty()) return true;
  std::FILE* const file = std::fopen(path, "a");
  if (file == nullptr) return false;

  const mt2203::Sieve sieve;
  std::atomic<std::size_t> taken{0};
  std::size_t done = 0;
  std::mutex writing;
  const auto began = std::chrono::steady_clock::now();
  const auto work = [&] {
    for (std::size_t i = taken++; i < missing.size(); i = taken++) {
      const int member = missing[i];
      const Row row = mt2203::findRow(sieve, member);
      const std::lock_guard lock(writing);
      table[static_cast<std::size_t>(member)] = row;
      std::fprintf(file, "%d %08X %08X %08X\n", member, row.matrixA, row.temperB, row.temperC);
      std::fflush(file);
      ++done;
      const std::chrono::duration<double> spent = std::chrono::steady_clock::now() - began;
      const auto left = static_cast<double>(missing.size() - done);
      std::fprintf(stderr, "\r%zu of %zu rows, %.0f s left ", done, missing.size(),
                   spent.count() / static_cast<double>(done) * left);
    }
  };
  std::vector<std::thread> threads;
  for (unsigned i = 0; i < std::thread::hardware_concurrency(); ++i)
    threads.emplace_back(work);
  for (std::thread& thread : threads)
    thread.join();
  std::fputc('\n', stderr);
  return std::fclose(file) == 0;
}

}  // namespace

int main(int argc, char** argv) {
  const int from = argc == 4 ? std::atoi(argv[2]) : 0;
  const int to = argc == 4 ? std::atoi(argv[3]) : mt2203::members;
  if ((argc != 2 && argc != 4) || from < 0 || to > mt2203::members) {
    std::fputs("usage: mt2203_tables ROWS [FROM TO]\n", stderr);
    return 2;
  }
  if (!__builtin_cpu_supports("pclmul")) {
    std::fputs("mt2203_tables: the processor has no carry-less multiplication\n", stderr);
    return 77;
  }
  Table table(mt2203::members);
  read(argv[1], table);
  if (!find(argv[1], table, from, to)) {
    std::perror(argv[1]);
    return 1;
  }
  if (argc == 2)
    std::puts(
        "#pragma once\n\n"
        "// Printed by tools/mt2203_tables.cpp, which tells how the numbers are found.\n\n"
        "#include <cstdint>\n\n"
        "#include \"streams/mt2203.h\"\n\n"
        "namespace rvn {\n\n"
        "const std::uint32_t Mt2203Parameters[mt2203Members][3] = {");
  for (int member = from; member < to; ++member) {
    const Row& row = *table[static_cast<std::size_t>(member)];
    std::printf("    {0x%08X, 0x%08X, 0x%08X},\n", row.matrixA, row.temperB, row.temperC);
  }
  if (argc == 2) std::puts("};\n\n}  // namespace rvn");
}
