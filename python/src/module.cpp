// The extension module: what Python needs of the library, as bare functions over contiguous arrays. Names, shapes and
// dtypes are the business of the Python files beside it.

#include "bind.h"

PYBIND11_MODULE(_core, m) {
  m.doc() = "The library under the package ravenfit.";
  bindTools(m);
  bindSplines(m);
  bindRandom(m);
}
