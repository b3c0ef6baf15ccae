#include "measure/course.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <utility>
#include <vector>

#include "measure/course_figures.h"
#include "measure/course_items.h"
#include "measure/dip_waveform.h"
#include "measure/explained.h"
#include "measure/frequency.h"
#include "measure/gradual_course.h"
#include "measure/harmonics.h"
#include "measure/moving_phasors.h"
#include "measure/partition.h"
#include "measure/phasor_distance.h"
#include "measure/refined_items.h"
#include "measure/runs.h"
#include "measure/short_dip.h"
#include "measure/slow_course.h"
#include "measure/steady_fit.h"

namespace measure {

namespace {

/// The level before a dip is measured over this many cycles of the steady voltage before it.
constexpr double level_cycles = 25;
/// Steady runs of fewer cycles between gradual runs become part of these.
constexpr double short_cycles = 5;
/// A voltage swings if it falls into this many parts, each of which changes gradually or is a fragment, and if at least
/// half of the changes between them are no switching. Such a change takes more cycles than a switching, or is small
/// beside what the voltage changes before and after it.
constexpr std::size_t fewest_parts = 4;
constexpr double longest_switching_cycles = 0.5;
constexpr double least_switching_share = 0.35;

class CourseFinder {
 public:
  CourseFinder(const Supply& supply, const Event& dip, double free_from_s)
      : supply_(supply),
        dip_(dip),
        free_from_s_(free_from_s),
        wave_(supply, dip),
        phases_(wave_.phases),
        excerpt_(wave_.excerpt) {}

  /// If no segment can be found at first, or the waveform contradicts one, the search is repeated with closer scrutiny.
  /// The course with the least contradictions is returned, unless it explains clearly less of the waveform.
  Course course() {
    constexpr double closest_scrutiny = 4;
    constexpr double clearly_less = 0.05;
    earliest_start_s_ = earliest_start_s();
    find_course(1);
    Course best = figures_of(wave_, found_);
    double least = contradicted_cycles();
    for (double scrutiny = 2; scrutiny <= closest_scrutiny && least > 0; scrutiny *= 2) {
      find_course(scrutiny);
      const double contradicted = contradicted_cycles();
      if (contradicted >= least) continue;
      Course other = figures_of(wave_, found_);
      if (other.explained_share.value_or(1) < best.explained_share.value_or(0) - clearly_less) continue;
      best = std::move(other);
      least = contradicted;
    }
    if (least > 0 && best.segments.empty()) {
      // A voltage that swings without a switching may have no piece that a fundamental explains.
      found_ = {};
      follow_slowly();
      keep_within_dip();
      if (!found_.items.empty()) best = figures_of(wave_, found_);
    }
    return best;
  }

 private:
  void find_course(double scrutiny) {
    found_ = {};
    if (find_runs(scrutiny)) {
      find_level_before();
      set_dead_phases_aside();
      collect_items();
      refine_items(wave_, dip_, {has_before(), runs_[0].end_plus_minus}, found_);
      if (has_before()) found_.start = Figure{found_.start_s, start_plus_minus()};
      if (found_.end_s) found_.end = Figure{*found_.end_s, end_plus_minus()};
    } else if (!take_short_dip()) {
      follow_slowly();
    }
    keep_within_dip();
  }

  /// Returns the length of the gradual segments whose voltage does not change, or of a dip without segments. A dip of
  /// about a cycle has none if no fundamental fits into it. Steady segments are not judged, because noise and decaying
  /// offsets can make any of them differ from its windows.
  [[nodiscard]] double contradicted_cycles() const {
    if (found_.items.empty()) {
      constexpr double shortest_with_segments = 2.5;
      const double length =
          cycles(std::min(wave_.dip_end_s, excerpt_.end_s()) - std::max(wave_.dip_start_s, excerpt_.begin_s()));
      return length < shortest_with_segments && !misses_dip() ? 0 : length;
    }
    double sum = 0;
    for (const Item& item : found_.items) {
      const bool holds = (!item.gradual || changes(excerpt_, item.start_s, item.end_s, found_.before)) &&
                         !hides_step(excerpt_, item.start_s, item.end_s);
      if (!holds) sum += cycles(item.end_s - item.start_s);
    }
    return sum;
  }

