#pragma once

// Arrays of more elements than the machine has memory for: one small piece of memory, mapped again and again. Element i
// and element i + period are one and the same, but for windows, which have memory of their own. Behind the last element
// lies a page that nobody may touch.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <sys/mman.h>
#include <unistd.h>

namespace proof {

template <class T>
class SparseArray {
 public:
  static constexpr std::size_t period = (std::size_t{8} << 20) / sizeof(T);
  static constexpr std::int64_t windowLength = 3000;  // elements of a window that nothing aliases, at least

  explicit SparseArray(std::int64_t elements) : elements_(elements) {
    const auto bytes = static_cast<std::size_t>(elements) * sizeof(T);
    const std::size_t pieces = (bytes + piece - 1) / piece;
    reserved_ = (pieces + 1) * piece;
    const int file = memfd_create("aliased", 0);
    if (file < 0 || ftruncate(file, static_cast<off_t>(piece)) != 0) fail("memory that can be mapped twice");
    base_ = static_cast<char*>(
        mmap(nullptr, reserved_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0));
    if (base_ == MAP_FAILED) fail("address space");
    for (std::size_t i = 0; i < pieces; ++i)
      if (mmap(base_ + i * piece, piece, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED, file, 0) ==
          MAP_FAILED)
        fail("one more mapping: raise vm.max_map_count");
    close(file);
    data_ = reinterpret_cast<T*>(base_ + pieces * piece - bytes);  // so that it ends where nothing is mapped
  }
  SparseArray(const SparseArray&) = delete;
  SparseArray& operator=(const SparseArray&) = delete;
  ~SparseArray() { munmap(base_, reserved_); }

  T* data() { return data_; }
  T& operator[](std::int64_t i) { return data_[i]; }
  std::int64_t size() const { return elements_; }

  // Gives the elements around i memory of their own, which holds zeros.
  void addWindow(std::int64_t i) {
    constexpr std::size_t page = 4096;
    const std::int64_t from = i < windowLength ? 0 : i - windowLength;
    const std::int64_t to = i + windowLength > elements_ ? elements_ : i + windowLength;
    char* const begin = reinterpret_cast<char*>(reinterpret_cast<std::uintptr_t>(data_ + from) / page * page);
    char* const end =
        reinterpret_cast<char*>((reinterpret_cast<std::uintptr_t>(data_ + to) + page - 1) / page * page);
    if (mmap(begin, static_cast<std::size_t>(end - begin), PROT_READ | PROT_WRITE,
             MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0) == MAP_FAILED)
      fail("a window");
  }

 private:
  static constexpr std::size_t piece = period * sizeof(T);

  [[noreturn]] static void fail(const char* what) {
    std::fprintf(stderr, "there is no %s\n", what);
    std::exit(2);
  }

  std::int64_t elements_;
  std::size_t reserved_ = 0;
  char* base_ = nullptr;
  T* data_ = nullptr;
};

}  // namespace proof
