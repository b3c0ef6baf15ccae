#include "measure/runs.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

#include "measure/instants.h"
#include "measure/phasor_distance.h"
#include "measure/ramp.h"

namespace measure {

namespace {

/// Shorter pieces are too short for a fundamental, so they are part of a change.
constexpr double shortest_stretch_cycles = 0.85;
constexpr double shortest_outer_stretch_cycles = 0.6;
/// Two phasors agree if they differ by less than this, so no abrupt change lies between them. In usual peaks; the limit
/// is larger next to short stretches.
constexpr double meeting_distance = 0.025;
/// Next to a stretch of fewer cycles, an apparent sudden change may be a decaying offset.
constexpr double doubtful_cycles = 3.2;

class RunFinder {
 public:
  RunFinder(const Excerpt& excerpt, const std::vector<Piece>& pieces) : excerpt_(excerpt) { take_stretches(pieces); }

  std::vector<Run> runs() {
    if (stretches_.empty()) return {};
    changes_.assign(stretches_.size() - 1, {});
    constexpr int rounds = 3;
    for (int round = 0; round < rounds; round++) {
      fit_all();
      tell_changes();
      join_decays();
      pin_down_changes();
      if (!settle() && round > 0) break;
    }
    find_short_ramps();
    fit_all();
    std::vector<Run> runs = grouped();
    straighten_ramps(runs);
    return runs;
  }

 private:
  /// Between a stretch and the next one.
  struct Change {
    bool abrupt = false;
    bool known = false;  ///< its instants have already been measured
    double first_s = 0;
    double last_s = 0;
    double first_plus_minus = 0;
    double last_plus_minus = 0;
    double back_s = 0;
    double back_plus_minus = 0;
    std::optional<std::pair<PhasorFit, PhasorFit>> ramp;  ///< the courses that it leads from and to
  };

  [[nodiscard]] double cycles(std::size_t averages) const {
    return static_cast<double>(averages) / excerpt_.averages_per_cycle();
  }
  [[nodiscard]] double cycles(const Stretch& stretch) const { return cycles(stretch.end - stretch.begin); }
  [[nodiscard]] std::size_t averages(double cycles) const {
    return static_cast<std::size_t>(std::lround(cycles * excerpt_.averages_per_cycle()));
  }
  [[nodiscard]] double last_s(const Stretch& stretch) const {
    return excerpt_.time_of(static_cast<double>(stretch.end) - 1);
  }
  [[nodiscard]] double first_s(const Stretch& stretch) const {
    return excerpt_.time_of(static_cast<double>(stretch.begin));
  }

  void take_stretches(const std::vector<Piece>& pieces) {
    for (Piece piece : pieces) {
      leave_gaps_out(piece);
      const bool outer = piece.begin == 0 || piece.end == excerpt_.length();
      const double shortest = outer ? shortest_outer_stretch_cycles : shortest_stretch_cycles;
      if (cycles(piece.end - piece.begin) >= shortest && 2 * present(piece) >= piece.end - piece.begin) {
        stretches_.push_back({piece.begin, piece.end, piece.linear, {}});
      }
    }
  }

  /// A piece or a stretch without the averages that are missing at its ends.
  template <typename Part>
  void leave_gaps_out(Part& part) const {
    while (part.begin < part.end && excerpt_.is_missing(part.begin)) part.begin++;
    while (part.end > part.begin && excerpt_.is_missing(part.end - 1)) part.end--;
  }

  /// Returns how many averages of a piece are not missing.
  [[nodiscard]] std::size_t present(const Piece& piece) const {
    std::size_t count = 0;
    for (std::size_t i = piece.begin; i < piece.end; i++) count += excerpt_.is_missing(i) ? 0 : 1;
    return count;
  }

  void fit_all() {
    for (std::size_t k = 0; k < stretches_.size(); k++) {
      Stretch& stretch = stretches_[k];
      const bool after_change = k > 0 && changes_[k - 1].abrupt;
      stretch.fit =
          PhasorFit(excerpt_, stretch.begin, stretch.end, FitForm::for_length(cycles(stretch), true, after_change));
    }
  }

