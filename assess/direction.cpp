#include "assess/direction.h"

#include <algorithm>
#include <cmath>

namespace assess {

namespace {

using measure::Phasor;

/// Changes below this share of the value before count as none.
constexpr double notable = 0.02;

Side side_of(bool downstream) {
  return downstream ? Side::downstream : Side::upstream;
}

class Methods {
 public:
  Methods(const PowerFlow& flow, const DipSpan& dip, const Moment& before, const Moment& during)
      : flow_(flow), dip_(dip), sign_(before.watts() < 0 ? -1 : 1), before_(turned(before)), during_(turned(during)) {
    for (std::size_t i = 1; i < 3; i++) {
      if (share(i) < share(phase_)) phase_ = i;
    }
  }

  /// The real component of the current of the phase that falls most.
  [[nodiscard]] std::optional<Side> real_current() const {
    if (share(phase_) < notable) return std::nullopt;  // the voltage has no reliable angle
    const double change = real_part(during_) - real_part(before_);
    if (std::abs(change) < notable * std::abs(before_.amperes[phase_])) return std::nullopt;
    return side_of(change > 0);
  }

  /// The slope of V cos(phi) over I, by least squares over cycles that begin a quarter of a cycle apart.
  [[nodiscard]] std::optional<Side> trajectory() const {
    if (before_.watts() * during_.watts() < 0) return Side::upstream;
    const double cycle = flow_.cycle_s();
    const double last = std::min(dip_.start_s + 1.5 * cycle, dip_.end_s - cycle);
    double n = 0;
    double x = 0;
    double y = 0;
    double xx = 0;
    double xy = 0;
    double lowest = std::abs(before_.amperes[phase_]);
    double highest = lowest;
    for (double begin = dip_.start_s - 1.25 * cycle; begin <= last; begin += cycle / 4) {
      const auto moment = flow_.at(begin);
      if (!moment) continue;
      const double current = std::abs(moment->amperes[phase_]);
      if (!(current > 0)) continue;
      const double voltage = sign_ * std::real(moment->volts[phase_] * std::conj(moment->amperes[phase_])) / current;
      n++;
      x += current;
      y += voltage;
      xx += current * current;
      xy += current * voltage;
      lowest = std::min(lowest, current);
      highest = std::max(highest, current);
    }
    const double spread = n * xx - x * x;
    if (highest - lowest < notable * std::abs(before_.amperes[phase_]) || !(spread > 0)) return std::nullopt;
    return side_of(n * xy - x * y < 0);
  }

  /// The energy beyond that of the flow before, over the whole cycles of at most half a second of the dip.
  [[nodiscard]] std::optional<Side> energy() const {
    constexpr double longest_s = 0.5;
    constexpr double kept = 0.8;
    const double cycle = flow_.cycle_s();
    const double watts_before = before_.watts();
    const double end = std::min(dip_.end_s, dip_.start_s + longest_s) - cycle;
    double energy = 0;
    double largest = 0;
    double flowed = 0;
    for (double begin = dip_.start_s; begin <= end; begin += cycle) {
      const auto moment = flow_.at(begin);
      if (!moment) return std::nullopt;
      energy += sign_ * moment->watts() - watts_before;
      flowed += watts_before;
      largest = std::max(largest, std::abs(energy));
    }
    if (std::abs(energy) < kept * largest || std::abs(energy) < notable * flowed || largest == 0) return std::nullopt;
    return side_of(energy > 0);
  }

  /// The sign of the resistance that the changes of the positive sequences show.
  [[nodiscard]] std::optional<Side> resistance() const {
    const Phasor volts = flow_.positive(during_.volts) - flow_.positive(before_.volts);
    const Phasor amperes = flow_.positive(during_.amperes) - flow_.positive(before_.amperes);
    if (std::abs(amperes) < notable * std::abs(flow_.positive(before_.amperes))) return std::nullopt;
    if (std::abs(volts) < notable / 4 * std::abs(flow_.positive(before_.volts))) return std::nullopt;
    const Phasor impedance = volts / amperes;
    if (std::abs(impedance.real()) < notable * std::abs(impedance)) return std::nullopt;
    return side_of(impedance.real() < 0);
  }

 private:
  /// Returns a moment with currents in the direction of the active power before.
  [[nodiscard]] Moment turned(Moment moment) const {
    for (Phasor& current : moment.amperes) current *= sign_;
    return moment;
  }
  [[nodiscard]] double share(std::size_t phase) const {
    const double volts = std::abs(before_.volts[phase]);
    return volts > 0 ? std::abs(during_.volts[phase]) / volts : 1;
  }
  [[nodiscard]] double real_part(const Moment& moment) const {
    const double volts = std::abs(moment.volts[phase_]);
    return std::real(moment.volts[phase_] * std::conj(moment.amperes[phase_])) / volts;
  }

  const PowerFlow& flow_;
  DipSpan dip_;
  double sign_;
  Moment before_;
  Moment during_;
  std::size_t phase_ = 0;
};

/// Returns whether enough of the power is active that its direction is known.
bool has_direction(const Moment& before) {
  constexpr double least_active = 0.05;
  double apparent = 0;
  for (std::size_t i = 0; i < 3; i++) apparent += std::abs(before.volts[i]) * std::abs(before.amperes[i]);
  return apparent > 0 && std::abs(before.watts()) >= least_active * apparent;
}

}  // namespace

const char* side_words(Side side) {
  return side == Side::upstream ? "upstream" : "downstream";
}

std::size_t Direction::decided() const {
  return static_cast<std::size_t>(
      std::count_if(opinions.begin(), opinions.end(), [](const Opinion& opinion) { return opinion.side.has_value(); }));
}

std::optional<Side> Direction::agreed() const {
  std::optional<Side> side;
  for (const Opinion& opinion : opinions) {
    if (!opinion.side) continue;
    if (side && *side != *opinion.side) return std::nullopt;
    side = opinion.side;
  }
  return decided() >= 2 ? side : std::nullopt;
}

std::string Direction::words() const {
  const std::size_t count = decided();
  if (count < 2) return "the currents do not show the side";
  const auto side = agreed();
  if (!side) return "the methods disagree";
  const char* numbers[] = {"both methods that decide say ", "three methods say ", "all four methods say "};
  return std::string(numbers[count - 2]) + side_words(*side);
}

std::optional<Direction> direction_of(const PowerFlow& flow, const DipSpan& dip) {
  const double cycle = flow.cycle_s();
  constexpr double tolerance = 1e-6;
  if (dip.end_s - dip.start_s < 1.5 * cycle - tolerance) return std::nullopt;
  const auto before = flow.at(dip.start_s - 1.25 * cycle);
  const auto during = flow.at(dip.start_s + cycle / 2);
  if (!before || !during || !has_direction(*before)) return std::nullopt;
  const Methods methods(flow, dip, *before, *during);
  return Direction{{{"real current", methods.real_current()},
                    {"system trajectory", methods.trajectory()},
                    {"disturbance energy", methods.energy()},
                    {"resistance sign", methods.resistance()}}};
}

}  // namespace assess
