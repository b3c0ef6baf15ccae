#include "analysis/embedded/lone_dip.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <new>
#include <optional>
#include <stdexcept>

#include "analysis/cycle_phasors.h"
#include "analysis/embedded/frequency_drift.h"
#include "analysis/embedded/limits.h"
#include "analysis/embedded/long_dip.h"
#include "analysis/embedded/working_records.h"
#include "analysis/phase_angle.h"

namespace analysis::embedded {

namespace {

/// Where a dip lies in a stretch: a pair of the boundaries that the library's last search found.
struct Found {
  int index;         ///< among the stretch's dips
  std::size_t fall;  ///< record positions
  std::size_t recovery;
};

/// The pair of the last search, made in `stretch`, that overlaps a dip of the whole record.
std::optional<Found> found_again(const Dip& dip, const Stretch& stretch) {
  for (int i = 0; i + 1 < searched().evt_num; i += 2) {
    const auto fall = stretch.begin + static_cast<std::size_t>(searched().T[i]);
    const auto recovery = stretch.begin + static_cast<std::size_t>(searched().T[i + 1]);
    if (fall < *dip.end && recovery > dip.start) return Found{i / 2, fall, recovery};
  }
  return std::nullopt;
}

/// One dip's analysis in a stretch of its own.
class LoneDip {
 public:
  /// `limits`: how far the stretch may reach, from the recovery before to the fall behind.
  LoneDip(Dip& dip, Analysis& analysis, const Stretch& limits)
      : dip_(dip),
        waveform_(analysis.waveform),
        samples_per_cycle_(analysis.voltages.samples_per_cycle),
        line_frequency_(analysis.voltages.line_frequency),
        level_factor_(analysis.level_factor),
        limits_(limits),
        phasors_(waveform_, samples_per_cycle_) {}

  void analyse() {
    place(dip_.start, *dip_.end);
    if (dip_.stretch.length() > longest_run()) {
      dip_.obstacle = Obstacle::too_long;
      return;
    }
    keep_within_a_run();
    settle();
    run();
    if (dip_.obstacle == Obstacle::unstable && dip_.stretch.end < limits_.end) {
      // A slow fall and a short stretch: more of the steady time behind the dip sets the fluctuation in proportion.
      dip_.stretch.end = limits_.end;
      run();
    }
    // A fall so slow that five cycles ahead of it the voltage has sunk already: the level of earlier cycles tells.
    for (std::size_t ahead = 2 * lead(); sunk_before() && dip_.stretch.begin > limits_.begin; ahead *= 2) {
      dip_.stretch.begin = dip_.start < limits_.begin + ahead ? limits_.begin : dip_.start - ahead;
      run();
    }
    note_far_frequency();
  }

 private:
  [[nodiscard]] std::size_t cycles(std::size_t count) const {
    return count * static_cast<std::size_t>(samples_per_cycle_);
  }
  [[nodiscard]] std::size_t longest_run() const { return cycles(longest_run_cycles); }

  /// Draws the limits in so that no stretch between them is longer than a run of the library.
  void keep_within_a_run() {
    limits_.end = std::min(limits_.end, dip_.stretch.begin + longest_run());
    const std::size_t earliest = dip_.stretch.end < longest_run() ? 0 : dip_.stretch.end - longest_run();
    limits_.begin = std::max(limits_.begin, earliest);
  }

  [[nodiscard]] std::size_t lead() const { return cycles(cycles_before_fall); }

  void place(std::size_t fall, std::size_t recovery) {
    dip_.stretch.begin = fall < limits_.begin + lead() ? limits_.begin : fall - lead();
    dip_.stretch.end = std::min(recovery + cycles(cycles_after_recovery), limits_.end);
  }

  /// Moves the stretch until the fall lies where it should by the stretch's own threshold, which rests on the stretch's
  /// own first cycles and not on the record's. Where it swings between places, the best of them; where the dip is lost
  /// at once, where it was put.
  void settle() {
    constexpr int most_moves = 8;
    Stretch best = dip_.stretch;
    std::size_t least_off = waveform_[0].size();
    for (int move = 0; move < most_moves; move++) {
      const Stretch tried = dip_.stretch;
      const bool steady = search(waveform_, samples_per_cycle_, tried) == sagx::RunOutcome::searched;
      const auto found = steady ? found_again(dip_, tried) : std::nullopt;
      if (!found) break;
      if (const std::size_t off = off_its_place(*found, tried); off <= least_off) {
        least_off = off;
        best = tried;
      }
      place(found->fall, found->recovery);
      if (dip_.stretch.begin == tried.begin && dip_.stretch.end == tried.end) break;
    }
    dip_.stretch = best;
  }

