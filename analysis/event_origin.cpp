#include "analysis/event_origin.h"

#include <span>

namespace analysis {

namespace {

/// Returns the currents of the bay over the analysed part; without phases if they are not waveforms or were not read.
measure::Waveform currents_of(const readers::Record& record, const AnalysedVoltages& voltages,
                              const measure::Waveform& measured, const readers::CurrentSet& bay) {
  measure::Waveform waveform;
  waveform.rate = measured.rate;
  waveform.line_frequency = measured.line_frequency;
  if (bay.trend) return waveform;
  for (const std::size_t index : bay.phases) {
    const readers::Channel& channel = record.channels[index];
    if (channel.samples.size() < voltages.part.end) return {};
    waveform.phases.push_back({std::span(channel.samples).subspan(voltages.part.begin, voltages.length()),
                               readers::amperes_per_unit(channel), channel.skew});
  }
  return waveform;
}

Origin origin_of(const assess::PowerFlow& flow, const measure::Event& event, double length_s) {
  Origin origin;
  if (event.kind != measure::EventKind::dip || !event.course || !event.course->start_s) return origin;
  const measure::Course& course = *event.course;
  const double end_s = course.end_s ? course.end_s->value : length_s;
  origin.direction = direction_of(flow, {course.start_s->value, end_s});
  origin.cause = likely_cause(flow, course, origin.direction);
  return origin;
}

}  // namespace

std::vector<Origin> origins_of(const readers::Record& record, const AnalysedVoltages& voltages,
                               const measure::Waveform& measured, const measure::Findings& found,
                               const readers::CurrentSet& bay) {
  if (voltages.phases < 3 || voltages.rms) return {};
  const measure::Waveform currents = currents_of(record, voltages, measured, bay);
  if (currents.phases.size() < 3 || currents.length() != measured.length()) return {};
  assess::Monitor monitor;
  monitor.between_phases = voltages.between_phases;
  monitor.wiring = found.wiring;
  const assess::PowerFlow flow(measured, currents, found.frequency, monitor);
  const double length_s = static_cast<double>(measured.length()) / measured.rate;
  std::vector<Origin> origins;
  for (const measure::Event& event : found.events) origins.push_back(origin_of(flow, event, length_s));
  return origins;
}

}  // namespace analysis
