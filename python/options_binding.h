// The options of an analysis as an object of Python.
#pragma once

#include <pybind11/pybind11.h>

#include "analysis/analysis_options.h"

namespace python {

void add_options(pybind11::module_& module);

}  // namespace python
