#include "python/analysis_binding.h"

#include <pybind11/numpy.h>
#include <pybind11/stl.h>

#include <memory>
#include <string>
#include <utility>

#include "analysis/analyse.h"
#include "analysis/curves.h"
#include "outputs/drawing_svg.h"
#include "outputs/figure.h"
#include "outputs/json.h"
#include "outputs/text.h"
#include "python/interruptible.h"
#include "python/record_binding.h"

namespace py = pybind11;

namespace python {

namespace {

using analysis::Analysis;

/// An analysis refers to the samples of its record.
struct AnalysisHandle {
  SharedRecord record;
  std::shared_ptr<const Analysis> analysis;
};

AnalysisHandle measure_record(const RecordHandle& handle, analysis::AnalysisOptions options) {
  const SharedRecord record = handle.record;
  auto result = std::make_shared<std::shared_ptr<const Analysis>>();
  run_interruptibly([=](const Cancelled& cancelled) {
    analysis::AnalysisOptions used = options;
    used.report_stage = [&](const std::string& /*what*/, double /*done*/) {
      if (*cancelled) throw Abandoned();
    };
    *result = std::make_shared<const Analysis>(analysis::analyse(*record, used));
  });
  return {record, *result};
}

/// Rows of an array, one for each analysed voltage.
py::array_t<double> rows_of(const analysis::Waveform& waveform, std::size_t phases) {
  const std::size_t length = waveform[0].size();
  py::array_t<double> array({phases, length});
  for (std::size_t phase = 0; phase < phases; phase++) {
    double* row = array.mutable_data(static_cast<py::ssize_t>(phase), 0);
    for (std::size_t i = 0; i < length; i++) row[i] = static_cast<double>(waveform[phase][i]);
  }
  return array;
}

/// Waveforms and one-cycle RMS of the analysed voltages, volts.
py::tuple curves_of(const AnalysisHandle& self) {
  analysis::Curves curves;
  {
    const py::gil_scoped_release unlocked;
    curves = analysis::curves_of(*self.analysis);
  }
  const std::size_t phases = self.analysis->voltages.phases;
  if (curves.volts[0].empty()) return py::make_tuple(py::array_t<double>(), py::array_t<double>());
  return py::make_tuple(rows_of(curves.volts, phases), rows_of(curves.rms, phases));
}

std::string svg_of(const AnalysisHandle& self, std::size_t event) {
  const py::gil_scoped_release unlocked;
  return outputs::svg_of(outputs::figure_of(*self.record, *self.analysis, analysis::curves_of(*self.analysis), event));
}

}  // namespace

void add_analysis(py::module_& module) {
  py::class_<AnalysisHandle>(module, "Analysis")
      .def("json", [](const AnalysisHandle& self) { return outputs::json_line_of(*self.record, *self.analysis); })
      .def("text", [](const AnalysisHandle& self) { return outputs::text_of(*self.record, *self.analysis); })
      .def("svg", &svg_of, py::arg("event"))
      .def("curves", &curves_of);
  module.def("measure", &measure_record, py::arg("record"), py::arg("options"));
}

}  // namespace python
