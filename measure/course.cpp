#include "measure/course.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <utility>
#include <vector>

#include "measure/course_items.h"
#include "measure/cycle_rms.h"
#include "measure/dip_type.h"
#include "measure/explained.h"
#include "measure/frequency.h"
#include "measure/gradual_course.h"
#include "measure/harmonics.h"
#include "measure/lowest_of_six.h"
#include "measure/moving_phasors.h"
#include "measure/partition.h"
#include "measure/runs.h"
#include "measure/short_dip.h"
#include "measure/slow_course.h"
#include "measure/steady_fit.h"

namespace measure {

namespace {

constexpr double pi = std::numbers::pi;
constexpr double infinity = std::numeric_limits<double>::infinity();

/// A phase is low below this share of its own level before.
constexpr double threshold = 0.9;
/// How much of the waveform round a dip is looked at, in cycles.
constexpr double cycles_before = 25;
constexpr double cycles_after = 15;
/// Neighbouring segments whose phasors differ by less are one; in usual peaks, as all voltages within a course.
constexpr double same_voltage = 0.025;
/// A gradual run that changes less than this is a steady one.
constexpr double steady_change = 0.035;
/// Steady runs of fewer cycles between gradual ones are part of these.
constexpr double short_cycles = 5;

class CourseFinder {
 public:
  CourseFinder(const Supply& supply, const Event& dip)
      : supply_(supply),
        dip_(dip),
        phases_(supply.waveform.phases.size()),
        dip_start_s_(dip.start_known ? dip.start_s : -infinity),
        dip_end_s_(dip.end_s.value_or(infinity)),
        frequency_(frequency_round(supply.track, supply.wiring.to_positive(), phases_, dip_start_s_, dip_end_s_)),
        absent_(absent_phases()),
        excerpt_(excerpt_round()) {}

  Course course() {
    earliest_start_s_ = earliest_start_s();
    find_runs();
    Course course;
    course.frequency = frequency_.hertz;
    course.frequency_before = frequency_.before;
    course.frequency_after = frequency_.after;
    if (choose_runs()) {
      find_level_before();
      set_dead_phases_aside();
      collect_items();
      refine_items();
      if (has_before()) start_ = Figure{start_s_, start_plus_minus()};
      if (end_s_) end_ = Figure{*end_s_, end_plus_minus()};
    } else if (!take_short_dip()) {
      follow_slowly();
    }
    keep_within_dip();
    write(course);
    return course;
  }

 private:
  // --- the waveform round the dip
  // -------------------------------------------------------------------------------------

  /// The phases that miss samples in most of the dip's cycles, unless all do: the others are measured without them.
  [[nodiscard]] PhaseFlags absent_phases() const {
    const CycleTrack& track = supply_.track;
    const std::size_t first = track.cycle_at(std::max(0.0, dip_start_s_));
    const std::size_t last = track.cycle_at(std::min(dip_end_s_, track.time_of(track.cycles() - 1)));
    PhaseFlags absent{};
    bool any_present = false;
    for (std::size_t phase = 0; phase < phases_; phase++) {
      std::size_t missing = 0;
      for (std::size_t k = first; k <= last; k++) missing += std::isfinite(track.phasors(k)[phase].real()) ? 0 : 1;
      absent[phase] = 2 * missing > last - first + 1;
      any_present = any_present || !absent[phase];
    }
    return any_present ? absent : PhaseFlags{};
  }

  /// The mean of the usual levels of the phases that have a voltage.
  [[nodiscard]] double usual_peak() const {
    double highest = 0;
    for (std::size_t phase = 0; phase < phases_; phase++) {
      if (!absent_[phase]) highest = std::max(highest, supply_.levels.fundamental_v[phase]);
    }
    double sum = 0;
    double count = 0;
    for (std::size_t phase = 0; phase < phases_; phase++) {
      const double level = supply_.levels.fundamental_v[phase];
      if (absent_[phase] || !(level > next_to_nothing * highest)) continue;
      sum += level * std::numbers::sqrt2;
      count++;
    }
    return sum / count;
  }

  [[nodiscard]] Excerpt excerpt_round() const {
    const Waveform& waveform = supply_.waveform;
    const double cycle = 1 / frequency_.hertz;
    const double from = std::max(0.0, dip_start_s_ - cycles_before * cycle);
    const double length_s = static_cast<double>(waveform.length()) / waveform.rate;
    const double to = std::min(length_s, dip_end_s_ + cycles_after * cycle);
    double peak = usual_peak();
    if (!(peak > 0) || !std::isfinite(peak)) peak = dip_.reference_v * std::numbers::sqrt2;
    if (!(peak > 0) || !std::isfinite(peak)) peak = 1;
    return {waveform,
            static_cast<std::size_t>(from * waveform.rate),
            static_cast<std::size_t>(std::ceil(to * waveform.rate)),
            peak,
            frequency_.hertz,
            absent_};
  }