  [[nodiscard]] double distance(const Phasors& one, const Phasors& other) const {
    return measure::distance(one, other, excerpt_.phases());
  }

  void tell_changes() {
    for (std::size_t k = 0; k < changes_.size(); k++) {
      const Stretch& before = stretches_[k];
      const Stretch& after = stretches_[k + 1];
      Change& change = changes_[k];
      if (change.known) continue;
      change.first_s = last_s(before);
      change.last_s = first_s(after);
      const double middle = (change.first_s + change.last_s) / 2;
      const double shorter = std::min(cycles(before), cycles(after));
      const double allowed = meeting_distance * (1 + std::pow(1 / shorter, 1.5));
      change.abrupt = distance(before.fit.phasors(middle), after.fit.phasors(middle)) >= allowed;
    }
  }

  /// Removes a change next to a short stretch if one fundamental with decaying offsets explains both sides as well as
  /// two fundamentals do.
  void join_decays() {
    std::vector<Stretch> joined = {stretches_[0]};
    std::vector<Change> left;
    bool any = false;
    for (std::size_t k = 0; k < changes_.size(); k++) {
      const bool sudden_before = k > 0 && changes_[k - 1].abrupt;
      if (changes_[k].abrupt && sudden_before && are_one(stretches_[k], stretches_[k + 1])) {
        joined.back().end = stretches_[k + 1].end;
        joined.back().linear = joined.back().linear || stretches_[k + 1].linear;
        any = true;
      } else {
        joined.push_back(stretches_[k + 1]);
        left.push_back(changes_[k]);
      }
    }
    if (!any) return;
    stretches_ = std::move(joined);
    changes_ = std::move(left);
    fit_all();
  }

  [[nodiscard]] bool are_one(const Stretch& before, const Stretch& after) const {
    if (std::min(cycles(before), cycles(after)) >= doubtful_cycles) return false;
    const std::size_t reach = averages(6);
    const std::size_t begin = std::max(before.begin, before.end - std::min(before.end, reach));
    const std::size_t end = std::min(after.end, after.begin + reach);
    const auto steady = [&](std::size_t from, std::size_t to) {
      return PhasorFit(excerpt_, from, to, FitForm::for_length(cycles(to - from), false, true));
    };
    const PhasorFit both = steady(begin, end);
    const PhasorFit one = steady(begin, before.end);
    const PhasorFit other = steady(after.begin, end);
    const auto n_one = static_cast<double>(before.end - begin);
    const auto n_other = static_cast<double>(end - after.begin);
    double together = 0;
    double apart = 0;
    for (std::size_t phase = 0; phase < excerpt_.phases(); phase++) {
      together += both.residual()[phase];
      apart += (one.residual()[phase] * n_one + other.residual()[phase] * n_other) / (n_one + n_other);
    }
    if (loses_steady_side(before, one, both) || loses_steady_side(after, other, both)) return false;
    constexpr double unexplained = 0.006;
    return together < 1.5 * apart + static_cast<double>(excerpt_.phases()) * unexplained * unexplained;
  }

  /// Returns whether a fundamental that explains a stretch well no longer does when it has to explain the next one,
  /// too, as where a steady voltage collapses within a cycle. Then even two poor fits are not alike.
  [[nodiscard]] bool loses_steady_side(const Stretch& stretch, const PhasorFit& own, const PhasorFit& both) const {
    constexpr double shortest_cycles = 3;
    constexpr double well_explained = 0.02;  // root mean square of what is left in a phase, in usual peaks
    constexpr double not_explained = 0.1;
    const auto phases = static_cast<double>(excerpt_.phases());
    return cycles(stretch) >= shortest_cycles && total(own.residual()) < phases * well_explained * well_explained &&
           total(both.residual()) > phases * not_explained * not_explained;
  }

