#include "readers/time_stamps.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <limits>

#include "readers/plausible.h"
#include "readers/text.h"

namespace readers {
namespace {

constexpr double seconds_per_day = 86400;

/// With no more stamps than this, nothing can be concluded from them.
constexpr std::size_t few_steps = 16;

/// Returns the step between two stamps, NaN when one is missing. A step back may be a wrap-around at 16 or 32 bits.
double step_of(double from, double to, double usual) {
  const double step = to - from;
  if (!(step < 0)) return step;
  for (const double range : {65536.0, 4294967296.0}) {
    const double wrapped = step + range;
    if (wrapped > 0 && wrapped <= 1 + 2 * usual) return wrapped;
  }
  return step;
}

/// Returns the median of the forward steps between `begin` and `end`; NaN when fewer than half of the steps go forward.
double usual_step(const std::vector<double>& stamps, std::size_t begin, std::size_t end) {
  std::vector<double> steps;
  for (std::size_t i = begin + 1; i < end; i++) {
    if (const double step = stamps[i] - stamps[i - 1]; step > 0) steps.push_back(step);
  }
  if (end - begin < 2 || 2 * steps.size() < end - begin - 1) return no_value;
  const auto middle = steps.begin() + static_cast<std::ptrdiff_t>(steps.size() / 2);
  std::nth_element(steps.begin(), middle, steps.end());
  return *middle;
}

/// Returns the mean of the steps that are near the usual one. The usual step alone is coarse, because stamps are
/// rounded.
double mean_step(const std::vector<double>& stamps, std::size_t begin, std::size_t end, double usual) {
  double sum = 0;
  double count = 0;
  for (std::size_t i = begin + 1; i < end; i++) {
    const double step = step_of(stamps[i - 1], stamps[i], usual);
    if (!(std::abs(step - usual) <= std::max(1.5, 0.05 * usual))) continue;
    sum += step;
    count++;
  }
  return count == 0 ? no_value : sum / count;
}

/// Returns the rate for a step; a rate that is close to a whole number is rounded to it.
double rate_of_step(double seconds) {
  const double rate = 1 / seconds;
  const double whole = std::round(rate);
  return whole > 0 && std::abs(rate - whole) <= 1e-4 * rate ? whole : rate;
}

/// Returns whether most steps of a section are as long as `step`.
bool agree(const std::vector<double>& stamps, std::size_t begin, std::size_t end, double step) {
  std::size_t right = 0;
  for (std::size_t i = begin + 1; i < end; i++) {
    if (std::abs(step_of(stamps[i - 1], stamps[i], step) - step) <= step_tolerance(step)) right++;
  }
  return end - begin > few_steps && 10 * right >= 9 * (end - begin - 1);
}

/// Returns the step that a section's stamps follow: that of its rate, or otherwise their own mean step; NaN if they
/// follow neither.
double regular_step(const std::vector<double>& stamps, std::size_t begin, std::size_t end, double rate, double unit) {
  if (rate > 0 && agree(stamps, begin, end, 1 / (rate * unit))) return 1 / (rate * unit);
  const double usual = usual_step(stamps, begin, end);
  const double mean = std::isnan(usual) ? no_value : mean_step(stamps, begin, end, usual);
  return mean > 0 && agree(stamps, begin, end, mean) ? mean : no_value;
}

/// Returns the median number of steps by which the stamps from one row onwards, or backwards, lag behind evenly spaced
/// ones. Of two middle values, `lower` selects the lower one; otherwise the higher one is used.
double usual_lag(const std::vector<double>& stamps, std::size_t start, std::size_t count, bool forward, bool lower,
                 double step) {
  std::vector<double> lags = {0};
  for (std::size_t k = 1; k < count; k++) {
    const std::size_t later = forward ? start + k : start - k + 1;
    const double units = step_of(stamps[later - 1], stamps[later], step) - step;
    lags.push_back(lags.back() + (forward ? units : -units) / step);
  }
  const std::size_t middle = lower ? (lags.size() - 1) / 2 : lags.size() / 2;
  std::nth_element(lags.begin(), lags.begin() + static_cast<std::ptrdiff_t>(middle), lags.end());
  return lags[middle];
}

/// Returns whether a shift of `steps` steps persists in the rows after it, relative to the rows before it. A single
/// late stamp is compensated by the rows next to it; stamps that are written too coarsely are compensated over many
/// rows.
bool persists(const std::vector<double>& stamps, std::size_t begin, std::size_t end, std::size_t at, double step,
              double steps) {
  constexpr double drift = 0.3;  // steps that a slightly inaccurate rate can accumulate over so many rows
  const std::size_t before = at - begin;
  const std::size_t behind = end - at;
  for (const std::size_t rows : {8U, 64U}) {  // rows on both sides together
    const std::size_t right = std::min(behind, rows - std::min(before, rows / 2));
    const std::size_t left = std::min(before, rows - right);
    const bool late = steps > 0;
    const double shift =
        steps + usual_lag(stamps, at, right, true, late, step) - usual_lag(stamps, at - 1, left, false, !late, step);
    if (late ? shift < steps - std::min(drift, steps / 2) : shift > steps + drift) return false;
  }
  return true;
}

std::string sample_text(std::size_t index) {
  return fmt::format("sample {}", index + 1);
}

class TableMaker {
 public:
  TableMaker(const std::vector<double>& stamps, double unit, double given_rate)
      : stamps_(stamps), unit_(unit), given_rate_(given_rate) {}