  /// By how many samples a fall misses its place five cycles into a stretch.
  [[nodiscard]] std::size_t off_its_place(const Found& found, const Stretch& stretch) const {
    const std::size_t ahead = found.fall - stretch.begin;
    return ahead < lead() ? lead() - ahead : ahead - lead();
  }

  /// Analyses the stretch as it lies and notes what becomes of the dip.
  void run() {
    forget();  // what lies past the window is read here and there: zeros, not an earlier dip
    const sagx::Outcome& outcome = embedded::run(waveform_, samples_per_cycle_, dip_.stretch);
    if (outcome.run == sagx::RunOutcome::no_memory) throw std::bad_alloc();
    dip_.obstacle = Obstacle::unsteady_before;
    if (outcome.run != sagx::RunOutcome::analysed) return;
    dip_.obstacle = Obstacle::not_found_again;
    const auto found = found_again(dip_, dip_.stretch);
    if (!found) return;
    const auto& [end, long_window] = outcome.dips[found->index];
    dip_.obstacle = obstacle_of(end, *found);
    // Long windows are divided by boundaries of their own, wherever the fall lies.
    dip_.gradual_fall_doubtful = !long_window && 8 * off_its_place(*found, dip_.stretch) > cycles(1);
    const auto& result = result_of(found->index);
    if (dip_.obstacle == Obstacle::none && !long_window && !inside_window(result, *found)) {
      dip_.obstacle = Obstacle::not_segmented;
    }
    if (dip_.obstacle != Obstacle::none) return;
    take_results(result);
    const std::size_t window_begin = found->fall - cycles(window_margin_cycles);
    if (long_window) {
      take_long_segments(result, window_begin);
    } else {
      take_segments(result, window_begin);
    }
  }

  /// Whether all segments lie within the dip's window. Where a fall is not in its place they may be put past it, and
  /// their figures are then those of no voltage at all.
  [[nodiscard]] bool inside_window(const dq_dipx_struct& result, const Found& found) const {
    const auto window_end = static_cast<int>(found.fall - dip_.stretch.begin - cycles(window_margin_cycles)) +
                            static_cast<int>(window().num);
    return result.u_min_num < 1 || result.T[2 * result.u_min_num] < window_end;
  }

  [[nodiscard]] bool sunk_before() const {
    return dip_.obstacle == Obstacle::unsteady_before || dip_.obstacle == Obstacle::not_found_again;
  }

  [[nodiscard]] Obstacle obstacle_of(sagx::DipOutcome outcome, const Found& found) const {
    switch (outcome) {
      case sagx::DipOutcome::analysed:
        return Obstacle::none;
      case sagx::DipOutcome::not_segmented:
        return Obstacle::not_segmented;
      case sagx::DipOutcome::too_shallow:
        return Obstacle::too_shallow;
      case sagx::DipOutcome::unstable:
        return Obstacle::unstable;
      case sagx::DipOutcome::window_too_long:
        return Obstacle::too_long;
      case sagx::DipOutcome::window_at_edge:
        return found.fall < dip_.stretch.begin + cycles(window_margin_cycles) ? Obstacle::near_start
                                                                              : Obstacle::near_end;
      case sagx::DipOutcome::not_reached:
        break;
    }
    throw std::logic_error("a dip ended without an outcome");
  }

  void take_results(const dq_dipx_struct& result) {
    const double cycles_per_20_ms = line_frequency_ / 50;  // the library takes a cycle for 20 ms
    // Three phases never stand at one angle: that is what comes out when none of them left 95 % of nominal.
    if (result.POW_a != result.POW_b || result.POW_b != result.POW_c) {
      dip_.point_on_wave = {result.POW_a, result.POW_b, result.POW_c};
    }
    dip_.voltage_change = {result.Voltagechange_Va, result.Voltagechange_Vb, result.Voltagechange_Vc};
    for (double& change : dip_.voltage_change) change *= cycles_per_20_ms / level_factor_;
  }

  void take_segments(const dq_dipx_struct& result, std::size_t window_begin) {
    for (int s = 0; s < result.u_min_num; s++) dip_.segments.push_back(segment_of(result, s));
    const auto drift = notable_drift();
    for (int s = 0; s < result.u_min_num; s++) {
      const std::array<int, 3> lowest = {result.pos_ua_min[s], result.pos_ub_min[s], result.pos_uc_min[s]};
      Segment& segment = dip_.segments[static_cast<std::size_t>(s)];
      // The result's own jumps are read at the window's first sample. The window record still holds the referenced
      // angles, so here they are read where the segment is lowest.
      segment.phase_jump = {within_half_a_turn(window().angle_a[lowest[0]]),
                            within_half_a_turn(window().angle_b[lowest[1]]),
                            within_half_a_turn(window().angle_c[lowest[2]])};
      if (!drift) continue;
      for (std::size_t phase = 0; phase < 3; phase++) {
        const std::size_t at = window_begin + static_cast<std::size_t>(lowest[phase]);
        double& jump = segment.phase_jump[phase];
        jump = drift->phase_jump(phase, at, segment.samples)
                   .value_or(within_half_a_turn(jump - drift->degrees_between(window_begin, at)));
      }
      segment.category = drift->category(segment.samples, {result.un, result.ut, sagx::AllLow::three_phase})
                             .value_or(segment.category);
    }
  }

