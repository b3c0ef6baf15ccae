// Pieces of PQDIF files that the tests put together: definitions of channels, their series, and observations.
#pragma once

#include <cmath>
#include <cstdint>
#include <numbers>
#include <string>
#include <utility>
#include <vector>

#include "readers/pqdif/tags.h"
#include "readers/record.h"
#include "synth/pqdif_body.h"

namespace pieces {

using synth::PqdifCollection;
namespace pqdif = readers::pqdif;
namespace tag = readers::pqdif::tag;
namespace physical = readers::pqdif::physical;

using Samples = std::vector<double>;
using Strings = std::vector<std::string>;

/// One series: what defines it and what an observation holds of it.
struct Series {
  PqdifCollection definition;
  PqdifCollection instance;
};

inline Series time_series(const Samples& values, std::uint32_t method, std::uint32_t units = pqdif::unit::seconds) {
  Series series;
  series.definition.identifier(tag::value_type, pqdif::value_type::time)
      .scalar(tag::units, physical::unsigned4, units)
      .scalar(tag::storage_method, physical::unsigned4, method);
  series.instance.vector(tag::series_values, physical::real8, values);
  return series;
}

inline Series value_series(const Samples& values, std::uint32_t units = pqdif::unit::volts,
                           std::uint32_t method = pqdif::storage::values) {
  Series series;
  series.definition.identifier(tag::value_type, pqdif::value_type::value)
      .scalar(tag::units, physical::unsigned4, units)
      .scalar(tag::storage_method, physical::unsigned4, method);
  series.instance.vector(tag::series_values, physical::real8, values);
  return series;
}

/// A channel of an instrument with its series.
struct Input {
  std::string name = "V1";
  std::uint32_t phase = 1;
  std::uint32_t quantity = pqdif::quantity::voltage;
  pqdif::Guid type = pqdif::quantity_type::waveform;
  std::vector<Series> series;
};

/// Returns a voltage that is sampled at 1000 Hz.
inline Input voltage(const std::string& name, std::uint32_t phase, const Samples& values) {
  return {
      name,
      phase,
      pqdif::quantity::voltage,
      pqdif::quantity_type::waveform,
      {time_series({1, static_cast<double>(values.size()), 0.001}, pqdif::storage::increment), value_series(values)}};
}

inline PqdifCollection container(std::uint32_t style = 0, std::uint32_t algorithm = 0) {
  PqdifCollection body;
  body.vector(tag::version_info, physical::unsigned4, {1, 5, 1, 5})
      .scalar(tag::compression_style, physical::unsigned4, style)
      .scalar(tag::compression_algorithm, physical::unsigned4, algorithm);
  return body;
}

inline PqdifCollection definitions_of(const std::vector<Input>& channels) {
  PqdifCollection list;
  for (const Input& channel : channels) {
    PqdifCollection series;
    for (const Series& one : channel.series) series.collection(tag::series_definition, one.definition);
    PqdifCollection definition;
    definition.text(tag::channel_name, channel.name)
        .scalar(tag::phase, physical::unsigned4, channel.phase)
        .identifier(tag::quantity_type, channel.type)
        .scalar(tag::quantity_measured, physical::unsigned4, channel.quantity)
        .collection(tag::series_definitions, std::move(series));
    list.collection(tag::channel_definition, std::move(definition));
  }
  return list;
}

inline PqdifCollection source(const std::vector<Input>& channels, const std::string& name = "Meter") {
  PqdifCollection body;
  body.text(tag::source_name, name).collection(tag::channel_definitions, definitions_of(channels));
  return body;
}

inline PqdifCollection instances_of(const std::vector<Input>& channels) {
  PqdifCollection list;
  for (std::size_t i = 0; i < channels.size(); i++) {
    PqdifCollection series;
    for (const Series& one : channels[i].series) series.collection(tag::series_instance, one.instance);
    PqdifCollection instance;
    instance.scalar(tag::definition_index, physical::unsigned4, static_cast<double>(i))
        .collection(tag::series_instances, std::move(series));
    list.collection(tag::channel_instance, std::move(instance));
  }
  return list;
}

/// Returns an observation that starts so many seconds after 1999-06-01.
inline PqdifCollection observation(const std::vector<Input>& channels, double seconds = 0,
                                   const std::string& name = "") {
  constexpr std::uint32_t day = 36312;
  PqdifCollection body;
  body.text(tag::observation_name, name)
      .time_stamp(tag::time_start, day, seconds)
      .collection(tag::channel_instances, instances_of(channels));
  return body;
}

/// Returns a file that is not compressed, with one observation of all channels.
inline synth::PqdifFile file_of(const std::vector<Input>& channels) {
  synth::PqdifFile file(false, synth::PqdifChecksum::adler_of_stored);
  file.add(pqdif::record_kind::container, container());
  file.add(pqdif::record_kind::data_source, source(channels));
  file.add(pqdif::record_kind::observation, observation(channels));
  return file;
}

/// Returns three voltages and a current with different values in each sample, sampled at `rate`.
inline readers::Record waves(std::size_t length, double rate) {
  readers::Record record;
  record.station = "Station";
  record.device = "Device";
  record.line_frequency = 50;
  const char* const names[] = {"Ua", "Ub", "Uc", "Ia"};
  const char* const phases[] = {"AN", "BN", "CN", "A"};
  for (std::size_t c = 0; c < 4; c++) {
    readers::Channel channel;
    channel.name = names[c];
    channel.phase = phases[c];
    channel.unit = c < 3 ? "V" : "A";
    for (std::size_t i = 0; i < length; i++) {
      const double angle = 2 * std::numbers::pi * (50 * static_cast<double>(i) / rate - static_cast<double>(c) / 3);
      channel.samples.push_back((c < 3 ? 325 : 14) * std::sin(angle));
    }
    record.channels.push_back(channel);
  }
  record.rates = {{rate, length}};
  return record;
}

}  // namespace pieces
