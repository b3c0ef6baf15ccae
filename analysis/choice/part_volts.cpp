#include "analysis/choice/part_volts.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "readers/text.h"
#include "readers/voltages/named_channel.h"

namespace analysis {

namespace {

/// Phase voltages above this do not occur in any network, so a unit that leads to one is wrong.
constexpr double implausible_volts = 2e6;

/// Returns the largest RMS of the channels over the part; missing values are left out.
double level_of(const readers::Record& record, const readers::VoltageSet& set, const readers::Part& part,
                const std::array<double, 3>& per_unit) {
  double largest = 0;
  for (std::size_t phase = 0; phase < set.count; phase++) {
    const auto& samples = record.channels[set.channels[phase]].samples;
    double sum = 0;
    double count = 0;
    for (std::size_t i = part.begin; i < part.end; i++) {
      if (!readers::fits_float(samples[i])) continue;
      sum += samples[i] * samples[i];
      count++;
    }
    if (count > 0) largest = std::max(largest, std::sqrt(sum / count) * std::abs(per_unit[phase]));
  }
  return largest;
}

}  // namespace

Noted<PartVolts> volts_of(const readers::Record& record, const readers::VoltageSet& set, const readers::Part& part) {
  Noted<PartVolts> result;
  auto& [per_unit, unit_assumed] = result.value;
  std::array<double, 3> signs = {1, 1, 1};
  for (std::size_t phase = 0; phase < set.count; phase++) {
    const auto unit = readers::volts_per_unit(record, set.channels[phase]);
    if (set.between_phases && set.turned[phase]) signs[phase] = -1;
    per_unit[phase] = unit.factor * signs[phase];
    unit_assumed[phase] = unit.assumed;
  }
  const double level = level_of(record, set, part, per_unit);
  if (level <= implausible_volts) return result;
  const bool scaled = std::any_of(per_unit.begin(), per_unit.end(), [](double factor) { return std::abs(factor) > 1; });
  if (!scaled) {
    result.notes.push_back(fmt::format(
        "The voltages are {:.3g} V, more than any grid has; check the units and scale factors in the file.", level));
    return result;
  }
  result.notes.push_back(
      fmt::format("The unit {} makes the voltages {:.3g} V, more than any grid has; the values are taken as volts.",
                  record.channels[set.channels[0]].unit, level));
  unit_assumed = {true, true, true};
  per_unit = signs;
  const double taken = level_of(record, set, part, per_unit);
  if (taken > implausible_volts) {
    result.notes.push_back(
        fmt::format("Even as volts they are {:.3g} V; check the units and scale factors in the file.", taken));
  }
  return result;
}

Notes notes_on_missing(const readers::Record& record, const readers::VoltageSet& set, const readers::Part& part) {
  Notes notes;
  for (std::size_t phase = 0; phase < set.count; phase++) {
    const auto& channel = record.channels[set.channels[phase]];
    std::size_t missing = 0;
    std::size_t first = 0;
    std::size_t longest = 0;
    std::size_t gap = 0;
    for (std::size_t i = part.begin; i < part.end; i++) {
      gap = readers::fits_float(channel.samples[i]) ? 0 : gap + 1;
      if (gap == 0) continue;
      if (missing++ == 0) first = i;
      longest = std::max(longest, gap);
    }
    if (missing == 0) continue;
    notes.push_back(fmt::format(
        "{} of {} {} missing (the first is sample {}, the longest gap is {}); they are left out of every figure.",
        readers::plural(missing, "value"), channel.name, missing == 1 ? "is" : "are", first + 1,
        readers::plural(longest, "sample")));
  }
  return notes;
}

}  // namespace analysis
