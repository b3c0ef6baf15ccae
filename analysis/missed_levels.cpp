#include "analysis/missed_levels.h"

#include <fmt/format.h>

#include <algorithm>
#include <vector>

#include "analysis/quantity_text.h"

namespace analysis {

namespace {

constexpr std::size_t fewest_cycles = 10;
/// Of the pre-event voltage: how far the RMS of a voltage that stands still may move.
constexpr float most_movement = 0.01F;
/// Of the pre-event voltage: how far a level stands above a segment's residual voltage to be another than it.
constexpr double least_difference = 0.05;

/// A level that no segment shows.
struct MissedLevel {
  Stretch samples;
  std::array<double, 3> volts{};
};

/// The lowest and highest RMS of each phase over some cycles.
struct Range {
  std::array<float, 3> low;
  std::array<float, 3> high;
};

class Levels {
 public:
  Levels(const Analysis& analysis, const Waveform& rms)
      : rms_(rms),
        cycle_(static_cast<std::size_t>(analysis.voltages.samples_per_cycle)),
        most_movement_(most_movement * static_cast<float>(analysis.pre_event_voltage)) {}

  /// The longest stretch within `whole` in which no phase moves and that is `missed`; empty when none is long enough.
  template <typename Missed>
  [[nodiscard]] MissedLevel longest_in(const Stretch& whole, const Missed& missed) const {
    MissedLevel longest;
    Stretch steady{whole.begin, whole.begin};
    Range range{};
    for (std::size_t end = whole.begin + cycle_; end <= whole.end; end += cycle_) {
      if (steady.length() == 0 || !widen(range, end - 1)) {
        steady.begin = end - cycle_;
        range = {at(end - 1), at(end - 1)};
      }
      steady.end = end;
      if (steady.length() < fewest_cycles * cycle_ || steady.length() <= longest.samples.length()) continue;
      const auto middle = at(steady.begin + steady.length() / 2);
      if (const std::array<double, 3> volts{middle[0], middle[1], middle[2]}; missed(volts)) longest = {steady, volts};
    }
    return longest;
  }

 private:
  [[nodiscard]] std::array<float, 3> at(std::size_t i) const { return {rms_[0][i], rms_[1][i], rms_[2][i]}; }

  /// Takes the RMS at a sample in; false when that would be more than standing still.
  [[nodiscard]] bool widen(Range& range, std::size_t i) const {
    Range wider = range;
    for (std::size_t phase = 0; phase < 3; phase++) {
      wider.low[phase] = std::min(wider.low[phase], rms_[phase][i]);
      wider.high[phase] = std::max(wider.high[phase], rms_[phase][i]);
      if (!(wider.high[phase] - wider.low[phase] <= most_movement_)) return false;
    }
    range = wider;
    return true;
  }

  const Waveform& rms_;
  std::size_t cycle_;
  float most_movement_;
};

/// The longest level of a dip that its segments do not show.
MissedLevel missed_level(const Dip& dip, const Levels& levels, double pre_event_voltage) {
  MissedLevel longest;
  const auto look_at = [&](const Stretch& whole, const auto& missed) {
    const MissedLevel found = levels.longest_in(whole, missed);
    if (found.samples.length() > longest.samples.length()) longest = found;
  };
  const auto outside = [](const auto& /*volts*/) { return true; };
  std::size_t at = dip.start;
  for (const Segment& segment : dip.segments) {
    if (segment.samples.begin > at) look_at({at, segment.samples.begin}, outside);
    const Stretch inside{std::max(at, segment.samples.begin), std::min(*dip.end, segment.samples.end)};
    look_at(inside, [&](const std::array<double, 3>& volts) {
      bool higher = false;
      for (std::size_t phase = 0; phase < 3; phase++) {
        higher = higher || volts[phase] - segment.residual[phase] > least_difference * pre_event_voltage;
      }
      return higher;
    });
    at = std::max(at, segment.samples.end);
  }
  look_at({at, *dip.end}, outside);
  return longest;
}

}  // namespace

void note_missed_levels(Analysis& analysis, const Waveform& rms) {
  const auto analysed = [](const Dip& dip) { return dip.obstacle == Obstacle::none; };
  const Levels levels(analysis, rms);
  for (std::size_t i = 0; i < analysis.dips.size(); i++) {
    if (!analysed(analysis.dips[i])) continue;
    const auto [samples, volts] = missed_level(analysis.dips[i], levels, analysis.pre_event_voltage);
    if (samples.length() == 0) continue;
    analysis.notes.push_back(fmt::format(
        "Dip {}: from {:.4f} s to {:.4f} s the voltage stands at {}, {}, {}; the analysis did not tell that level "
        "apart, and no segment has its figures.",
        i + 1, analysis.voltages.seconds_at(samples.begin), analysis.voltages.seconds_at(samples.end),
        volts_text(volts[0]), volts_text(volts[1]), volts_text(volts[2])));
  }
}

}  // namespace analysis
