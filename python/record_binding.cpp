#include "python/record_binding.h"

#include <pybind11/numpy.h>
#include <pybind11/stl.h>

#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "analysis/choice/chosen_set.h"
#include "analysis/choice/stretch.h"
#include "python/interruptible.h"
#include "python/options_binding.h"
#include "readers/clock_time.h"
#include "readers/open_record.h"

namespace py = pybind11;

namespace python {

namespace {

/// Text of a file is UTF-8, but a path may hold any bytes, which are then shown as escapes.
py::str text_of(const std::string& bytes) {
  return py::reinterpret_steal<py::str>(
      PyUnicode_DecodeUTF8(bytes.data(), static_cast<Py_ssize_t>(bytes.size()), "backslashreplace"));
}

py::list texts_of(const std::vector<std::string>& texts) {
  py::list list;
  for (const std::string& text : texts) list.append(text_of(text));
  return list;
}

/// An array that shows the samples in place. It keeps the record alive and cannot be written to.
py::array samples_of(const RecordHandle& self, std::size_t channel) {
  const std::vector<double>& samples = self.record->channels.at(channel).samples;
  const py::capsule owner(new SharedRecord(self.record),
                          [](void* record) { delete static_cast<SharedRecord*>(record); });
  py::array_t<double> array(static_cast<py::ssize_t>(samples.size()), samples.data(), owner);
  array.attr("setflags")(py::arg("write") = false);
  return array;
}

py::dict description_of(const readers::Channel& channel) {
  py::dict description;
  description["name"] = channel.name;
  description["phase"] = channel.phase;
  description["unit"] = channel.unit;
  description["side"] = py::none();
  if (channel.side == 'P') description["side"] = "primary";
  if (channel.side == 'S') description["side"] = "secondary";
  description["transformer_primary"] = channel.primary;
  description["transformer_secondary"] = channel.secondary;
  description["skew_s"] = channel.skew;
  description["read"] = !channel.samples.empty();
  return description;
}

py::list channels_of(const RecordHandle& self) {
  py::list list;
  for (const readers::Channel& channel : self.record->channels) list.append(description_of(channel));
  return list;
}

py::list digitals_of(const RecordHandle& self) {
  py::list list;
  for (const readers::DigitalChannel& channel : self.record->digitals) {
    py::list changes;
    for (const auto& change : channel.changes) changes.append(py::make_tuple(change.row, change.time, change.state));
    list.append(py::make_tuple(channel.name, channel.first_state, std::move(changes)));
  }
  return list;
}

/// First sample, end, rate and time of the first sample of each section.
py::list sections_of(const RecordHandle& self) {
  py::list list;
  std::size_t begin = 0;
  for (const readers::RateSection& section : self.record->rates) {
    list.append(py::make_tuple(begin, section.end, section.rate, section.start));
    begin = section.end;
  }
  return list;
}

py::object stretch_of(const RecordHandle& self) {
  const auto& stretch = self.record->stretch;
  return stretch ? py::object(py::make_tuple(stretch->from, stretch->to)) : py::none();
}

/// Reads all channels, or those that an analysis with `choice` needs.
RecordHandle read(const std::string& path, double rate, const std::string& charset, std::optional<double> from_s,
                  std::optional<double> to_s, const std::optional<analysis::AnalysisOptions>& choice) {
  auto record = std::make_shared<readers::Record>();
  run_interruptibly([=](const Cancelled& cancelled) {
    readers::OpenOptions options{.sampling_rate = rate, .charset = charset, .digitals = true};
    options.wanted = [&](const readers::Record& described) {
      if (*cancelled) throw Abandoned();
      if (!choice) return std::vector<bool>(described.channels.size(), true);
      return analysis::channels_to_read(described, choice->choice);
    };
    *record = readers::open_record(path, options);
    analysis::keep_stretch(*record, {.from = from_s, .to = to_s});
  });
  return {std::move(record)};
}

/// A channel that Python describes by its name, phase and unit.
using ArrayChannel = std::tuple<std::string, std::string, std::string, py::array_t<double, py::array::c_style>>;

/// Makes a record of arrays of equal length, which are copied.
RecordHandle from_arrays(const std::vector<ArrayChannel>& arrays, double rate, const std::string& file,
                         const std::string& start_time) {
  auto record = std::make_shared<readers::Record>();
  record->file = file;
  record->format = "arrays";
  record->start_time = start_time;
  for (const auto& [name, phase, unit, array] : arrays) {
    readers::Channel channel{.name = name, .phase = phase, .unit = unit, .samples = {}};
    channel.samples.assign(array.data(), array.data() + array.size());
    record->channels.push_back(std::move(channel));
  }
  record->rates.push_back({.rate = rate, .end = record->channels.at(0).samples.size()});
  return {std::move(record)};
}

}  // namespace

void add_record(py::module_& module) {
  using Handle = RecordHandle;
  const auto text = [](std::string readers::Record::*member) {
    return [member](const Handle& self) { return text_of((*self.record).*member); };
  };
  py::class_<Handle>(module, "Record")
      .def_property_readonly("file", text(&readers::Record::file))
      .def_property_readonly("format", text(&readers::Record::format))
      .def_property_readonly("station", text(&readers::Record::station))
      .def_property_readonly("device", text(&readers::Record::device))
      .def_property_readonly("start_time", text(&readers::Record::start_time))
      .def_property_readonly("trigger_time", text(&readers::Record::trigger_time))
      .def_property_readonly("time_zone", text(&readers::Record::time_zone))
      .def_property_readonly("sources", [](const Handle& self) { return texts_of(self.record->sources); })
      .def_property_readonly("notes", [](const Handle& self) { return texts_of(self.record->notes); })
      .def_property_readonly("trigger_s", [](const Handle& self) { return self.record->trigger; })
      .def_property_readonly("line_frequency", [](const Handle& self) { return self.record->line_frequency; })
      .def_property_readonly("length", [](const Handle& self) { return self.record->length(); })
      .def_property_readonly("stretch", &stretch_of)
      .def("channels", &channels_of)
      .def("digitals", &digitals_of)
      .def("sections", &sections_of)
      .def("samples", &samples_of)
      .def("clock", [](const Handle& self, double seconds) { return readers::iso_time(*self.record, seconds); });
  module.def("read", &read, py::arg("path"), py::arg("rate"), py::arg("charset"), py::arg("from_s"), py::arg("to_s"),
             py::arg("choice"));
  module.def("from_arrays", &from_arrays, py::arg("arrays"), py::arg("rate"), py::arg("file"), py::arg("start_time"));
}

}  // namespace python
