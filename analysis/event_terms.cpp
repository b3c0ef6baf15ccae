#include "analysis/event_terms.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <limits>

namespace analysis {

namespace {

/// Of the declared voltage; EN 50160 calls it an interruption when all phases lie below.
constexpr double interruption_percent = 5;

}  // namespace

EventTerms terms_of(const Dip& dip, const Analysis& analysis) {
  EventTerms terms;
  const auto lowest = std::min_element(dip.lowest.begin(), dip.lowest.end());
  terms.worst_phase = static_cast<std::size_t>(std::distance(dip.lowest.begin(), lowest));
  terms.residual = *lowest;
  terms.residual_percent = analysis.percent(*lowest);
  terms.depth_percent = 100 - terms.residual_percent;
  const auto judged = [&](double volts) {
    return analysis.percent_of_declared(volts).value_or(analysis.percent(volts));
  };
  terms.judged_percent = judged(*lowest);
  terms.interruption = judged(dip.lowest_of_highest) < interruption_percent;
  const std::size_t end = dip.end.value_or(analysis.voltages.length);
  terms.least_seconds = static_cast<double>(end - dip.start) / analysis.voltages.sampling_rate;
  if (dip.end) terms.seconds = terms.least_seconds;
  return terms;
}

const char* judged_by(const Analysis& analysis) {
  return analysis.declared ? "declared voltage" : "pre-event voltage";
}

const char* kind_of(const EventTerms& terms) {
  return terms.interruption ? "interruption" : "dip";
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
  if (terms.judged_percent < at->percent) return Ride::below;
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

bool is_next_to_nothing(const Segment& segment, const Analysis& analysis) {
  const double highest = *std::max_element(segment.residual.begin(), segment.residual.end());
  return analysis.percent(highest) < interruption_percent;
}

std::string en50160_cell(const EventTerms& terms) {
  constexpr std::array<double, 5> longest = {0.2, 0.5, 1, 5, 60};
  constexpr std::array<double, 5> lowest = {80, 70, 40, 5, 0};
  if (!terms.seconds || *terms.seconds < 0.01 || *terms.seconds > longest.back()) return {};
  if (!(terms.judged_percent < 90)) return {};
  const auto column = std::find_if(longest.begin(), longest.end(), [&](double most) { return *terms.seconds <= most; });
  const auto row =
      std::find_if(lowest.begin(), lowest.end(), [&](double least) { return terms.judged_percent >= least; });
  return {"ABCDX"[row - lowest.begin()], static_cast<char>('1' + (column - longest.begin()))};
}

}  // namespace analysis
