// Names the likely cause of a dip by its voltages and currents.
#pragma once

#include <optional>
#include <string>

#include "assess/direction.h"
#include "measure/findings.h"

namespace assess {

enum class CauseKind { switching, energising, motor_start, fault };

struct Cause {
  CauseKind kind = CauseKind::fault;
  std::string grounds;  ///< a clause: "the currents of all phases rise alike, to 5.2 times those before, ..."
};

/// Returns the cause for programs: "switching", "energising", "motor_start" or "fault".
const char* cause_code(CauseKind kind);
/// Returns the cause for people: "interruption by switching", "energising of a transformer", "start of a motor",
/// "fault".
const char* cause_words(CauseKind kind);

/// Names the likely cause. The rules are tried in this order; the thresholds are those of engineering practice:
///
/// - switching: all voltages fall below 10 % and all currents below 5 % of those before, and no current rose first.
/// - energising: a current rises whose second harmonic is at least 15 % of its fundamental and decays, and the voltage
///   recovers gradually. A second harmonic of 15 % is the usual setting by which protection recognises inrush.
/// - motor start: all currents rise alike (the change has less than 10 % negative sequence) to at least 1.3 times and
/// with
///   less than 10 % second harmonic, at least half of the voltage remains, and it recovers gradually.
/// - fault: the voltage changes abruptly at the beginning and at the end, and the current rises to at least 1.5 times,
/// or
///   the methods agree on upstream.
///
/// M. H. J. Bollen, I. Y. H. Gu, Signal Processing of Power Quality Disturbances (IEEE Press, 2006), describes these
/// dips. Returns nothing if no rule fits, or if the samples do not show it.
std::optional<Cause> likely_cause(const PowerFlow& flow, const measure::Course& course,
                                  const std::optional<Direction>& direction);

}  // namespace assess
