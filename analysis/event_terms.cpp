#include "analysis/event_terms.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <limits>

namespace analysis {

EventTerms terms_of(const measure::Event& event, const Analysis& analysis) {
  EventTerms terms;
  terms.percent = event.reference_v > 0 ? 100 * event.extreme_v / event.reference_v : 0;
  terms.depth_percent = 100 - terms.percent;
  const double record_end_s = static_cast<double>(analysis.voltages.length()) / analysis.voltages.part.rate;
  terms.least_seconds = event.end_s.value_or(record_end_s) - event.start_s;
  if (event.start_known && event.end_s) terms.seconds = terms.least_seconds;
  return terms;
}

const char* kind_code(measure::EventKind kind) {
  switch (kind) {
    case measure::EventKind::dip:
      return "dip";
    case measure::EventKind::swell:
      return "swell";
    case measure::EventKind::interruption:
      return "interruption";
    case measure::EventKind::rapid_voltage_change:
      break;
  }
  return "rapid_voltage_change";
}

const char* kind_words(measure::EventKind kind) {
  return kind == measure::EventKind::rapid_voltage_change ? "rapid voltage change" : kind_code(kind);
}

const char* reference_words(measure::Reference reference) {
  switch (reference) {
    case measure::Reference::declared:
      return "declared voltage";
    case measure::Reference::sliding:
      return "sliding reference";
    case measure::Reference::pre_event:
      break;
  }
  return "pre-event voltage";
}

const char* reference_code(measure::Reference reference) {
  switch (reference) {
    case measure::Reference::declared:
      return "declared";
    case measure::Reference::sliding:
      return "sliding";
    case measure::Reference::pre_event:
      break;
  }
  return "pre-event";
}

const std::vector<ToleranceCurve>& tolerance_curves() {
  constexpr double forever = std::numeric_limits<double>::infinity();
  static const std::vector<ToleranceCurve> curves = {
      {"itic", "ITIC", 0, {{0.02, 0}, {0.5, 70}, {10, 80}, {forever, 90}}},
      {"semi_f47", "SEMI F47", 0.05, {{0.2, 50}, {0.5, 70}, {1, 80}}},
  };
  return curves;
}

Ride ride_through(const ToleranceCurve& curve, const EventTerms& terms) {
  if (terms.least_seconds < curve.from_seconds) return Ride::not_judged;
  const bool judged_however_long = std::isinf(curve.steps.back().seconds);
  if (!terms.seconds && !judged_however_long) return Ride::not_judged;
  const auto at = std::find_if(curve.steps.begin(), curve.steps.end(),
                               [&](const ToleranceStep& step) { return terms.least_seconds <= step.seconds; });
  if (at == curve.steps.end()) return Ride::not_judged;
  // The curves rise: what is below one stays so however much longer it lasts, what is above it may not.
  if (terms.percent < at->percent) return Ride::below;
  return terms.seconds || at + 1 == curve.steps.end() ? Ride::through : Ride::not_judged;
}

const char* ride_name(Ride ride) {
  switch (ride) {
    case Ride::through:
      return "above";
    case Ride::below:
      return "below";
    case Ride::not_judged:
      break;
  }
  return "outside";
}

std::string en50160_cell(const EventTerms& terms) {
  constexpr std::array<double, 5> longest = {0.2, 0.5, 1, 5, 60};
  constexpr std::array<double, 5> lowest = {80, 70, 40, 5, 0};
  if (!terms.seconds || *terms.seconds < 0.01 || *terms.seconds > longest.back()) return {};
  if (!(terms.percent < 90)) return {};
  const auto column = std::find_if(longest.begin(), longest.end(), [&](double most) { return *terms.seconds <= most; });
  const auto row = std::find_if(lowest.begin(), lowest.end(), [&](double least) { return terms.percent >= least; });
  return {"ABCDX"[row - lowest.begin()], static_cast<char>('1' + (column - longest.begin()))};
}

}  // namespace analysis