  void take_long_segments(const dq_dipx_struct& result, std::size_t window_begin) {
    const LongDip dip(result, static_cast<int>(window_begin - dip_.stretch.begin));
    if (dip_.point_on_wave) {
      for (double& degrees : *dip_.point_on_wave) {
        degrees = std::fmod(degrees + dip.point_on_wave_correction(), 360.0);
        if (degrees < 0) degrees += 360;
      }
    }
    for (int s = 0; s < result.min_num; s++) {
      dip_.segments.push_back(segment_of(dip.result(), s));
      const auto at = static_cast<std::size_t>(2 * s + 1);
      dip_.segments.back().samples = {position(dip.boundaries()[at]), position(dip.boundaries()[at + 1])};
    }
    const auto drift = notable_drift();
    const auto drift_between = [&](int from, int to) {
      const auto sample = [&](int in_window) { return window_begin + static_cast<std::size_t>(in_window); };
      return drift ? drift->degrees_between(sample(from), sample(to)) : 0;
    };
    for (int s = 0; s < result.min_num; s++) {
      Segment& segment = dip_.segments[static_cast<std::size_t>(s)];
      segment.phase_jump = dip.phase_jump(s, drift_between);
      if (!drift) continue;
      segment.category =
          drift->category(segment.samples, {result.un, result.ut, sagx::AllLow::by_angle}).value_or(segment.category);
    }
  }

  /// The time ahead of the dip in which it has not begun yet, as much of it as tells the frequency well.
  [[nodiscard]] Stretch steady_before() const {
    constexpr std::size_t cycles_that_tell = 25;
    const std::size_t end = dip_.start - std::min(cycles(2), dip_.start);
    const std::size_t earliest = limits_.begin == 0 ? 0 : limits_.begin + cycles(2);
    const std::size_t begin = std::max(earliest, end - std::min(cycles(cycles_that_tell), end));
    return {std::min(begin, end), end};
  }

  /// A frequency so far off makes the RMS ripple, which may be why the dip is refused.
  void note_far_frequency() {
    constexpr double least_hertz = 0.2;
    if (dip_.obstacle != Obstacle::unstable && dip_.obstacle != Obstacle::not_segmented) return;
    const double off = line_frequency_ * FrequencyDrift(phasors_, steady_before(), {}).before() / 360;
    if (std::abs(off) >= least_hertz) dip_.frequency = line_frequency_ + off;
  }

  /// How the frequency turns the angles over the dip, where it is more than what figures are good for.
  [[nodiscard]] std::optional<FrequencyDrift> notable_drift() {
    constexpr double least_degrees = 1;
    FrequencyDrift drift(phasors_, steady_before(), dip_.segments);
    if (std::abs(drift.degrees_between(dip_.start, *dip_.end)) < least_degrees) return std::nullopt;
    dip_.frequency = line_frequency_ * (1 + drift.before() / 360);
    return drift;
  }

  [[nodiscard]] std::size_t position(int boundary) const {
    return std::min(dip_.stretch.begin + static_cast<std::size_t>(std::max(boundary, 0)), waveform_[0].size());
  }

  [[nodiscard]] Segment segment_of(const dq_dipx_struct& result, int s) const {
    Segment segment;
    segment.samples = {position(result.T[2 * s + 1]), position(result.T[2 * s + 2])};
    segment.residual = {result.ua_min[s] / level_factor_, result.ub_min[s] / level_factor_,
                        result.uc_min[s] / level_factor_};
    segment.category = result.dipx_cata_seg[s];
    segment.low_count = result.dipx_type[s];
    segment.low_mask = result.dipx_phase[s];
    segment.unbalance = static_cast<double>(result.bph_max_value[s]);
    return segment;
  }

  Dip& dip_;
  Waveform& waveform_;
  int samples_per_cycle_;
  double line_frequency_;
  double level_factor_;
  Stretch limits_;
  CyclePhasors phasors_;
};

}  // namespace

void analyse_alone(Dip& dip, Analysis& analysis, const Stretch& limits) {
  LoneDip(dip, analysis, limits).analyse();
}

}  // namespace analysis::embedded
