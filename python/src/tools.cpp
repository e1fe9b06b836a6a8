#include <algorithm>
#include <cstdlib>
#include <memory>
#include <new>
#include <vector>
#ifdef __linux__
#include <sys/mman.h>
#endif

#include "bind.h"

namespace py = pybind11;

// The first touch of a small page can cost more than all that is then computed into it; NumPy asks for huge ones from
// 4 MB on.
Numbers fresh(const std::vector<py::ssize_t>& shape) {
#ifdef MADV_HUGEPAGE
  constexpr std::size_t huge = std::size_t{1} << 21;
  std::size_t bytes = sizeof(double);
  for (const py::ssize_t n : shape) {
    if (n != 0 && bytes > PTRDIFF_MAX / static_cast<std::size_t>(n)) throw std::bad_alloc();
    bytes *= static_cast<std::size_t>(n);
  }
  if (bytes >= huge && bytes <= PTRDIFF_MAX - huge) {
    bytes = (bytes + huge - 1) / huge * huge;
    std::unique_ptr<void, void (*)(void*)> owned(std::aligned_alloc(huge, bytes), &std::free);
    void* const at = owned.get();
    if (at == nullptr) throw std::bad_alloc();
    madvise(at, bytes, MADV_HUGEPAGE);  // a wish: where it fails, pages are small
    const py::capsule owner(at, &std::free);
    static_cast<void>(owned.release());
    return Numbers(shape, static_cast<double*>(at), owner);
  }
#endif
  return Numbers(shape);
}

void refuse(const std::string& text) {
  throw py::value_error(text);
}

void refuse(const ravenfit::status& why) {
  if (why.domain == RVN_DOMAIN_FIT && why.code == DF_ERROR_MEMORY && why.detail.empty())
    throw std::bad_alloc();
  refuse(why.text());
}

namespace {

py::list features() {
  py::list names;
#if defined(__x86_64__) || defined(__i386__)
  __builtin_cpu_init();
#define FEATURE(name) \
  if (__builtin_cpu_supports(name)) names.append(name)
  FEATURE("sse2");
  FEATURE("sse3");
  FEATURE("ssse3");
  FEATURE("sse4.1");
  FEATURE("sse4.2");
  FEATURE("avx");
  FEATURE("avx2");
  FEATURE("fma");
  FEATURE("bmi");
  FEATURE("bmi2");
  FEATURE("aes");
  FEATURE("avx512f");
  FEATURE("avx512bw");
  FEATURE("avx512dq");
  FEATURE("avx512vl");
#undef FEATURE
#endif
  return names;
}

// b holds right-hand sides one after another and receives the solutions. The row whose pivot fails, or -1.
py::ssize_t solveTridiagonal(const Numbers& dl, const Numbers& d, const Numbers& du, Numbers b) {
  const auto read = [](const Numbers& a) {
    return ravenfit::view<const double>(a.data(), static_cast<std::size_t>(a.size()));
  };
  const ravenfit::view<double> columns(b.mutable_data(), static_cast<std::size_t>(b.size()));
  ravenfit::status s;
  {
    const Unlocked unlocked;
    s = ravenfit::try_solve_tridiagonal(read(dl), read(d), read(du), columns);
  }
  if (s.code > 0) return s.index;
  if (!s.ok()) refuse(s);
  return -1;
}

}  // namespace

void bindTools(py::module_& m) {
  ravenfit::detail::settle_level();
  // What is wrong is told by exceptions; nothing is printed.
  rvnSetMessageHandler([](void*, const char*) {}, nullptr);
  m.def("level", &rvnLevel);
  m.def("version", &rvnVersion);
  m.def("features", &features);
  m.def("solve_tridiagonal", &solveTridiagonal);
}
