#include "analysis/load_voltages.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <stdexcept>
#include <utility>

#include "analysis/event_terms.h"
#include "assess/carried_course.h"
#include "assess/indices.h"

namespace analysis {

namespace {

/// Returns the samples of one voltage in volts, at the times of their indices.
std::vector<double> volts_of(const measure::Waveform& waveform, std::size_t phase) {
  std::vector<double> volts(waveform.length());
  for (std::size_t i = 0; i < volts.size(); i++) volts[i] = waveform.volts(phase, i);
  return in_time(std::move(volts), waveform.phases[phase].skew * waveform.rate);
}

/// Computes the samples at a load. A sample is missing if one of those that it depends on is missing.
MeasuredWaveform waveform_at_load(const measure::Waveform& waveform, const assess::VoltageMap& map) {
  MeasuredWaveform result;
  result.waveform.rate = waveform.rate;
  result.waveform.line_frequency = waveform.line_frequency;
  const std::array<std::vector<double>, 3> volts = {volts_of(waveform, 0), volts_of(waveform, 1),
                                                    volts_of(waveform, 2)};
  for (std::size_t phase = 0; phase < 3; phase++) {
    auto& computed = result.computed[phase];
    computed.assign(waveform.length(), 0);
    for (std::size_t source = 0; source < 3; source++) {
      const double factor = map[phase][source];
      if (factor == 0) continue;
      for (std::size_t i = 0; i < computed.size(); i++) computed[i] += factor * volts[source][i];
    }
    result.waveform.phases.push_back({computed, 1, 0});
  }
  return result;
}

/// Returns the declared voltage of the load's phase voltages or voltages between phases; 0 if none was declared.
double declared_at_load(const Analysis& analysis, bool between_phases) {
  double volts = analysis.options.declared_v;
  if (analysis.voltages.between_phases) volts /= std::numbers::sqrt3;
  return between_phases ? volts * std::numbers::sqrt3 : volts;
}

/// Returns the course of the longest dip of the analysed voltages that overlaps a dip of the load, carried to the load.
std::optional<measure::Course> course_at_load(const measure::Event& dip, const Analysis& analysis,
                                              const assess::VoltageMap& map) {
  const measure::Event* longest = nullptr;
  const auto recorded = [&](const measure::Event& event) { return terms_of(event, analysis).least_seconds; };
  for (const std::size_t number : dips_at(dip, analysis)) {
    const measure::Event& event = analysis.found.events[number];
    if (event.course && (longest == nullptr || recorded(event) > recorded(*longest))) longest = &event;
  }
  if (longest == nullptr) return std::nullopt;
  return assess::carried_course(*longest->course, map, analysis.found.wiring.reversed);
}

Analysis analysis_at_load(const Analysis& analysis, const assess::VoltageMap& map, bool between_phases) {
  Analysis load;
  load.voltages = analysis.voltages;
  load.voltages.between_phases = between_phases;
  load.measured = waveform_at_load(analysis.measured.waveform, map);
  load.options = analysis.options;
  load.options.between_phases = between_phases;
  load.options.declared_v = declared_at_load(analysis, between_phases);
  load.own_curves = analysis.own_curves;
  const measure::Screening screening(load.measured.waveform);
  load.usual_v = screening.usual_rms_v();
  load.found.frequency = analysis.found.frequency;
  load.found.wiring.reversed = analysis.found.wiring.reversed;
  load.found.reference_v = load.usual_v;
  if (load.options.reference != measure::Reference::pre_event && load.options.declared_v > 0) {
    load.found.reference_v.fill(load.options.declared_v);
  }
  load.found.events = measure::events_of(screening, load.options);
  for (measure::Event& event : load.found.events) {
    const bool dip = event.kind == measure::EventKind::dip;
    if (dip) event.course = course_at_load(event, analysis, map);
    load.indices.push_back(dip ? assess::indices_of(event, screening.half_cycle_rms(event.extreme_phase))
                               : std::nullopt);
  }
  return load;
}

/// Interpolates between the two samples around a place.
double linear(const std::vector<double>& samples, std::size_t before, double part) {
  return (1 - part) * samples[before] + part * samples[before + 1];
}

/// Interpolates by the cubic through four samples, of which the place lies between the second and the third.
double cubic(const std::vector<double>& samples, std::size_t before, double part) {
  const double first = -part * (part - 1) * (part - 2) / 6;
  const double second = (part + 1) * (part - 1) * (part - 2) / 2;
  const double third = -(part + 1) * part * (part - 2) / 2;
  const double fourth = (part + 1) * part * (part - 1) / 6;
  return first * samples[before - 1] + second * samples[before] + third * samples[before + 1] +
         fourth * samples[before + 2];
}

}  // namespace

std::vector<double> in_time(std::vector<double> samples, double skew) {
  constexpr double negligible = 1e-4;
  if (std::abs(skew) < negligible || samples.size() < 2) return samples;
  std::vector<double> result(samples.size());
  const auto last = static_cast<double>(samples.size() - 1);
  for (std::size_t i = 0; i < samples.size(); i++) {
    const double place = std::clamp(static_cast<double>(i) - skew, 0.0, last);
    const std::size_t before = std::min(static_cast<std::size_t>(place), samples.size() - 2);
    const double part = place - static_cast<double>(before);
    double value = std::numeric_limits<double>::quiet_NaN();
    if (before > 0 && before + 2 < samples.size()) value = cubic(samples, before, part);
    result[i] = std::isfinite(value) ? value : linear(samples, before, part);
  }
  return result;
}

std::vector<std::size_t> dips_at(const measure::Event& event, const Analysis& analysis) {
  constexpr double endless = std::numeric_limits<double>::infinity();
  std::vector<std::size_t> numbers;
  const auto& events = analysis.found.events;
  for (std::size_t i = 0; i < events.size(); i++) {
    if (events[i].kind != measure::EventKind::dip) continue;
    const bool overlaps =
        events[i].start_s < event.end_s.value_or(endless) && event.start_s < events[i].end_s.value_or(endless);
    if (overlaps) numbers.push_back(i);
  }
  return numbers;
}

LoadVoltages load_voltages_of(const Analysis& analysis, const std::vector<assess::Connection>& connections) {
  if (analysis.voltages.phases < 3 || analysis.voltages.rms) {
    throw std::invalid_argument("voltages at a load need the waveforms of three voltages");
  }
  assess::Monitor monitor;
  monitor.between_phases = analysis.voltages.between_phases;
  monitor.wiring = analysis.found.wiring;
  LoadVoltages load;
  load.connections = connections;
  load.has_zero = assess::pass_zero(connections) && !monitor.between_phases;
  load.phases = analysis_at_load(analysis, map_to_phases(connections, monitor), false);
  load.lines = analysis_at_load(analysis, map_to_lines(connections, monitor), true);
  return load;
}

}  // namespace analysis
