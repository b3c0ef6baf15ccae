#include "measure/detector.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace measure {

namespace {

/// Factor of the one-minute filter that forms the sliding reference.
constexpr double kept_of_reference = 0.9967;

/// A value of a series with the time at which its window ends.
struct Moment {
  double end_s = 0;
  std::size_t phase = 0;
  std::size_t index = 0;
};

/// The values of all series in the order in which their windows end.
class Timeline {
 public:
  explicit Timeline(const std::vector<HalfCycleRms>& series) : series_(series) {}

  bool next(Moment& moment) {
    std::size_t phase = series_.size();
    for (std::size_t p = 0; p < series_.size(); p++) {
      if (at_[p] >= series_[p].size()) continue;
      if (phase == series_.size() || series_[p].end_s[at_[p]] < series_[phase].end_s[at_[phase]]) phase = p;
    }
    if (phase == series_.size()) return false;
    moment = {series_[phase].end_s[at_[phase]], phase, at_[phase]};
    at_[phase]++;
    return true;
  }

 private:
  const std::vector<HalfCycleRms>& series_;
  std::array<std::size_t, most_phases> at_{};
};

class Detector {
 public:
  Detector(const std::vector<HalfCycleRms>& series, References references, const Thresholds& thresholds)
      : series_(series), references_(std::move(references)), reference_(references_.start) {
    dip_ = thresholds.dip;
    swell_ = thresholds.swell;
    interruption_ = thresholds.interruption;
    dip_over_ = thresholds.dip + thresholds.hysteresis;
    swell_over_ = thresholds.swell - thresholds.hysteresis;
    interruption_over_ = thresholds.interruption + thresholds.hysteresis;
  }

  std::vector<Event> events() {
    Timeline timeline(series_);
    Moment moment;
    while (timeline.next(moment)) {
      take_blocks(moment.end_s);
      const double value = series_[moment.phase].volts[moment.index];
      if (!std::isfinite(value) || references_.left_out[moment.phase]) continue;
      last_[moment.phase] = value;
      follow_dip(moment, value);
      follow_swell(moment, value);
      follow_interruption(moment, value);
      for (Open& open : open_) {
        if (open) take_extremes(*open, moment.phase, value);
      }
      touched_ = touched_ || open_[0] || open_[1] || open_[2];
    }
    for (auto& open : open_) finish(open, std::nullopt);
    std::sort(events_.begin(), events_.end(), [](const Event& one, const Event& other) {
      return std::pair(one.start_s, one.kind) < std::pair(other.start_s, other.kind);
    });
    return std::move(events_);
  }

 private:
  using Open = std::optional<Event>;

  /// A sliding reference uses only blocks without an event.
  void take_blocks(double seconds) {
    for (; block_ < references_.block_end_s.size() && references_.block_end_s[block_] <= seconds; block_++) {
      const bool on = open_[0] || open_[1] || open_[2];
      if (!touched_ && !on) {
        for (std::size_t phase = 0; phase < series_.size(); phase++) {
          const double rms = references_.block_rms[phase][block_];
          if (std::isfinite(rms)) {
            reference_[phase] = kept_of_reference * reference_[phase] + (1 - kept_of_reference) * rms;
          }
        }
      }
      touched_ = on;
    }
  }

  void begin(Open& open, EventKind kind, const Moment& moment) {
    open = Event{};
    open->kind = kind;
    open->start_known = moment.index > 0;
    open->start_s = open->start_known ? series_[moment.phase].start_s[moment.index] : 0;
    open->extreme_v = kind == EventKind::swell ? 0 : std::numeric_limits<double>::infinity();
    open->phases[moment.phase] = true;
    open->lowest_v.fill(std::numeric_limits<double>::infinity());
    for (std::size_t phase = 0; phase < series_.size(); phase++) {
      if (last_[phase]) take_extremes(*open, phase, *last_[phase]);
    }
  }

  static void take_extremes(Event& event, std::size_t phase, double value) {
    event.lowest_v[phase] = std::min(event.lowest_v[phase], value);
    event.highest_v[phase] = std::max(event.highest_v[phase], value);
  }

  void finish(Open& open, std::optional<double> end_s) {
    if (!open) return;
    open->end_s = end_s;
    for (std::size_t phase = 0; phase < series_.size(); phase++) {
      if (!std::isfinite(open->lowest_v[phase])) open->lowest_v[phase] = 0;  // it has no value during the event
      if (open->phases[phase]) open->reference_v = std::max(open->reference_v, reference_[phase]);
    }
    events_.push_back(*open);
    open.reset();
  }