  TimeTable make(const std::vector<RateSection>& declared) {
    std::size_t begin = 0;
    for (const RateSection& section : declared) {
      add(section, begin);
      begin = section.end;
    }
    if (jumps_ > 1) table_.notes[forward_note_] += fmt::format(" There are {} more such places.", jumps_ - 1);
    table_.shifted = shift_noted_ || jumps_back_ > 0;
    return std::move(table_);
  }

 private:
  void add(const RateSection& section, std::size_t begin) {
    if (section.rate > 0 && all_agree(begin, section.end, 1 / (section.rate * unit_))) {
      check_span(section.rate, stamps_[section.end - 1] - stamps_[begin], section.end - begin - 1);
      const double missing = gap_before(begin, 1 / (section.rate * unit_), true);
      agreed_before_ = true;
      push(section.rate, begin, section.end, missing, missing == 0);
      return;
    }
    const double usual = usual_step(stamps_, begin, section.end);
    double rate = section.rate;
    if (rate == 0) rate = rate_of_stamps(begin, section.end, usual);
    if (rate == 0) {
      push(0, begin, section.end, 0, begin == 0);
      return;
    }
    const double step = 1 / (rate * unit_);
    const bool agreed = agree(stamps_, begin, section.end, step);
    if (!agreed) check_rate(rate, usual, begin, section.end);
    if (agreed && section.rate > 0) check_regular_span(rate, begin, section.end);
    std::size_t start = begin;
    double missing = gap_before(begin, step, agreed);
    agreed_before_ = agreed;
    for (std::size_t i = begin + 1; agreed && i < section.end; i++) {
      const double jump = step_of(stamps_[i - 1], stamps_[i], step) - step;
      if (!note_jump(i, jump, step)) {
        note_shift(i, jump, begin, section.end, step);
        continue;
      }
      push(rate, start, i, missing, missing == 0);
      start = i;
      missing = jump;
    }
    push(rate, start, section.end, missing, missing == 0);
  }

  /// Returns whether every step agrees with the rate. This is the usual case, and one pass over the stamps decides it.
  [[nodiscard]] bool all_agree(std::size_t begin, std::size_t end, double step) const {
    const double tolerance = step_tolerance(step);
    std::size_t wrong = 0;
    for (std::size_t i = begin + 1; i < end; i++) {
      wrong += std::abs(stamps_[i] - stamps_[i - 1] - step) <= tolerance ? 0 : 1;
    }
    return wrong == 0 && end - begin > few_steps;
  }

