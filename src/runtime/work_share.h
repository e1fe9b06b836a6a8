#pragma once

// The table through which kernels run blocks of work. This build of the library is sequential: every block
// runs on the calling thread, in ascending order. Rows are constant and shared by all threads.

#include <cstdint>

namespace rvn {

// `index` is the block's number, `thread` and `threads` are 0 and 1 here, `context` is the kernel's own
// record.
using WorkBody = void (*)(std::int64_t index, std::int64_t thread, std::int64_t threads, void* context);

struct WorkShareTable {
  void (*parallelFor)(std::int64_t count, std::int64_t threadLimit, void* context, WorkBody body);
  void (*parallelForAlt)(std::int64_t count, std::int64_t threadLimit, void* context, WorkBody body);
  void (*runOnce)(std::int64_t unused, void* context, WorkBody body);
  void (*runDirect)(std::int64_t index, std::int64_t thread, std::int64_t threads, void* context,
                    WorkBody body);
  std::int64_t (*threadCount)();
};

constexpr int interpolateWorkShareRow = 0;
constexpr int constructWorkShareRow = 3;

extern const WorkShareTable workShareTables[6];

}  // namespace rvn