  void pin_down_changes() {
    // If the courses on both sides of a change are long, better knowledge of other changes makes no difference.
    constexpr double long_cycles = 5;
    const auto is_long = [&](std::size_t k) { return cycles(stretches_[k]) > long_cycles; };
    for (std::size_t k = 0; k < changes_.size(); k++) {
      if (!changes_[k].abrupt) continue;
      if (changes_[k].known && is_long(k) && is_long(k + 1)) continue;
      const Instants instants = instants_of(k);
      changes_[k].first_s = instants.first_s;
      changes_[k].last_s = instants.last_s;
      changes_[k].first_plus_minus = instants.first_plus_minus;
      changes_[k].last_plus_minus = instants.last_plus_minus;
      changes_[k].back_s = instants.back_s;
      changes_[k].back_plus_minus = instants.back_plus_minus;
      changes_[k].known = true;
      changes_[k].abrupt = nearby_ >= meeting_distance * 1.1;
    }
  }

  /// The courses on either side are first fitted at a distance from the change, whose time is not known well yet, and
  /// then closer to it.
  [[nodiscard]] Instants instants_of(std::size_t k) {
    const Stretch& before = stretches_[k];
    const Stretch& after = stretches_[k + 1];
    const double cycle = excerpt_.cycle();
    double begin = excerpt_.start_of(before.begin);
    double end = excerpt_.start_of(after.end);
    constexpr double unknown_clear = 0.125;
    const bool after_change = k > 0 && changes_[k - 1].abrupt;
    if (after_change) begin += changes_[k - 1].known ? 0.03 * cycle : unknown_clear * cycle;
    if (k + 1 < changes_.size() && changes_[k + 1].abrupt)
      end -= changes_[k + 1].known ? 0.03 * cycle : unknown_clear * cycle;
    Instants instants{excerpt_.start_of(before.end), excerpt_.start_of(after.begin)};
    if (changes_[k].known) instants = {changes_[k].first_s, changes_[k].last_s};
    double clear_before = changes_[k].known ? 0.15 : 0.35;
    double clear_after = changes_[k].known ? 0.05 : 0.35;
    for (int round = 0; round < 2; round++) {
      double left_end = before_gap(instants.first_s - clear_before * cycle);
      const PhasorFit left = clean_course(begin, left_end, -1, before.linear, after_change);
      double right_begin = after_gap(instants.last_s + clear_after * cycle);
      const PhasorFit right = clean_course(right_begin, end, 1, after.linear, true);
      const double meet = (left_end + right_begin) / 2;
      nearby_ = distance(left.phasors(meet), right.phasors(meet));
      instants = pin_down(excerpt_, left, right, before_gap(std::max(left_end - 0.5 * cycle, begin)),
                          after_gap(std::min(right_begin + 0.4 * cycle, end)), round == 1);
      clear_before = 0.15;
      clear_after = 0.05;
    }
    return instants;
  }

  /// If a change may lie in a gap of the samples, it may lie anywhere in the gap.
  [[nodiscard]] double before_gap(double seconds) const {
    const std::size_t from = std::min(excerpt_.index_at(seconds), excerpt_.length() - 1);
    std::size_t i = from;
    while (i > 0 && excerpt_.is_missing(i)) i--;
    return i == from ? seconds : std::min(seconds, excerpt_.start_of(i));
  }
  [[nodiscard]] double after_gap(double seconds) const {
    const std::size_t from = excerpt_.index_at(seconds);
    std::size_t i = from;
    while (i < excerpt_.length() && excerpt_.is_missing(i)) i++;
    return i == from ? seconds : std::max(seconds, excerpt_.start_of(i));
  }