  void find_runs() {
    Excerpt quiet = excerpt_;
    remove_harmonics(quiet, supply_.track, earliest_start_s_ - 0.1 * excerpt_.cycle());
    runs_ = runs_of(excerpt_, partition(quiet));
  }

  // --- which runs belong to the dip
  // -----------------------------------------------------------------------------------

  [[nodiscard]] bool is_fall(std::size_t run) const { return runs_[run].gradual && !runs_[run].begins_abruptly; }

  /// The dip may have begun in a gap of the samples that lies next to its first window.
  [[nodiscard]] double earliest_start_s() const {
    double earliest = dip_start_s_;
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

  /// Finds the first run of the dip and the one after its last. A dip's first window may begin up to a cycle before the
  /// change and half a cycle after it, its last one ends more than a cycle after the voltage is back.
  bool choose_runs() {
    // A shallow dip's last window holds little of the dip.
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
      const double change_begin = is_fall(first_) ? runs_[first_].begin_s : runs_[first_ - 1].end_s;
      if (change_begin > dip_end_s_ - latest_return * cycle) return false;
    }
    runs_end_ = runs_.size();
    if (!dip_.end_s) {
      find_return_at_end();
      return true;
    }
    for (std::size_t k = std::max<std::size_t>(first_, 1); k < runs_.size(); k++) {
      const bool after_ramp = is_fall(k - 1) && !runs_[k].begins_abruptly && k > first_;
      const double change_begin = after_ramp ? runs_[k - 1].begin_s : runs_[k - 1].end_s;
      if (change_begin < dip_end_s_ - latest_return * cycle) runs_end_ = k;
    }
    // A slow return that goes on past the excerpt's end is the dip's own last run.
    if (runs_end_ + 1 == runs_.size() && runs_end_ > first_ && is_fall(runs_end_)) runs_end_ = runs_.size();
    return true;
  }

  /// Whether the voltage is above the threshold at a time of a run.
  [[nodiscard]] bool is_back(const Run& run, double seconds) const {
    if (run.stretches.empty()) return false;
    const Phasors phasors = run.stretches.front().fit.phasors(seconds);
    for (std::size_t phase = 0; phase < phases_; phase++) {
      if (absent_[phase]) continue;
      if (volts(std::abs(phasors[phase])) < threshold * supply_.levels.fundamental_v[phase]) return false;
    }
    return true;
  }

  /// The record may end before the last window of the dip, although the voltage is back.
  void find_return_at_end() {
    while (runs_end_ > first_ + 1 && runs_[runs_end_ - 1].begins_abruptly &&
           is_back(runs_[runs_end_ - 1], runs_[runs_end_ - 1].begin_s)) {
      runs_end_--;
    }
  }

  [[nodiscard]] bool has_before() const { return dip_.start_known && first_ > 0; }
  [[nodiscard]] bool has_after() const { return runs_end_ < runs_.size(); }

  /// The last steady run before the dip at about the usual level: others are stages of the same disturbance.
  [[nodiscard]] std::size_t run_before() const {
    constexpr double about_usual = 0.06;
    for (std::size_t k = first_; k-- > 0;) {
      if (runs_[k].gradual || runs_[k].length_s() < excerpt_.cycle()) continue;
      const Phasors phasors = runs_[k].stretches.back().fit.phasors(runs_[k].end_s);
      bool usual = true;
      for (std::size_t phase = 0; phase < phases_; phase++) {
        if (absent_[phase]) continue;
        const double level = supply_.levels.fundamental_v[phase];
        usual = usual && std::abs(volts(std::abs(phasors[phase])) - level) < about_usual * level;
      }
      if (usual) return k;
    }
    return first_ - 1;
  }

  void find_level_before() {
    const double cycle = excerpt_.cycle();
    if (has_before()) {
      const Run& run = runs_[run_before()];
      const double from = std::max(run.begin_s, run.end_s - cycles_before * cycle);
      const PhasorFit fit = steady_fit(excerpt_, from, run.end_s, run.begins_abruptly && from == run.begin_s);
      before_ = fit.phasors(run.end_s);
      before_error_ = fit.standard_error(run.end_s);
      before_s_ = (from + run.end_s) / 2;
      find_flicker(from, run.end_s);
      return;
    }
    // The record begins in the dip.
    source_ = LevelSource::after;
    if (has_after()) {
      const Run& run = runs_[runs_end_];
      const PhasorFit fit =
          steady_fit(excerpt_, run.begin_s, std::min(run.end_s, run.begin_s + cycles_before * cycle), true);
      before_ = fit.phasors(run.begin_s);
      before_error_ = fit.standard_error(run.begin_s);
      before_s_ = run.begin_s;
    } else {
      angles_known_ = false;
      const double usual = dip_.reference_v * std::numbers::sqrt2 / excerpt_.peak();
      for (std::size_t phase = 0; phase < phases_; phase++) before_[phase] = usual;
    }
    scale_to_declared();
  }

