#include "measure/wiring.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace measure {

namespace {

Phasors rotation(const Wiring& wiring, int turns) {
  const double third = 2 * std::numbers::pi / 3 * turns * (wiring.reversed ? -1 : 1);
  Phasors result = {Phasor(1, 0), std::polar(1.0, third), std::polar(1.0, -third)};
  if (wiring.turned_phase) result[*wiring.turned_phase] = -result[*wiring.turned_phase];
  return result;
}

}  // namespace

Phasors Wiring::to_positive() const {
  return rotation(*this, 1);
}

Phasors Wiring::to_negative() const {
  return rotation(*this, -1);
}

Phasors Wiring::to_zero() const {
  return rotation(*this, 0);
}

Wiring wiring_of(const Phasors& normal, std::size_t phases) {
  if (phases < 3) return {};
  double largest = 0;
  double smallest = std::abs(normal[0]);
  for (const Phasor& phasor : normal) {
    largest = std::max(largest, std::abs(phasor));
    smallest = std::min(smallest, std::abs(phasor));
  }
  constexpr double about_one_size = 0.7;
  if (!(smallest > about_one_size * largest)) return {};
  const auto positive = [&](const Wiring& wiring) {
    const Phasors turn = wiring.to_positive();
    return std::abs(normal[0] * turn[0] + normal[1] * turn[1] + normal[2] * turn[2]) / 3;
  };
  // Correctly connected voltages are almost purely a positive sequence.
  constexpr double nearly_alone = 0.9;
  Wiring best;
  if (positive(best) > nearly_alone * smallest) return best;
  double highest = positive(best);
  for (const bool reversed : {false, true}) {
    for (int turned = -1; turned < 3; turned++) {
      Wiring wiring;
      wiring.reversed = reversed;
      if (turned >= 0) wiring.turned_phase = static_cast<std::size_t>(turned);
      if (positive(wiring) <= std::max(highest, nearly_alone * smallest)) continue;
      highest = positive(wiring);
      best = wiring;
    }
  }
  return best;
}

}  // namespace measure
