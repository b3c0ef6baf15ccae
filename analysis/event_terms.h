// An event in the field's own terms: residual voltage and depth in per cent, and its place on the voltage-tolerance
// curves and in the dip table of EN 50160.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "analysis/findings.h"

namespace analysis {

struct EventTerms {
  double percent = 0;             ///< residual or highest voltage, per cent of the event's reference
  double depth_percent = 0;       ///< what a dip's residual voltage lacks to 100
  std::optional<double> seconds;  ///< duration; none where beginning or end lies outside of the record
  double least_seconds = 0;       ///< duration as far as it was recorded
};
EventTerms terms_of(const measure::Event& event, const Analysis& analysis);

/// "dip", "swell", "interruption" or "rapid_voltage_change": for machines.
const char* kind_code(measure::EventKind kind);
/// "rapid voltage change": for people.
const char* kind_words(measure::EventKind kind);

/// "declared voltage", "sliding reference" or "pre-event voltage": what per cents of events are relative to.
const char* reference_words(measure::Reference reference);
/// "declared", "sliding" or "pre-event": as the option has it.
const char* reference_code(measure::Reference reference);

/// A step of a voltage-tolerance curve: until `seconds`, equipment is to ride through voltages down to `percent`.
struct ToleranceStep {
  double seconds;
  double percent;
};

/// A voltage-tolerance curve. Dips shorter or longer than it reaches are not judged.
struct ToleranceCurve {
  const char* code;  ///< "itic"
  const char* name;  ///< "ITIC"
  double from_seconds;
  std::vector<ToleranceStep> steps;
};
const std::vector<ToleranceCurve>& tolerance_curves();

enum class Ride { not_judged, through, below };
Ride ride_through(const ToleranceCurve& curve, const EventTerms& terms);
/// "above", "below" or "outside": for machines and for people.
const char* ride_name(Ride ride);

/// The cell of EN 50160's table of dips, "A1" to "X5"; empty for what lies outside it.
std::string en50160_cell(const EventTerms& terms);

}  // namespace analysis
