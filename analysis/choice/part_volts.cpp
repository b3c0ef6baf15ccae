#include "analysis/choice/part_volts.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <utility>

#include "readers/text.h"
#include "readers/voltages/named_channel.h"

namespace analysis {

namespace {

/// No phase voltage of any grid; where a unit makes one so high, it is wrong.
constexpr double implausible_volts = 2e6;

void note_bridges(const readers::Record& record, std::size_t channel, const readers::BridgedSamples& samples,
                  Notes& notes) {
  if (samples.bridged == 0) return;
  notes.push_back(fmt::format("Of {} {} missing (the first is sample {}, the longest gap {}): bridged by a curve.",
                              record.channels[channel].name,
                              samples.bridged == 1 ? "1 value is" : fmt::format("{} values are", samples.bridged),
                              samples.first + 1, readers::plural(samples.longest_gap, "sample")));
}

/// The phases' values over the part, in volts; returns the largest RMS.
double take_values(const readers::Record& record, const readers::VoltageSet& set, const readers::Part& part,
                   const std::array<double, 3>& factors, Waveform& waveform, Notes* notes) {
  double largest = 0;
  for (std::size_t phase = 0; phase < 3; phase++) {
    auto samples = readers::bridged_samples(record, set.channels[phase], part, factors[phase]);
    if (notes != nullptr) note_bridges(record, set.channels[phase], samples, *notes);
    waveform[phase] = std::move(samples.values);
    double sum = 0;
    for (const float value : waveform[phase]) sum += static_cast<double>(value) * static_cast<double>(value);
    largest = std::max(largest, std::sqrt(sum / static_cast<double>(waveform[phase].size())));
  }
  return largest;
}

}  // namespace

Noted<PartVolts> volts_of(const readers::Record& record, const readers::VoltageSet& set, const readers::Part& part) {
  Noted<PartVolts> result;
  auto& [waveform, unit_assumed] = result.value;
  Notes& notes = result.notes;
  std::array<double, 3> factors{};
  std::array<double, 3> signs{};
  for (std::size_t phase = 0; phase < 3; phase++) {
    const auto unit = readers::volts_per_unit(record, set.channels[phase]);
    signs[phase] = set.between_phases && set.turned[phase] ? -1 : 1;
    factors[phase] = unit.factor * signs[phase];
    unit_assumed[phase] = unit.assumed;
  }
  const double level = take_values(record, set, part, factors, waveform, &notes);
  if (level <= implausible_volts) return result;
  const bool scaled = std::any_of(factors.begin(), factors.end(), [](double factor) { return std::abs(factor) > 1; });
  if (!scaled) {
    notes.push_back(fmt::format(
        "The voltages are {:.3g} V, more than any grid has: check the units and scale factors in the file.", level));
    return result;
  }
  notes.push_back(fmt::format("The unit {} makes the voltages {:.3g} V, which cannot be; they are taken for V.",
                              record.channels[set.channels[0]].unit, level));
  unit_assumed = {true, true, true};
  const double taken = take_values(record, set, part, signs, waveform, nullptr);
  if (taken > implausible_volts) {
    notes.push_back(fmt::format("Even so they are {:.3g} V: check the units and scale factors in the file.", taken));
  }
  return result;
}

}  // namespace analysis