  /// The level of a dip that is on at the record's beginning is the declared one where that is known.
  void scale_to_declared() {
    if (!supply_.declared_v) return;
    source_ = LevelSource::declared;
    const double declared = *supply_.declared_v * std::numbers::sqrt2 / excerpt_.peak();
    for (std::size_t phase = 0; phase < phases_; phase++) {
      before_[phase] *= declared / std::max(std::abs(before_[phase]), 1e-12);
    }
  }

  /// A phase without voltage before is never low, and nothing is divided by what it has.
  void set_dead_phases_aside() {
    constexpr double unreachable = 1e-9;
    for (std::size_t phase = 0; phase < phases_; phase++) {
      dead_[phase] = absent_[phase] || !(std::abs(before_[phase]) > next_to_nothing);
      if (dead_[phase]) before_[phase] = unreachable;
    }
  }

  /// A dip of half a cycle has a start and an end, and no voltage of its own.
  bool take_short_dip() {
    if (!dip_.start_known || !dip_.end_s) return false;
    const auto dip = short_dip(excerpt_, dip_start_s_ - 0.1 * excerpt_.cycle(), dip_end_s_ + 0.1 * excerpt_.cycle());
    if (!dip) return false;
    before_ = dip->before;
    before_error_ = dip->before_error;
    before_s_ = dip_start_s_;
    set_dead_phases_aside();
    start_s_ = dip->start_s.value;
    end_s_ = dip->end_s.value;
    start_ = dip->start_s;
    end_ = dip->end_s;
    changed_ = dip->phases;
    return true;
  }

  /// Where no change can be told within the dip, the one-cycle fundamentals show its course.
  void follow_slowly() {
    constexpr double level_cycles = 6;
    const double cycle = excerpt_.cycle();
    std::optional<Phasors> level;
    if (dip_.start_known) {
      level = mean_fundamental(excerpt_, dip_start_s_ - level_cycles * cycle, dip_start_s_ - 0.6 * cycle);
    } else if (dip_.end_s) {
      source_ = LevelSource::after;
      level = mean_fundamental(excerpt_, dip_end_s_ + 0.6 * cycle, dip_end_s_ + level_cycles * cycle);
    }
    angles_known_ = level.has_value();
    const double usual = dip_.reference_v * std::numbers::sqrt2 / excerpt_.peak();
    for (std::size_t phase = 0; phase < phases_; phase++) before_[phase] = level ? (*level)[phase] : usual;
    if (!dip_.start_known) scale_to_declared();
    set_dead_phases_aside();
    start_s_ = std::max(excerpt_.begin_s(), dip_start_s_ - cycle);
    const double to = std::min(excerpt_.end_s(), dip_end_s_ + cycle);
    const auto slow = slow_course(excerpt_, before_, threshold, start_s_, to);
    if (!slow) return;
    Item item;
    item.start_s = slow->start_s;
    item.end_s = slow->end_s;
    item.gradual = true;
    item.goes_on = !dip_.end_s;
    item.phasors = slow->lowest;
    items_.push_back(item);
    gradual_start_ = gradual_end_ = true;
    start_s_ = slow->start_s;
    // A cycle tells no more than that a crossing lies within it.
    if (dip_.start_known) start_ = Figure{slow->start_s, cycle / 2};
    if (!dip_.end_s) return;
    end_s_ = slow->end_s;
    end_ = Figure{slow->end_s, cycle / 2};
  }

  /// Start and end stay near the detected dip, and the segments between them, in order.
  void keep_within_dip() {
    constexpr double farthest_cycles = 2;
    const double reach = farthest_cycles * excerpt_.cycle();
    const double low = std::max(excerpt_.begin_s(), earliest_start_s_ - reach);
    const double high = std::max(low, std::min(excerpt_.end_s(), dip_end_s_ + reach));
    start_s_ = std::clamp(start_s_, low, high);
    if (start_) start_->value = start_s_;
    if (end_s_) end_s_ = std::clamp(*end_s_, start_s_, high);
    if (end_) end_->value = *end_s_;
    double from = start_s_;
    const double to = end_s_.value_or(excerpt_.end_s());
    std::erase_if(items_, [&](Item& item) {
      item.start_s = std::clamp(item.start_s, from, std::max(from, to));
      item.end_s = std::clamp(item.end_s, from, std::max(from, to));
      from = std::max(from, item.end_s);
      return !(item.end_s > item.start_s);
    });
  }

