#include <algorithm>
#include <new>
#include <vector>

#include "bind.h"

namespace py = pybind11;

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
