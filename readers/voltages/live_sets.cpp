#include "readers/voltages/live_sets.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <span>
#include <utility>

#include "readers/fourier.h"
#include "readers/voltages/parts.h"

namespace readers {

namespace {

constexpr double least_volts = 0.02;  // even sensors of low power give a hundred times as much
constexpr double doubtful_volts = 1;  // as much may be noise, unless it shows the line frequency

/// Returns the root mean square of the existing values, in volts, or in the channel's unit if that is not a unit of
/// voltage.
double rms_volts(std::span<const double> samples, double volts_per_unit) {
  double sum = 0;
  std::size_t count = 0;
  for (const double value : samples) {
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
std::optional<double> share_at_line_frequency(const Record& record, const std::vector<Part>& parts, std::size_t channel,
                                              double frequency) {
  constexpr std::size_t most_cycles = 100;
  const std::vector<double>& samples = record.channels[channel].samples;
  double shown = 0;
  double total = 0;
  bool any = false;
  for (const Part& part : parts) {
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

/// Returns whether a channel has values, enough of them to decide, and all of them have the same sign.
bool keeps_sign(const Channel& channel) {
  constexpr std::size_t enough = 16;
  std::size_t positive = 0;
  std::size_t negative = 0;
  for (const double value : channel.samples) {
    if (value > 0) positive++;
    if (value < 0) negative++;
  }
  return positive + negative >= enough && (positive == 0 || negative == 0);
}

/// Returns whether a channel shows the line frequency apart from a constant.
bool alternates_about_constant(const Record& record, std::size_t channel) {
  constexpr double least_share = 0.2;
  Record centred;
  centred.rates = record.rates;
  const Channel& source = record.channels[channel];
  double sum = 0;
  double count = 0;
  for (const double value : source.samples) {
    if (!fits_float(value)) continue;
    sum += value;
    count++;
  }
  centred.channels.resize(1);
  for (const double value : source.samples) centred.channels[0].samples.push_back(value - sum / count);
  const std::vector<Part> parts = parts_of(centred);
  const auto shows = [&](double frequency) {
    return share_at_line_frequency(centred, parts, 0, frequency).value_or(0) >= least_share;
  };
  return shows(50) || shows(60);
}

/// Returns whether a set's values may be those of a waveform. Recorders may store waveforms with an offset, so values
/// of one sign are examined further.
bool alternates(const Record& record, const VoltageSet& set) {
  const auto is_trend = [&](std::size_t channel) { return keeps_sign(record.channels[channel]); };
  if (!std::all_of(set.channels.begin(), set.channels.end(), is_trend)) return true;
  return std::any_of(set.channels.begin(), set.channels.end(),
                     [&](std::size_t channel) { return alternates_about_constant(record, channel); });
}

/// Returns whether nearly all of the energy of one of a set's voltages is at the line frequency, as in the records of
/// generators and of small sensors but not in the noise of a dead line.
bool is_pure(const Record& record, const std::vector<Part>& parts, const VoltageSet& set) {
  constexpr double nearly_all = 0.8;
  return std::any_of(set.channels.begin(), set.channels.end(), [&](std::size_t channel) {
    return share_at_line_frequency(record, parts, channel, 50).value_or(0) >= nearly_all ||
           share_at_line_frequency(record, parts, channel, 60).value_or(0) >= nearly_all;
  });
}

bool shows_line_frequency(const Record& record, const std::vector<Part>& parts, const VoltageSet& set) {
  constexpr double least_share = 0.2;
  bool measured = false;
  for (const double frequency : {50.0, 60.0}) {
    for (const std::size_t channel : set.channels) {
      const auto share = share_at_line_frequency(record, parts, channel, frequency);
      if (!share) continue;
      if (*share >= least_share) return true;
      measured = true;
    }
  }
  return !measured;  // a set that cannot be measured is not rejected
}

/// Returns whether voltages of which the largest has so many volts RMS are more than noise.
bool is_plausible(const Record& record, const std::vector<Part>& parts, const VoltageSet& set, double volts) {
  if (volts >= doubtful_volts) return true;
  return (volts >= least_volts && shows_line_frequency(record, parts, set)) || is_pure(record, parts, set);
}

/// Returns whether a set that does not alternate has values as instruments record RMS: none is negative, and there are
/// up to four in a cycle but no averages over a longer time.
bool holds_rms(const Record& record, const std::vector<Part>& parts, const VoltageSet& set) {
  constexpr double most_per_second = 4 * 60 * 1.05;
  const auto not_negative = [&](std::size_t channel) {
    const auto& samples = record.channels[channel].samples;
    return std::none_of(samples.begin(), samples.end(), [](double value) { return value < 0; });
  };
  return std::all_of(set.channels.begin(), set.channels.end(), not_negative) &&
         std::any_of(parts.begin(), parts.end(), [](const Part& part) {
           return part.rate >= fewest_rms_per_second * (1 - 1e-9) && part.rate <= most_per_second;
         });
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
  if (sets.empty()) return;
  const std::vector<Part> parts = parts_of(record);
  std::vector<std::pair<double, double>> smallest_and_largest;
  std::vector<double> smallest_with_flat;
  double largest = 0;
  for (const VoltageSet& set : sets) {
    const auto rms = [&](std::size_t phase) {
      const Channel& channel = record.channels[set.channels[phase]];
      return is_flat(channel) ? 0 : rms_volts(channel.samples, channels[set.channels[phase]].volts.value_or(1));
    };
    const auto rms_even_if_flat = [&](std::size_t phase) {
      const std::size_t channel = set.channels[phase];
      return rms_volts(record.channels[channel].samples, channels[channel].volts.value_or(1));
    };
    smallest_and_largest.push_back(std::minmax({rms(0), rms(1), rms(2)}));
    smallest_with_flat.push_back(std::min({rms_even_if_flat(0), rms_even_if_flat(1), rms_even_if_flat(2)}));
    largest = std::max(largest, smallest_and_largest.back().second);
  }
  for (std::size_t i = 0; i < sets.size(); i++) {
    const auto [low, high] = smallest_and_largest[i];
    const bool in_volts = channels[sets[i].channels[0]].has_unit && channels[sets[i].channels[0]].volts;
    const bool plausible = !in_volts || is_plausible(record, parts, sets[i], high);
    // RMS values of a phase may well be equal throughout, as those of a phase without an event are after rounding.
    const bool comparable = smallest_with_flat[i] > 0 && high > 0;
    sets[i].alternates = !comparable || alternates(record, sets[i]);
    sets[i].live = low > 0 && high >= noise * largest && plausible && sets[i].alternates;
  }
  const bool waveform = std::any_of(sets.begin(), sets.end(), [](const VoltageSet& set) { return set.live; });
  for (std::size_t i = 0; i < sets.size(); i++) {
    const double high = smallest_and_largest[i].second;
    sets[i].rms =
        smallest_with_flat[i] > 0 && high >= least_volts && !sets[i].alternates && holds_rms(record, parts, sets[i]);
    if (!waveform && sets[i].rms && high >= noise * largest) sets[i].live = true;
  }
  if (sets.size() < 2) return;
  if (!waveform) return;
  prefer(sets, [&](const VoltageSet& set) { return shows_line_frequency(record, parts, set); });
  prefer(sets, [&](const VoltageSet& set) {
    return std::none_of(set.channels.begin(), set.channels.end(),
                        [&](std::size_t channel) { return channels[channel].sounds_like_current; });
  });
}

std::optional<double> noise_in(const Record& record, const VoltageSet& set, const Part& part,
                               const std::array<double, 3>& volts_per_unit) {
  double high = 0;
  for (std::size_t phase = 0; phase < set.count; phase++) {
    const std::span<const double> samples(record.channels[set.channels[phase]].samples);
    high = std::max(high, rms_volts(samples.subspan(part.begin, part.length()), volts_per_unit[phase]));
  }
  return is_plausible(record, {part}, set, high) ? std::nullopt : std::optional(high);
}

void put_live_first(const Record& record, const NamedChannels& channels, std::vector<VoltageSet>& sets) {
  mark_live(record, channels, sets);
  std::stable_partition(sets.begin(), sets.end(), [](const VoltageSet& set) { return set.live; });
}

}  // namespace readers
