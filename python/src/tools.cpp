#include <algorithm>
#include <cstdlib>
#include <memory>
#include <new>
#include <utility>
#include <vector>
#ifdef __linux__
#include <sys/mman.h>
#endif

#include "bind.h"

namespace py = pybind11;

namespace {

#ifdef MADV_HUGEPAGE
constexpr std::size_t huge = std::size_t{1} << 21;
constexpr std::size_t mostKept = 16 * huge;

// The block that was released last, for the next one of its size. Touched under the GIL alone.
void* kept = nullptr;
std::size_t keptBytes = 0;

void release(PyObject* capsule) {
  void* const at = PyCapsule_GetPointer(capsule, nullptr);
  const auto bytes = reinterpret_cast<std::size_t>(PyCapsule_GetContext(capsule));
  if (bytes > mostKept) {
    std::free(at);
    return;
  }
  std::free(kept);
  kept = at;
  keptBytes = bytes;
}

// An object that owns a block of huge pages, at its pointer.
py::capsule hugeBlock(std::size_t bytes) {
  std::unique_ptr<void, void (*)(void*)> block(nullptr, &std::free);
  if (keptBytes == bytes) {
    block.reset(std::exchange(kept, nullptr));
    keptBytes = 0;
  } else {
    block.reset(std::aligned_alloc(huge, bytes));
    if (block == nullptr) throw std::bad_alloc();
    madvise(block.get(), bytes, MADV_HUGEPAGE);  // a wish: where it fails, pages are small
  }
  py::capsule owner(block.get());
  static_cast<void>(PyCapsule_SetContext(owner.ptr(), reinterpret_cast<void*>(bytes)));
  static_cast<void>(PyCapsule_SetDestructor(owner.ptr(), &release));
  static_cast<void>(block.release());
  return owner;
}
#endif

}  // namespace

// The first touch of a small page can cost more than all that is then computed into it; NumPy asks for huge ones from
// 4 MB on.
Numbers fresh(const std::vector<py::ssize_t>& shape) {
#ifdef MADV_HUGEPAGE
  std::size_t bytes = sizeof(double);
  for (const py::ssize_t n : shape) {
    if (n != 0 && bytes > PTRDIFF_MAX / static_cast<std::size_t>(n)) throw std::bad_alloc();
    bytes *= static_cast<std::size_t>(n);
  }
  if (bytes >= huge && bytes <= PTRDIFF_MAX - huge) {
    const py::capsule owner = hugeBlock((bytes + huge - 1) / huge * huge);
    return Numbers(shape, static_cast<double*>(owner.get_pointer()), owner);
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