  /// Returns whether the changes found are only those by which the previous dip ends, are over before this one, or are
  /// too short to bring the RMS of a cycle below the threshold.
  [[nodiscard]] bool misses_dip() const {
    constexpr double shortest_dip_cycles = 0.05;
    if (!dip_.start_known || !dip_.end_s) return false;
    return !found_.start || !found_.end_s || found_.start_s <= free_from_s_ || *found_.end_s < wave_.dip_start_s ||
           cycles(*found_.end_s - found_.start_s) < shortest_dip_cycles;
  }

  /// Finds the runs and chooses those of the dip. If the voltage before the dip is already low, arcs or ringing have
  /// hidden the dip's first change, and the search is repeated with closer scrutiny.
  bool find_runs(double scrutiny) {
    constexpr double closest_scrutiny = 16;
    Excerpt quiet = excerpt_;
    remove_harmonics(quiet, supply_.track, earliest_start_s_ - 0.1 * excerpt_.cycle());
    for (;; scrutiny *= 2) {
      runs_ = runs_of(excerpt_, partition(quiet, scrutiny));
      if (!choose_runs()) return false;
      if (!hides_first_change() || scrutiny >= closest_scrutiny) return true;
    }
  }

  /// Returns whether the run before the dip ends more than a cycle after the dip was detected, and is low at its end.
  [[nodiscard]] bool hides_first_change() const {
    if (!has_before()) return false;
    const Run& before = runs_[first_ - 1];
    return before.end_s > wave_.dip_start_s + excerpt_.cycle() && !is_back(before, before.end_s);
  }

  // --- which runs belong to the dip

  [[nodiscard]] bool is_fall(std::size_t run) const { return runs_[run].gradual && !runs_[run].begins_abruptly; }

  /// Returns whether the dip may have begun in a gap of the samples next to its first window.
  [[nodiscard]] double earliest_start_s() const {
    double earliest = wave_.dip_start_s;
    if (!dip_.start_known) return earliest;
    const double reach = earliest - excerpt_.cycle();
    bool in_gap = false;
    for (std::size_t i = excerpt_.index_at(earliest); i-- > 0;) {
      const bool missing = excerpt_.is_missing(i);
      if (!missing && (in_gap || excerpt_.start_of(i) < reach)) break;
      in_gap = missing;
      if (missing) earliest = excerpt_.start_of(i);
    }
    return earliest;
  }

  /// Finds the first run of the dip and the first run after its last one. The dip's first window may begin up to a
  /// cycle before the change and half a cycle after it; its last window ends more than a cycle after the voltage is
  /// back.
  bool choose_runs() {
    // The last window of a shallow dip contains little of the dip.
    constexpr double latest_return = 0.2;
    if (runs_.empty()) return false;
    const double cycle = excerpt_.cycle();
    first_ = 0;
    if (dip_.start_known) {
      first_ = runs_.size();
      for (std::size_t k = 1; k < runs_.size() && first_ == runs_.size(); k++) {
        const double change_end = is_fall(k) ? runs_[k].end_s : runs_[k].begin_s;
        if (change_end > earliest_start_s_ - 0.6 * cycle) first_ = k;
      }
      if (first_ == runs_.size()) return false;
      if (begins_after_return()) first_++;
      const double change_begin = is_fall(first_) ? runs_[first_].begin_s : runs_[first_ - 1].end_s;
      if (change_begin > wave_.dip_end_s - latest_return * cycle) return false;
    }
    runs_end_ = runs_.size();
    if (!dip_.end_s) {
      find_return_at_end();
      return true;
    }
    for (std::size_t k = std::max<std::size_t>(first_, 1); k < runs_.size(); k++) {
      const bool after_ramp = is_fall(k - 1) && !runs_[k].begins_abruptly && k > first_;
      const double change_begin = after_ramp ? runs_[k - 1].begin_s : runs_[k - 1].end_s;
      if (change_begin < wave_.dip_end_s - latest_return * cycle) runs_end_ = k;
    }
    // A slow return that continues past the excerpt's end is the last run of the dip.
    if (runs_end_ + 1 == runs_.size() && runs_end_ > first_ && is_fall(runs_end_)) runs_end_ = runs_.size();
    return true;
  }