  /// The course next to a change: at most four cycles, and as far from the change as it takes to be clear of what
  /// already belongs to it. `side`: -1 for the course before the change, which lies at `to_s`; 1 for the one after it,
  /// where the change lies at `from_s`. The nearer end of the course is put into it.
  [[nodiscard]] PhasorFit clean_course(double& from_s, double& to_s, int side, bool linear, bool after_change) const {
    const double cycle = excerpt_.cycle();
    constexpr double shortest = 0.9;
    constexpr double as_clean = 2;
    const double floor = 1e-6 * static_cast<double>(excerpt_.phases());
    const double from = from_s;
    const double to = to_s;
    struct Candidate {
      PhasorFit fit;
      double end;
      double left;
    };
    const auto cleared = [&](double clearance) -> std::optional<Candidate> {
      double begin = side < 0 ? std::max(from, to - clearance * cycle - 4 * cycle) : from + clearance * cycle;
      double end = side < 0 ? to - clearance * cycle : std::min(to, from + clearance * cycle + 3 * cycle);
      if (end - begin < shortest * cycle) {
        if (clearance > 0) return std::nullopt;
        // As much of the course as a fundamental needs, even if that reaches into the change.
        if (side < 0) {
          end = std::max(end, begin + 0.6 * cycle);
        } else {
          begin = std::min(begin, end - 0.6 * cycle);
        }
      }
      Candidate candidate{course(begin, end, linear, side > 0 || (after_change && begin <= from)),
                          side < 0 ? end : begin, 0};
      candidate.left = total(candidate.fit.residual());
      return candidate;
    };
    const auto take = [&](Candidate& candidate) {
      (side < 0 ? to_s : from_s) = candidate.end;
      return std::move(candidate.fit);
    };
    Candidate near = *cleared(0);
    auto far = cleared(0.45);
    if (far && near.left <= as_clean * far->left + floor) return take(near);
    std::vector<Candidate> candidates;
    candidates.push_back(std::move(near));
    double least = candidates.front().left;
    for (const double clearance : {0.15, 0.3, 0.45, 0.6}) {
      auto candidate = clearance == 0.45 ? std::move(far) : cleared(clearance);
      if (!candidate) break;
      least = std::min(least, candidate->left);
      candidates.push_back(std::move(*candidate));
    }
    const auto clean = std::find_if(candidates.begin(), candidates.end(),
                                    [&](const Candidate& one) { return one.left <= as_clean * least + floor; });
    return take(clean == candidates.end() ? candidates.back() : *clean);
  }

  [[nodiscard]] double total(const PerPhase& values) const {
    double sum = 0;
    for (std::size_t phase = 0; phase < excerpt_.phases(); phase++) sum += values[phase];
    return sum;
  }

  [[nodiscard]] PhasorFit course(double from_s, double to_s, bool linear, bool after_change) const {
    const std::size_t begin = std::min(excerpt_.index_at(from_s), excerpt_.length() - 1);
    const std::size_t end = std::max(excerpt_.index_at(to_s), begin + 1);
    return PhasorFit(excerpt_, begin, end,
                     FitForm::for_length(cycles(end - begin), linear && cycles(end - begin) > 2, after_change));
  }

  /// Ends the stretches at the beginnings of the changes, which are now known. A stretch that is then too short becomes
  /// part of the change, and a change between equal voltages is removed. Returns whether the stretches have changed.
  bool settle() {
    for (std::size_t k = 0; k < changes_.size(); k++) {
      if (!changes_[k].abrupt) continue;
      stretches_[k].end = std::max(excerpt_.end_at(changes_[k].first_s), stretches_[k].begin);
      stretches_[k + 1].begin = std::min(excerpt_.index_at(changes_[k].last_s), stretches_[k + 1].end);
    }
    for (Stretch& stretch : stretches_) leave_gaps_out(stretch);
    for (std::size_t k = 0; k < stretches_.size(); k++) {
      stretches_[k].linear = stretches_[k].linear && is_better_linear(stretches_[k], k > 0 && changes_[k - 1].abrupt);
    }
    fit_all();
    std::vector<Stretch> kept = {stretches_[0]};
    std::vector<Change> left;
    bool other = false;
    for (std::size_t k = 0; k < changes_.size(); k++) {
      const Stretch& next = stretches_[k + 1];
      const bool last = k + 1 == changes_.size();
      const double shortest = last ? shortest_outer_stretch_cycles : 0.6;
      if (!last && changes_[k].abrupt && changes_[k + 1].abrupt && cycles(next) < shortest) {
        // A stretch that is too short for a fundamental becomes part of one longer change.
        changes_[k + 1].first_s = changes_[k].first_s;
        changes_[k + 1].known = true;
        other = true;
        continue;
      }
      const Change& change = changes_[k];
      const double lasts = change.last_s - change.first_s;
      const double shorter = std::min(cycles(kept.back()), cycles(next));
      if (change.abrupt && lasts < 0.1 * excerpt_.cycle() &&
          distance(kept.back().fit.phasors(change.first_s), next.fit.phasors(change.last_s)) <
              0.6 * meeting_distance * (1 + std::pow(1 / std::max(shorter, 0.5), 1.5))) {
        kept.back().end = next.end;
        kept.back().linear = kept.back().linear || next.linear;
        other = true;
        continue;
      }
      kept.push_back(next);
      left.push_back(change);
    }
    stretches_ = std::move(kept);
    changes_ = std::move(left);
    return other;
  }

