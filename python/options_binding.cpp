#include "python/options_binding.h"

#include <pybind11/stl.h>

#include <string>

#include "analysis/own_curve.h"
#include "assess/transformer.h"

namespace py = pybind11;

namespace python {

namespace {

using Options = analysis::AnalysisOptions;

}  // namespace

void add_options(py::module_& module) {
  py::enum_<analysis::DeclaredKind>(module, "DeclaredKind")
      .value("by_level", analysis::DeclaredKind::by_level)
      .value("phase", analysis::DeclaredKind::phase)
      .value("line", analysis::DeclaredKind::line);
  py::enum_<measure::Reference>(module, "Reference")
      .value("declared", measure::Reference::declared)
      .value("sliding", measure::Reference::sliding)
      .value("pre_event", measure::Reference::pre_event);
  py::class_<measure::Thresholds>(module, "Thresholds")
      .def_readwrite("dip", &measure::Thresholds::dip)
      .def_readwrite("swell", &measure::Thresholds::swell)
      .def_readwrite("interruption", &measure::Thresholds::interruption)
      .def_readwrite("hysteresis", &measure::Thresholds::hysteresis)
      .def_readwrite("rapid_change", &measure::Thresholds::rapid_change);
  py::class_<analysis::VoltageChoice>(module, "VoltageChoice")
      .def_readwrite("channels", &analysis::VoltageChoice::channels)
      .def_readwrite("set", &analysis::VoltageChoice::set)
      .def_readwrite("part", &analysis::VoltageChoice::part)
      .def_readwrite("line_to_line", &analysis::VoltageChoice::line_to_line)
      .def_readwrite("line_frequency", &analysis::VoltageChoice::line_frequency);
  py::class_<Options>(module, "Options")
      .def(py::init<>())
      .def_readwrite("choice", &Options::choice)
      .def_readwrite("nominal", &Options::nominal)
      .def_readwrite("nominal_kind", &Options::nominal_kind)
      .def_readwrite("reference", &Options::reference)
      .def_readwrite("thresholds", &Options::thresholds)
      .def("add_curve", [](Options& self, const std::string& text,
                           const std::string& file) { analysis::add_own_curve(self.own_curves, text, file); })
      .def("set_through",
           [](Options& self, const std::string& groups) { self.through = assess::connections_of(groups); });
}

}  // namespace python