  /// Returns whether the first run is the usual voltage after an earlier dip, and the next change lies in the first
  /// window of this one.
  [[nodiscard]] bool begins_after_return() const {
    if (first_ + 1 >= runs_.size() || is_fall(first_) || runs_[first_].stretches.empty()) return false;
    const Run& run = runs_[first_];
    return run.begin_s < wave_.dip_start_s && run.end_s < wave_.dip_start_s + excerpt_.cycle() &&
           is_usual(run.stretches.front().fit.phasors(run.begin_s)) &&
           is_usual(run.stretches.back().fit.phasors(run.end_s));
  }

  /// Returns whether the voltage is above the threshold at the beginning or the end of a run.
  [[nodiscard]] bool is_back(const Run& run, double seconds) const {
    if (run.stretches.empty()) return false;
    const bool at_begin = seconds <= run.begin_s;
    const Phasors phasors = (at_begin ? run.stretches.front() : run.stretches.back()).fit.phasors(seconds);
    for (std::size_t phase = 0; phase < phases_; phase++) {
      if (wave_.absent[phase]) continue;
      if (wave_.volts(std::abs(phasors[phase])) < threshold * supply_.levels.fundamental_v[phase]) return false;
    }
    return true;
  }

  /// Finds the return of the voltage in a record that ends before the last window of the dip.
  void find_return_at_end() {
    while (runs_end_ > first_ + 1 && runs_[runs_end_ - 1].begins_abruptly &&
           is_back(runs_[runs_end_ - 1], runs_[runs_end_ - 1].begin_s)) {
      runs_end_--;
    }
  }

  [[nodiscard]] bool has_before() const { return dip_.start_known && first_ > 0; }
  [[nodiscard]] bool has_after() const { return runs_end_ < runs_.size(); }

  /// Returns whether each phase is about as high as usual.
  [[nodiscard]] bool is_usual(const Phasors& phasors) const {
    constexpr double about_usual = 0.06;
    for (std::size_t phase = 0; phase < phases_; phase++) {
      if (wave_.absent[phase]) continue;
      const double level = supply_.levels.fundamental_v[phase];
      if (!(std::abs(wave_.volts(std::abs(phasors[phase])) - level) < about_usual * level)) return false;
    }
    return true;
  }

  /// Returns whether the last run before the dip is the slow recovery of an earlier one and has come near the usual
  /// level.
  [[nodiscard]] bool follows_recovery() const {
    const Run& last = runs_[first_ - 1];
    return last.gradual && !last.stretches.empty() && last.end_s > free_from_s_ && free_from_s_ > excerpt_.begin_s() &&
           is_usual(last.stretches.back().fit.phasors(last.end_s));
  }

  /// Returns the last steady run before the dip at about the usual level. Runs at other levels are stages of the same
  /// disturbance. If the voltage was not steady since an earlier dip, the level is the one that its recovery has
  /// reached, whose angle the earlier dip may have changed.
  [[nodiscard]] std::size_t run_before() const {
    for (std::size_t k = first_; k-- > 0;) {
      const Run& run = runs_[k];
      if (run.end_s < free_from_s_ && follows_recovery()) return first_ - 1;
      if (run.gradual || run.length_s() < excerpt_.cycle()) continue;
      if (is_usual(run.stretches.front().fit.phasors(run.begin_s)) &&
          is_usual(run.stretches.back().fit.phasors(run.end_s))) {
        return k;
      }
    }
    return first_ - 1;
  }

  /// Takes the level before from a fit at one time; it was measured about another.
  void take_level(const PhasorFit& fit, double at_s, double measured_s) {
    found_.before = fit.phasors(at_s);
    found_.before_error = fit.standard_error(at_s);
    found_.before_s = measured_s;
  }

