#include "analysis/load_record.h"

#include <fmt/format.h>

#include <cstddef>
#include <string>
#include <utility>

#include "analysis/analyse.h"
#include "analysis/load_voltages.h"
#include "readers/clock_time.h"

namespace analysis {

namespace {

void add_channels(const Analysis& voltages, readers::Record& record) {
  for (std::size_t phase = 0; phase < 3; phase++) {
    readers::Channel channel;
    channel.phase = voltages.voltages.letter(phase);
    channel.name = "U";
    for (const char letter : channel.phase) channel.name += static_cast<char>(letter - 'A' + 'a');
    channel.unit = "V";
    channel.samples = voltages.measured.computed[phase];
    record.channels.push_back(std::move(channel));
  }
}

/// Copies what a record says about itself, with times from the first sample of a part.
readers::Record described_as(const readers::Record& record, const readers::Part& part) {
  readers::Record result;
  result.file = record.file;
  result.sources = record.sources;
  result.format = record.format;
  result.station = record.station;
  result.device = record.device;
  result.time_zone = record.time_zone;
  result.start_time = record.start_time;
  result.notes = record.notes;
  const std::string iso = readers::iso_time(record, part.start);
  if (part.start > 0) result.start_time = iso.empty() ? "" : iso.substr(0, 10) + " " + iso.substr(11, 15);
  const double length_s = static_cast<double>(part.length()) / part.rate;
  if (record.trigger && *record.trigger >= part.start && *record.trigger < part.start + length_s) {
    result.trigger = *record.trigger - part.start;
  }
  result.rates = {{part.rate, part.length()}};
  return result;
}

}  // namespace

readers::Record load_record_of(const readers::Record& record, const VoltageChoice& choice,
                               const std::vector<assess::Connection>& connections) {
  AnalysisOptions options;
  options.choice = choice;
  options.through = connections;
  const Analysis analysis = analyse(record, options);
  readers::Record result = described_as(record, analysis.voltages.part);
  result.line_frequency = analysis.voltages.line_frequency;
  add_channels(analysis.load->phases, result);
  add_channels(analysis.load->lines, result);
  std::string sources;
  for (std::size_t i = 0; i < 3; i++) {
    sources += (i == 0 ? "" : ", ") + record.channels[analysis.voltages.channels[i]].name;
  }
  result.notes.push_back(fmt::format("These are voltages beyond {}, computed from {} as if the ratios were 1.",
                                     names_of(connections), sources));
  return result;
}

}  // namespace analysis
