#include "outputs/figure_view.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <optional>

#include "analysis/event_terms.h"

namespace outputs {

using analysis::Analysis;
using analysis::Curves;
using measure::EventKind;

namespace {

/// A time of the measured waveform as a sample of the curves.
std::size_t sample_at(double seconds, const Analysis& analysis, std::size_t length) {
  const double sample = std::round(seconds * analysis.voltages.part.rate);
  if (!(sample > 0)) return 0;
  return sample < static_cast<double>(length) ? static_cast<std::size_t>(sample) : length;
}

/// Returns the time of the event together with its course, within the limits of the record.
analysis::Stretch stretch_of(const measure::Event& event, const Analysis& analysis, std::size_t length) {
  const double record_end_s = static_cast<double>(length) / analysis.voltages.part.rate;
  double from_s = event.start_known ? event.start_s : 0;
  double to_s = event.end_s.value_or(record_end_s);
  if (event.course) {
    if (event.course->start_s) from_s = std::min(from_s, event.course->start_s->value);
    if (event.course->end_s) to_s = std::max(to_s, event.course->end_s->value);
  }
  return {sample_at(from_s, analysis, length), sample_at(to_s, analysis, length)};
}

/// Adds a fifth of the event to either side, but at least some cycles.
analysis::Stretch with_margin(const analysis::Stretch& stretch, const measure::Event& event, const Analysis& analysis,
                              std::size_t length) {
  // A rapid change may have no duration; the steady voltages before and after it define it.
  const double least_cycles = event.kind == EventKind::rapid_voltage_change ? 12 : 3;
  const auto least = static_cast<std::size_t>(std::lround(least_cycles * analysis.voltages.samples_per_cycle()));
  const std::size_t margin = std::max((std::max(stretch.end, stretch.begin) - stretch.begin) / 5, least);
  return {stretch.begin - std::min(margin, stretch.begin), std::min(stretch.end + margin, length)};
}

/// Returns the mean of the values that are not missing; empty if all are missing.
std::optional<double> mean_of(const std::vector<float>& values, const analysis::Stretch& stretch) {
  double sum = 0;
  double count = 0;
  for (std::size_t i = stretch.begin; i < stretch.end; i++) {
    if (!std::isfinite(values[i])) continue;
    sum += static_cast<double>(values[i]);
    count++;
  }
  return count > 0 ? std::optional(sum / count) : std::nullopt;
}

/// Returns the steady voltage before a rapid change, of the phase that changes most, in volts RMS. It is measured over
/// the second before the change, because the voltage is steady for a second before and after it.
std::optional<double> steady_before(const measure::Event& change, const Analysis& analysis, const Curves& curves) {
  const std::size_t length = curves.rms[0].size();
  const analysis::Stretch before = {sample_at(change.start_s - 1, analysis, length),
                                    sample_at(change.start_s, analysis, length)};
  const std::size_t until = sample_at(change.end_s.value_or(change.start_s) + 1, analysis, length);
  double widest = -1;
  std::optional<double> level;
  for (std::size_t phase = 0; phase < analysis.voltages.phases; phase++) {
    const auto mean = mean_of(curves.rms[phase], before);
    if (!mean) continue;
    for (std::size_t i = before.end; i < until; i++) {
      const double away = std::abs(static_cast<double>(curves.rms[phase][i]) - *mean);
      if (!(away > widest)) continue;
      widest = away;
      level = mean;
    }
  }
  return level;
}

void add_level(FigureView& view, const char* name, double percent) {
  view.levels.push_back({percent, fmt::format("{} {:g} % of the {}", name, percent, view.reference_words)});
}

void add_levels(FigureView& view, const Analysis& analysis, const Curves& curves) {
  const measure::Thresholds& thresholds = analysis.options.thresholds;
  switch (view.event == nullptr ? EventKind::dip : view.event->kind) {
    case EventKind::dip:
      add_level(view, "dip", thresholds.dip);
      return;
    case EventKind::interruption:
      add_level(view, "interruption", thresholds.interruption);
      return;
    case EventKind::swell:
      add_level(view, "swell", thresholds.swell);
      return;
    case EventKind::rapid_voltage_change:
      break;
  }
  const auto before = steady_before(*view.event, analysis, curves);
  if (!before) return;
  for (const double sign : {1.0, -1.0}) {
    view.levels.push_back({view.percent(*before) + sign * thresholds.rapid_change,
                           fmt::format("{}{:g} % of the {} from the steady voltage before", sign > 0 ? "+" : "\u2212",
                                       thresholds.rapid_change, view.reference_words)});
  }
}

/// Returns the reference of a view without an event: the highest of the voltages' references.
double record_reference(const Analysis& analysis) {
  double highest = 0;
  for (std::size_t phase = 0; phase < analysis.voltages.phases; phase++) {
    const double volts = analysis.found.reference_v[phase];
    if (std::isfinite(volts)) highest = std::max(highest, volts);
  }
  return highest;
}

}  // namespace

FigureView view_of(const Analysis& analysis, const Curves& curves, const measure::Event* event) {
  FigureView view;
  const std::size_t length = curves.volts[0].size();
  view.event = event;
  view.shown = {0, length};
  double reference = 0;
  if (event != nullptr) {
    view.shown = with_margin(stretch_of(*event, analysis, length), *event, analysis, length);
    view.from_zero = event->kind == EventKind::dip || event->kind == EventKind::interruption;
    reference = event->reference_v;
  }
  if (!(reference > 0) || !std::isfinite(reference)) reference = record_reference(analysis);
  view.reference_v = reference > 0 ? reference : 1;
  const bool of_declared =
      event != nullptr && event->kind == EventKind::rapid_voltage_change && analysis.options.declared_v > 0;
  view.reference_words =
      analysis::reference_words(of_declared ? measure::Reference::declared : analysis.options.reference);
  add_levels(view, analysis, curves);
  return view;
}

}  // namespace outputs
