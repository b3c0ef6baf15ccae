#include "assess/cause.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace assess {

namespace {

using measure::PerPhase;
using measure::Phasors;

std::string percent(double share) {
  return fmt::format("{:.0f} %", 100 * share);
}

std::string times(double ratio) {
  return fmt::format("{:.1f} times those before", ratio);
}

/// A current that was next to nothing before, as that of an open line, has no ratio that says anything.
std::string a_current_rises(double ratio) {
  constexpr double largest_ratio = 100;
  return ratio > largest_ratio ? "a current rises from next to nothing" : "a current rises to " + times(ratio);
}

/// The shares of three phases of what they were before.
PerPhase shares(const Phasors& now, const Phasors& before) {
  PerPhase result{};
  for (std::size_t i = 0; i < 3; i++) {
    const double size = std::abs(before[i]);
    result[i] = size > 0 ? std::abs(now[i]) / size : 0;
  }
  return result;
}

double highest(const PerPhase& values) {
  return *std::max_element(values.begin(), values.end());
}
double lowest(const PerPhase& values) {
  return *std::min_element(values.begin(), values.end());
}

/// The evidence at the beginning of a dip, in which the course has a beginning.
class Evidence {
 public:
  Evidence(const PowerFlow& flow, const measure::Course& course, Moment before, Moment during)
      : flow_(flow),
        course_(course),
        start_s_(course.start_s->value),
        before_(before),
        during_(during),
        volts_(shares(during.volts, before.volts)),
        amperes_(shares(during.amperes, before.amperes)) {}

  [[nodiscard]] std::optional<Cause> switching() const {
    constexpr double no_voltage = 0.1;
    constexpr double no_current = 0.05;
    constexpr double risen = 1.2;
    if (highest(volts_) >= no_voltage || highest(amperes_) >= no_current) return std::nullopt;
    const double cycle = flow_.cycle_s();
    for (double begin = start_s_ - cycle; begin <= start_s_; begin += cycle / 4) {
      const auto moment = flow_.at(begin);
      if (moment && highest(shares(moment->amperes, before_.amperes)) > risen) return std::nullopt;
    }
    return Cause{CauseKind::switching, "all voltages and currents fall to " + percent(highest(volts_)) + " and " +
                                           percent(highest(amperes_)) + " at once, and no current rises first"};
  }

  [[nodiscard]] std::optional<Cause> energising() const {
    constexpr double least_rise = 1.2;
    constexpr double least_second = 0.15;
    constexpr double least_second_later = 0.1;
    const double cycle = flow_.cycle_s();
    const auto phase = static_cast<std::size_t>(std::max_element(amperes_.begin(), amperes_.end()) - amperes_.begin());
    const auto second = flow_.second_harmonic(start_s_ + cycle / 2);
    const auto later = flow_.second_harmonic(start_s_ + 5.5 * cycle);
    if (amperes_[phase] < least_rise || !second || !later || !recovers_gradually()) return std::nullopt;
    const auto of_fundamental = [&](const PerPhase& harmonic, double begin_s) {
      const auto moment = flow_.at(begin_s);
      const double fundamental = moment ? std::abs(moment->amperes[phase]) : 0;
      return fundamental > 0 ? harmonic[phase] / fundamental : 0;
    };
    const double share = of_fundamental(*second, start_s_ + cycle / 2);
    const bool lasts = of_fundamental(*later, start_s_ + 5.5 * cycle) >= least_second_later;
    if (share < least_second || !lasts || (*later)[phase] >= (*second)[phase]) return std::nullopt;
    return Cause{CauseKind::energising, "the second harmonic of the current is " + percent(share) +
                                            " of its fundamental and decays, and the voltage recovers gradually"};
  }

