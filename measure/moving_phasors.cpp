#include "measure/moving_phasors.h"

#include <algorithm>
#include <cmath>

namespace measure {

MovingPhasors::MovingPhasors(const Excerpt& excerpt)
    : excerpt_(excerpt),
      fundamental_(excerpt.omega() * static_cast<double>(excerpt.block()) / excerpt.rate(),
                   std::max<std::size_t>(4, static_cast<std::size_t>(std::lround(excerpt.averages_per_cycle())))) {}

double MovingPhasors::time_of(std::size_t begin) const {
  return excerpt_.time_of(static_cast<double>(begin) + static_cast<double>(window() - 1) / 2);
}

std::optional<Phasors> MovingPhasors::at(std::size_t begin) const {
  if (begin + window() > excerpt_.length()) return std::nullopt;
  Phasors result{};
  const Phasor turn =
      std::polar(1 / excerpt_.attenuation(1), -excerpt_.omega() * excerpt_.time_of(static_cast<double>(begin)));
  for (std::size_t phase = 0; phase < excerpt_.phases(); phase++) {
    const Phasor phasor = fundamental_.of(excerpt_.averages(phase) + begin);
    if (!std::isfinite(phasor.real())) return std::nullopt;
    result[phase] = phasor * turn;
  }
  return result;
}

}  // namespace measure
