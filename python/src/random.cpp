#include "bind.h"

void bindRandom(pybind11::module_&) {}
