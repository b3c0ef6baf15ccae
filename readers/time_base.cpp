#include "readers/time_base.h"

#include <fmt/format.h>

#include <cmath>
#include <optional>
#include <string>
#include <vector>

#include "readers/line_rate.h"
#include "readers/text.h"

namespace readers {
namespace {

std::string rate_text(double rate) {
  return number_text(std::round(rate * 1e3) / 1e3);
}

std::string line_text(double hertz) {
  return hertz > 0 ? fmt::format("{:.2f} Hz", hertz) : "not visible";
}

/// Uses the user's rate and notes what it replaces. A record that is sampled at several rates has no single one.
void use_given_rate(Record& record, double given) {
  if (record.rates.size() != 1) {
    const RateSection& first = record.rates.front();
    for (const RateSection& section : record.rates) {
      if (section.follows && section.rate == first.rate) continue;
      record.notes.push_back(
          fmt::format("The given rate ({} samples per second) was not used, because the record consists of {} sections "
                      "of their own rates and times.",
                      rate_text(given), record.rates.size()));
      return;
    }
  }
  const double replaced = record.rates.front().rate;
  record.rates = {{given, record.length()}};
  if (replaced > 0 && std::abs(given - replaced) > 1e-6 * replaced) {
    record.notes.push_back(fmt::format("The given rate of {} samples per second is used; the file gives {}.",
                                       rate_text(given), rate_text(replaced)));
  }
}

/// Decides between the stated rate and that of the stamps by the line frequency. Returns whether the stamps are right.
bool stamps_are_right(Record& record, const StampedTimes& stamped) {
  const std::string by_stamps = rate_text(stamped.rate);
  const std::string stated = number_text(stamped.stated_rate);
  const bool one_section = !stamped.sections.empty();
  const auto verdict = one_section ? right_rate(record, stamped.rate, stamped.stated_rate) : std::nullopt;
  if (!verdict) {
    record.notes.push_back(fmt::format(
        "The time stamps give a sampling rate of {} samples per second, but the file states {}, which is used.",
        by_stamps, stated));
    return false;
  }
  const double right = verdict->first ? verdict->first_line : verdict->second_line;
  const double wrong = verdict->first ? verdict->second_line : verdict->first_line;
  record.notes.push_back(fmt::format(
      "The time stamps give a sampling rate of {} samples per second, but the file states {}. {} used, because the "
      "line frequency is {} with it and {} with the other (override with --rate).",
      by_stamps, stated, verdict->first ? "The rate of the stamps is" : "The stated rate is", line_text(right),
      line_text(wrong)));
  return verdict->first;
}

/// Returns the times of the ends of sections that follow one another at nearly equal rates, as recorders that sample in
/// step with the line state them; nothing for other sections.
std::vector<TimeKnot> knots_of_sections(const std::vector<RateSection>& sections) {
  std::vector<TimeKnot> knots = {{0, 0}};
  for (const RateSection& section : sections) {
    if (!section.follows || !(std::abs(section.rate - sections[0].rate) <= same_rate * sections[0].rate)) return {};
    const double rows = static_cast<double>(section.end) - knots.back().row;
    if (rows > 0) knots.push_back({static_cast<double>(section.end), knots.back().seconds + rows / section.rate});
  }
  return knots;
}

double near_whole(double rate) {
  const double whole = std::round(rate);
  return std::abs(rate - whole) <= 1e-4 * rate ? whole : rate;
}

}  // namespace

namespace {

void settle_rates(Record& record, const StampedTimes& stamped, double given_rate) {
  if (given_rate > 0 && std::isfinite(given_rate)) {
    use_given_rate(record, given_rate);
    return;
  }
  if (record.rates.size() > 1) {
    const std::vector<TimeKnot> knots = knots_of_sections(record.rates);
    if (are_uneven(knots, 0)) {
      make_even(record, knots, near_whole(mean_rate(knots)), "stated sampling rates are not equal");
      return;
    }
  }
  const bool uneven = record.rates.size() == 1 && are_uneven(stamped.knots, stamped.rounding);
  const bool contradiction = stamped.rate > 0 && stamped.stated_rate > 0;
  if (!uneven) {
    if (contradiction && stamps_are_right(record, stamped)) record.rates = stamped.sections;
    return;
  }
  const double mean = mean_rate(stamped.knots);
  if (contradiction) {
    const auto verdict = right_rate(record, mean, stamped.stated_rate);
    if (verdict && !verdict->first) {
      stamps_are_right(record, stamped);
      return;
    }
  }
  make_even(record, stamped.knots, near_whole(mean), "time stamps are not evenly spaced");
}

/// Returns the time of a row by the record's sections.
double time_of_row(const Record& record, std::size_t row) {
  std::size_t begin = 0;
  for (const RateSection& section : record.rates) {
    if (row < section.end || section.end == record.length()) {
      return section.start + (section.rate > 0 ? static_cast<double>(row - begin) / section.rate : 0);
    }
    begin = section.end;
  }
  return 0;
}

}  // namespace

void settle_times(Record& record, const StampedTimes& stamped, double given_rate) {
  for (DigitalChannel& channel : record.digitals) {
    for (DigitalChange& change : channel.changes) change.time = no_value;
  }
  settle_rates(record, stamped, given_rate);
  for (DigitalChannel& channel : record.digitals) {
    for (DigitalChange& change : channel.changes) {
      // Changes of a record that was resampled have their times already.
      if (std::isnan(change.time)) change.time = time_of_row(record, change.row);
    }
  }
}

}  // namespace readers
