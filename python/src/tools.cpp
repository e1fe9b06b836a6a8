#include "bind.h"

#include <ravenfit/ravenfit.hpp>

namespace py = pybind11;

void bindTools(py::module_& m) {
  ravenfit::detail::settle_level();
  // What is wrong is told by exceptions; nothing is printed.
  rvnSetMessageHandler([](void*, const char*) {}, nullptr);
  m.def("level", &rvnLevel);
  m.def("version", &rvnVersion);
}
