#ifndef RAVENFIT_VIEW_HPP
#define RAVENFIT_VIEW_HPP

// How arrays are passed to the C++ layer, and how it reports failures. Included by ravenfit.hpp.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>

#include <ravenfit/tools.h>

namespace ravenfit {

// A contiguous array that somebody else owns: made from a pointer and a count, from an array, or from whatever has data()
// and size() (std::vector, std::array, std::span, Eigen's vectors). It must not outlive the array.
template <class T>
class view {
  template <class C>
  using pointer_of = decltype(std::declval<C&>().data());
  template <class C>
  using fits =
      std::enable_if_t<std::is_convertible<std::remove_pointer_t<pointer_of<C>> (*)[], T (*)[]>::value &&
                       std::is_convertible<decltype(std::declval<C&>().size()), std::size_t>::value>;

 public:
  // Empty.
  constexpr view() = default;
  constexpr view(T* data, std::size_t size) : data_(data), size_(size) {}
  template <std::size_t n>
  constexpr view(T (&array)[n]) : data_(array), size_(n) {}
  template <class C, class = fits<C>>
  constexpr view(C&& container)
      : data_(container.data()), size_(static_cast<std::size_t>(container.size())) {}

  // The first element; null if the view is empty by default.
  constexpr T* data() const { return data_; }
  constexpr std::size_t size() const { return size_; }
  constexpr bool empty() const { return size_ == 0; }
  constexpr T* begin() const { return data_; }
  constexpr T* end() const { return data_ + size_; }
  // Element i, below size(), which is not checked.
  constexpr T& operator[](std::size_t i) const { return data_[i]; }
  // `count` elements from that one on; they must be there, which is not checked.
  constexpr view part(std::size_t from, std::size_t count) const { return {data_ + from, count}; }

 private:
  T* data_ = nullptr;
  std::size_t size_ = 0;
};

// How an operation ended. `code` is 0 or a status of the C headers; `index` is the index of the wrong element of an array,
// or -1.
struct [[nodiscard]] status {
  int code = 0;
  // RVN_DOMAIN_*, which says whose status the code is.
  int domain = RVN_DOMAIN_FIT;
  std::ptrdiff_t index = -1;
  std::string detail;  // says more than the text of the code, or is empty

  bool ok() const { return code == 0; }
  // As ok().
  explicit operator bool() const { return ok(); }
  // In English, for people.
  std::string text() const { return detail.empty() ? rvnStatusText(domain, code) : detail; }
};

// Thrown by every operation without `try_` in its name.
class error : public std::runtime_error {
 public:
  // Its text is why.text().
  explicit error(const status& why) : std::runtime_error(why.text()), code_(why.code), index_(why.index) {}
  // As in the status.
  int code() const noexcept { return code_; }
  std::ptrdiff_t index() const noexcept { return index_; }

 private:
  int code_;
  std::ptrdiff_t index_;
};

namespace detail {

// Without exceptions a failure that was not asked for by a `try_` operation ends the program with its text.
[[noreturn]] inline void fail(const status& why) {
#if defined(__cpp_exceptions) || defined(_CPPUNWIND)
  throw error(why);
#else
  std::fprintf(stderr, "ravenfit: %s\n", why.text().c_str());
  std::abort();
#endif
}

inline void check(const status& s) {
  if (!s.ok()) fail(s);
}

}  // namespace detail

// The value of a `try_` operation, or why there is none.
template <class T>
class [[nodiscard]] result {
 public:
  // A success.
  result(T value) : value_(std::move(value)), has_(true) {}
  // A failure, of a status that is not 0.
  result(status why) : why_(std::move(why)) {}

  bool ok() const { return has_; }
  explicit operator bool() const { return has_; }
  // The status: 0 where there is a value.
  const status& why() const { return why_; }
  // The value. Where there is none, fails as an operation without `try_` would.
  T& value() & { return detail::check(why_), value_; }
  T&& value() && { return detail::check(why_), std::move(value_); }
  const T& value() const& { return detail::check(why_), value_; }
  // The value, without a check: ask ok() first.
  T& operator*() { return value_; }
  T* operator->() { return &value_; }

 private:
  T value_{};
  status why_;
  bool has_ = false;
};

// ---- the level of the kernels ----

namespace detail {

inline bool& keeps_level() {
  static bool keeps = false;
  return keeps;
}

// Asks for the best level once, before the first use of the library from C++.
inline void settle_level() {
  static const int level = keeps_level() ? rvnLevel() : rvnUseBestLevel();
  static_cast<void>(level);
}

}  // namespace detail

// Keeps the level that the C library picks by itself; call it before anything else of this layer. Otherwise the best level
// that the processor's features allow is requested at first use, as by rvnUseBestLevel().
inline void keep_level() {
  detail::keeps_level() = true;
}

}  // namespace ravenfit

#endif