  void find_level_before() {
    const double cycle = excerpt_.cycle();
    if (has_before()) {
      const Run& run = runs_[run_before()];
      if (run.gradual && follows_recovery()) {
        take_level(run.stretches.back().fit, run.end_s, run.end_s);
        return;
      }
      const double from = std::max(run.begin_s, run.end_s - level_cycles * cycle);
      const PhasorFit fit = steady_fit(excerpt_, from, run.end_s, run.begins_abruptly && from == run.begin_s);
      take_level(fit, run.end_s, (from + run.end_s) / 2);
      find_flicker(from, run.end_s);
      return;
    }
    // The record begins in the dip.
    found_.source = LevelSource::after;
    if (has_after()) {
      const Run& run = runs_[runs_end_];
      const PhasorFit fit =
          steady_fit(excerpt_, run.begin_s, std::min(run.end_s, run.begin_s + level_cycles * cycle), true);
      take_level(fit, run.begin_s, run.begin_s);
    } else {
      found_.angles_known = false;
      const double usual = dip_.reference_v * std::numbers::sqrt2 / excerpt_.peak();
      for (std::size_t phase = 0; phase < phases_; phase++) found_.before[phase] = usual;
    }
    scale_to_declared();
  }

  /// If a dip is in progress at the record's beginning, its level before is the declared voltage, if that is known.
  void scale_to_declared() {
    if (!supply_.declared_v) return;
    found_.source = LevelSource::declared;
    const double declared = *supply_.declared_v * std::numbers::sqrt2 / excerpt_.peak();
    for (std::size_t phase = 0; phase < phases_; phase++) {
      found_.before[phase] *= declared / std::max(std::abs(found_.before[phase]), 1e-12);
    }
  }

  /// A phase without voltage before the dip is never low, and nothing is divided by its level.
  void set_dead_phases_aside() {
    constexpr double unreachable = 1e-9;
    for (std::size_t phase = 0; phase < phases_; phase++) {
      found_.dead[phase] = wave_.absent[phase] || !(std::abs(found_.before[phase]) > next_to_nothing);
      if (found_.dead[phase]) found_.before[phase] = unreachable;
    }
  }

  /// A dip of half a cycle gets a start and an end, but no voltage.
  bool take_short_dip() {
    if (!dip_.start_known || !dip_.end_s) return false;
    const auto dip =
        short_dip(excerpt_, wave_.dip_start_s - 0.1 * excerpt_.cycle(), wave_.dip_end_s + 0.1 * excerpt_.cycle());
    if (!dip) return false;
    found_.before = dip->before;
    found_.before_error = dip->before_error;
    found_.before_s = wave_.dip_start_s;
    set_dead_phases_aside();
    found_.start_s = dip->start_s.value;
    found_.end_s = dip->end_s.value;
    found_.start = dip->start_s;
    found_.end = dip->end_s;
    found_.changed = dip->phases;
    return true;
  }

  /// If no change can be found within the dip, the one-cycle fundamentals show its course.
  void follow_slowly() {
    constexpr double near_cycles = 6;
    const double cycle = excerpt_.cycle();
    std::optional<Phasors> level;
    if (dip_.start_known) {
      level = mean_fundamental(excerpt_, wave_.dip_start_s - near_cycles * cycle, wave_.dip_start_s - 0.6 * cycle);
    } else if (dip_.end_s) {
      found_.source = LevelSource::after;
      level = mean_fundamental(excerpt_, wave_.dip_end_s + 0.6 * cycle, wave_.dip_end_s + near_cycles * cycle);
    }
    found_.angles_known = level.has_value();
    const double usual = dip_.reference_v * std::numbers::sqrt2 / excerpt_.peak();
    for (std::size_t phase = 0; phase < phases_; phase++) found_.before[phase] = level ? (*level)[phase] : usual;
    if (!dip_.start_known) scale_to_declared();
    set_dead_phases_aside();
    found_.start_s = std::max({excerpt_.begin_s(), wave_.dip_start_s - cycle, free_from_s_});
    const double to = std::min(excerpt_.end_s(), wave_.dip_end_s + cycle);
    const auto slow = slow_course(excerpt_, found_.before, threshold, found_.start_s, to);
    if (!slow) return;
    Item item;
    item.start_s = slow->start_s;
    item.end_s = slow->end_s;
    item.gradual = true;
    item.goes_on = !dip_.end_s;
    item.phasors = slow->lowest;
    found_.items.push_back(item);
    found_.gradual_start = found_.gradual_end = true;
    found_.start_s = slow->start_s;
    // A one-cycle window shows only that a crossing lies somewhere within it.
    if (dip_.start_known) found_.start = Figure{slow->start_s, cycle / 2};
    if (!dip_.end_s) return;
    found_.end_s = slow->end_s;
    found_.end = Figure{slow->end_s, cycle / 2};
  }

