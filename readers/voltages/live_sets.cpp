#include "readers/voltages/live_sets.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <optional>
#include <utility>

#include "readers/voltages/fourier.h"
#include "readers/voltages/parts.h"

namespace readers {

namespace {

/// Returns the root mean square of the existing values, in volts, or in the channel's unit if that is not a unit of
/// voltage.
double rms_volts(const Channel& channel, double volts_per_unit) {
  double sum = 0;
  std::size_t count = 0;
  for (const double value : channel.samples) {
    if (!std::isfinite(value)) continue;
    sum += value * value;
    count++;
  }
  return count == 0 ? 0 : volts_per_unit * std::sqrt(sum / static_cast<double>(count));
}

/// Returns whether all existing values are equal.
bool is_flat(const Channel& channel) {
  std::size_t count = 0;
  double first = 0;
  for (const double value : channel.samples) {
    if (!std::isfinite(value)) continue;
    if (count++ == 0) first = value;
    if (value != first) return false;
  }
  return count > 2;  // one or two values are too few to decide
}

/// Returns the fraction of a channel's energy that is at the line frequency, measured over one-cycle windows throughout
/// the record; nothing if there is no such window. The threshold leaves room for off-nominal frequency and for
/// distortion.
std::optional<double> share_at_line_frequency(const Record& record, std::size_t channel, double frequency) {
  constexpr std::size_t most_cycles = 100;
  const std::vector<double>& samples = record.channels[channel].samples;
  double shown = 0;
  double total = 0;
  bool any = false;
  for (const Part& part : parts_of(record)) {
    if (!(part.rate >= fewest_samples_per_cycle * frequency) || part.end > samples.size()) continue;
    const double cycle = part.rate / frequency;
    if (!(cycle < static_cast<double>(part.length()) + 1)) continue;
    const auto length = static_cast<std::size_t>(std::lround(cycle));
    const std::size_t step = std::max(length, part.length() / most_cycles);
    const Rotation rotation = rotation_of(cycle, length);
    for (std::size_t begin = part.begin; begin + length <= part.end; begin += step) {
      for (std::size_t i = begin; i < begin + length; i++) {
        if (fits_float(samples[i])) total += samples[i] * samples[i];
      }
      shown += 2 * std::norm(fourier_sum(samples, begin, length, rotation)) / static_cast<double>(length);
      any = true;
    }
  }
  if (!any || total == 0) return std::nullopt;
  return shown / total;
}

bool shows_line_frequency(const Record& record, const VoltageSet& set) {
  constexpr double least_share = 0.2;
  bool measured = false;
  for (const double frequency : {50.0, 60.0}) {
    for (const std::size_t channel : set.channels) {
      const auto share = share_at_line_frequency(record, channel, frequency);
      if (!share) continue;
      if (*share >= least_share) return true;
      measured = true;
    }
  }
  return !measured;  // a set that cannot be measured is not rejected
}

/// Marks sets that fail a test as not live if another set passes it.
template <typename Test>
void prefer(std::vector<VoltageSet>& sets, Test passes) {
  std::vector<bool> passed;
  for (const VoltageSet& set : sets) passed.push_back(set.live && passes(set));
  if (std::find(passed.begin(), passed.end(), true) == passed.end()) return;
  for (std::size_t i = 0; i < sets.size(); i++) sets[i].live = passed[i];
}

}  // namespace

void mark_live(const Record& record, const NamedChannels& channels, std::vector<VoltageSet>& sets) {
  constexpr double noise = 0.01;
  std::vector<std::pair<double, double>> smallest_and_largest;
  double largest = 0;
  for (const VoltageSet& set : sets) {
    const auto rms = [&](std::size_t phase) {
      const Channel& channel = record.channels[set.channels[phase]];
      return is_flat(channel) ? 0 : rms_volts(channel, channels[set.channels[phase]].volts.value_or(1));
    };
    smallest_and_largest.push_back(std::minmax({rms(0), rms(1), rms(2)}));
    largest = std::max(largest, smallest_and_largest.back().second);
  }
  for (std::size_t i = 0; i < sets.size(); i++) {
    const auto [low, high] = smallest_and_largest[i];
    sets[i].live = low > 0 && high >= noise * largest;
  }
  if (sets.size() < 2) return;
  prefer(sets, [&](const VoltageSet& set) { return shows_line_frequency(record, set); });
  prefer(sets, [&](const VoltageSet& set) {
    return std::none_of(set.channels.begin(), set.channels.end(),
                        [&](std::size_t channel) { return channels[channel].sounds_like_current; });
  });
}

void put_live_first(const Record& record, const NamedChannels& channels, std::vector<VoltageSet>& sets) {
  mark_live(record, channels, sets);
  std::stable_partition(sets.begin(), sets.end(), [](const VoltageSet& set) { return set.live; });
}

}  // namespace readers
