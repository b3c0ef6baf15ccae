#include "command/event_terms.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <limits>

namespace command {

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
  if (dip.end) terms.seconds = static_cast<double>(*dip.end - dip.start) / analysis.voltages.sampling_rate;
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
  if (!terms.seconds || *terms.seconds < curve.from_seconds) return Ride::not_judged;
  for (const auto& step : curve.steps) {
    if (*terms.seconds <= step.seconds) return terms.judged_percent >= step.percent ? Ride::through : Ride::below;
  }
  return Ride::not_judged;
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
  if (!(terms.judged_percent < 90)) return {};
  const auto column = std::find_if(longest.begin(), longest.end(), [&](double most) { return *terms.seconds <= most; });
  const auto row =
      std::find_if(lowest.begin(), lowest.end(), [&](double least) { return terms.judged_percent >= least; });
  return {"ABCDX"[row - lowest.begin()], static_cast<char>('1' + (column - longest.begin()))};
}

}  // namespace command