  double rate_of_stamps(std::size_t begin, std::size_t end, double usual) {
    const double step = std::isnan(usual) ? no_value : mean_step(stamps_, begin, end, usual) * unit_;
    if (step > 0) {
      const double rate = rate_of_step(step);
      table_.notes.push_back(
          fmt::format("The file states no sampling rate; the time stamps give {} samples per second.",
                      number_text(std::round(rate * 1e3) / 1e3)));
      return rate;
    }
    if (given_rate_ > 0) return given_rate_;
    table_.notes.emplace_back("The file states no sampling rate, and it cannot be derived from the time stamps.");
    return 0;
  }

  void check_rate(double rate, double usual, std::size_t begin, std::size_t end) {
    if (std::isnan(usual) || end - begin <= few_steps || rate_noted_) return;
    const double by_stamps = 1 / (mean_step(stamps_, begin, end, usual) * unit_);
    if (!(std::abs(by_stamps - rate) > same_rate * rate)) return;
    note_rate(by_stamps, rate);
  }

  void note_rate(double by_stamps, double rate) {
    rate_noted_ = true;
    table_.contradicting_rate = by_stamps;
    table_.contradicted_rate = rate;
  }

  /// Checks the total span, because steps that are each close to the rate's step may still all deviate in the same
  /// direction.
  void check_span(double rate, double span, std::size_t steps) {
    const auto count = static_cast<double>(steps);
    if (!rate_noted_ && span_disagrees(span, 1 / (rate * unit_), count)) note_rate(count / (span * unit_), rate);
  }

  /// Does the same check using only the steps that are not jumps.
  void check_regular_span(double rate, std::size_t begin, std::size_t end) {
    const double step = 1 / (rate * unit_);
    double span = 0;
    std::size_t steps = 0;
    for (std::size_t i = begin + 1; i < end; i++) {
      const double taken = step_of(stamps_[i - 1], stamps_[i], step);
      if (!(std::abs(taken - step) <= step_tolerance(step))) continue;
      span += taken;
      steps++;
    }
    check_span(rate, span, steps);
  }

  /// Returns the time missing between the previous section and this one in stamp units; 0 when this section follows
  /// directly or the stamps are not conclusive. A section whose stamps jump back, as where sections of two rates share
  /// their times, follows the one before it; the next gap is shorter by as much, so that what comes after it is again
  /// where its stamps are.
  double gap_before(std::size_t begin, double step, bool agreed) {
    if (begin == 0 || !agreed || !agreed_before_) return 0;
    const RateSection& before = table_.sections.back();
    const double longest = std::max(step, 1 / (before.rate * unit_));
    const double jump = step_of(stamps_[begin - 1], stamps_[begin], longest) - longest;
    if (!note_jump(begin, jump, longest)) {
      late_ += std::max(-jump, 0.0);
      return 0;
    }
    const double missing = std::max(jump - late_, 0.0);
    late_ = std::max(late_ - jump, 0.0);
    return missing;
  }

  /// Returns whether time is missing before a sample, which is so if the stamps jump forward. No time is missing where
  /// they jump back. A note reports either jump.
  bool note_jump(std::size_t at, double jump, double step) {
    const bool forward = jump > std::max(2.0, 1.5 * step);
    const bool back = jump + step < -1;
    const std::string by = number_text(std::round(std::abs(jump) * unit_ * 1e6) / 1e6) + " s";
    if (forward && jumps_++ == 0) {
      table_.notes.push_back(
          fmt::format("The time stamps jump forward by {} at {}; the record is split there.", by, sample_text(at)));
      forward_note_ = table_.notes.size() - 1;
    }
    if (back && jumps_back_++ == 0) {
      table_.notes.push_back(fmt::format(
          "The time stamps jump back by {} at {}; the samples are assumed to follow one another at the stated rate.",
          by, sample_text(at)));
    }
    return forward;
  }

  /// Notes a shift that is too small for a jump and too large for rounding, unless a single late stamp explains it.
  void note_shift(std::size_t at, double jump, std::size_t begin, std::size_t end, double step) {
    if (!(jump > std::max(2.0, 0.25 * step)) || shift_noted_ || !persists(stamps_, begin, end, at, step, jump / step))
      return;
    shift_noted_ = true;
    table_.notes.push_back(fmt::format(
        "From {} on, the time stamps are {} us later than the sampling rate implies; the samples are assumed to follow "
        "one another without a gap.",
        sample_text(at), number_text(std::round(jump * unit_ * 1e9) / 1e3)));
  }

