// The embedded library as a host program calls it.
#pragma once

#include <pybind11/pybind11.h>

namespace python {

void add_host(pybind11::module_& module);

}  // namespace python
