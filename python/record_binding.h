// Records of readers/ as objects of Python.
#pragma once

#include <pybind11/pybind11.h>

#include <memory>

#include "readers/record.h"

namespace python {

/// A record that is never changed after it was read, so that arrays and analyses may refer to its samples.
using SharedRecord = std::shared_ptr<const readers::Record>;

/// Holder of a record for Python.
struct RecordHandle {
  SharedRecord record;
};

void add_record(pybind11::module_& module);

}  // namespace python
