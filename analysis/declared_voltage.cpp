#include "analysis/declared_voltage.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <string>
#include <vector>

#include "analysis/decimal.h"
#include "analysis/quantity_text.h"
#include "analysis/refusal.h"

namespace analysis {

namespace {

/// The record's highest voltage must lie within these shares of the declared one.
constexpr double lowest_share = 0.4;
constexpr double highest_share = 2.5;

/// The value below which nine in ten of a voltage's values lie.
double high_level(const measure::HalfCycleRms& series) {
  std::vector<double> values;
  std::copy_if(series.volts.begin(), series.volts.end(), std::back_inserter(values),
               [](double volts) { return std::isfinite(volts); });
  if (values.empty()) return 0;
  const auto high = values.begin() + static_cast<std::ptrdiff_t>(values.size() * 9 / 10);
  std::nth_element(values.begin(), high, values.end());
  return *high;
}

/// Returns the level with which the declared voltage is compared. If a record is in a dip for most of its time, all
/// phases are higher during the rest; an earth fault raises two phases but not the third.
double level_of(const measure::Screening& screening, std::size_t phases) {
  constexpr double much_higher = 1.25;
  double usual = 0;
  double high = 0;
  double least_rise = std::numeric_limits<double>::infinity();
  for (std::size_t phase = 0; phase < phases; phase++) {
    const double usual_v = screening.usual_rms_v()[phase];
    const double high_v = high_level(screening.half_cycle_rms(phase));
    usual = std::max(usual, usual_v);
    high = std::max(high, high_v);
    if (usual_v > 0) least_rise = std::min(least_rise, high_v / usual_v);
  }
  return least_rise > much_higher && std::isfinite(least_rise) ? high : usual;
}

/// Returns every possible meaning of the voltage that the user gave.
std::vector<DeclaredVoltage> readings(const readers::Channel& channel, bool between_phases,
                                      const AnalysisOptions& options) {
  std::vector<DeclaredVoltage> all;
  const bool transformed = channel.side == 'S' && channel.secondary > 0 && channel.primary > channel.secondary;
  for (const bool secondary : {false, true}) {
    if (secondary && !transformed) continue;
    const double volts = secondary ? options.nominal * channel.secondary / channel.primary : options.nominal;
    for (const bool line : {between_phases, !between_phases}) {
      if (options.nominal_kind == DeclaredKind::phase && line) continue;
      if (options.nominal_kind == DeclaredKind::line && !line) continue;
      const double other = line ? 1 / std::numbers::sqrt3 : std::numbers::sqrt3;
      const double level = volts * (line == between_phases ? 1 : other);
      all.push_back({options.nominal, line, options.nominal_kind != DeclaredKind::by_level, secondary, level});
    }
  }
  return all;
}

/// At most four significant digits, without an exponent; the share of a wrong voltage may be very high or very low.
std::string percent_digits(double percent) {
  const int before_point = percent > 0 ? decimal_exponent(percent) + 1 : 1;
  std::string digits = fmt::format("{:.{}f}", percent, std::max(0, 4 - before_point));
  if (digits.find('.') == std::string::npos) return digits;
  digits.erase(digits.find_last_not_of('0') + 1);
  if (digits.back() == '.') digits.pop_back();
  return digits;
}

}  // namespace

DeclaredVoltage declared_voltage(const readers::Record& record, Analysis& analysis, const measure::Screening& screening,
                                 const AnalysisOptions& options) {
  const AnalysedVoltages& voltages = analysis.voltages;
  const double level = level_of(screening, voltages.phases);
  const auto& highest_of = screening.highest_rms_v();
  const double highest = *std::max_element(highest_of.begin(), highest_of.end());
  const readers::Channel& channel = record.channels[voltages.channels[0]];
  const auto all = readings(channel, voltages.between_phases, options);
  const auto off = [&](const DeclaredVoltage& one) { return std::abs(std::log(level / one.level)); };
  const DeclaredVoltage best = *std::min_element(
      all.begin(), all.end(), [&](const auto& one, const auto& other) { return off(one) < off(other); });
  const bool any_plausible = std::any_of(all.begin(), all.end(), [&](const DeclaredVoltage& one) {
    return highest >= lowest_share * one.level && highest <= highest_share * one.level;
  });
  if (any_plausible) return best;
  const std::string cause =
      fmt::format("its highest voltage is {}, which is {} % of the declared {}", volts_text(highest),
                  percent_digits(100 * highest / best.level), volts_text(best.level));
  if (!best.by_user) {
    throw Refusal(record.file, cause, "check --nominal, or append :phase or :line to say which voltage is meant");
  }
  analysis.notes.push_back(fmt::format("The record does not suit --nominal: {}.", cause));
  return best;
}

}  // namespace analysis