  /// Keeps start and end near the detected dip, and the segments between them and in order.
  void keep_within_dip() {
    if (found_.end_s && *found_.end_s <= free_from_s_) {
      found_.start.reset();
      found_.end.reset();
      found_.end_s.reset();
      found_.items.clear();
      return;
    }
    constexpr double farthest_cycles = 2;
    const double reach = farthest_cycles * excerpt_.cycle();
    const double low = std::max({excerpt_.begin_s(), earliest_start_s_ - reach, free_from_s_});
    const double high = std::max(low, std::min(excerpt_.end_s(), wave_.dip_end_s + reach));
    found_.start_s = std::clamp(found_.start_s, low, high);
    if (found_.start) found_.start->value = found_.start_s;
    if (found_.end_s) found_.end_s = std::clamp(*found_.end_s, found_.start_s, high);
    if (found_.end) found_.end->value = *found_.end_s;
    double from = found_.start_s;
    const double to = found_.end_s.value_or(excerpt_.end_s());
    std::erase_if(found_.items, [&](Item& item) {
      item.start_s = std::clamp(item.start_s, from, std::max(from, to));
      item.end_s = std::clamp(item.end_s, from, std::max(from, to));
      from = std::max(from, item.end_s);
      return !(item.end_s > item.start_s);
    });
  }

  /// Measures how much the magnitudes vary in the steady voltage before the dip. No figure of the dip can be more
  /// accurate.
  void find_flicker(double from_s, double to_s) {
    const MovingPhasors moving(excerpt_);
    double sum = 0;
    double squares = 0;
    double count = 0;
    const std::size_t step = std::max<std::size_t>(1, moving.window() / 2);
    for (std::size_t i = excerpt_.index_at(from_s); i + moving.window() <= excerpt_.index_at(to_s); i += step) {
      const auto phasors = moving.at(i);
      if (!phasors) continue;
      for (std::size_t phase = 0; phase < phases_; phase++) {
        if (wave_.absent[phase] || !(std::abs(found_.before[phase]) > next_to_nothing)) continue;
        const double off = std::abs((*phasors)[phase]) / std::abs(found_.before[phase]) - 1;
        sum += off;
        squares += off * off;
        count++;
      }
    }
    if (count > 2) found_.flicker = std::sqrt(std::max(0.0, squares / count - sum / count * sum / count));
  }

  // --- segments

  void collect_items() {
    found_.start_s = has_before() ? runs_[first_ - 1].end_s : excerpt_.begin_s();
    if (has_after())
      found_.end_s = runs_[runs_end_].begins_abruptly ? runs_[runs_end_].returned_s : runs_[runs_end_].begin_s;
    take_recovery_after_dip();
    std::size_t k = first_;
    if (has_before() && k < runs_end_ && is_fall(k)) {
      const GradualCourse fall = followed(runs_[k], runs_[k].end_s);
      found_.gradual_start = true;
      found_.start_s = fall.falls_through(found_.before, threshold);
      k++;
    }
    while (k < runs_end_) k = take_runs(k);
    take_fall_and_return();
  }

  /// Makes one gradual segment, from threshold to threshold, of a voltage that falls gradually and recovers gradually
  /// at once.
  void take_fall_and_return() {
    if (!found_.items.empty() || !found_.gradual_start || !found_.gradual_end || !(*found_.end_s > found_.start_s))
      return;
    add_gradual(GradualCourse(excerpt_, found_.start_s, *found_.end_s, false), found_.start_s, *found_.end_s);
    Item& item = found_.items.back();
    item.is_whole = true;
    // A fit over the whole time would smooth the turning point, but fits over its two parts do not.
    for (std::size_t k = first_; k < runs_end_; k++) {
      const Phasors lowest = followed(runs_[k], runs_[k].end_s).lowest();
      for (std::size_t phase = 0; phase < phases_; phase++) {
        if (std::abs(lowest[phase]) < std::abs(item.phasors[phase])) item.phasors[phase] = lowest[phase];
      }
    }
  }

