#ifndef RAVENFIT_PYTHON_BIND_H
#define RAVENFIT_PYTHON_BIND_H

#include <pybind11/pybind11.h>

// Each part of the module adds itself.
void bindTools(pybind11::module_& m);
void bindSplines(pybind11::module_& m);
void bindRandom(pybind11::module_& m);

#endif
