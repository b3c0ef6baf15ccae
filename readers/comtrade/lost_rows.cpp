#include "readers/comtrade/lost_rows.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <utility>

#include "readers/time_stamps.h"

namespace readers {
namespace {

/// A longer gap, of about a cycle or more, splits the record in any case, so it is not filled.
constexpr double longest_hole = 0.02;

bool no_stamps(const std::vector<double>& stamps) {
  return std::none_of(stamps.begin(), stamps.end(), [&](double stamp) { return stamp != stamps.front(); }) ||
         std::all_of(stamps.begin(), stamps.end(), [](double stamp) { return std::isnan(stamp); });
}

/// Returns the stamps that the rows' numbers imply.
std::vector<double> stamps_by_numbers(const RowNumbers& numbers, const std::vector<RateSection>& sections,
                                      std::size_t rows, double unit) {
  std::vector<double> stamps;
  stamps.reserve(rows);
  std::size_t section = 0;
  std::size_t jump = 0;
  double stamp = 0;
  for (std::size_t row = 0; row < rows; row++) {
    while (row >= sections[section].end && section + 1 < sections.size()) section++;
    double step = 1;
    if (jump < numbers.jumps.size() && numbers.jumps[jump].row == row) {
      const NumberJump& at = numbers.jumps[jump++];
      // Where the numbers jump back, the rows of another rate are numbered from the start again.
      if (at.number >= at.before) step = at.number - at.before;
    }
    if (row > 0) stamp += step / (sections[section].rate * unit);
    stamps.push_back(stamp);
  }
  return stamps;
}

/// Returns whether the numbers can replace the stamps: nearly all increase by one, but not all.
bool numbers_tell(const RowNumbers& numbers, const std::vector<RateSection>& sections) {
  return numbers.regular && !numbers.jumps.empty() &&
         std::none_of(numbers.jumps.begin(), numbers.jumps.end(),
                      [](const NumberJump& jump) { return std::isnan(jump.before) || std::isnan(jump.number); }) &&
         std::all_of(sections.begin(), sections.end(), [](const RateSection& section) { return section.rate > 0; });
}

class Repair {
 public:
  Repair(const ComtradeConfig& config, double unit, ComtradeData& data) : config_(config), unit_(unit), data_(data) {}

  std::vector<RateSection> make() {
    const std::vector<RateSection> sections = fitted_rates(config_.rates, data_.rows);
    const bool numbered = numbers_tell(data_.numbers, sections);
    if (data_.stamps_agree) {
      if (numbered && has_hole_by_number()) note_contradiction();
      return sections;
    }
    const bool by_number = numbered && no_stamps(data_.stamps);
    if (by_number) data_.stamps = stamps_by_numbers(data_.numbers, sections, data_.rows, unit_);
    source_ = by_number ? "According to the sample numbers, " : "According to the time stamps, ";
    choose(sections);
    const bool doubtful = !by_number && numbered && holes_ == 0 && has_hole_by_number();
    if (doubtful && are_regular(sections, data_.stamps, unit_)) note_contradiction();
    if (edits_.empty()) return sections;
    apply();
    note();
    return fitted_sections(sections);
  }

 private:
  struct Edit {
    std::size_t row = 0;
    std::size_t insert = 0;  ///< number of rows inserted before it; 0: the row itself is removed
  };

  [[nodiscard]] bool has_hole_by_number() const {
    return std::any_of(data_.numbers.jumps.begin(), data_.numbers.jumps.end(),
                       [](const NumberJump& jump) { return jump.number > jump.before; });
  }

  void note_contradiction() {
    data_.notes.emplace_back(
        "The time stamps continue evenly where the sample numbers jump, so no time is assumed to be missing.");
  }

  void choose(const std::vector<RateSection>& sections) {
    std::size_t inserted = 0;
    std::size_t section = 0;
    for (const RowShift& shift : row_shifts(sections, data_.stamps, unit_)) {
      while (shift.row >= sections[section].end) section++;
      if (shift.steps < 0) {
        choose_repeated(shift.row);
        continue;
      }
      holes_++;
      const auto missing = static_cast<std::size_t>(shift.steps);
      const double step = (data_.stamps[shift.row] - data_.stamps[shift.row - 1]) / static_cast<double>(missing + 1);
      // No more rows are inserted than the file holds, so that a damaged stamp cannot exhaust memory.
      if (static_cast<double>(missing) * std::abs(step) * unit_ > longest_hole || inserted + missing > data_.rows)
        continue;
      inserted += missing;
      edits_.push_back({shift.row, missing});
    }
  }

  void choose_repeated(std::size_t row) {
    const auto& jumps = data_.numbers.jumps;
    const bool same_number = std::any_of(jumps.begin(), jumps.end(), [&](const NumberJump& jump) {
      return jump.row == row && jump.number == jump.before;
    });
    if (!same_number && data_.numbers.regular) return;
    if (same_values(row)) {
      edits_.push_back({row, 0});
    } else if (contradicted_++ == 0) {
      data_.notes.push_back(
          fmt::format("Rows {} and {} of the data have the same number and time but different values; both are kept.",
                      row, row + 1));
    }
  }