  static void note(Open& open, std::size_t phase, double value) {
    const bool further = open->kind == EventKind::swell ? value > open->extreme_v : value < open->extreme_v;
    if (!further) return;
    open->extreme_v = value;
    open->extreme_phase = phase;
  }

  template <typename Test>
  [[nodiscard]] bool all(Test test) const {
    for (std::size_t phase = 0; phase < series_.size(); phase++) {
      if (last_[phase] && !test(*last_[phase], reference_[phase])) return false;
    }
    return true;
  }

  void follow_dip(const Moment& moment, double value) {
    Open& dip = open_[0];
    const bool below = 100 * value < dip_ * reference_[moment.phase];
    if (!dip) {
      if (!below) return;
      begin(dip, EventKind::dip, moment);
      for (std::size_t phase = 0; phase < series_.size(); phase++) {
        if (last_[phase]) note(dip, phase, *last_[phase]);
      }
      return;
    }
    if (below) dip->phases[moment.phase] = true;
    note(dip, moment.phase, value);
    const bool back = all([&](double volts, double reference) { return 100 * volts >= dip_over_ * reference; });
    if (back) finish(dip, moment.end_s);
  }

  void follow_swell(const Moment& moment, double value) {
    Open& swell = open_[1];
    const bool above = 100 * value > swell_ * reference_[moment.phase];
    if (!swell) {
      if (!above) return;
      begin(swell, EventKind::swell, moment);
      note(swell, moment.phase, value);
      return;
    }
    if (above) swell->phases[moment.phase] = true;
    note(swell, moment.phase, value);
    const bool back = all([&](double volts, double reference) { return 100 * volts <= swell_over_ * reference; });
    if (back) finish(swell, moment.end_s);
  }

  void follow_interruption(const Moment& moment, double value) {
    Open& interruption = open_[2];
    if (!interruption) {
      for (std::size_t phase = 0; phase < series_.size(); phase++) {
        if (references_.left_out[phase]) continue;
        if (!last_[phase] || !(100 * *last_[phase] < interruption_ * reference_[phase])) return;
      }
      begin(interruption, EventKind::interruption, moment);
      for (std::size_t phase = 0; phase < series_.size(); phase++) {
        if (!last_[phase]) continue;
        interruption->phases[phase] = true;
        note(interruption, phase, *last_[phase]);
      }
      return;
    }
    if (100 * value < interruption_over_ * reference_[moment.phase]) note(interruption, moment.phase, value);
    const bool none_back =
        all([&](double volts, double reference) { return 100 * volts < interruption_over_ * reference; });
    if (!none_back) finish(interruption, moment.end_s);
  }

  const std::vector<HalfCycleRms>& series_;
  References references_;
  PerPhase reference_;
  // Limits are in per cent, because sums of per cent are exact but sums of hundredths are not.
  double dip_;
  double swell_;
  double interruption_;
  double dip_over_;
  double swell_over_;
  double interruption_over_;
  std::array<std::optional<double>, most_phases> last_;
  std::array<Open, 3> open_;  // dip, swell, interruption
  bool touched_ = false;      // an event was in progress during the block that is being filled
  std::size_t block_ = 0;
  std::vector<Event> events_;
};

/// Says for each value of a voltage whether the voltage is steady, with the mean by which this was decided.
struct Steadiness {
  std::vector<bool> steady;
  std::vector<double> mean;
};

/// The highest or lowest of the last values. A list holds the values that may still become the extreme.
class MovingExtreme {
 public:
  MovingExtreme(const std::vector<double>& values, bool highest) : values_(values), highest_(highest) {}
  double take(std::size_t index, std::size_t window) {
    const auto beats = [&](double one, double other) { return highest_ ? one >= other : one <= other; };
    while (list_.size() > front_ && beats(values_[index], values_[list_.back()])) list_.pop_back();
    list_.push_back(index);
    while (list_[front_] + window <= index) front_++;
    return values_[list_[front_]];
  }

