#include "measure/refined_items.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "measure/explained.h"
#include "measure/gradual_course.h"
#include "measure/phasor_distance.h"

namespace measure {

namespace {

class Refiner {
 public:
  Refiner(const DipWaveform& wave, const Event& dip, const RunsAround& around, FoundCourse& found)
      : wave_(wave), excerpt_(wave.excerpt), phases_(wave.phases), dip_(dip), around_(around), found_(found) {}

  void refine() {
    join_dead(excerpt_, found_.before, found_.dead, found_.items);
    drop_before();
    drop_fragile(excerpt_, found_.items);
    fill_gaps();
    drop_tail();
    for (const Item& item : joined(std::exchange(found_.items, {}))) add_borne_out(item);
    // A segment may have been found to be shorter.
    fill_gaps();
    drop_tail();
    let_transients_decay();
    if (!dip_.end_s && !found_.items.empty() && found_.items.back().end_s >= excerpt_.end_s() - 2 / excerpt_.rate()) {
      found_.items.back().goes_on = true;
    }
  }

 private:
  [[nodiscard]] double cycles(double seconds) const { return seconds / excerpt_.cycle(); }

  void add_gradual(double start_s, double end_s, bool after_change) {
    found_.items.push_back(gradual_item(GradualCourse(excerpt_, start_s, end_s, after_change), start_s, end_s));
  }

  /// Joins neighbouring steady items of one voltage.
  [[nodiscard]] std::vector<Item> joined(const std::vector<Item>& items) const {
    std::vector<Item> result;
    for (const Item& item : items) {
      const bool same = !result.empty() && !result.back().gradual && !item.gradual &&
                        distance(result.back().phasors, item.phasors, phases_) < same_voltage;
      if (same) {
        result.back().end_s = item.end_s;
      } else {
        result.push_back(item);
      }
    }
    return result;
  }

  /// Drops the first segment if it is the voltage before the dip. This happens if the record begins less than a window
  /// before the dip.
  void drop_before() {
    if (dip_.start_known || found_.items.size() < 2) return;
    const Item& first = found_.items.front();
    if (first.gradual || cycles(first.end_s - first.start_s) > 1.5) return;
    for (std::size_t phase = 0; phase < phases_; phase++) {
      if (!found_.dead[phase] && std::abs(first.phasors[phase]) < threshold * std::abs(found_.before[phase])) return;
    }
    const double start = first.end_s;
    found_.items.erase(found_.items.begin());
    found_.start_s = start;
    found_.start = Figure{start, std::max(wave_.sharpest(), around_.first_change_plus_minus)};
  }

  /// Turns a long time between two segments in which no voltage is steady into a gradual segment.
  void fill_gaps() {
    constexpr double longest_change_cycles = 2.5;
    const std::vector<Item> found = std::move(found_.items);
    found_.items.clear();
    for (const Item& item : found) {
      const double from = found_.items.empty() ? item.start_s : found_.items.back().end_s;
      if (cycles(item.start_s - from) > longest_change_cycles) {
        add_gradual(from, item.start_s, true);
      }
      found_.items.push_back(item);
    }
    if (found.empty() || found_.gradual_end || !found_.end_s) return;
    const double from = found_.items.back().end_s;
    if (cycles(*found_.end_s - from) > longest_change_cycles) {
      add_gradual(from, *found_.end_s, true);
    }
  }

  /// Removes a short last segment in which no phase is clearly low any more, because it is the tail of the return.
  void drop_tail() {
    constexpr double short_tail_cycles = 3;
    constexpr double clearly = 0.01;
    if (!dip_.end_s || found_.items.empty() || (found_.items.size() == 1 && !around_.has_before)) return;
    const Item& last = found_.items.back();
    if (cycles(last.end_s - last.start_s) >= short_tail_cycles) return;
    for (std::size_t phase = 0; phase < phases_; phase++) {
      if (std::abs(last.phasors[phase]) < (threshold - clearly) * std::abs(found_.before[phase])) return;
    }
    if (found_.items.size() == 1) return;
    found_.end_s = last.start_s;
    found_.gradual_end = false;
    found_.items.pop_back();
  }

  /// If the one-cycle windows of a steady segment differ from it, the segment is in fact gradual, or shorter than it
  /// was found to be. A gradual segment that ends at its first voltage is divided into two.
  void add_borne_out(Item item) {
    const double length = cycles(item.end_s - item.start_s);
    if (item.is_whole) {
      found_.items.push_back(item);
      return;
    }
    if (item.gradual) {
      const GradualCourse course(excerpt_, item.start_s, item.end_s, false);
      if (!changes(excerpt_, item.start_s, item.end_s, found_.before) && course.spread() < steady_change) {
        found_.items.push_back(steady_item(excerpt_, item.start_s, item.end_s, true));
        return;
      }
      if (length > 4 && course.change() < same_voltage && course.spread() > steady_change / 2) {
        const double turn = std::clamp(course.turning_point(), item.start_s + 1.5 * excerpt_.cycle(),
                                       item.end_s - 1.5 * excerpt_.cycle());
        add_gradual(item.start_s, turn, false);
        add_gradual(turn, item.end_s, false);
      } else {
        found_.items.push_back(item);
      }
      return;
    }
    if (is_borne_out(excerpt_, as_segment(item), item.fit, found_.before)) {
      found_.items.push_back(item);
      return;
    }
    if (length > 3) {
      const GradualCourse course(excerpt_, item.start_s, item.end_s, true);
      if (course.change() > same_voltage) {
        found_.items.push_back(gradual_item(course, item.start_s, item.end_s));
        return;
      }
    }
    const double from = item.start_s;
    const double to = item.end_s;
    if (!is_dead(item, found_.before, found_.dead, phases_)) take_steadiest(excerpt_, item);
    if (length > 2 * fragment_cycles && cycles(item.end_s - item.start_s) < fragment_cycles) {
      // The voltage swings, and the steadiest part of it is no level of its own.
      add_gradual(from, to, true);
      return;
    }
    found_.items.push_back(item);
  }

  /// Lets each steady segment after an abrupt change begin when the switching transients have decayed so far that a
  /// cycle of the waveform shows its voltage. Slower decays belong to the segment.
  void let_transients_decay() {
    constexpr double longest_cycles = 0.4;
    for (std::size_t k = 0; k < found_.items.size(); k++) {
      Item& item = found_.items[k];
      const bool after_change = k > 0 ? !found_.items[k - 1].gradual : around_.has_before && !found_.gradual_start;
      if (item.gradual || !after_change) continue;
      const double change_s = k > 0 ? found_.items[k - 1].end_s : found_.start_s;
      item.start_s = settled_s(excerpt_, as_segment(item), change_s + longest_cycles * excerpt_.cycle(), found_.before);
    }
  }

  [[nodiscard]] static Segment as_segment(const Item& item) {
    Segment segment;
    segment.start_s = item.start_s;
    segment.end_s = item.end_s;
    segment.phasors = item.phasors;
    return segment;
  }

  const DipWaveform& wave_;
  const Excerpt& excerpt_;
  std::size_t phases_;
  const Event& dip_;
  const RunsAround& around_;
  FoundCourse& found_;
};

}  // namespace

void refine_items(const DipWaveform& wave, const Event& dip, const RunsAround& around, FoundCourse& found) {
  Refiner(wave, dip, around, found).refine();
}

}  // namespace measure
