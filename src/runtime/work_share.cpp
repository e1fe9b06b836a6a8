#include "runtime/work_share.h"

namespace rvn {
namespace {

void inOrder(std::int64_t count, std::int64_t, void* context, WorkBody body) {
  for (std::int64_t i = 0; i < count; ++i)
    body(i, 0, 1, context);
}

void once(std::int64_t, void* context, WorkBody body) {
  body(0, 0, 1, context);
}

void direct(std::int64_t index, std::int64_t thread, std::int64_t threads, void* context, WorkBody body) {
  body(index, thread, threads, context);
}

std::int64_t oneThread() {
  return 1;
}

constexpr WorkShareTable sequential = {inOrder, inOrder, once, direct, oneThread};

}  // namespace

const WorkShareTable workShareTables[6] = {sequential, sequential, sequential,
                                           sequential, sequential, sequential};

}  // namespace rvn