  void push(double rate, std::size_t begin, std::size_t end, double missing, bool follows) {
    double start = 0;
    if (!table_.sections.empty()) {
      const RateSection& before = table_.sections.back();
      const std::size_t before_begin = table_.sections.size() < 2 ? 0 : table_.sections[table_.sections.size() - 2].end;
      const double length = static_cast<double>(begin - before_begin);
      start = before.start + (before.rate > 0 ? length / before.rate : 0) + std::max(missing, 0.0) * unit_;
    }
    table_.sections.push_back({rate, end, start, follows});
  }

  const std::vector<double>& stamps_;
  double unit_;
  double given_rate_;
  double late_ = 0;  // stamp units by which the last section is later than its stamps
  bool agreed_before_ = false;
  bool rate_noted_ = false;
  bool shift_noted_ = false;
  std::size_t jumps_ = 0;
  std::size_t jumps_back_ = 0;
  std::size_t forward_note_ = 0;
  TimeTable table_;
};

std::optional<double> two_digits(std::string_view text) {
  const auto count = parse_count(text);
  return count ? std::optional<double>(static_cast<double>(*count)) : std::nullopt;
}

}  // namespace

double step_tolerance(double step) {
  return std::max(1.5, same_rate * step);
}

std::optional<WrittenTime> parse_time(std::string_view date, std::string_view time) {
  const auto fields = split_fields(time, ':');
  if (fields.size() != 3) return std::nullopt;
  const auto hours = two_digits(fields[0]);
  const auto minutes = two_digits(fields[1]);
  const auto seconds = parse_number(fields[2]);
  if (!hours || !minutes || !seconds || !(*seconds >= 0 && *seconds < 61)) return std::nullopt;
  WrittenTime written;
  written.date = trimmed(date);
  written.seconds_of_day = 3600 * *hours + 60 * *minutes + *seconds;
  if (*minutes > 59 || written.seconds_of_day >= seconds_per_day + 1)
    return std::nullopt;  // 24:00:00 and leap seconds are valid times
  const std::size_t point = fields[2].find('.');
  if (point != fields[2].npos) written.decimals = static_cast<int>(fields[2].size() - point - 1);
  return written;
}

std::optional<double> seconds_between(const WrittenTime& earlier, const WrittenTime& later) {
  const double seconds = later.seconds_of_day - earlier.seconds_of_day;
  if (later.date == earlier.date) return seconds >= 0 ? std::optional(seconds) : std::nullopt;
  // The times are on either side of midnight. The dates themselves do not matter, because no record for which this is
  // called lasts longer than a day. A leap second before midnight counts as the first second of the new day.
  return seconds < 0 ? std::optional(std::max(seconds + seconds_per_day, 0.0)) : std::nullopt;
}

std::string drop_impossible_stamps(std::vector<double>& stamps, double unit) {
  const double farthest = longest_time / unit;
  double least = std::numeric_limits<double>::infinity();
  double most = -least;
  for (const double stamp : stamps) {
    least = std::fmin(least, stamp);  // ignores NaN
    most = std::fmax(most, stamp);
  }
  if (!(most - least > farthest)) return {};
  std::vector<double> there;
  std::copy_if(stamps.begin(), stamps.end(), std::back_inserter(there),
               [](double stamp) { return !std::isnan(stamp); });
  const auto middle = there.begin() + static_cast<std::ptrdiff_t>(there.size() / 2);
  std::nth_element(there.begin(), middle, there.end());
  std::size_t dropped = 0;
  std::size_t first = 0;
  for (std::size_t i = 0; i < stamps.size(); i++) {
    if (std::isnan(stamps[i]) || std::abs(stamps[i] - *middle) <= farthest) continue;  // an infinite one is dropped
    if (dropped++ == 0) first = i;
    stamps[i] = no_value;
  }
  return fmt::format("{} more than a century away from the others and {} ignored; the first is that of {}.",
                     dropped == 1 ? "1 time stamp is" : fmt::format("{} time stamps are", dropped),
                     dropped == 1 ? "was" : "were", sample_text(first));
}

bool span_disagrees(double span, double step, double steps) {
  constexpr double rounding = 2;          // in stamp units, for both ends together
  constexpr double worth_saying = 0.001;  // clocks may deviate a little
  return std::abs(span - steps * step) > std::max(rounding, worth_saying * steps * step);
}

double mean_step_of(const std::vector<double>& stamps) {
  const double usual = usual_step(stamps, 0, stamps.size());
  return std::isnan(usual) ? no_value : mean_step(stamps, 0, stamps.size(), usual);
}

std::vector<double> unwrapped(const std::vector<double>& stamps) {
  const double usual = usual_step(stamps, 0, stamps.size());
  std::vector<double> result = stamps;
  std::optional<std::size_t> last;  // the last row that has a stamp
  for (std::size_t i = 0; i < result.size(); i++) {
    if (!std::isfinite(stamps[i])) continue;
    if (last) result[i] = result[*last] + step_of(stamps[*last], stamps[i], usual);
    last = i;
  }
  return result;
}

std::vector<RowShift> row_shifts(const std::vector<RateSection>& sections, const std::vector<double>& stamps,
                                 double unit) {
  std::vector<RowShift> shifts;
  std::size_t begin = 0;
  for (const RateSection& section : sections) {
    const double step = regular_step(stamps, begin, section.end, section.rate, unit);
    for (std::size_t i = begin + 1; !std::isnan(step) && i < section.end; i++) {
      const double jump = step_of(stamps[i - 1], stamps[i], step) - step;
      if (!(std::abs(jump) > step_tolerance(step))) continue;
      const double steps = std::round(jump / step);
      const bool whole = std::abs(jump - steps * step) <= 0.25 * step + 1.5 && std::abs(steps) < 1e9;
      if (!whole || steps < -1 || steps == 0 || !persists(stamps, begin, section.end, i, step, steps)) continue;
      shifts.push_back({i, static_cast<std::ptrdiff_t>(steps)});
    }
    begin = section.end;
  }
  return shifts;
}

bool are_regular(const std::vector<RateSection>& sections, const std::vector<double>& stamps, double unit) {
  std::size_t begin = 0;
  for (const RateSection& section : sections) {
    if (std::isnan(regular_step(stamps, begin, section.end, section.rate, unit))) return false;
    begin = section.end;
  }
  return true;
}

double unit_of_stamps(const std::vector<RateSection>& sections, const std::vector<double>& stamps, double assumed,
                      double frequency, std::optional<double> trigger) {
  constexpr double thousand = 1000;
  if (sections.size() != 1 || stamps.size() <= few_steps) return assumed;
  const double step = mean_step_of(stamps);
  if (!(step > 0)) return assumed;
  const double rate = sections[0].rate;
  for (const double unit : {assumed * thousand, assumed / thousand}) {
    if (rate > 0 && std::abs(step * unit * rate - 1) <= same_rate) return unit;
  }
  // If the file states no rate, the unit is changed only if the record would otherwise be too short to be plausible.
  const double length = static_cast<double>(stamps.size()) * step;
  const double cycle = 1 / (frequency > 0 ? frequency : 50);
  const bool too_short = length * assumed < 2 * cycle;
  const bool triggered_within = trigger && *trigger > 0 && *trigger <= length * assumed;
  const bool fine_enough = step * assumed * thousand <= cycle / 8;
  const bool long_enough = length * assumed * thousand >= std::max(2 * cycle, trigger.value_or(0));
  return rate == 0 && too_short && !triggered_within && fine_enough && long_enough ? assumed * thousand : assumed;
}

TimeTable read_time_stamps(const std::vector<RateSection>& declared, const std::vector<double>& stamps, double unit,
                           double given_rate) {
  return TableMaker(stamps, unit, given_rate).make(declared);
}

}  // namespace readers
