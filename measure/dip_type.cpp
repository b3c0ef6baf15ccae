#include "measure/dip_type.h"

#include <array>
#include <cmath>
#include <numbers>

namespace measure {

namespace {

Phasor sequence(const Phasors& phasors, const Phasors& turns) {
  return (phasors[0] * turns[0] + phasors[1] * turns[1] + phasors[2] * turns[2]) / 3.0;
}

/// If the negative sequence is below these shares of the positive sequence before and of its loss, the three phases
/// fall equally.
constexpr double balanced = 0.015;
constexpr double balanced_of_loss = 0.08;
/// A dip has a zero sequence if it is above these shares of the positive sequence before and of the negative sequence.
constexpr double notable_zero = 0.02;
constexpr double notable_zero_of_negative = 0.25;

/// If the zero sequence is this many times the negative sequence, and larger than the loss of positive sequence, it
/// alone determines the phases that fall.
constexpr double dominant_zero = 3;

/// Every fault between phases or to ground takes about as much positive sequence as it gives negative sequence. If the
/// loss is a smaller share of the negative sequence, other phases have risen, and its angle says nothing.
constexpr double least_loss = 0.25;

/// The one or two phases that make a type symmetrical, by sectors of 60 degrees: even sectors for two phases, odd ones
/// for one.
constexpr std::array<PhaseFlags, 6> phases_of_sector = {{{false, true, true},
                                                         {false, false, true},
                                                         {true, false, true},
                                                         {true, false, false},
                                                         {true, true, false},
                                                         {false, true, false}}};

/// Returns the nearest sector of an angle.
int sector_of(const Phasor& direction) {
  const double sectors = std::arg(direction) / (std::numbers::pi / 3);
  return (static_cast<int>(std::lround(sectors)) % 6 + 6) % 6;
}

/// In a network whose neutral is isolated or earthed through a coil, an earth fault moves the neutral and has little
/// other effect. The small negative sequence that remains does not show which phases fall.
bool zero_dominates(const Components& parts, const Phasor& loss) {
  const double zero = std::abs(parts.zero);
  return zero > notable_zero && zero > dominant_zero * std::abs(parts.negative) && zero > std::abs(loss);
}

}  // namespace

Components components_of(const Phasors& phasors, const Wiring& wiring) {
  return {sequence(phasors, wiring.to_positive()), sequence(phasors, wiring.to_negative()),
          sequence(phasors, wiring.to_zero())};
}

Sequences sequences_of(const Phasors& voltages, const Wiring& wiring) {
  const Components parts = components_of(voltages, wiring);
  Sequences result{std::abs(parts.positive), std::abs(parts.negative), std::abs(parts.zero), {}};
  if (result.positive_v > 0) result.unbalance_percent = 100 * result.negative_v / result.positive_v;
  return result;
}

DipType type_of(const Phasors& voltages, const Phasors& before, const Wiring& wiring) {
  // Each phase is divided by its own voltage before the dip, so that an earlier inequality does not count as part of
  // the dip.
  Phasors relative{};
  const Phasors turns = wiring.to_positive();
  for (std::size_t phase = 0; phase < 3; phase++) relative[phase] = voltages[phase] / before[phase] / turns[phase];
  // `relative` follows the rotation of the wiring.
  const Components parts = components_of(relative, wiring);
  const Phasor loss = 1.0 - parts.positive;

  DipType type;
  type.phases = {true, true, true};
  type.characteristic = type.pn_factor = parts.positive;
  const bool by_zero = zero_dominates(parts, loss);
  const bool alike =
      std::abs(parts.negative) < balanced || std::abs(parts.negative) < balanced_of_loss * std::abs(loss);
  if (alike && !by_zero) return type;

  // The zero sequence of a fault of one phase points away from that phase's voltage, and of a fault of two phases along
  // the third one's.
  const Phasor lost = std::abs(loss) < least_loss * std::abs(parts.negative) ? 1.0 : loss;
  int sector = sector_of(by_zero ? std::conj(parts.zero) : parts.negative / lost);
  const Phasor turned = parts.negative * std::pow(std::polar(1.0, -std::numbers::pi / 3), sector);
  type.characteristic = parts.positive - turned;
  type.pn_factor = parts.positive + turned;
  // If the network rotates in the other direction, the order of the sectors is reversed.
  if (wiring.reversed) sector = (6 - sector) % 6;

  const bool zero =
      std::abs(parts.zero) > notable_zero && std::abs(parts.zero) > notable_zero_of_negative * std::abs(parts.negative);
  // If two phases fall to ground, the positive-negative factor loses a third of the amount that the characteristic
  // voltage loses. If one phase falls, or two fall together, it loses nothing.
  const bool to_ground = std::abs(1.0 - type.pn_factor) > std::abs(1.0 - type.characteristic) / 6;
  type.phases = phases_of_sector[static_cast<std::size_t>(sector)];
  type.category = sector;
  if (sector % 2 == 1) {
    type.letter = zero ? 'B' : to_ground ? 'F' : 'D';
  } else if (zero) {
    type.letter = 'E';
    type.category = 6 + sector / 2;
  } else {
    type.letter = to_ground ? 'G' : 'C';
  }
  return type;
}

}  // namespace measure
