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
  analysis::Stretch stretch = samples_of(event, analysis, length);
  if (!event.course) return stretch;
  const auto sample = [&](const measure::Figure& time_s) { return sample_at(time_s.value, analysis, length); };
  if (event.course->start_s) stretch.begin = std::min(stretch.begin, sample(*event.course->start_s));
  if (event.course->end_s) stretch.end = std::max(stretch.end, sample(*event.course->end_s));
  return stretch;
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

void add_level(FigureView& view, EventKind kind, double percent) {
  view.levels.push_back(
      {percent, fmt::format("{:g} %", percent), fmt::format("{} {:g} %", analysis::kind_words(kind), percent)});
}

/// Adds the thresholds of a rapid change on either side of the steady voltage before it.
void add_change_levels(FigureView& view, const Analysis& analysis, const Curves& curves) {
  const auto before = steady_before(*view.event, analysis, curves);
  if (!before) return;
  const double change = analysis.options.thresholds.rapid_change;
  const std::string meaning = fmt::format("rapid voltage change {:g} %", change);
  for (const double sign : {1.0, -1.0}) {
    view.levels.push_back(
        {view.percent(*before) + sign * change, fmt::format("{}{:g} %", sign > 0 ? "+" : "\u2212", change), meaning});
  }
}

/// Adds the thresholds of all kinds of events in view; that of dips where there is no event. A rapid change that
/// belongs to another event has none, because it has a steady voltage of its own.
void add_levels(FigureView& view, const Analysis& analysis, const Curves& curves) {
  const measure::Thresholds& thresholds = analysis.options.thresholds;
  const auto in_view = [&](EventKind kind) {
    return std::any_of(view.events.begin(), view.events.end(),
                       [&](std::size_t index) { return analysis.found.events[index].kind == kind; });
  };
  if (view.event != nullptr && view.event->kind == EventKind::rapid_voltage_change) {
    add_change_levels(view, analysis, curves);
  }
  if (in_view(EventKind::swell)) add_level(view, EventKind::swell, thresholds.swell);
  if (view.event == nullptr || in_view(EventKind::dip)) add_level(view, EventKind::dip, thresholds.dip);
  if (in_view(EventKind::interruption)) add_level(view, EventKind::interruption, thresholds.interruption);
}

/// Notes which events are in view, if only in part.
void add_events(FigureView& view, const Analysis& analysis, std::size_t length) {
  for (std::size_t i = 0; i < analysis.found.events.size(); i++) {
    const analysis::Stretch taken = samples_of(analysis.found.events[i], analysis, length);
    if (taken.begin < view.shown.begin || taken.end > view.shown.end) view.all_events = false;
    if (taken.begin < view.shown.end && taken.end >= view.shown.begin) view.events.push_back(i);
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

/// Lets each voltage refer to its own level before, by which it would be judged. An event has one reference.
void take_own_references(FigureView& view, const Analysis& analysis) {
  for (std::size_t phase = 0; phase < analysis.voltages.phases; phase++) {
    const double volts = analysis.found.reference_v[phase];
    if (std::isfinite(volts) && volts > 0) view.own_reference_v[phase] = volts;
  }
}

}  // namespace

analysis::Stretch samples_of(const measure::Event& event, const Analysis& analysis, std::size_t length) {
  return {event.start_known ? sample_at(event.start_s, analysis, length) : 0,
          event.end_s ? sample_at(*event.end_s, analysis, length) : length};
}

FigureView view_of(const Analysis& analysis, const Curves& curves, const std::optional<std::size_t>& index) {
  FigureView view;
  const std::size_t length = curves.volts[0].size();
  const measure::Event* event = index ? &analysis.found.events.at(*index) : nullptr;
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
  view.own_reference_v.fill(view.reference_v);
  if (event == nullptr) take_own_references(view, analysis);
  const bool of_declared =
      event != nullptr && event->kind == EventKind::rapid_voltage_change && analysis.options.declared_v > 0;
  view.reference_words =
      analysis::reference_words(of_declared ? measure::Reference::declared : analysis.options.reference);
  add_events(view, analysis, length);
  add_levels(view, analysis, curves);
  return view;
}

}  // namespace outputs
