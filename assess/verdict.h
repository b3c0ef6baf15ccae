// Judges an event by a voltage-tolerance curve.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "assess/curve.h"
#include "assess/event_terms.h"

namespace assess {

enum class Outcome { rides_through, trips, not_covered, too_close };

/// Returns the outcome for programs: "rides_through", "trips", "not_covered" or "too_close_to_tell".
std::string outcome_code(Outcome outcome);
/// Returns the outcome for people: "rides through", "trips", "not covered" or "too close to tell".
const char* outcome_words(Outcome outcome);

struct Verdict {
  Outcome outcome = Outcome::not_covered;
  std::string reason;                   ///< "longer than 1 s"; empty if the equipment rides through
  std::optional<double> limit_percent;  ///< voltage of the curve at the event's duration, per cent of the reference
};

/// Returns a verdict in words: "rides through" or "not covered (longer than 1 s)".
std::string words_of(const Verdict& verdict);

/// Whether a curve is made for such an event: for swells or for dips.
bool applies_to(const Curve& curve, const EventShape& event);

/// Judges an event by its residual or highest voltage and its whole duration. The verdict is "too close to tell" if it
/// would be another one within the uncertainty: 0.2 % of the reference, and a cycle. If the curve depends on the type
/// of a dip and the type is unknown, the curve covers the dip only if all types give the same verdict.
Verdict verdict_of(const Curve& curve, const EventShape& event);

/// Judges a dip by the time that it spends below the voltage of each step, with the same uncertainty. A gradual segment
/// counts with its lowest voltage. Returns nothing unless the dip has several measured segments and a known duration.
std::optional<Verdict> verdict_by_steps(const Curve& curve, const EventShape& event);

/// Returns the severity of a dip by IEEE Std 1564-2014: the depth, divided by the depth of the curve at the dip's
/// duration. It is above 1 if the residual voltage is below the curve. Empty for swells, and where the curve does not
/// cover the dip or has no depth.
std::optional<double> severity_of(const Curve& curve, const EventShape& event);

/// The place of a dip on a curve, by residual voltage and duration only and without an uncertainty.
enum class Ride { not_judged, through, below };
Ride ride_through(const Curve& curve, const EventTerms& terms);
/// Returns "above", "below" or "outside", for programs and for people.
const char* ride_name(Ride ride);

}  // namespace assess
