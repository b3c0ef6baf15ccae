// Analyses as objects of Python.
#pragma once

#include <pybind11/pybind11.h>

namespace python {

void add_analysis(pybind11::module_& module);

}  // namespace python
