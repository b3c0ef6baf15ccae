// The segments of a course during the search, and the functions that tidy them up.
#pragma once

#include <cstddef>
#include <vector>

#include "measure/excerpt.h"
#include "measure/findings.h"
#include "measure/gradual_course.h"
#include "measure/low_voltage.h"
#include "measure/phasor_distance.h"
#include "measure/phasor_fit.h"

namespace measure {

/// Neighbouring segments whose phasors differ by less than this are one segment. All voltages within a course are in
/// usual peaks.
inline constexpr double same_voltage = 0.025;

/// A gradual run that changes by less than this counts as steady.
inline constexpr double steady_change = 0.035;

/// A steady time of fewer cycles than this may be a fragment of a voltage that swings.
inline constexpr double fragment_cycles = 3;

/// A segment with the data that its figures need.
struct Item {
  double start_s = 0;
  double end_s = 0;
  bool gradual = false;
  bool goes_on = false;   ///< it continues past the record's end
  bool is_whole = false;  ///< gradual, and known to be one segment
  Phasors phasors{};
  PerPhase error{};  ///< standard error of each component of a phasor
  PhasorFit fit;     ///< of a steady one
};

/// Fits a steady segment. `after_change`: it begins with a sudden change, after which offsets may decay.
Item steady_item(const Excerpt& excerpt, double start_s, double end_s, bool after_change);

/// Returns a gradual segment with the lowest voltages of a course.
Item gradual_item(const GradualCourse& course, double start_s, double end_s);

/// Returns whether no phase has a voltage. Phases that had none `before` are marked as `dead` and do not count.
bool is_dead(const Item& item, const Phasors& before, const PhaseFlags& dead, std::size_t phases);

/// Joins times without voltage and the pieces between them. Transformers and capacitors discharge in pulses that look
/// like short pieces of voltage.
void join_dead(const Excerpt& excerpt, const Phasors& before, const PhaseFlags& dead, std::vector<Item>& items);

/// Removes an item of about a cycle between changes that last nearly as long, because it is part of an unsteady course,
/// and steady items of less than that beside others, because they are part of a change.
void drop_fragile(const Excerpt& excerpt, std::vector<Item>& items);

/// Shortens a steady segment whose fit is disturbed by arcs or ringing to the longest time in which the one-cycle
/// windows agree.
void take_steadiest(const Excerpt& excerpt, Item& item);

}  // namespace measure
