// The segments of a course while they are being found, and how they are tidied up.
#pragma once

#include <cstddef>
#include <vector>

#include "measure/excerpt.h"
#include "measure/findings.h"
#include "measure/phasor_fit.h"

namespace measure {

/// Below this share of its level before a phase has next to no voltage: no angle, and nothing to divide it by.
inline constexpr double next_to_nothing = 0.05;

/// A segment with what its figures need.
struct Item {
  double start_s = 0;
  double end_s = 0;
  bool gradual = false;
  bool goes_on = false;   ///< at the record's end
  bool recovery = false;  ///< gradual, and the voltage is back at its end
  Phasors phasors{};
  PerPhase error{};  ///< standard error of each component of a phasor
  PhasorFit fit;     ///< of a steady one
};

/// Whether no phase has a voltage, apart from those that had none `before` and are set aside as `dead`.
bool is_dead(const Item& item, const Phasors& before, const PhaseFlags& dead, std::size_t phases);

/// Joins times without voltage and what lies between them: transformers and capacitors discharge in pulses that look
/// like short pieces of voltage.
void join_dead(const Excerpt& excerpt, const Phasors& before, const PhaseFlags& dead, std::vector<Item>& items);

/// Drops what lasts about a cycle between changes that last nearly as long: it is part of a restless course.
void drop_fragile(const Excerpt& excerpt, std::vector<Item>& items);

/// Shortens a steady segment whose fit arcs or ringing spoil to the longest time in which the one-cycle windows agree.
void take_steadiest(const Excerpt& excerpt, Item& item);

}  // namespace measure
