// How the command uses the library on one record: at a level that the library takes for what it is, first for the
// boundaries of the whole record, then for each dip in a stretch of its own.
#include "analysis/analyse.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <fstream>
#include <iterator>
#include <memory>
#include <new>
#include <numbers>
#include <stdexcept>

#include "analysis/curves.h"
#include "analysis/cycle_phasors.h"
#include "analysis/embedded/dip_search.h"
#include "analysis/embedded/frequency_drift.h"
#include "analysis/embedded/library_lines.h"
#include "analysis/embedded/long_dip.h"
#include "analysis/embedded/whole_report.h"
#include "analysis/joined_dips.h"
#include "analysis/missed_levels.h"
#include "analysis/phase_angle.h"
#include "analysis/quantity_text.h"
#include "analysis/refusal.h"
#include "dipx_dll.h"
#include "files/temporary_folder.h"
#include "sagx/dipx_lib.h"
#include "sagx/dipx_outcome.h"
#include "sagx/dq_dipx.h"
#include "sagx/signal_acquisition.h"

namespace analysis {

namespace {

using embedded::DipSearch;
using embedded::FoundDip;
using embedded::FrequencyDrift;
using embedded::LibraryLines;
using embedded::LongDip;
using embedded::longest_run_cycles;
using embedded::search_dips;
using embedded::set_input;
using files::TemporaryFolder;

/// What a record outside the plausible levels is brought to: the phase voltage of a 100 V transformer secondary.
constexpr double standard_level = 100 / 1.7320508075688772;

/// The short-window analysis measures a gradual fall rightly when the fall lies exactly five cycles into its record.
constexpr std::size_t cycles_before_fall = 5;
/// One more than the window needs, so that the boundaries' moving by some samples does not cost the dip its place.
constexpr std::size_t cycles_after_recovery = sagx::window_margin_cycles + 1;

/// What brings the record to a plausible level; 1 when it has one.
double level_factor(const readers::Record& record, const Waveform& volts, int samples_per_cycle) {
  float level = 0;
  const auto length = static_cast<int>(std::min<std::size_t>(volts[0].size(), DQ_RECORD_CAPACITY));
  if (dipx_cal_un(volts[0].data(), volts[1].data(), volts[2].data(), samples_per_cycle, length, &level) != 0) return 1;
  if (level >= sagx::lowest_plausible_voltage && level <= sagx::highest_plausible_voltage) return 1;
  if (!(level > 0)) {
    throw Refusal(record.file, "a phase has no voltage in its first two cycles",
                  "choose other channels with --channels, or a record that begins before the dip");
  }
  return standard_level / level;
}

/// The first cycles are not what the analysis takes for an undisturbed voltage: because a dip is on, or for good.
[[noreturn]] void refuse_start(const readers::Record& record, const Analysis& analysis) {
  constexpr float most_movement = 0.02F;
  constexpr std::size_t cycles_looked_at = 4;
  const auto& voltages = analysis.voltages;
  const std::string part =
      voltages.parts > 1 ? fmt::format("part {} of {}: ", voltages.part_number, voltages.parts) : "";
  const std::string other_part = voltages.parts > 1 ? ", or choose another part with --part" : "";
  const Waveform rms = curves_of(analysis).rms;
  const auto cycle = static_cast<std::size_t>(voltages.samples_per_cycle);
  const std::size_t end = std::min(cycles_looked_at * cycle, rms[0].size());
  bool steady = true;
  std::string levels;
  for (const auto& phase : rms) {
    const auto [low, high] = std::minmax_element(phase.begin() + static_cast<std::ptrdiff_t>(cycle - 1),
                                                 phase.begin() + static_cast<std::ptrdiff_t>(end));
    steady = steady && *high - *low <= most_movement * *high;
    levels += (levels.empty() ? "" : ", ") + volts_text(static_cast<double>(*high));
  }
  if (steady) {
    throw Refusal(record.file,
                  part + "its phases stand at " + levels +
                      " from the start, and the analysis takes more than 10 % between them for a dip that is on "
                      "already",
                  "choose other voltages with --set, --channels or --line-to-line" + other_part);
  }
  throw Refusal(record.file,
                part + "its first two cycles are not steady (a phase is more than 10 % off the lowest phase's level)",
                "use a record that begins at least two cycles before the dip" + other_part);
}

[[noreturn]] void refuse(const readers::Record& record, const Analysis& analysis, sagx::RunOutcome outcome) {
  switch (outcome) {
    case sagx::RunOutcome::too_few_samples:
      throw Refusal(record.file, "it is shorter than two cycles", "use a longer record");
    case sagx::RunOutcome::disturbed_start:
      refuse_start(record, analysis);
    case sagx::RunOutcome::no_memory:
      throw std::bad_alloc();
    case sagx::RunOutcome::rate_out_of_range:
    case sagx::RunOutcome::too_many_samples:
    case sagx::RunOutcome::too_many_cycles:
    case sagx::RunOutcome::not_run:
    case sagx::RunOutcome::no_samples:
    case sagx::RunOutcome::searched:
    case sagx::RunOutcome::analysed:
      break;
  }
  throw std::logic_error("the analysis ended without a reason");
}

/// The fundamental of the first cycle of the stretch that was analysed for a dip, or, where there is none, of the cycle
/// that lies where it would begin.
std::array<PhasePhasor, 3> fundamental_before(const Dip& dip, const Analysis& analysis) {
  const int samples_per_cycle = analysis.voltages.samples_per_cycle;
  const auto cycle = static_cast<std::size_t>(samples_per_cycle);
  const std::size_t lead = cycles_before_fall * cycle;
  const std::size_t begin = dip.stretch.end > 0 ? dip.stretch.begin : dip.start - std::min(lead, dip.start);
  const Phasors cycle_phasors = CyclePhasors(analysis.waveform, samples_per_cycle).at(begin);
  std::array<PhasePhasor, 3> phasors{};
  for (std::size_t phase = 0; phase < 3; phase++) {
    const double turn = std::arg(cycle_phasors[phase]) - std::arg(cycle_phasors[0]);
    phasors[phase] = {std::abs(cycle_phasors[phase]) / analysis.level_factor,
                      within_half_a_turn(turn * 180 / std::numbers::pi)};
  }
  return phasors;
}

std::vector<Dip> dips_of(const DipSearch& search, double factor) {
  std::vector<Dip> dips;
  for (const FoundDip& found : search.dips) {
    Dip dip;
    dip.start = found.start;
    dip.end = found.end;
    for (std::size_t phase = 0; phase < 3; phase++) dip.lowest[phase] = found.lowest[phase] / factor;
    dip.lowest_of_highest = found.lowest_of_highest / factor;
    dips.push_back(dip);
  }
  return dips;
}

/// Where a dip lies in a stretch: a pair of the boundaries that the library's last search found.
struct Found {
  int index;         ///< among the stretch's dips
  std::size_t fall;  ///< record positions
  std::size_t recovery;
};

/// The pair of the last search, made in `stretch`, that overlaps a dip of the whole record.
std::optional<Found> found_again(const Dip& dip, const Stretch& stretch) {
  for (int i = 0; i + 1 < dq_rms_buf->evt_num; i += 2) {
    const auto fall = stretch.begin + static_cast<std::size_t>(dq_rms_buf->T[i]);
    const auto recovery = stretch.begin + static_cast<std::size_t>(dq_rms_buf->T[i + 1]);
    if (fall < *dip.end && recovery > dip.start) return Found{i / 2, fall, recovery};
  }
  return std::nullopt;
}

/// One dip's analysis in a stretch of its own.
class LoneDip {
 public:
  /// `limits`: how far the stretch may reach, from the recovery before to the fall behind.
  LoneDip(Dip& dip, Waveform& waveform, const Analysis& analysis, const Stretch& limits)
      : dip_(dip),
        waveform_(waveform),
        samples_per_cycle_(analysis.voltages.samples_per_cycle),
        line_frequency_(analysis.voltages.line_frequency),
        level_factor_(analysis.level_factor),
        limits_(limits),
        phasors_(waveform, samples_per_cycle_) {}

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
      set_input(waveform_, samples_per_cycle_, tried);
      const auto found = sagx::search_dips() ? found_again(dip_, tried) : std::nullopt;
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
    sagx_free_all();  // what lies past the window is read here and there: zeros, not an earlier dip
    set_input(waveform_, samples_per_cycle_, dip_.stretch);
    dq_dipx_new(nullptr);
    if (sagx::last_outcome.run == sagx::RunOutcome::no_memory) throw std::bad_alloc();
    dip_.obstacle = Obstacle::unsteady_before;
    if (sagx::last_outcome.run != sagx::RunOutcome::analysed) return;
    dip_.obstacle = Obstacle::not_found_again;
    const auto found = found_again(dip_, dip_.stretch);
    if (!found) return;
    const auto& [outcome, long_window] = sagx::last_outcome.dips[found->index];
    dip_.obstacle = obstacle_of(outcome, *found);
    // Long windows are divided by boundaries of their own, wherever the fall lies.
    dip_.gradual_fall_doubtful = !long_window && 8 * off_its_place(*found, dip_.stretch) > cycles(1);
    const auto& result = new_dipx_buf[found->index];
    if (dip_.obstacle == Obstacle::none && !long_window && !inside_window(result, *found)) {
      dip_.obstacle = Obstacle::not_segmented;
    }
    if (dip_.obstacle != Obstacle::none) return;
    take_results(result);
    const std::size_t window_begin = found->fall - cycles(sagx::window_margin_cycles);
    if (long_window) {
      take_long_segments(result, window_begin);
    } else {
      take_segments(result, window_begin);
    }
  }