  [[nodiscard]] GradualCourse followed(const Run& run, double end_s) const {
    if (run.ramp) return {excerpt_, run};
    return {excerpt_, run.begin_s, end_s, run.begins_abruptly};
  }

  /// Adds a run that begins low after a sudden change and recovers gradually as the dip's last segment. A run that is
  /// above the threshold again within a cycle is not added, because it is the tail of the return.
  void take_recovery_after_dip() {
    if (!has_after() || !runs_[runs_end_].gradual || !runs_[runs_end_].begins_abruptly) return;
    // If ringing disturbs the first cycles, the whole run shows more reliably whether the voltage was low at its
    // beginning.
    if (is_back(runs_[runs_end_], runs_[runs_end_].begin_s)) return;
    const GradualCourse recovery = followed(runs_[runs_end_], runs_[runs_end_].end_s);
    if (recovery.first_share(found_.before) < threshold &&
        recovery.rises_through(found_.before, threshold) > runs_[runs_end_].begin_s + excerpt_.cycle()) {
      runs_end_++;
    }
  }

  /// Returns whether the change between a run and the next one is no switching.
  [[nodiscard]] bool is_part_of_swing(std::size_t k) const {
    const Run& one = runs_[k];
    const Run& next = runs_[k + 1];
    if (cycles(next.begin_s - one.end_s) > longest_switching_cycles) return true;
    if (one.stretches.empty() || next.stretches.empty()) return false;
    const auto first = [](const Run& run) { return run.stretches.front().fit.phasors(run.begin_s); };
    const auto last = [](const Run& run) { return run.stretches.back().fit.phasors(run.end_s); };
    const double beside =
        std::min(distance(first(one), last(one), phases_), distance(first(next), last(next), phases_));
    return distance(last(one), first(next), phases_) < least_switching_share * beside;
  }

  /// Returns the run after those that begin with run `k` and are parts of a swinging voltage, such as that of an open
  /// conductor beside live ones; `k` if it is none of them.
  [[nodiscard]] std::size_t end_of_swing(std::size_t k) const {
    std::size_t end = k;
    while (end < runs_end_ && (runs_[end].gradual || cycles(runs_[end].length_s()) < fragment_cycles)) end++;
    if (end < k + fewest_parts || !is_part_of_swing(k)) return k;
    while (!is_part_of_swing(end - 2)) end--;
    std::size_t swinging = 0;
    for (std::size_t run = k; run + 1 < end; run++) swinging += is_part_of_swing(run) ? 1 : 0;
    return end - k >= fewest_parts && 2 * swinging >= end - k - 1 ? end : k;
  }

  /// Adds one segment or transition that begins with run `k`; returns the run after it.
  std::size_t take_runs(std::size_t k) {
    const Run& run = runs_[k];
    if (const std::size_t end = end_of_swing(k); end > k) {
      const double end_s = runs_[end - 1].end_s;
      add_gradual(GradualCourse(excerpt_, run.begin_s, end_s, true), run.begin_s, end_s);
      found_.items.back().is_whole = true;
      return end;
    }
    // These runs follow each other without a sudden change.
    std::size_t to = k + 1;
    while (to < runs_end_ && !runs_[to].begins_abruptly) to++;
    const bool back_smoothly =
        to == runs_end_ && dip_.end_s && (runs_end_ == runs_.size() || !runs_[runs_end_].begins_abruptly);
    if (run.gradual && run.begins_abruptly && back_smoothly) {
      // This run begins gradually after a sudden change and continues without another one until the voltage is back.
      const GradualCourse recovery(excerpt_, run.begin_s, runs_[to - 1].end_s, true);
      found_.end_s = recovery.rises_through(found_.before, threshold);
      found_.gradual_end = true;
      if (*found_.end_s > run.begin_s) {
        add_gradual(recovery, run.begin_s, *found_.end_s);
        found_.items.back().is_whole = true;
      }
      return to;
    }
    if (!run.gradual) {
      const bool restless = k + 1 < to && k > first_ && runs_[k - 1].gradual && !run.begins_abruptly &&
                            run.length_s() < short_cycles * excerpt_.cycle();
      if (!restless) {
        add_steady(run, run.end_s);
        return k + 1;
      }
    }
    // A gradual run at the end of the dip is its recovery; before the end it is a separate segment.
    if (run.gradual && k + 1 == runs_end_ && dip_.end_s && !run.begins_abruptly && !run.ends_abruptly) {
      const GradualCourse back = followed(run, run.end_s);
      found_.end_s = back.rises_through(found_.before, threshold);
      found_.gradual_end = true;
      return k + 1;
    }
    constexpr double longest_transition_cycles = 2.5;
    if (run.ramp && run.length_s() < longest_transition_cycles * excerpt_.cycle()) return k + 1;
    // Gradual runs, and short steady runs between them, make one gradual segment.
    std::size_t last = k;
    while (last + 1 < to && (runs_[last + 1].gradual ||
                             (runs_[last + 1].length_s() < short_cycles * excerpt_.cycle() && last + 2 < to))) {
      last++;
    }
    const double end = runs_[last].end_s;
    const GradualCourse course(excerpt_, run.begin_s, end, run.begins_abruptly);
    if (course.spread() < steady_change / 2) {
      add_steady(run, end);
    } else {
      add_gradual(course, run.begin_s, end);
    }
    return last + 1;
  }

