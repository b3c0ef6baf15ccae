// The segments of a course during the search, and the functions that tidy them up.
#pragma once

#include <cstddef>
#include <vector>

#include "measure/excerpt.h"
#include "measure/findings.h"
#include "measure/phasor_fit.h"

namespace measure {

/// Below this share of its level before, a phase has almost no voltage: it has no angle, and nothing is divided by it.
inline constexpr double next_to_nothing = 0.05;

/// A phase is low below this share of its own level before.
inline constexpr double threshold = 0.9;

/// Neighbouring segments whose phasors differ by less than this are one segment. All voltages within a course are in
/// usual peaks.
inline constexpr double same_voltage = 0.025;

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
