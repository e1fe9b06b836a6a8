#ifndef RAVENFIT_PYTHON_BIND_H
#define RAVENFIT_PYTHON_BIND_H

#include <cstddef>
#include <cstdint>
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <string>
#include <vector>
#ifdef __GLIBC__
#include <unistd.h>
#endif

#include <ravenfit/ravenfit.hpp>

// Each part of the module adds itself.
void bindTools(pybind11::module_& m);
void bindSplines(pybind11::module_& m);
void bindRandom(pybind11::module_& m);

// Lets other threads run Python while it lives. A thread that wants to go on when the interpreter ends is taken away by
// pthread_exit, which must not unwind through the objects of a call: it stays here instead, until the process ends.
class Unlocked {
 public:
  Unlocked() = default;
  Unlocked(const Unlocked&) = delete;
  Unlocked& operator=(const Unlocked&) = delete;
  ~Unlocked() {
#ifdef __GLIBC__
    try {
      PyEval_RestoreThread(state_);
    } catch (...) {  // nothing but that
      for (;;)
        pause();
    }
#else
    PyEval_RestoreThread(state_);
#endif
  }

 private:
  PyThreadState* state_ = PyEval_SaveThread();
};

// What crosses the border: the Python files convert whatever they are given to this.
using Numbers = pybind11::array_t<double, pybind11::array::c_style>;

// An array for results to be written to.
Numbers fresh(const std::vector<pybind11::ssize_t>& shape);

// ValueError with the text, or MemoryError.
[[noreturn]] void refuse(const std::string& text);
[[noreturn]] void refuse(const ravenfit::status& why);

inline void check(std::int32_t code) {
  if (code != DF_STATUS_OK) refuse(ravenfit::status{code, RVN_DOMAIN_FIT, -1, {}});
}

#endif