 private:
  const std::vector<double>& values_;
  bool highest_;
  std::vector<std::size_t> list_;
  std::size_t front_ = 0;
};

Steadiness steadiness(const std::vector<double>& values, std::size_t window, double threshold) {
  Steadiness result{std::vector<bool>(values.size(), false), std::vector<double>(values.size(), 0)};
  MovingExtreme highest(values, true);
  MovingExtreme lowest(values, false);
  double sum = 0;
  std::size_t missing = 0;  // among the last values
  bool is_steady = false;
  bool first = true;
  for (std::size_t k = 0; k < values.size(); k++) {
    const bool there = std::isfinite(values[k]);
    sum += there ? values[k] : 0;
    missing += there ? 0 : 1;
    if (k >= window) {
      const bool was_there = std::isfinite(values[k - window]);
      sum -= was_there ? values[k - window] : 0;
      missing -= was_there ? 0 : 1;
    }
    const double high = highest.take(k, window);
    const double low = lowest.take(k, window);
    if (k + 1 < window) continue;
    const double mean = sum / static_cast<double>(window);
    const double limit = is_steady || first ? threshold : threshold / 2;
    first = false;
    is_steady = missing == 0 && std::max(high - mean, mean - low) <= limit;
    result.steady[k] = is_steady;
    result.mean[k] = mean;
  }
  return result;
}

}  // namespace

PhaseFlags without_voltage(const PerPhase& usual_v, std::size_t phases) {
  constexpr double next_to_nothing = 0.05;
  double highest = 0;
  for (std::size_t phase = 0; phase < phases; phase++) highest = std::max(highest, usual_v[phase]);
  PhaseFlags flags{};
  for (std::size_t phase = 0; phase < phases; phase++) flags[phase] = !(usual_v[phase] >= next_to_nothing * highest);
  return flags;
}

std::vector<Event> detect(const std::vector<HalfCycleRms>& series, References references,
                          const Thresholds& thresholds) {
  return Detector(series, std::move(references), thresholds).events();
}

std::vector<Event> detect_rapid_changes(const std::vector<HalfCycleRms>& series, double reference,
                                        const PerPhase& references, const Thresholds& thresholds, std::size_t window,
                                        const PhaseFlags& left_out) {
  std::vector<Event> events;
  if (!(thresholds.rapid_change > 0)) return events;
  std::vector<Steadiness> signals;
  for (const HalfCycleRms& one : series) {
    signals.push_back(steadiness(one.volts, window, thresholds.rapid_change / 100 * reference));
  }
  const std::size_t phases = series.size();
  const auto half_window = [&](const Moment& moment) {
    return (series[moment.phase].end_s[moment.index] - series[moment.phase].start_s[moment.index]) / 2;
  };
  std::array<bool, most_phases> now{};
  PerPhase held{};
  PerPhase before{};
  const auto all_steady = [&] {
    for (std::size_t phase = 0; phase < phases; phase++) {
      if (!now[phase] && !left_out[phase]) return false;
    }
    return true;
  };
  std::optional<Event> open;
  bool crossed = false;
  Timeline timeline(series);
  Moment moment;
  while (timeline.next(moment)) {
    if (moment.index + 1 < window || left_out[moment.phase]) continue;
    const std::size_t phase = moment.phase;
    const double value = series[phase].volts[moment.index];
    const bool was_steady = all_steady();
    now[phase] = signals[phase].steady[moment.index];
    if (was_steady && !all_steady()) {
      open = Event{};
      open->kind = EventKind::rapid_voltage_change;
      open->start_s = moment.end_s - half_window(moment);
      open->reference_v = reference;
      before = held;
      crossed = false;
    }
    if (open) {
      if (std::isfinite(value)) open->delta_max_v = std::max(open->delta_max_v, std::abs(value - before[phase]));
      if (!now[phase]) open->phases[phase] = true;
      crossed = crossed || 100 * value < thresholds.dip * references[phase] ||
                100 * value > thresholds.swell * references[phase];
      if (all_steady()) {
        // A voltage counts as steady only one window after the change, so this delay is subtracted.
        const double lag = static_cast<double>(window) * half_window(moment);
        open->end_s = std::max(moment.end_s - half_window(moment) - lag, open->start_s);
        for (std::size_t p = 0; p < phases; p++) {
          if (left_out[p]) continue;
          const std::size_t at = std::min(moment.index, signals[p].mean.size() - 1);
          open->delta_steady_v = std::max(open->delta_steady_v, std::abs(signals[p].mean[at] - before[p]));
        }
        if (!crossed) events.push_back(*open);
        open.reset();
      }
    }
    if (now[phase]) held[phase] = signals[phase].mean[moment.index];
  }
  return events;
}

}  // namespace measure
