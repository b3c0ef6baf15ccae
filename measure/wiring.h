// How the phases are connected: in which order they follow each other, and whether one is turned round.
#pragma once

#include <cstddef>
#include <optional>

#include "measure/findings.h"

namespace measure {

struct Wiring {
  bool reversed = false;                    ///< phases follow each other as A, C, B
  std::optional<std::size_t> turned_phase;  ///< whose polarity is the other way round

  /// What each phase's phasor is multiplied by so that the three of a positive sequence add up to three times it.
  [[nodiscard]] Phasors to_positive() const;
  [[nodiscard]] Phasors to_negative() const;
  [[nodiscard]] Phasors to_zero() const;
};

/// Told by the voltages of a normal state. Anything but three voltages of about one size is taken for connected right.
Wiring wiring_of(const Phasors& normal, std::size_t phases);

}  // namespace measure
