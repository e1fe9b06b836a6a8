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
    reserved_ = (pieces + 2) * piece;
    const auto huge = openFile(MFD_HUGETLB);
    const int file = huge >= 0 ? huge : openFile(0);
    page_ = huge >= 0 ? std::size_t{2} << 20 : std::size_t{4096};
    if (file < 0) fail("memory that can be mapped twice");
    reservation_ = mmap(nullptr, reserved_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (reservation_ == MAP_FAILED) fail("address space");
    char* const base =
        reinterpret_cast<char*>((reinterpret_cast<std::uintptr_t>(reservation_) + piece - 1) / piece * piece);
    for (std::size_t i = 0; i < pieces; ++i)
      if (mmap(base + i * piece, piece, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED, file, 0) ==
          MAP_FAILED)
        fail("one more mapping: raise vm.max_map_count");
    close(file);
    data_ = reinterpret_cast<T*>(base + pieces * piece - bytes);  // so that it ends where nothing is mapped
  }
  SparseArray(const SparseArray&) = delete;
  SparseArray& operator=(const SparseArray&) = delete;
  ~SparseArray() { munmap(reservation_, reserved_); }

  T* data() { return data_; }
  T& operator[](std::int64_t i) { return data_[i]; }
  std::int64_t size() const { return elements_; }

  // Gives the elements around i memory of their own, filled with a value.
  void addWindow(std::int64_t i, T value = {}) {
    const std::int64_t from = i < windowLength ? 0 : i - windowLength;
    const std::int64_t to = i + windowLength > elements_ ? elements_ : i + windowLength;
    char* const begin =
        reinterpret_cast<char*>(reinterpret_cast<std::uintptr_t>(data_ + from) / page_ * page_);
    char* const end =
        reinterpret_cast<char*>((reinterpret_cast<std::uintptr_t>(data_ + to) + page_ - 1) / page_ * page_);
    if (mmap(begin, static_cast<std::size_t>(end - begin), PROT_READ | PROT_WRITE,
             MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0) == MAP_FAILED)
      fail("a window");
    T* const first = begin < reinterpret_cast<char*>(data_) ? data_ : reinterpret_cast<T*>(begin);
    for (T* at = first; at < data_ + elements_ && reinterpret_cast<char*>(at) < end; ++at)
      *at = value;
  }

 private:
  static constexpr std::size_t piece = period * sizeof(T);

  // One piece of memory; -1 where there is none, as of huge pages that nobody set aside. With them, a page fault comes once
  // for 2 MB.
  static int openFile(unsigned flags) {
    const int file = memfd_create("aliased", flags);
    if (file < 0) return -1;
    void* probe = MAP_FAILED;
    if (ftruncate(file, static_cast<off_t>(piece)) == 0)
      probe = mmap(nullptr, piece, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    if (probe != MAP_FAILED) {
      munmap(probe, piece);
      return file;
    }
    close(file);
    return -1;
  }

  [[noreturn]] static void fail(const char* what) {
    std::fprintf(stderr, "there is no %s\n", what);
    std::exit(2);
  }

  std::int64_t elements_;
  std::size_t reserved_ = 0;
  std::size_t page_ = 0;
  void* reservation_ = nullptr;
  T* data_ = nullptr;
};

}  // namespace proof