  void add_steady(const Run& run, double end_s) {
    found_.items.push_back(steady_item(excerpt_, run.begin_s, end_s, run.begins_abruptly));
  }

  void add_gradual(const GradualCourse& course, double start_s, double end_s) {
    found_.items.push_back(gradual_item(course, start_s, end_s));
  }

  [[nodiscard]] double cycles(double seconds) const { return seconds / excerpt_.cycle(); }

  // --- how well the ends are known

  /// If a voltage changes gradually, flicker and noise shift its crossing of the threshold.
  [[nodiscard]] double gradual_plus_minus(const Run& run) const {
    const GradualCourse course = followed(run, run.end_s);
    const double slope = course.change() / std::max(run.length_s(), excerpt_.cycle());
    double error = 0;
    for (std::size_t phase = 0; phase < phases_; phase++) {
      if (!found_.dead[phase]) error = std::max(error, found_.before_error[phase]);
    }
    // One-cycle windows show a bend of the course, and so its begin and end, to a quarter of a cycle.
    return std::hypot(2 * std::hypot(found_.flicker, error) / std::max(slope, 1e-6), excerpt_.cycle() / 4);
  }

  [[nodiscard]] double start_plus_minus() const {
    if (found_.gradual_start) {
      return std::max(wave_.sharpest(), std::min(gradual_plus_minus(runs_[first_]), runs_[first_].length_s()));
    }
    return std::max(wave_.sharpest(), runs_[first_ - 1].end_plus_minus);
  }

  /// Returns whether samples are missing at the time at which the dip may have begun.
  [[nodiscard]] bool starts_in_gap() const {
    const double off = start_plus_minus();
    const std::size_t end = excerpt_.index_at(found_.start_s + off);
    for (std::size_t i = excerpt_.index_at(found_.start_s - off); i < end; i++) {
      if (excerpt_.is_missing(i)) return true;
    }
    return false;
  }

  [[nodiscard]] double end_plus_minus() const {
    if (found_.gradual_end && runs_end_ > 0) {
      const Run& last = runs_[runs_end_ - 1];
      return std::max(wave_.sharpest(), std::min(gradual_plus_minus(last), last.length_s()));
    }
    const std::size_t run = std::min(runs_end_, runs_.size() - 1);
    // The effects that blur the beginning of the dip, in the record or before it was recorded, blur its end as well.
    const double blur =
        has_before() && !found_.gradual_start && !starts_in_gap() ? start_plus_minus() : wave_.sharpest();
    return runs_[run].returned_plus_minus + blur;
  }

  const Supply& supply_;
  const Event& dip_;
  double free_from_s_;
  DipWaveform wave_;
  std::size_t phases_;
  const Excerpt& excerpt_;
  double earliest_start_s_ = 0;
  std::vector<Run> runs_;
  std::size_t first_ = 0;     // of the dip's runs
  std::size_t runs_end_ = 0;  // of the runs after them
  FoundCourse found_;
};

}  // namespace

Course measure_course(const Supply& supply, const Event& dip, double free_from_s) {
  return CourseFinder(supply, dip, free_from_s).course();
}

}  // namespace measure
