#include "assess/classes.h"

#include <algorithm>
#include <array>

namespace assess {

namespace {

/// Returns whether IEEE 1159 calls a voltage an interruption.
bool is_ieee1159_interruption(const EventTerms& terms, bool swell) {
  constexpr double interruption_percent = 10;
  return !swell && terms.percent < interruption_percent;
}

}  // namespace

std::string en50160_cell(const EventTerms& terms) {
  constexpr std::array<double, 5> longest = {0.2, 0.5, 1, 5, 60};
  constexpr std::array<double, 5> lowest = {80, 70, 40, 5, 0};
  if (!terms.seconds || *terms.seconds < 0.01 || *terms.seconds > longest.back()) return {};
  if (!(terms.percent < 90)) return {};
  const auto column = std::find_if(longest.begin(), longest.end(), [&](double most) { return *terms.seconds <= most; });
  const auto row = std::find_if(lowest.begin(), lowest.end(), [&](double least) { return terms.percent >= least; });
  return {"ABCDX"[row - lowest.begin()], static_cast<char>('1' + (column - longest.begin()))};
}

bool is_near_cell_limit(const EventTerms& terms) {
  const std::string cell = en50160_cell(terms);
  if (cell.empty()) return false;
  for (const double percent : {-uncertain_percent, uncertain_percent}) {
    for (const double seconds : {-terms.cycle_seconds, terms.cycle_seconds}) {
      EventTerms other = terms;
      other.percent = std::max(0.0, terms.percent + percent);
      other.seconds = *terms.seconds + seconds;
      if (en50160_cell(other) != cell) return true;
    }
  }
  return false;
}

std::string en50160_swell_cell(const EventTerms& terms) {
  constexpr std::array<double, 3> longest = {0.5, 5, 60};
  if (!terms.seconds || *terms.seconds < 0.01 || *terms.seconds > longest.back()) return {};
  if (!(terms.percent > 110)) return {};
  const auto column = std::find_if(longest.begin(), longest.end(), [&](double most) { return *terms.seconds <= most; });
  return {terms.percent >= 120 ? 'S' : 'T', static_cast<char>('1' + (column - longest.begin()))};
}

std::string unipede_cell(const EventTerms& terms) {
  constexpr std::array<double, 6> until = {0.1, 0.5, 1, 3, 20, 60};
  constexpr std::array<const char*, 6> columns = {"10 to 100 ms", "100 to 500 ms", "0.5 to 1 s",
                                                  "1 to 3 s",     "3 to 20 s",     "20 to 60 s"};
  constexpr std::array<double, 3> depths = {30, 60, 99};
  constexpr std::array<const char*, 4> rows = {"10 to 30 %", "30 to 60 %", "60 to 100 %", "100 %"};
  if (!terms.seconds || *terms.seconds < 0.01 || *terms.seconds >= until.back()) return {};
  const double depth = 100 - terms.percent;
  if (depth < 10) return {};
  const auto column = std::find_if(until.begin(), until.end(), [&](double end) { return *terms.seconds < end; });
  // A depth of 99 % still leaves 1 % of the voltage, so that it belongs to the row below 100 %.
  const auto row = std::find_if(depths.begin(), depths.end(),
                                [&](double end) { return end == depths.back() ? depth <= end : depth < end; });
  return std::string(rows[static_cast<std::size_t>(row - depths.begin())]) + " for " +
         columns[static_cast<std::size_t>(column - until.begin())];
}

std::string ieee1159_class(const EventTerms& terms, bool swell) {
  constexpr double minute = 60;
  const bool interruption = is_ieee1159_interruption(terms, swell);
  if (terms.least_seconds > minute) {
    return interruption ? "sustained interruption" : swell ? "overvoltage" : "undervoltage";
  }
  if (!terms.seconds || *terms.seconds < terms.cycle_seconds / 2) return {};
  const bool instantaneous = !interruption && *terms.seconds <= 30 * terms.cycle_seconds;
  const std::string length = instantaneous ? "instantaneous" : *terms.seconds <= 3 ? "momentary" : "temporary";
  return length + (interruption ? " interruption" : swell ? " swell" : " sag");
}

std::optional<DipKind> kind_of(char letter) {
  switch (letter) {
    case 'A':
      return DipKind::three_voltages;
    case 'B':
    case 'D':
    case 'F':
      return DipKind::one_voltage;
    case 'C':
    case 'E':
    case 'G':
      return DipKind::two_voltages;
    default:
      return std::nullopt;
  }
}

const char* kind_numeral(DipKind kind) {
  switch (kind) {
    case DipKind::one_voltage:
      return "I";
    case DipKind::two_voltages:
      return "II";
    case DipKind::three_voltages:
      break;
  }
  return "III";
}

}  // namespace assess
