#include "assess/verdict.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace assess {

namespace {

/// Formats a number without needless digits: "0.5".
std::string digits(double value) {
  return fmt::format("{:g}", value);
}

std::string milliseconds(double seconds) {
  return digits(std::round(1000 * seconds)) + " ms";
}

/// A residual or highest voltage and a duration, of which the end may be unknown.
struct Point {
  double percent = 0;
  double seconds = 0;
  bool ended = true;
};

Verdict not_covered(const std::string& reason) {
  return {Outcome::not_covered, reason, {}};
}

bool has_end(const CurveSteps& steps) {
  return !steps.empty() && std::isfinite(steps.back().seconds);
}

/// Judges a point without an uncertainty.
Verdict plain_verdict(const Curve& curve, const CurveSteps& steps, const Point& point) {
  if (point.seconds < curve.from_seconds) {
    return not_covered(point.ended ? "shorter than " + digits(curve.from_seconds) + " s" : "duration not known");
  }
  const CurveStep* step = step_at(steps, point.seconds);
  if (step == nullptr) return not_covered("longer than " + digits(steps.back().seconds) + " s");
  if (!point.ended && has_end(steps)) return not_covered("duration not known");
  const bool trips = curve.for_swells ? point.percent > step->percent : point.percent < step->percent;
  if (trips) {
    return {Outcome::trips, (curve.for_swells ? "above " : "below ") + digits(step->percent) + " %", step->percent};
  }
  // The limits of a curve become stricter with time. An event that violates the limit still does so however long it
  // lasts, but one that keeps within the limit may violate a later one.
  if (!point.ended && step != &steps.back()) return not_covered("duration not known");
  return {Outcome::rides_through, "", step->percent};
}

/// Returns the steps for a dip of a kind.
const CurveSteps& steps_for(const Curve& curve, DipKind kind) {
  const bool of_three = kind == DipKind::three_voltages && !curve.three_phase_steps.empty();
  return of_three ? curve.three_phase_steps : curve.steps;
}

/// Returns the reason why a curve does not cover a dip, whatever its voltage and duration; empty if it may cover it.
std::string reason_against(const Curve& curve, const EventShape& event) {
  if (!applies_to(curve, event)) return curve.for_swells ? "dips have another curve" : "swells have another curve";
  if (!curve.covers_three_phases && event.kind == DipKind::three_voltages) {
    return "the curve says nothing about three-phase dips";
  }
  if (!curve.covers_interruptions && event.interruption && event.terms.least_seconds > curve.steps.front().seconds) {
    return "interruptions have a test of their own";
  }
  return "";
}

/// Judges as `judge` does for shifts of the voltage (per cent) and the duration (seconds), and compares the verdicts
/// over the corners of the uncertainty.
template <typename Judge>
Verdict within_uncertainty(const EventTerms& terms, Judge judge) {
  Verdict verdict = judge(0.0, 0.0);
  const auto differs = [&](double percent, double seconds) {
    return judge(percent, seconds).outcome != verdict.outcome;
  };
  const double cycle = terms.cycle_seconds;
  constexpr std::array<double, 3> parts = {-1, 0, 1};
  for (const double percent : parts) {
    for (const double seconds : parts) {
      if (!differs(percent * uncertain_percent, seconds * cycle)) continue;
      const bool by_voltage = differs(-uncertain_percent, 0) || differs(uncertain_percent, 0);
      return {Outcome::too_close,
              by_voltage ? "the limit lies within " + digits(uncertain_percent) + " % of the voltage"
                         : "a limit lies within a cycle of the duration",
              verdict.limit_percent};
    }
  }
  return verdict;
}

/// Judges by all kinds that a dip may have, and returns the verdict on which they agree.
template <typename Judge>
Verdict by_kind(const Curve& curve, const EventShape& event, Judge judge) {
  const std::string reason = reason_against(curve, event);
  if (!reason.empty()) return not_covered(reason);
  Verdict verdict = judge(steps_for(curve, event.kind.value_or(DipKind::one_voltage)));
  if (event.kind || curve.three_phase_steps.empty()) return verdict;
  const Verdict other = judge(curve.three_phase_steps);
  if (other.outcome != verdict.outcome) return not_covered("the curve depends on the dip's type, which is not known");
  return verdict;
}

/// Returns the time that a dip spends below a voltage, and its highest voltage in that time.
Point time_below(const std::vector<Piece>& pieces, double limit_percent, double shift_percent) {
  Point point;
  for (const Piece& piece : pieces) {
    const double percent = std::max(0.0, piece.percent + shift_percent);
    if (!(percent < limit_percent)) continue;
    point.seconds += piece.seconds;
    point.percent = std::max(point.percent, percent);
  }
  return point;
}

/// Judges the time below the voltage of each step, and returns the verdict that weighs most. The time below 90 %, the
/// dip threshold of IEC 61000-4-30, shows whether the curve covers all of the dip.
Verdict plain_verdict_by_steps(const Curve& curve, const CurveSteps& steps, const std::vector<Piece>& pieces,
                               double shift_percent, double shift_seconds) {
  constexpr double dip_percent = 90;
  Verdict result{Outcome::rides_through, "", {}};
  const auto judge_below = [&](double limit) {
    Point point = time_below(pieces, limit, shift_percent);
    if (!(point.seconds > 0)) return;
    point.seconds = std::max(0.0, point.seconds + shift_seconds);
    Verdict verdict = plain_verdict(curve, steps, point);
    if (verdict.outcome == Outcome::trips)
      verdict.reason = milliseconds(point.seconds) + " below " + digits(limit) + " %";
    const bool weighs_more = verdict.outcome == Outcome::trips || result.outcome == Outcome::rides_through;
    if (result.outcome != Outcome::trips && weighs_more) result = verdict;
  };
  for (const CurveStep& step : steps) judge_below(step.percent);
  judge_below(dip_percent);
  return result;
}

}  // namespace