  /// Whether all segments lie within the dip's window. Where a fall is not in its place they may be put past it, and
  /// their figures are then those of no voltage at all.
  [[nodiscard]] bool inside_window(const dq_dipx_struct& result, const Found& found) const {
    const auto window_end = static_cast<int>(found.fall - dip_.stretch.begin - cycles(sagx::window_margin_cycles)) +
                            static_cast<int>(dq_data_buf->num);
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
        return found.fall < dip_.stretch.begin + cycles(sagx::window_margin_cycles) ? Obstacle::near_start
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
      segment.phase_jump = {within_half_a_turn(dq_data_buf->angle_a[lowest[0]]),
                            within_half_a_turn(dq_data_buf->angle_b[lowest[1]]),
                            within_half_a_turn(dq_data_buf->angle_c[lowest[2]])};
      if (!drift) continue;
      for (std::size_t phase = 0; phase < 3; phase++) {
        const std::size_t at = window_begin + static_cast<std::size_t>(lowest[phase]);
        double& jump = segment.phase_jump[phase];
        jump = drift->phase_jump(phase, at, segment.samples)
                   .value_or(within_half_a_turn(jump - drift->degrees_between(window_begin, at)));
      }
      segment.category = drift->category(segment.samples, {result.un, result.ut, true}).value_or(segment.category);
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
      segment.category = drift->category(segment.samples, {result.un, result.ut, false}).value_or(segment.category);
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

/// Analyses each recovered dip in a stretch of its own, between its neighbours.
void analyse_each(Analysis& analysis, const StageReport& report_stage) {
  auto& dips = analysis.dips;
  Waveform& waveform = analysis.waveform;
  for (std::size_t i = 0; i < dips.size(); i++) {
    report_stage("analysing dips", static_cast<double>(i) / static_cast<double>(dips.size()));
    if (!dips[i].end) {
      dips[i].obstacle = Obstacle::not_recovered;
      continue;
    }
    const Stretch between{i == 0 ? 0 : *dips[i - 1].end, i + 1 == dips.size() ? waveform[0].size() : dips[i + 1].start};
    LoneDip(dips[i], waveform, analysis, between).analyse();
    if (!dips[i].frequency) continue;
    const std::string words = fmt::format("Dip {}: the line runs at {:.3f} Hz", i + 1, *dips[i].frequency);
    analysis.notes.push_back(
        dips[i].obstacle == Obstacle::none
            ? words + "; how that turns the angles is taken out of its phase jumps and categories."
            : words +
                  fmt::format(", which may be why the dip is not analysed: --frequency {:.3f} has the record analysed "
                              "at that.",
                              *dips[i].frequency));
  }
  for (Dip& dip : dips) dip.before = fundamental_before(dip, analysis);
}

/// The report that the library writes of the whole record.
std::string library_report(const Waveform& waveform, int samples_per_cycle) {
  const auto host = std::make_unique<dipx_data_struct>();
  std::copy(waveform[0].begin(), waveform[0].end(), host->smp_va);
  std::copy(waveform[1].begin(), waveform[1].end(), host->smp_vb);
  std::copy(waveform[2].begin(), waveform[2].end(), host->smp_vc);
  host->smp_rate = samples_per_cycle;
  host->smp_len = static_cast<int>(waveform[0].size());
  const TemporaryFolder folder;
  dipx_fun(host.get());
  std::ifstream file("dipx_result.txt", std::ios::binary);
  std::string bytes{std::istreambuf_iterator<char>(file), {}};
  if (!embedded::is_whole_report(bytes, *host)) {
    throw std::runtime_error("the library could not write its report into the temporary folder");
  }
  return bytes;
}

/// What a declared voltage means for the analysed ones. Whether it is one of phases or between them, and on which side
/// of the transformers, is told by what the record's level is nearest to.
DeclaredVoltage declared_voltage(const readers::Record& record, Analysis& analysis, double given) {
  constexpr double sqrt3 = 1.7320508075688772;
  const double level = analysis.pre_event_voltage;
  const auto& channel = record.channels[analysis.voltages.channels[0]];
  const double ratio = channel.side == 'S' && channel.secondary > 0 && channel.primary > channel.secondary
                           ? channel.primary / channel.secondary
                           : 1;
  DeclaredVoltage best;
  double least_off = 0;
  for (const double over : {1.0, ratio}) {
    for (const bool line : {analysis.voltages.between_phases, !analysis.voltages.between_phases}) {
      // Between line and phase voltage lies the root of three, this way or that.
      const double other = line ? 1 / sqrt3 : sqrt3;
      const double meant = given / over * (line == analysis.voltages.between_phases ? 1 : other);
      const double off = std::abs(std::log(level / meant));
      if (best.level > 0 && off >= least_off) continue;
      best = {given, line, over != 1, meant};
      least_off = off;
    }
  }
  const double share = level / best.level;
  if (share < 0.7 || share > 1.4) {
    analysis.notes.push_back(
        fmt::format("The pre-event voltage is {:.4g} % of the declared one: check --nominal{}.", 100 * share,
                    channel.side == 'S' ? ", and whether it is meant for the transformers' secondary side" : ""));
  }
  return best;
}

}  // namespace

ObstacleText describe(Obstacle obstacle) {
  switch (obstacle) {
    case Obstacle::none:
      return {"none", "analysed"};
    case Obstacle::not_recovered:
      return {"not_recovered", "the voltage has not recovered by the end of the analysed stretch"};
    case Obstacle::near_start:
      return {"near_start", "less than four cycles of record lie before it"};
    case Obstacle::near_end:
      return {"near_end", "less than four cycles of record lie behind it"};
    case Obstacle::too_shallow:
      return {"too_shallow", "less than 14 % deep and shorter than five cycles"};
    case Obstacle::unstable:
      return {"unstable", "the RMS fluctuates in more than half of the half-cycles round it"};
    case Obstacle::too_long:
      return {"too_long", "with five cycles on either side it is longer than 3000 cycles"};
    case Obstacle::not_segmented:
      return {"not_segmented", "its segments could not be told apart"};
    case Obstacle::unsteady_before:
      return {"unsteady_before", "the voltage before it is not steady"};
    case Obstacle::not_found_again:
      return {"not_found_again", "against the level just before it, it does not fall below the threshold"};
  }
  throw std::logic_error("an obstacle without a description");
}

Analysis analyse(const readers::Record& record, const AnalysisOptions& options) {
  Analysis analysis;
  Waveform& waveform = analysis.waveform;
  analysis.voltages = pick_voltages(record, options.choice, waveform, analysis.notes, options.report_stage);
  const int samples_per_cycle = analysis.voltages.samples_per_cycle;

  const LibraryLines lines(options.trace);
  analysis.level_factor = level_factor(record, waveform, samples_per_cycle);
  if (analysis.level_factor != 1) {
    for (auto& phase : waveform) {
      for (float& sample : phase) sample = static_cast<float>(sample * analysis.level_factor);
    }
  }

  const auto longest_run = options.longest_run * static_cast<std::size_t>(samples_per_cycle);
  const DipSearch search = search_dips(waveform, samples_per_cycle, longest_run, options.report_stage);
  if (search.outcome != sagx::RunOutcome::searched) refuse(record, analysis, search.outcome);
  analysis.pre_event_voltage = search.nominal / analysis.level_factor;
  analysis.threshold = search.threshold / analysis.level_factor;
  analysis.dips = dips_of(search, analysis.level_factor);
  if (search.runs > 1) {
    analysis.notes.push_back(
        fmt::format("Searched in {} stretches that overlap, as one run of the library takes 3000 cycles and 15 dips.",
                    search.runs));
  }
  if (options.nominal > 0) analysis.declared = declared_voltage(record, analysis, options.nominal);
  analyse_each(analysis, options.report_stage);
  if (!analysis.dips.empty()) {
    const Waveform rms = curves_of(analysis).rms;
    note_joined_dips(analysis, rms);
    note_missed_levels(analysis, rms);
  }
  if (options.report) {
    if (waveform[0].size() > longest_run_cycles * static_cast<std::size_t>(samples_per_cycle)) {
      throw Refusal(record.file, "the library's own report takes 3000 cycles at most, and the record holds more",
                    "leave out --report");
    }
    options.report_stage("making the library's report", -1);
    analysis.report = library_report(waveform, samples_per_cycle);
  }
  return analysis;
}

}  // namespace analysis
