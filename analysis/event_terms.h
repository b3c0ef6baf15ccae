// A dip in the field's own terms: residual voltage and depth, dip or interruption, and where it stands on the
// voltage-tolerance curves and in the dip table of EN 50160. These relate to the declared voltage; where the user does
// not give it, the pre-event voltage stands for it.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "analysis/findings.h"

namespace analysis {

struct EventTerms {
  std::size_t worst_phase = 0;    ///< index of the phase with the lowest voltage
  double residual = 0;            ///< its lowest one-cycle RMS, volts
  double residual_percent = 0;    ///< of the pre-event voltage
  double depth_percent = 0;       ///< what is missing to 100
  double judged_percent = 0;      ///< residual voltage of the declared voltage, or of what stands for it
  bool interruption = false;      ///< all three phases stood below 5 % of that voltage at once
  std::optional<double> seconds;  ///< duration; none when the voltage does not recover
  double least_seconds = 0;       ///< duration as far as it was recorded
};
EventTerms terms_of(const Dip& dip, const Analysis& analysis);

/// What curves, table and kind relate to: "declared voltage" or "pre-event voltage".
const char* judged_by(const Analysis& analysis);

/// "interruption" or "dip".
const char* kind_of(const EventTerms& terms);

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

/// Whether all three phases of a segment stand below 5 % of the pre-event voltage, so that its angles and unbalance are
/// noise for the most part.
bool is_next_to_nothing(const Segment& segment, const Analysis& analysis);

/// The cell of EN 50160's table of dips, "A1" to "X5"; empty for what lies outside it.
std::string en50160_cell(const EventTerms& terms);

}  // namespace analysis