  /// How much the magnitudes sway in the steady voltage before: what no figure of the dip can be better than.
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
        if (absent_[phase] || !(std::abs(before_[phase]) > next_to_nothing)) continue;
        const double off = std::abs((*phasors)[phase]) / std::abs(before_[phase]) - 1;
        sum += off;
        squares += off * off;
        count++;
      }
    }
    if (count > 2) flicker_ = std::sqrt(std::max(0.0, squares / count - sum / count * sum / count));
  }

  // --- segments
  // -------------------------------------------------------------------------------------------------------

  void collect_items() {
    start_s_ = has_before() ? runs_[first_ - 1].end_s : excerpt_.begin_s();
    if (has_after()) end_s_ = runs_[runs_end_].begins_abruptly ? runs_[runs_end_].returned_s : runs_[runs_end_].begin_s;
    take_recovery_after_dip();
    std::size_t k = first_;
    if (has_before() && k < runs_end_ && is_fall(k)) {
      const GradualCourse fall = followed(runs_[k], runs_[k].end_s);
      gradual_start_ = true;
      start_s_ = fall.falls_through(before_, threshold);
      k++;
    }
    while (k < runs_end_) k = take_runs(k);
    take_fall_and_return();
  }

  /// A voltage that falls gradually and comes back gradually at once has one gradual segment, from threshold to
  /// threshold.
  void take_fall_and_return() {
    if (!items_.empty() || !gradual_start_ || !gradual_end_ || !(*end_s_ > start_s_)) return;
    add_gradual(GradualCourse(excerpt_, start_s_, *end_s_, false), start_s_, *end_s_);
    Item& item = items_.back();
    item.recovery = true;
    // Fits of the whole reach across the turning point, those of its parts do not.
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

  /// A course that begins low after a sudden change and recovers gradually is the dip's own last one, unless it is
  /// above the threshold again within a cycle: then it is the tail of the return.
  void take_recovery_after_dip() {
    if (!has_after() || !runs_[runs_end_].gradual || !runs_[runs_end_].begins_abruptly) return;
    // Where ringing spoils the first cycles, the whole run tells better whether the voltage was low at its beginning.
    if (is_back(runs_[runs_end_], runs_[runs_end_].begin_s)) return;
    const GradualCourse recovery = followed(runs_[runs_end_], runs_[runs_end_].end_s);
    if (recovery.first_share(before_) < threshold &&
        recovery.rises_through(before_, threshold) > runs_[runs_end_].begin_s + excerpt_.cycle()) {
      runs_end_++;
    }
  }

  /// Takes one segment or transition that begins with run `k`; returns the run after it.
  std::size_t take_runs(std::size_t k) {
    const Run& run = runs_[k];
    // Runs that follow without a sudden change.
    std::size_t to = k + 1;
    while (to < runs_end_ && !runs_[to].begins_abruptly) to++;
    const bool back_smoothly =
        to == runs_end_ && dip_.end_s && (runs_end_ == runs_.size() || !runs_[runs_end_].begins_abruptly);
    if (run.gradual && run.begins_abruptly && back_smoothly) {
      // What begins gradually after a sudden change and goes on without another until the voltage is back.
      const GradualCourse recovery(excerpt_, run.begin_s, runs_[to - 1].end_s, true);
      end_s_ = recovery.rises_through(before_, threshold);
      gradual_end_ = true;
      if (*end_s_ > run.begin_s) {
        add_gradual(recovery, run.begin_s, *end_s_);
        items_.back().recovery = true;
      }
      return to;
    }
    if (!run.gradual) {
      const bool restless = k + 1 < to && k > first_ && runs_[k - 1].gradual && !run.begins_abruptly &&
                            run.length_s() < short_cycles * excerpt_.cycle();
      if (!restless) {
        add_steady(run);
        return k + 1;
      }
    }
    // A gradual run at the end of the dip brings the voltage back; where the dip goes on, it is a segment of its own.
    if (run.gradual && k + 1 == runs_end_ && dip_.end_s && !run.begins_abruptly && !run.ends_abruptly) {
      const GradualCourse back = followed(run, run.end_s);
      end_s_ = back.rises_through(before_, threshold);
      gradual_end_ = true;
      return k + 1;
    }
    constexpr double longest_transition_cycles = 2.5;
    if (run.ramp && run.length_s() < longest_transition_cycles * excerpt_.cycle()) return k + 1;
    // Gradual runs, and short steady ones between them, are one gradual segment.
    std::size_t last = k;
    while (last + 1 < to && (runs_[last + 1].gradual ||
                             (runs_[last + 1].length_s() < short_cycles * excerpt_.cycle() && last + 2 < to))) {
      last++;
    }
    const double end = runs_[last].end_s;
    const GradualCourse course(excerpt_, run.begin_s, end, run.begins_abruptly);
    if (course.spread() < steady_change / 2) {
      Run steady = run;
      steady.end_s = end;
      add_steady(steady);
    } else {
      add_gradual(course, run.begin_s, end);
    }
    return last + 1;
  }

  void add_steady(const Run& run) {
    Item item;
    item.start_s = run.begin_s;
    item.end_s = run.end_s;
    const PhasorFit fit = steady_fit(excerpt_, run.begin_s, run.end_s, run.begins_abruptly);
    item.phasors = fit.phasors(run.begin_s);
    item.error = fit.standard_error(run.begin_s);
    item.fit = fit;
    items_.push_back(item);
  }

  void add_gradual(const GradualCourse& course, double start_s, double end_s) {
    Item item;
    item.start_s = start_s;
    item.end_s = end_s;
    item.gradual = true;
    item.phasors = course.lowest();
    item.error = course.standard_error();
    items_.push_back(item);
  }

  [[nodiscard]] double distance(const Phasors& one, const Phasors& other) const {
    double farthest = 0;
    for (std::size_t phase = 0; phase < phases_; phase++) {
      if (std::abs(one[phase]) < next_to_nothing && std::abs(other[phase]) < next_to_nothing) continue;
      farthest = std::max(farthest, std::abs(one[phase] - other[phase]));
    }
    return farthest;
  }

  /// Joins what is one segment, and looks at steady segments again that the waveform does not bear out.
  void refine_items() {
    join_dead(excerpt_, before_, dead_, items_);
    drop_before();
    drop_fragile(excerpt_, items_);
    fill_gaps();
    drop_tail();
    std::vector<Item> joined;
    for (const Item& item : items_) {
      const bool same = !joined.empty() && !joined.back().gradual && !item.gradual &&
                        distance(joined.back().phasors, item.phasors) < same_voltage;
      if (same) {
        joined.back().end_s = item.end_s;
      } else {
        joined.push_back(item);
      }
    }
    items_.clear();
    for (const Item& item : joined) add_borne_out(item);
    if (!dip_.end_s && !items_.empty() && items_.back().end_s >= excerpt_.end_s() - 2 / excerpt_.rate()) {
      items_.back().goes_on = true;
    }
  }

  [[nodiscard]] double cycles(double seconds) const { return seconds / excerpt_.cycle(); }

  /// Where the record begins less than a window before the dip, its first segment is the voltage before.
  void drop_before() {
    if (dip_.start_known || items_.size() < 2) return;
    const Item& first = items_.front();
    if (first.gradual || cycles(first.end_s - first.start_s) > 1.5) return;
    for (std::size_t phase = 0; phase < phases_; phase++) {
      if (!dead_[phase] && std::abs(first.phasors[phase]) < threshold * std::abs(before_[phase])) return;
    }
    const double start = first.end_s;
    items_.erase(items_.begin());
    start_s_ = start;
    start_ = Figure{start, std::max(sharpest(), runs_[0].end_plus_minus)};
  }

  /// A long time between two segments in which nothing is steady is a gradual segment.
  void fill_gaps() {
    constexpr double longest_change_cycles = 2.5;
    const std::vector<Item> found = std::move(items_);
    items_.clear();
    for (const Item& item : found) {
      const double from = items_.empty() ? item.start_s : items_.back().end_s;
      if (cycles(item.start_s - from) > longest_change_cycles) {
        add_gradual(GradualCourse(excerpt_, from, item.start_s, true), from, item.start_s);
      }
      items_.push_back(item);
    }
    if (found.empty() || gradual_end_ || !end_s_) return;
    const double from = items_.back().end_s;
    if (cycles(*end_s_ - from) > longest_change_cycles) {
      add_gradual(GradualCourse(excerpt_, from, *end_s_, true), from, *end_s_);
    }
  }

  /// A short last segment in which no phase is low any more is the tail of the return.
  void drop_tail() {
    constexpr double short_tail_cycles = 3;
    if (!dip_.end_s || items_.empty() || (items_.size() == 1 && !has_before())) return;
    const Item& last = items_.back();
    if (cycles(last.end_s - last.start_s) >= short_tail_cycles) return;
    for (std::size_t phase = 0; phase < phases_; phase++) {
      if (std::abs(last.phasors[phase]) < threshold * std::abs(before_[phase])) return;
    }
    if (items_.size() == 1) return;
    end_s_ = last.start_s;
    gradual_end_ = false;
    items_.pop_back();
  }

  /// A steady segment whose one-cycle windows differ from it is a gradual one after all, or it is shorter than it was
  /// taken for; a gradual one that ends where it began is two.
  void add_borne_out(Item item) {
    const double length = (item.end_s - item.start_s) / excerpt_.cycle();
    if (item.recovery) {
      items_.push_back(item);
      return;
    }
    if (item.gradual) {
      const GradualCourse course(excerpt_, item.start_s, item.end_s, false);
      if (!changes(excerpt_, item.start_s, item.end_s, before_) && course.spread() < steady_change) {
        Run run;
        run.begin_s = item.start_s;
        run.end_s = item.end_s;
        run.begins_abruptly = true;
        add_steady(run);
        return;
      }
      if (length > 4 && course.change() < same_voltage && course.spread() > steady_change / 2) {
        const double turn = std::clamp(course.turning_point(), item.start_s + 1.5 * excerpt_.cycle(),
                                       item.end_s - 1.5 * excerpt_.cycle());
        add_gradual(GradualCourse(excerpt_, item.start_s, turn, false), item.start_s, turn);
        add_gradual(GradualCourse(excerpt_, turn, item.end_s, false), turn, item.end_s);
      } else {
        items_.push_back(item);
      }
      return;
    }
    Segment segment;
    segment.start_s = item.start_s;
    segment.end_s = item.end_s;
    segment.phasors = item.phasors;
    if (is_borne_out(excerpt_, segment, item.fit, before_)) {
      items_.push_back(item);
      return;
    }
    if (length > 3) {
      const GradualCourse course(excerpt_, item.start_s, item.end_s, true);
      if (course.change() > same_voltage) {
        add_gradual(course, item.start_s, item.end_s);
        return;
      }
    }
    if (!is_dead(item, before_, dead_, phases_)) take_steadiest(excerpt_, item);
    items_.push_back(item);
  }

  // --- figures
  // --------------------------------------------------------------------------------------------------------

  [[nodiscard]] double volts(double peaks) const { return peaks * excerpt_.peak() / std::numbers::sqrt2; }

  void write(Course& course) const {
    course.level_source = source_;
    for (std::size_t phase = 0; phase < phases_; phase++) {
      if (!dead_[phase]) course.before[phase] = before_[phase] * in_time(phase) * volts(1);
    }
    course.start_s = start_;
    course.end_s = end_;
    write_point_on_wave(course);
    std::vector<Segment> in_peaks;
    for (const Item& item : items_) {
      Segment segment = segment_of(item);
      in_peaks.push_back(segment);
      if (segment.measured) in_peaks.back().phasors = item.phasors;
      course.segments.push_back(segment);
    }
    write_transitions(course);
    course.explained_share = explained_share(excerpt_, with_gradual_transitions(in_peaks, course), before_, start_s_,
                                             end_s_.value_or(excerpt_.end_s()));
    write_slopes(course);
    if (phases_ == 3 && !supply_.between_phases && angles_known_ && absent_ == PhaseFlags{}) {
      Phasors correction{};
      for (std::size_t phase = 0; phase < phases_; phase++) {
        correction[phase] = supply_.wiring.turned_phase == phase ? -in_time(phase) : in_time(phase);
      }
      course.lowest_of_six = lowest_of_six(excerpt_, before_, correction, start_s_, end_s_.value_or(excerpt_.end_s()));
    }
  }

  /// The segments, and the gradual transitions as if they were segments, in order of time.
  [[nodiscard]] static std::vector<Segment> with_gradual_transitions(std::vector<Segment> segments,
                                                                     const Course& course) {
    for (const Transition& transition : course.transitions) {
      if (!transition.gradual) continue;
      Segment part;
      part.gradual = true;
      part.start_s = transition.start_s;
      part.end_s = transition.end_s;
      segments.push_back(part);
    }
    std::stable_sort(segments.begin(), segments.end(),
                     [](const Segment& one, const Segment& other) { return one.start_s < other.start_s; });
    return segments;
  }

  /// What a phase's phasors are multiplied by because its samples were taken later than their indices say.
  [[nodiscard]] Phasor in_time(std::size_t phase) const {
    return std::polar(1.0, -excerpt_.omega() * supply_.waveform.phases[phase].skew);
  }

  void write_slopes(Course& course) const {
    const double from = start_ ? start_s_ - excerpt_.cycle() : excerpt_.begin_s();
    const double to = end_s_ ? *end_s_ + excerpt_.cycle() : excerpt_.end_s();
    for (std::size_t phase = 0; phase < phases_; phase++) {
      const CycleRms rms(supply_.waveform, phase, frequency_.hertz, from, to);
      course.steepest_change_v_per_s[phase] = rms.steepest();
    }
  }

  /// What no instant is better known than: filters and converters before the record move a change by a sample.
  [[nodiscard]] double sharpest() const { return 1 / excerpt_.rate(); }

  /// Where a voltage changes gradually, flicker and noise move its crossing of the threshold.
  [[nodiscard]] double gradual_plus_minus(const Run& run) const {
    const GradualCourse course = followed(run, run.end_s);
    const double slope = course.change() / std::max(run.length_s(), excerpt_.cycle());
    double error = 0;
    for (std::size_t phase = 0; phase < phases_; phase++) {
      if (!dead_[phase]) error = std::max(error, before_error_[phase]);
    }
    // Windows of a cycle show a bend of the course, and so where it begins and ends, to a quarter of a cycle.
    return std::hypot(2 * std::hypot(flicker_, error) / std::max(slope, 1e-6), excerpt_.cycle() / 4);
  }

  [[nodiscard]] double start_plus_minus() const {
    if (gradual_start_) {
      return std::max(sharpest(), std::min(gradual_plus_minus(runs_[first_]), runs_[first_].length_s()));
    }
    return std::max(sharpest(), runs_[first_ - 1].end_plus_minus);
  }

  /// Whether samples are missing where the dip may have begun.
  [[nodiscard]] bool starts_in_gap() const {
    const double off = start_plus_minus();
    const std::size_t end = excerpt_.index_at(start_s_ + off);
    for (std::size_t i = excerpt_.index_at(start_s_ - off); i < end; i++) {
      if (excerpt_.is_missing(i)) return true;
    }
    return false;
  }

  [[nodiscard]] double end_plus_minus() const {
    if (gradual_end_ && runs_end_ > 0) {
      const Run& last = runs_[runs_end_ - 1];
      return std::max(sharpest(), std::min(gradual_plus_minus(last), last.length_s()));
    }
    const std::size_t run = std::min(runs_end_, runs_.size() - 1);
    // What blurs the beginning of the dip, before the record or in it, blurs its end as well.
    const double blur = has_before() && !gradual_start_ && !starts_in_gap() ? start_plus_minus() : sharpest();
    return runs_[run].returned_plus_minus + blur;
  }

  void write_point_on_wave(Course& course) const {
    if (!start_ || gradual_start_) return;
    for (std::size_t phase = 0; phase < phases_; phase++) {
      if (dead_[phase]) continue;
      double degrees = (excerpt_.omega() * start_s_ + std::arg(before_[phase] * in_time(phase)) + pi / 2) * 180 / pi;
      degrees -= 360 * std::floor(degrees / 360);
      const double angle_error = 2 * before_error_[phase] / std::abs(before_[phase]) * 180 / pi;
      course.point_on_wave_degrees[phase] =
          Figure{degrees, std::hypot(360 * frequency_.hertz * start_->plus_minus, angle_error)};
    }
  }

  /// Whether there are samples of at least half a cycle, or of a shorter segment all.
  [[nodiscard]] bool is_measured(const Item& item) const {
    const std::size_t begin = excerpt_.index_at(item.start_s);
    const std::size_t end = excerpt_.index_at(item.end_s);
    std::size_t missing = 0;
    for (std::size_t i = begin; i < end; i++) missing += excerpt_.is_missing(i) ? 1 : 0;
    for (std::size_t phase = 0; phase < phases_; phase++) {
      if (!std::isfinite(std::abs(item.phasors[phase])) || !std::isfinite(item.error[phase])) return false;
    }
    return missing == 0 || static_cast<double>(end - begin - missing) >= 0.5 * excerpt_.averages_per_cycle();
  }

  [[nodiscard]] Segment segment_of(const Item& item) const {
    Segment segment;
    segment.start_s = item.start_s;
    if (!item.goes_on) segment.end_s = item.end_s;
    segment.gradual = item.gradual;
    segment.measured = is_measured(item);
    if (!segment.measured) return segment;
    for (std::size_t phase = 0; phase < phases_; phase++) {
      segment.phasors[phase] = item.phasors[phase] * in_time(phase) * volts(1);
      write_phase(item, phase, segment.phases[phase]);
    }
    if (phases_ == 3 && absent_ == PhaseFlags{}) {
      segment.sequences = sequences_of(segment.phasors, supply_.wiring);
      if (angles_known_ && dead_ == PhaseFlags{}) write_type(item, segment);
    }
    return segment;
  }

  void write_phase(const Item& item, std::size_t phase, SegmentPhase& figures) const {
    if (absent_[phase]) {
      // Nothing is known of it but that it is a voltage of this supply.
      figures.measured = false;
      figures.voltage_v = {0, volts(1)};
      return;
    }
    const double length = (item.end_s - item.start_s) * frequency_.hertz;
    constexpr double flicker_cycles = 6;
    const double sway = flicker_ * (item.gradual ? 1 : std::min(1.0, flicker_cycles / length));
    const double magnitude = std::abs(item.phasors[phase]);
    figures.voltage_v = {volts(magnitude), 2 * volts(std::hypot(item.error[phase], sway * magnitude))};
    const CycleRms rms(supply_.waveform, phase, frequency_.hertz, item.start_s, item.end_s);
    if (const auto range = rms.range()) {
      figures.lowest_rms_v = range->lowest_v;
      figures.highest_rms_v = range->highest_v;
    }
    if (dead_[phase]) return;
    figures.share_of_before = magnitude / std::abs(before_[phase]);
    figures.below_threshold = figures.share_of_before < threshold;
    if (figures.share_of_before < next_to_nothing || !angles_known_) return;
    const double drift = frequency_.plus_minus * std::abs(item.start_s + item.end_s - 2 * before_s_) / 2 * 360;
    const double angle_error =
        std::hypot(item.error[phase] / magnitude, before_error_[phase] / std::abs(before_[phase]));
    figures.phase_jump_degrees = Figure{std::arg(item.phasors[phase] / before_[phase]) * 180 / pi,
                                        std::hypot(2 * angle_error * 180 / pi, drift)};
  }

  void write_type(const Item& item, Segment& segment) const {
    Phasors now{};
    Phasors before{};
    for (std::size_t phase = 0; phase < phases_; phase++) {
      now[phase] = item.phasors[phase] * in_time(phase);
      before[phase] = before_[phase] * in_time(phase);
    }
    segment.type = type_of(now, before, supply_.wiring);
  }

  void write_transitions(Course& course) const {
    const auto add = [&](double start_s, double end_s, bool gradual, const Phasors& one, const Phasors& other) {
      Transition transition{start_s, end_s, gradual, {}};
      for (std::size_t phase = 0; phase < phases_; phase++) {
        transition.phases[phase] = std::abs(one[phase] - other[phase]) > same_voltage;
      }
      course.transitions.push_back(transition);
    };
    if (items_.empty()) {
      if (!course.start_s || !course.end_s) return;
      add(start_s_, *end_s_, gradual_start_, before_, before_);
      course.transitions.back().phases = changed_;
      return;
    }
    if (course.start_s) add(start_s_, items_.front().start_s, gradual_start_, before_, items_.front().phasors);
    for (std::size_t k = 0; k + 1 < items_.size(); k++) {
      const double lasts = items_[k + 1].start_s - items_[k].end_s;
      add(items_[k].end_s, items_[k + 1].start_s, lasts > excerpt_.cycle(), items_[k].phasors, items_[k + 1].phasors);
    }
    if (end_s_) add(std::min(items_.back().end_s, *end_s_), *end_s_, gradual_end_, items_.back().phasors, before_);
  }

  const Supply& supply_;
  const Event& dip_;
  std::size_t phases_;
  double dip_start_s_;
  double dip_end_s_;
  double earliest_start_s_ = 0;
  FrequencyRound frequency_;
  PhaseFlags absent_;  // phases without samples in most of the dip
  Excerpt excerpt_;
  std::vector<Run> runs_;
  std::size_t first_ = 0;     // of the dip's runs
  std::size_t runs_end_ = 0;  // of the runs after them
  LevelSource source_ = LevelSource::before;
  Phasors before_{};
  PerPhase before_error_{};
  double before_s_ = 0;  // about when the level before was
  bool angles_known_ = true;
  double flicker_ = 0;  // standard deviation of a one-cycle magnitude, of the level
  double start_s_ = 0;
  std::optional<double> end_s_;
  std::optional<Figure> start_;  // these with what they are known by
  std::optional<Figure> end_;
  PhaseFlags dead_{};     // phases without voltage before
  PhaseFlags changed_{};  // the phases of a dip without segments
  bool gradual_start_ = false;
  bool gradual_end_ = false;
  std::vector<Item> items_;
};

}  // namespace

Course measure_course(const Supply& supply, const Event& dip) {
  return CourseFinder(supply, dip).course();
}

}  // namespace measure
