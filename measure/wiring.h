// Determines how the phases are connected: their order, and whether one of them is reversed.
#pragma once

#include <cstddef>
#include <optional>

#include "measure/findings.h"

namespace measure {

/// How the phases are connected.
struct Wiring {
  bool reversed = false;                    ///< phases follow each other as A, C, B
  std::optional<std::size_t> turned_phase;  ///< the phase whose polarity is reversed

  /// Factors for the phases' phasors with which the three of a positive sequence add up to three times the sequence.
  [[nodiscard]] Phasors to_positive() const;
  /// The same for the negative sequence.
  [[nodiscard]] Phasors to_negative() const;
  /// The same for the zero sequence.
  [[nodiscard]] Phasors to_zero() const;
};

/// Decides from the voltages of the undisturbed network. If these are not three voltages of about one size, the
/// connection is assumed to be correct.
Wiring wiring_of(const Phasors& normal, std::size_t phases);

}  // namespace measure
