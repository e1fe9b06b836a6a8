#include "bind.h"

void bindSplines(pybind11::module_&) {}
