// The extension module of the Python package. Everything that users see is in the package dipx; this module gives it
// records, analyses and the embedded library.
#include <pybind11/pybind11.h>

#include <exception>
#include <stdexcept>

#include "analysis/choice/voltage_choice.h"
#include "analysis/own_curve.h"
#include "analysis/refusal.h"
#include "outputs/drawable.h"
#include "python/analysis_binding.h"
#include "python/host_binding.h"
#include "python/interruptible.h"
#include "python/options_binding.h"
#include "python/record_binding.h"
#include "readers/record.h"

namespace py = pybind11;

namespace {

/// Raises an exception of the package with the message of one that was thrown. Bytes that are not UTF-8, which a path
/// may have, are shown as escapes.
void raise(const char* name, const std::exception& thrown) {
  const py::object type = py::module_::import("dipx._errors").attr(name);
  const py::bytes bytes(thrown.what());
  const py::object message = bytes.attr("decode")("utf-8", "backslashreplace");
  PyErr_SetObject(type.ptr(), type.attr("from_message")(message).ptr());
}

void translate(std::exception_ptr thrown) {
  try {
    if (thrown) std::rethrow_exception(thrown);
  } catch (const readers::ReadError& error) {
    raise("ReadError", error);
  } catch (const analysis::Refusal& error) {
    raise("AnalysisError", error);
  } catch (const analysis::UnknownChoice& error) {
    raise("AnalysisError", error);
  } catch (const outputs::Undrawable& error) {
    raise("AnalysisError", error);
  } catch (const analysis::CurveError& error) {
    raise("OptionError", error);
  } catch (const std::invalid_argument& error) {
    raise("OptionError", error);
  }
}

}  // namespace

PYBIND11_MODULE(_dipx, module) {
  module.doc() = "Records, analyses and the embedded library for the package dipx.";
  module.attr("version") = DIPX_VERSION;
  py::register_exception_translator(&translate);
  python::add_options(module);
  python::add_record(module);
  python::add_analysis(module);
  python::add_host(module);
  module.def("wait_for_abandoned", &python::wait_for_abandoned);
}
