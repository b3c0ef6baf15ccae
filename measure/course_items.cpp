#include "measure/course_items.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "measure/moving_phasors.h"
#include "measure/steady_fit.h"

namespace measure {

Item steady_item(const Excerpt& excerpt, double start_s, double end_s, bool after_change) {
  Item item;
  item.start_s = start_s;
  item.end_s = end_s;
  item.fit = steady_fit(excerpt, start_s, end_s, after_change);
  item.phasors = item.fit.phasors(start_s);
  item.error = item.fit.standard_error(start_s);
  return item;
}

Item gradual_item(const GradualCourse& course, double start_s, double end_s) {
  Item item;
  item.start_s = start_s;
  item.end_s = end_s;
  item.gradual = true;
  item.phasors = course.lowest();
  item.error = course.standard_error();
  return item;
}

bool is_dead(const Item& item, const Phasors& before, const PhaseFlags& dead, std::size_t phases) {
  for (std::size_t phase = 0; phase < phases; phase++) {
    if (dead[phase]) continue;
    if (std::abs(item.phasors[phase]) > next_to_nothing * std::abs(before[phase])) return false;
  }
  return true;
}

void join_dead(const Excerpt& excerpt, const Phasors& before, const PhaseFlags& dead, std::vector<Item>& items) {
  constexpr double pulse_cycles = 4;
  for (std::size_t k = 0; k < items.size(); k++) {
    if (!is_dead(items[k], before, dead, excerpt.phases())) continue;
    std::size_t next = k + 1;
    std::size_t last_dead = k;
    while (next < items.size() && (is_dead(items[next], before, dead, excerpt.phases()) ||
                                   items[next].end_s - items[next].start_s < pulse_cycles * excerpt.cycle())) {
      if (is_dead(items[next], before, dead, excerpt.phases())) last_dead = next;
      next++;
    }
    if (last_dead == k) continue;
    Item all = items[k];
    for (std::size_t i = k + 1; i <= last_dead; i++) {
      if (is_dead(items[i], before, dead, excerpt.phases()) &&
          items[i].end_s - items[i].start_s > all.end_s - all.start_s) {
        all.phasors = items[i].phasors;
        all.error = items[i].error;
      }
    }
    all.end_s = items[last_dead].end_s;
    all.gradual = false;
    items[k] = all;
    items.erase(items.begin() + static_cast<std::ptrdiff_t>(k) + 1,
                items.begin() + static_cast<std::ptrdiff_t>(last_dead) + 1);
  }
}

void drop_fragile(const Excerpt& excerpt, std::vector<Item>& items) {
  const auto cycles = [&](double seconds) { return seconds / excerpt.cycle(); };
  constexpr double fleeting_cycles = 0.85;
  constexpr double fragile_cycles = 1.2;
  constexpr double long_change_cycles = 0.35;
  const auto lasts = [&](const Item& item) { return cycles(item.end_s - item.start_s) >= fleeting_cycles; };
  const bool any_lasts = std::any_of(items.begin(), items.end(), lasts);
  std::vector<Item> kept;
  for (std::size_t k = 0; k < items.size(); k++) {
    const Item& item = items[k];
    const double gap_before = k == 0 ? 0 : cycles(item.start_s - items[k - 1].end_s);
    const double gap_after = k + 1 == items.size() ? 0 : cycles(items[k + 1].start_s - item.end_s);
    if (any_lasts && !item.gradual && !lasts(item)) continue;
    const bool fragile = cycles(item.end_s - item.start_s) < fragile_cycles;
    if (!fragile || (gap_before < long_change_cycles && gap_after < long_change_cycles)) kept.push_back(item);
  }
  items = std::move(kept);
}

void take_steadiest(const Excerpt& excerpt, Item& item) {
  const std::size_t phases = excerpt.phases();
  constexpr double noisy = 0.02;      // root mean square of what the fit leaves
  constexpr double agreeing = 0.012;  // of the windows' magnitudes, in usual peaks
  double left = 0;
  for (std::size_t phase = 0; phase < phases; phase++) left = std::max(left, item.fit.residual()[phase]);
  if (left < noisy * noisy) return;
  const MovingPhasors moving(excerpt);
  std::vector<std::pair<std::size_t, Phasors>> windows;
  for (std::size_t i = excerpt.index_at(item.start_s); i + moving.window() <= excerpt.index_at(item.end_s); i++) {
    if (const auto phasors = moving.at(i)) windows.emplace_back(i, *phasors);
  }
  std::size_t best_begin = 0;
  std::size_t best_count = 0;
  std::size_t begin = 0;
  for (std::size_t end = 1; end <= windows.size(); end++) {
    const auto agrees = [&](std::size_t from) {
      for (std::size_t phase = 0; phase < phases; phase++) {
        const double one = std::abs(windows[from].second[phase]);
        const double other = std::abs(windows[end - 1].second[phase]);
        if (std::abs(one - other) > 2 * agreeing) return false;
      }
      return true;
    };
    for (std::size_t i = end - 1; i-- > begin;) {
      if (agrees(i)) continue;
      begin = i + 1;
      break;
    }
    if (end - begin > best_count) {
      best_count = end - begin;
      best_begin = begin;
    }
  }
  if (best_count < moving.window() / 4) return;
  Phasors mean{};
  for (std::size_t k = best_begin; k < best_begin + best_count; k++) {
    for (std::size_t phase = 0; phase < phases; phase++) {
      mean[phase] += windows[k].second[phase] / static_cast<double>(best_count);
    }
  }
  for (std::size_t phase = 0; phase < phases; phase++) {
    item.error[phase] = std::max(item.error[phase], std::abs(mean[phase] - item.phasors[phase]) / 2);
  }
  item.phasors = mean;
  const std::size_t first = windows[best_begin].first;
  const std::size_t last = windows[best_begin + best_count - 1].first + moving.window();
  // A window agrees until it reaches samples that differ, so its outer end shows where the difference begins.
  if (best_begin > moving.window() / 4) item.start_s = excerpt.start_of(first);
  if (best_begin + best_count + moving.window() / 4 < windows.size()) item.end_s = excerpt.start_of(last);
}

}  // namespace measure