const char* outcome_words(Outcome outcome) {
  switch (outcome) {
    case Outcome::rides_through:
      return "rides through";
    case Outcome::trips:
      return "trips";
    case Outcome::too_close:
      return "too close to tell";
    case Outcome::not_covered:
      break;
  }
  return "not covered";
}

std::string outcome_code(Outcome outcome) {
  std::string code = outcome_words(outcome);
  std::replace(code.begin(), code.end(), ' ', '_');
  return code;
}

std::string words_of(const Verdict& verdict) {
  const std::string words = outcome_words(verdict.outcome);
  return verdict.reason.empty() ? words : words + " (" + verdict.reason + ")";
}

bool applies_to(const Curve& curve, const EventShape& event) {
  return curve.for_swells == event.swell;
}

Verdict verdict_of(const Curve& curve, const EventShape& event) {
  const EventTerms& terms = event.terms;
  return by_kind(curve, event, [&](const CurveSteps& steps) {
    return within_uncertainty(terms, [&](double percent, double seconds) {
      const Point point{std::max(0.0, terms.percent + percent), std::max(0.0, terms.least_seconds + seconds),
                        terms.seconds.has_value()};
      return plain_verdict(curve, steps, point);
    });
  });
}

std::optional<Verdict> verdict_by_steps(const Curve& curve, const EventShape& event) {
  if (event.pieces.size() < 2 || !event.terms.seconds || event.swell) return std::nullopt;
  return by_kind(curve, event, [&](const CurveSteps& steps) {
    return within_uncertainty(event.terms, [&](double percent, double seconds) {
      return plain_verdict_by_steps(curve, steps, event.pieces, percent, seconds);
    });
  });
}

std::optional<double> severity_of(const Curve& curve, const EventShape& event) {
  const EventTerms& terms = event.terms;
  if (curve.for_swells || !terms.seconds || !reason_against(curve, event).empty()) return std::nullopt;
  if (!event.kind && !curve.three_phase_steps.empty()) return std::nullopt;
  if (*terms.seconds < curve.from_seconds) return std::nullopt;
  const CurveStep* step = step_at(steps_for(curve, event.kind.value_or(DipKind::one_voltage)), *terms.seconds);
  if (step == nullptr || !(step->percent < 100)) return std::nullopt;
  return (100 - terms.percent) / (100 - step->percent);
}

Ride ride_through(const Curve& curve, const EventTerms& terms) {
  const Point point{terms.percent, terms.least_seconds, terms.seconds.has_value()};
  switch (plain_verdict(curve, curve.steps, point).outcome) {
    case Outcome::rides_through:
      return Ride::through;
    case Outcome::trips:
      return Ride::below;
    case Outcome::not_covered:
    case Outcome::too_close:
      break;
  }
  return Ride::not_judged;
}

const char* ride_name(Ride ride) {
  switch (ride) {
    case Ride::through:
      return "above";
    case Ride::below:
      return "below";
    case Ride::not_judged:
      break;
  }
  return "outside";
}

}  // namespace assess