  struct FoundRamp {
    Ramp ramp;
    PhasorFit before;
    PhasorFit after;
  };

  /// Mean square of what two changes leave of the averages from `from_s` to `to_s`, all phases together: at `first_s`
  /// from one course to a second one, and at `last_s` from there to a third.
  [[nodiscard]] double two_steps_residual(const std::array<const PhasorFit*, 3>& courses, double first_s, double last_s,
                                          double from_s, double to_s) const {
    double sum = 0;
    double count = 0;
    for (std::size_t i = excerpt_.index_at(from_s); i < excerpt_.index_at(to_s); i++) {
      if (excerpt_.is_missing(i)) continue;
      const double seconds = excerpt_.time_of(static_cast<double>(i));
      const PhasorFit& course = *courses[seconds < first_s ? 0 : seconds < last_s ? 1 : 2];
      const PerPhase voltages = course.voltages(seconds, 0, 1).front();
      for (std::size_t phase = 0; phase < excerpt_.phases(); phase++) {
        const double off = excerpt_.average(phase, i) - voltages[phase];
        sum += off * off;
        count++;
      }
    }
    return count > 0 ? sum / count : 0;
  }

  /// The ramp from the course before a time to the one after another, where such a ramp explains what lies between:
  /// either nearly all of it, or as much as two changes with a third course `between` them, which has more parameters.
  [[nodiscard]] std::optional<FoundRamp> ramp_between(double begin, double first_s, double last_s, double end,
                                                      double margin_s, bool after_change,
                                                      const PhasorFit* between = nullptr) const {
    const double cycle = excerpt_.cycle();
    // The sudden change that was found may lie within the ramp, so the ramp may begin before it or end after it.
    double left_end = first_s - std::clamp(first_s - begin - 2 * cycle, 0.0, margin_s);
    const PhasorFit before = clean_course(begin, left_end, -1, false, after_change);
    double right_begin = last_s + std::clamp(end - last_s - 2 * cycle, 0.0, margin_s);
    const PhasorFit after = clean_course(right_begin, end, 1, false, false);
    const double from = std::max(begin, first_s - margin_s);
    const double to = std::min(end, last_s + margin_s);
    const Ramp ramp = fit_ramp(excerpt_, before, after, from, to);
    const Phasors one = before.phasors(first_s);
    const Phasors other = after.phasors(last_s);
    double change = 0;
    double noise = 0;
    for (std::size_t phase = 0; phase < excerpt_.phases(); phase++) {
      change += std::norm(one[phase] - other[phase]) / 2;
      noise += std::max(before.residual()[phase], after.residual()[phase]);
    }
    const auto phases = static_cast<double>(excerpt_.phases());
    constexpr double of_change = 0.08;
    bool explains = ramp.residual < 2 * noise / phases + of_change * of_change * change / phases;
    if (!explains && between) {
      explains = ramp.residual < two_steps_residual({&before, between, &after}, first_s, last_s, from, to);
    }
    if (ramp.length_s() < 0.5 * cycle || !explains || ramp.residual > 0.5 * ramp.step_residual) return std::nullopt;
    return FoundRamp{ramp, before, after};
  }

  /// Returns whether a short stretch of a ramp between two courses changes about as the ramp would. A stretch of about
  /// a cycle is too short to decide.
  [[nodiscard]] bool may_be_part_of_ramp(const Stretch& stretch, const FoundRamp& found) const {
    constexpr double shortest_cycles = 1.5;
    constexpr double least_share = 0.4;
    if (cycles(stretch) < shortest_cycles) return true;
    const PhasorFit fit(excerpt_, stretch.begin, stretch.end, FitForm::for_length(cycles(stretch), true, true));
    const double own = distance(fit.phasors(first_s(stretch)), fit.phasors(last_s(stretch)));
    const double whole = distance(found.before.phasors(found.ramp.begin_s), found.after.phasors(found.ramp.end_s));
    return own > least_share * whole * (last_s(stretch) - first_s(stretch)) / found.ramp.length_s();
  }

