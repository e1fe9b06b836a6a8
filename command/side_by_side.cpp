#include "side_by_side.h"

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

namespace command {

// Calls of one body, which any thread takes one by one.
class shared_work {
 public:
  shared_work(std::size_t n, std::function<void(std::size_t)> body) : left_(n), body_(std::move(body)) {}

  void take_all() {
    std::unique_lock lock(mutex_);
    while (left_ > 0) {
      const std::size_t i = --left_;
      ++running_;
      lock.unlock();
      std::exception_ptr failure;
      try {
        body_(i);
      } catch (...) {
        failure = std::current_exception();
      }
      lock.lock();
      if (failure != nullptr && failure_ == nullptr) failure_ = std::move(failure);
      if (--running_ == 0) ended_.notify_all();
    }
  }
  // Waits for the calls that have begun.
  void wait() {
    std::unique_lock lock(mutex_);
    ended_.wait(lock, [this] { return running_ == 0; });
  }
  void drop() {
    const std::scoped_lock lock(mutex_);
    left_ = 0;
  }
  // When all have ended. What is thrown is the caller's then, and no helper's to release.
  void throw_failure() {
    if (failure_ != nullptr) std::rethrow_exception(std::exchange(failure_, nullptr));
  }

 private:
  std::mutex mutex_;
  std::condition_variable ended_;
  std::size_t left_;
  std::size_t running_ = 0;
  std::exception_ptr failure_;
  std::function<void(std::size_t)> body_;
};

namespace {

// The threads that stay. They wait for work when the program ends, and end with it.
class helpers {
 public:
  static helpers& of_the_program() {
    static helpers* const all = new helpers;
    return *all;
  }

  // Asks `count` of them.
  void ask(const std::shared_ptr<shared_work>& work, std::size_t count) {
    const std::scoped_lock lock(mutex_);
    for (std::size_t i = 0; i < std::min(count, threads_); ++i) {
      queue_.push_back(work);
      more_.notify_one();
    }
  }

 private:
  helpers() {
    try {
      for (; threads_ < cores(); ++threads_)
        std::thread([this] { help(); }).detach();
    } catch (const std::system_error&) {
      // There are fewer, or none: the others do it all.
    }
  }

  void help() {
    std::unique_lock lock(mutex_);
    for (;;) {
      more_.wait(lock, [this] { return !queue_.empty(); });
      const std::shared_ptr<shared_work> work = std::move(queue_.front());
      queue_.pop_front();
      lock.unlock();
      work->take_all();
      lock.lock();
    }
  }

  std::mutex mutex_;
  std::condition_variable more_;
  std::deque<std::shared_ptr<shared_work>> queue_;
  std::size_t threads_ = 0;
};

}  // namespace

std::size_t cores() {
  constexpr unsigned most = 16;
  static const std::size_t count = std::clamp(std::thread::hardware_concurrency(), 1U, most);
  return count;
}

void side_by_side(std::size_t n, const std::function<void(std::size_t)>& body) {
  const auto work = std::make_shared<shared_work>(n, std::cref(body));
  if (n > 1) helpers::of_the_program().ask(work, n - 1);
  work->take_all();
  work->wait();
  work->throw_failure();
}

meanwhile::meanwhile(std::function<void()> call)
    : work_(std::make_shared<shared_work>(1, [call = std::move(call)](std::size_t) { call(); })) {
  helpers::of_the_program().ask(work_, 1);
}

meanwhile::~meanwhile() {
  if (work_ == nullptr) return;
  work_->drop();
  work_->wait();
}

void meanwhile::finish() {
  const std::shared_ptr<shared_work> work = std::move(work_);
  if (work == nullptr) return;
  work->take_all();
  work->wait();
  work->throw_failure();
}

}  // namespace command