  [[nodiscard]] std::optional<Cause> motor_start() const {
    constexpr double least_rise = 1.3;
    constexpr double most_second = 0.1;
    constexpr double most_negative = 0.1;
    constexpr double least_voltage = 0.5;
    const auto second = flow_.second_harmonic(start_s_ + flow_.cycle_s() / 2);
    if (!second || lowest(amperes_) < least_rise || lowest(volts_) < least_voltage) return std::nullopt;
    Phasors change{};
    for (std::size_t i = 0; i < 3; i++) {
      change[i] = during_.amperes[i] - before_.amperes[i];
      if ((*second)[i] > most_second * std::abs(during_.amperes[i])) return std::nullopt;
    }
    const bool alike = std::abs(flow_.negative(change)) < most_negative * std::abs(flow_.positive(change));
    if (!alike || !recovers_gradually()) return std::nullopt;
    return Cause{CauseKind::motor_start, "the currents of all phases rise alike, to " + times(highest(amperes_)) +
                                             ", and the voltage recovers gradually"};
  }

  [[nodiscard]] std::optional<Cause> fault(const std::optional<Direction>& direction) const {
    constexpr double least_rise = 1.5;
    if (!changes_abruptly()) return std::nullopt;
    const std::string abruptly = "the voltage changes abruptly at the beginning and at the end, and ";
    if (highest(amperes_) >= least_rise) {
      return Cause{CauseKind::fault, abruptly + a_current_rises(highest(amperes_))};
    }
    if (!direction || direction->agreed() != Side::upstream) return std::nullopt;
    return Cause{CauseKind::fault, abruptly + "the currents show that the cause is upstream"};
  }

 private:
  /// Returns whether the voltage that falls most regains at least half of its loss within half a second after the dip,
  /// and never half of it within one cycle. The course does not show this for dips that barely pass its threshold.
  [[nodiscard]] bool recovers_gradually() const {
    constexpr double half = 0.5;
    constexpr double longest_s = 0.5;
    const auto phase = static_cast<std::size_t>(std::min_element(volts_.begin(), volts_.end()) - volts_.begin());
    const double cycle = flow_.cycle_s();
    const double loss = 1 - volts_[phase];
    const double until = course_.end_s.value_or(measure::Figure{start_s_, 0}).value + longest_s;
    double lowest_share = volts_[phase];
    double last_share = lowest_share;
    for (double begin = start_s_ + 1.5 * cycle; begin <= until; begin += cycle) {
      const auto moment = flow_.at(begin);
      if (!moment) break;
      const double share = shares(moment->volts, before_.volts)[phase];
      if (share - last_share >= half * loss) return false;
      lowest_share = std::min(lowest_share, share);
      last_share = share;
    }
    return last_share - lowest_share >= half * (1 - lowest_share);
  }
  [[nodiscard]] bool changes_abruptly() const {
    if (!course_.end_s || course_.transitions.size() < 2) return false;
    const auto& last = course_.transitions.back();
    return !course_.transitions.front().gradual && !last.gradual &&
           last.end_s >= course_.end_s->value - flow_.cycle_s();
  }

  const PowerFlow& flow_;
  const measure::Course& course_;
  double start_s_;
  Moment before_;
  Moment during_;
  PerPhase volts_;
  PerPhase amperes_;
};

}  // namespace

const char* cause_code(CauseKind kind) {
  switch (kind) {
    case CauseKind::switching:
      return "switching";
    case CauseKind::energising:
      return "energising";
    case CauseKind::motor_start:
      return "motor_start";
    case CauseKind::fault:
      break;
  }
  return "fault";
}

const char* cause_words(CauseKind kind) {
  switch (kind) {
    case CauseKind::switching:
      return "interruption by switching";
    case CauseKind::energising:
      return "energising of a transformer";
    case CauseKind::motor_start:
      return "start of a motor";
    case CauseKind::fault:
      break;
  }
  return "fault";
}

std::optional<Cause> likely_cause(const PowerFlow& flow, const measure::Course& course,
                                  const std::optional<Direction>& direction) {
  if (!course.start_s) return std::nullopt;
  const double start_s = course.start_s->value;
  const auto before = flow.at(start_s - 1.25 * flow.cycle_s());
  const auto during = flow.at(start_s + flow.cycle_s() / 2);
  if (!before || !during) return std::nullopt;
  const Evidence evidence(flow, course, *before, *during);
  // Without a flow of active power before the dip, currents that vanish show nothing.
  const auto switching = direction ? evidence.switching() : std::nullopt;
  if (switching) return switching;
  if (auto cause = evidence.energising()) return cause;
  if (auto cause = evidence.motor_start()) return cause;
  return evidence.fault(direction);
}

}  // namespace assess