  /// A ramp of a cycle or two looks like two sudden changes with a short stretch between, or like one change that
  /// lasts.
  void find_short_ramps() {
    constexpr double longest_cycles = 3;
    const double cycle = excerpt_.cycle();
    for (std::size_t k = 0; k < changes_.size(); k++) {
      const auto begin_of = [&](std::size_t s) {
        return s > 0 && changes_[s - 1].known ? changes_[s - 1].last_s : excerpt_.start_of(stretches_[s].begin);
      };
      const auto end_of = [&](std::size_t s) {
        return s < changes_.size() && changes_[s].known ? changes_[s].first_s : excerpt_.start_of(stretches_[s].end);
      };
      const bool after_change = k > 0 && changes_[k - 1].abrupt;
      const bool level = !is_gradual(stretches_[k]) && k + 2 < stretches_.size() && !is_gradual(stretches_[k + 2]);
      if (level && cycles(stretches_[k + 1]) <= longest_cycles && (changes_[k].abrupt || changes_[k + 1].abrupt)) {
        const auto found = ramp_between(begin_of(k), changes_[k].first_s, changes_[k + 1].last_s, end_of(k + 2),
                                        0.5 * cycle, after_change, &stretches_[k + 1].fit);
        if (found && may_be_part_of_ramp(stretches_[k + 1], *found)) {
          stretches_.erase(stretches_.begin() + static_cast<std::ptrdiff_t>(k) + 1);
          changes_.erase(changes_.begin() + static_cast<std::ptrdiff_t>(k) + 1);
          take_ramp(k, *found);
          continue;
        }
      }
      if (changes_[k].abrupt && changes_[k].last_s - changes_[k].first_s > 0.35 * cycle) {
        const auto found = ramp_between(begin_of(k), changes_[k].first_s, changes_[k].last_s, end_of(k + 1),
                                        0.4 * cycle, after_change);
        if (found) take_ramp(k, *found);
      }
    }
  }

  void take_ramp(std::size_t k, const FoundRamp& found) {
    changes_[k] = {false, true, found.ramp.begin_s, found.ramp.end_s, 0, 0, 0, 0, std::pair(found.before, found.after)};
    stretches_[k].end = std::max(stretches_[k].begin + 1, excerpt_.index_at(found.ramp.begin_s));
    stretches_[k + 1].begin = std::min(stretches_[k + 1].end - 1, excerpt_.index_at(found.ramp.end_s));
  }

  /// Returns whether the change between two runs is small compared with the change within one of them.
  [[nodiscard]] bool is_small_step(const Run& before, const Run& after, const Run& gradual) const {
    constexpr double small = 0.25;
    const Phasors one = before.stretches.back().fit.phasors(before.end_s);
    const Phasors other = after.stretches.front().fit.phasors(after.begin_s);
    const Phasors first = gradual.stretches.front().fit.phasors(gradual.begin_s);
    const Phasors last = gradual.stretches.back().fit.phasors(gradual.end_s);
    return distance(one, other) < small * distance(first, last);
  }

  /// Gradual runs between two steady ones that are ramps begin and end where the ramp does. The bend at either end of a
  /// ramp may look like a small sudden change.
  void straighten_ramps(std::vector<Run>& runs) const {
    for (std::size_t r = 1; r + 1 < runs.size(); r++) {
      Run& before = runs[r - 1];
      Run& run = runs[r];
      Run& after = runs[r + 1];
      if (!run.gradual || run.ramp || before.gradual || after.gradual) continue;
      // The meeting points of its linear courses may be in the wrong order.
      if (!(run.length_s() > 0)) continue;
      if (run.begins_abruptly && !is_small_step(before, run, run)) continue;
      if (run.ends_abruptly && !is_small_step(run, after, run)) continue;
      const double cycle = excerpt_.cycle();
      const double margin = std::min(2 * cycle, 0.5 * run.length_s());
      const auto found =
          ramp_between(before.begin_s, run.begin_s, run.end_s, after.end_s, margin, before.begins_abruptly);
      if (!found) continue;
      run.begin_s = before.end_s = found->ramp.begin_s;
      run.end_s = after.begin_s = after.returned_s = found->ramp.end_s;
      run.begins_abruptly = before.ends_abruptly = false;
      run.ends_abruptly = after.begins_abruptly = false;
      run.ramp = std::pair(found->before, found->after);
    }
  }

