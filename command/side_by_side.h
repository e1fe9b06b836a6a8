#pragma once

// Work on several cores at once: by the threads that ask for it, and by a few that stay for the life of the program.

#include <cstddef>
#include <functional>
#include <memory>

namespace command {

std::size_t cores();

// Calls body(i) for every i below n. All of them end, also if one throws; what the first one threw is thrown again.
void side_by_side(std::size_t n, const std::function<void(std::size_t)>& body);

// Something that another thread may do meanwhile. What none has begun is done by the one that asks for it, so that work may
// wait for other work; it is left undone where nobody asks.
class meanwhile {
 public:
  meanwhile() = default;
  explicit meanwhile(std::function<void()> call);
  meanwhile(meanwhile&&) = default;
  meanwhile& operator=(meanwhile&&) = default;
  ~meanwhile();

  // Returns when it is done, and throws what it threw. Nothing happens the second time.
  void finish();

 private:
  std::shared_ptr<class shared_work> work_;
};

}  // namespace command