  /// Compares the values bit by bit, so that missing values count as equal.
  [[nodiscard]] bool same_values(std::size_t row) const {
    bool any = false;
    for (const std::vector<double>& samples : data_.samples) {
      if (samples.empty()) continue;
      any = true;
      if (std::bit_cast<std::uint64_t>(samples[row]) != std::bit_cast<std::uint64_t>(samples[row - 1])) return false;
    }
    return any;
  }

  void apply() {
    for (std::vector<double>& samples : data_.samples) {
      if (!samples.empty()) samples = edited(samples, [](double, double, double) { return no_value; });
    }
    data_.stamps = edited(data_.stamps, [](double before, double behind, double part) {
      return behind > before ? before + part * (behind - before) : no_value;
    });
    for (DigitalStates& digitals : data_.digitals) digitals.row = moved(digitals.row);
    for (const Edit& edit : edits_) {
      inserted_ += edit.insert;
      dropped_ += edit.insert == 0 ? 1 : 0;
    }
    data_.rows += inserted_ - dropped_;
  }

  /// `between` returns the value at a fraction of the way from the last value before a gap to the first one after it.
  template <typename Between>
  std::vector<double> edited(const std::vector<double>& old, Between between) const {
    std::vector<double> result;
    std::size_t size = old.size();
    for (const Edit& edit : edits_) size += edit.insert;
    result.reserve(size);
    std::size_t at = 0;
    for (const Edit& edit : edits_) {
      result.insert(result.end(), old.begin() + static_cast<std::ptrdiff_t>(at),
                    old.begin() + static_cast<std::ptrdiff_t>(edit.row));
      at = edit.row + (edit.insert == 0 ? 1 : 0);
      for (std::size_t i = 1; i <= edit.insert; i++) {
        result.push_back(
            between(old[edit.row - 1], old[edit.row], static_cast<double>(i) / static_cast<double>(edit.insert + 1)));
      }
    }
    result.insert(result.end(), old.begin() + static_cast<std::ptrdiff_t>(at), old.end());
    return result;
  }

  /// Returns the position of a row of the data file in the edited data.
  [[nodiscard]] std::size_t moved(std::size_t row) const {
    std::size_t to = row;
    for (const Edit& edit : edits_) {
      if (edit.row >= row) break;
      to += edit.insert;
      to -= edit.insert == 0 ? 1 : 0;
    }
    return to;
  }

  void note() {
    const auto first = [&](bool hole) {
      return std::find_if(edits_.begin(), edits_.end(), [&](const Edit& edit) { return (edit.insert > 0) == hole; });
    };
    if (inserted_ > 0) {
      const std::size_t places = edits_.size() - dropped_;
      data_.notes.push_back(fmt::format("{}{} missing in the data{}at sample {}{}", source_,
                                        inserted_ == 1 ? "1 row is" : fmt::format("{} rows are", inserted_),
                                        places == 1 ? " " : fmt::format(" in {} places, the first ", places),
                                        moved(first(true)->row) + 1,
                                        inserted_ == 1 ? ", which has no values." : "; these samples have no values."));
    }
    if (dropped_ > 0) {
      data_.notes.push_back(fmt::format("Row {} of the data repeats the row before it and was left out{}.",
                                        first(false)->row + 1,
                                        dropped_ == 1   ? ""
                                        : dropped_ == 2 ? ", and so was 1 other"
                                                        : fmt::format(", and so were {} others", dropped_ - 1)));
    }
  }

  /// Returns the sections of the edited data. If their stated ends add up to the rows in the file, they count the rows
  /// as written and are moved accordingly.
  [[nodiscard]] std::vector<RateSection> fitted_sections(const std::vector<RateSection>& raw) const {
    const std::size_t before = data_.rows - inserted_ + dropped_;
    if (config_.rates.back().end != before) return fitted_rates(config_.rates, data_.rows);
    std::vector<RateSection> sections = raw;
    for (RateSection& section : sections) section.end = moved(section.end);
    return sections;
  }

  const ComtradeConfig& config_;
  double unit_;
  ComtradeData& data_;
  std::string source_;
  std::vector<Edit> edits_;
  std::size_t holes_ = 0;
  std::size_t inserted_ = 0;
  std::size_t dropped_ = 0;
  std::size_t contradicted_ = 0;
};

}  // namespace

std::vector<RateSection> fitted_rates(const std::vector<RateSection>& declared, std::size_t length) {
  std::vector<RateSection> rates;
  for (const RateSection& section : declared) {
    const std::size_t start = rates.empty() ? 0 : rates.back().end;
    const std::size_t end = std::min(section.end, length);
    if (end > start) rates.push_back({section.rate, end});
  }
  if (rates.empty()) rates.push_back({declared.back().rate, length});
  rates.back().end = length;
  return rates;
}

std::vector<RateSection> repair_rows(const ComtradeConfig& config, double unit, ComtradeData& data) {
  return Repair(config, unit, data).make();
}

}  // namespace readers