  /// Returns whether a linear course explains a stretch so much better that its additional parameters are justified.
  [[nodiscard]] bool is_better_linear(const Stretch& stretch, bool after_change) const {
    const double length = cycles(stretch);
    if (length < 1.2) return false;
    const PhasorFit steady(excerpt_, stretch.begin, stretch.end, FitForm::for_length(length, false, after_change));
    const PhasorFit linear(excerpt_, stretch.begin, stretch.end, FitForm::for_length(length, true, after_change));
    constexpr double floor = 0.003 * 0.003;
    double gain = 0;
    const auto n = static_cast<double>(steady.rows());
    for (std::size_t phase = 0; phase < excerpt_.phases(); phase++) {
      gain += 0.5 * n * std::log((steady.residual()[phase] + floor) / (linear.residual()[phase] + floor));
    }
    return gain > 2 * static_cast<double>(excerpt_.phases()) * std::log(n);
  }

  /// Returns whether the voltage of a stretch rises or falls by more than flicker would cause.
  [[nodiscard]] bool is_gradual(const Stretch& stretch) const {
    if (!stretch.linear || !stretch.fit.is_linear()) return false;
    const Phasors at_first = stretch.fit.phasors(first_s(stretch));
    const Phasors at_last = stretch.fit.phasors(last_s(stretch));
    const PerPhase error = stretch.fit.standard_error(last_s(stretch));
    double change = 0;
    for (std::size_t phase = 0; phase < excerpt_.phases(); phase++) {
      const double one = std::abs(std::abs(at_first[phase]) - std::abs(at_last[phase]));
      if (one > 4 * error[phase]) change = std::max(change, one);
    }
    const double length = cycles(stretch);
    return change > (length > 12 ? 0.012 : 0.02) && change / length > 0.0003;
  }

  /// Returns the rise of a stretch's voltage in the phase that changes most.
  [[nodiscard]] double rise(const Stretch& stretch) const {
    const Phasors at_first = stretch.fit.phasors(first_s(stretch));
    const Phasors at_last = stretch.fit.phasors(last_s(stretch));
    double farthest = 0;
    for (std::size_t phase = 0; phase < excerpt_.phases(); phase++) {
      const double one = std::abs(at_last[phase]) - std::abs(at_first[phase]);
      if (std::abs(one) > std::abs(farthest)) farthest = one;
    }
    return farthest;
  }

  /// Returns whether a gradual run falls clearly and the next stretch rises clearly. They are then two runs.
  [[nodiscard]] bool turns_up(const Run& run, const Stretch& next) const {
    constexpr double clearly = 0.1;
    return rise(run.stretches.back()) < -clearly && rise(next) > clearly;
  }

  /// Returns the time at which two successive linear courses are closest.
  [[nodiscard]] double meeting_point(const Stretch& before, const Stretch& after) const {
    const double middle = (last_s(before) + first_s(after)) / 2;
    double best = middle;
    double least = std::numeric_limits<double>::infinity();
    for (int step = -30; step <= 30; step++) {
      const double seconds = middle + step * excerpt_.cycle() / 20;
      const Phasors one = before.fit.phasors(seconds);
      const Phasors other = after.fit.phasors(seconds);
      double off = 0;
      for (std::size_t phase = 0; phase < excerpt_.phases(); phase++) off += std::norm(one[phase] - other[phase]);
      if (off < least) {
        least = off;
        best = seconds;
      }
    }
    return best;
  }

  /// Groups the stretches between abrupt changes by whether they are steady.
  [[nodiscard]] std::vector<Run> grouped() const {
    std::vector<Run> result;
    std::size_t begin = 0;
    for (std::size_t k = 0; k < stretches_.size(); k++) {
      const bool last = k + 1 == stretches_.size();
      if (!last && !changes_[k].abrupt && !changes_[k].ramp) continue;
      std::vector<Run> between = between_changes(begin, k + 1);
      result.insert(result.end(), between.begin(), between.end());
      if (!last && changes_[k].ramp) {
        Run ramp;
        ramp.gradual = true;
        ramp.begin_s = changes_[k].first_s;
        ramp.end_s = changes_[k].last_s;
        ramp.ramp = changes_[k].ramp;
        result.push_back(std::move(ramp));
      }
      begin = k + 1;
    }
    return result;
  }

  [[nodiscard]] std::vector<Run> between_changes(std::size_t begin, std::size_t end) const {
    std::vector<Run> runs;
    for (std::size_t k = begin; k < end; k++) {
      const bool gradual = is_gradual(stretches_[k]);
      if (runs.empty() || runs.back().gradual != gradual || (gradual && turns_up(runs.back(), stretches_[k]))) {
        runs.push_back({});
        runs.back().gradual = gradual;
      }
      runs.back().stretches.push_back(stretches_[k]);
    }
    const bool from_start = begin == 0;
    const bool to_end = end == stretches_.size();
    if (from_start && runs.front().gradual) runs.front().gradual = false;
    absorb_short_runs(runs, from_start, to_end);
    for (std::size_t r = 0; r < runs.size(); r++) {
      Run& run = runs[r];
      run.begins_abruptly = r == 0 && !from_start && !changes_[begin - 1].ramp;
      run.ends_abruptly = r + 1 == runs.size() && !to_end && !changes_[end - 1].ramp;
      run.begin_s = r > 0        ? meeting_point(runs[r - 1].stretches.back(), run.stretches.front())
                    : from_start ? excerpt_.begin_s()
                                 : changes_[begin - 1].last_s;
      run.end_s = r + 1 < runs.size() ? meeting_point(run.stretches.back(), runs[r + 1].stretches.front())
                  : to_end            ? excerpt_.end_s()
                                      : changes_[end - 1].first_s;
      run.returned_s = run.begin_s;
      if (run.begins_abruptly) {
        run.begin_plus_minus = changes_[begin - 1].last_plus_minus;
        run.returned_s = changes_[begin - 1].back_s;
        run.returned_plus_minus = changes_[begin - 1].back_plus_minus;
      }
      if (run.ends_abruptly) run.end_plus_minus = changes_[end - 1].first_plus_minus;
    }
    return runs;
  }

  [[nodiscard]] double length(const Run& run) const {
    return cycles(run.stretches.back().end - run.stretches.front().begin);
  }

  /// Runs of a few cycles next to a sudden change are its after-effects.
  void absorb_short_runs(std::vector<Run>& runs, bool from_start, bool to_end) const {
    constexpr double short_after = 2.5;
    constexpr double short_before = 1.2;
    if (runs.size() > 1 && !from_start && length(runs[0]) < short_after) {
      auto& next = runs[1].stretches;
      next.insert(next.begin(), runs[0].stretches.begin(), runs[0].stretches.end());
      runs.erase(runs.begin());
    }
    if (runs.size() > 1 && !to_end && runs.back().gradual && length(runs.back()) < short_before) {
      auto& previous = runs[runs.size() - 2].stretches;
      previous.insert(previous.end(), runs.back().stretches.begin(), runs.back().stretches.end());
      runs.pop_back();
    }
    if (runs.size() == 1 && runs[0].gradual && length(runs[0]) < short_after) runs[0].gradual = false;
  }

  const Excerpt& excerpt_;
  std::vector<Stretch> stretches_;
  std::vector<Change> changes_;
  double nearby_ = 0;
};

}  // namespace

std::vector<Run> runs_of(const Excerpt& excerpt, const std::vector<Piece>& pieces) {
  return RunFinder(excerpt, pieces).runs();
}

}  // namespace measure
