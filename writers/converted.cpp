#include "writers/converted.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <limits>

#include "readers/clock_time.h"
#include "readers/voltages/parts.h"

namespace writers {

namespace {

constexpr double most_stored = 2147483646;  // the next numbers of 32 bits mark missing values
constexpr double most_exact_float = 16777216;

/// Returns the whole numbers of which a channel's samples are made; nothing if it has no such scale or a sample is not
/// exactly on it.
std::optional<std::vector<double>> stored_numbers(const readers::Channel& channel) {
  if (channel.stored_scale == 0) return std::nullopt;
  std::vector<double> numbers;
  numbers.reserve(channel.samples.size());
  for (const double sample : channel.samples) {
    const double number = std::round((sample - channel.stored_offset) / channel.stored_scale);
    const bool equal = channel.stored_scale * number + channel.stored_offset == sample;
    if (!std::isnan(sample) && (!equal || !(std::abs(number) <= most_stored))) return std::nullopt;
    numbers.push_back(std::isnan(sample) ? readers::no_value : number);
  }
  return numbers;
}

double largest_of(const std::vector<double>& values) {
  double largest = 0;
  for (const double value : values) {
    if (std::isfinite(value)) largest = std::max(largest, std::abs(value));
  }
  return largest;
}

/// What became of a channel's values.
struct Outcome {
  double half_step = 0;  ///< the largest difference from the source; 0 if there is none
  std::size_t lost = 0;  ///< values that cannot be stored
};

/// Stores samples as multiples of a step that uses all of 32 bits. The step is a normal number, because the smaller
/// ones are coarse, and 0 would lose all values.
Outcome store_in_steps(const std::vector<double>& samples, StoredChannel& channel) {
  Outcome outcome;
  const double peak = largest_of(samples);
  if (peak > 0) {
    channel.scale = std::max(peak / (most_stored - 1), std::numeric_limits<double>::min());
    outcome.half_step = channel.scale / 2;
  }
  for (const double sample : samples) {
    channel.values.push_back(std::isfinite(sample) ? std::round(sample / channel.scale) : readers::no_value);
    if (std::isinf(sample)) outcome.lost++;
  }
  return outcome;
}

/// Stores samples as floats, of which the largest one marks missing values.
Outcome store_as_floats(const std::vector<double>& samples, StoredChannel& channel) {
  constexpr float marks_missing = std::numeric_limits<float>::max();
  Outcome outcome;
  bool equal = true;
  double largest = 0;
  for (const double sample : samples) {
    const bool stored = readers::fits_float(sample) && std::abs(static_cast<float>(sample)) < marks_missing;
    channel.values.push_back(stored ? sample : readers::no_value);
    if (stored) {
      equal = equal && static_cast<double>(static_cast<float>(sample)) == sample;
      largest = std::max(largest, std::abs(sample));
    } else if (!std::isnan(sample)) {
      outcome.lost++;
    }
  }
  // Floats below their normal range have a constant step.
  constexpr auto smallest_step = static_cast<double>(std::numeric_limits<float>::denorm_min());
  const double largest_step = largest * static_cast<double>(std::numeric_limits<float>::epsilon());
  if (!equal) outcome.half_step = std::max(largest_step, smallest_step) / 2;
  return outcome;
}

Outcome store(const readers::Channel& source, StoredAs type, StoredChannel& channel) {
  channel.about = source;
  channel.about.samples.clear();
  const bool floating = type == StoredAs::float32;
  channel.lowest = floating ? -static_cast<double>(std::numeric_limits<float>::max()) : -most_stored;
  channel.highest = -channel.lowest;
  auto numbers = stored_numbers(source);
  if (numbers && (!floating || largest_of(*numbers) <= most_exact_float)) {
    channel.scale = source.stored_scale;
    channel.offset = source.stored_offset;
    channel.values = *std::move(numbers);
    return {};
  }
  return floating ? store_as_floats(source.samples, channel) : store_in_steps(source.samples, channel);
}

/// Returns a time of the record as configurations write it; midnight of a day without meaning if it has no clock.
std::string written_time(const readers::Record& record, double seconds) {
  const std::string iso = readers::iso_time(record, seconds);
  if (iso.empty()) {
    const auto microseconds = std::llround(seconds * 1e6);
    return fmt::format("01/01/2000,{:02}:{:02}:{:02}.{:06}", microseconds / 3600000000 % 24,
                       microseconds / 60000000 % 60, microseconds / 1000000 % 60, microseconds % 1000000);
  }
  // 2014-01-08T12:30:06.250000
  return fmt::format("{}/{}/{},{}", iso.substr(8, 2), iso.substr(5, 2), iso.substr(0, 4), iso.substr(11, 15));
}

/// Returns a digital channel as it is within the parts, which follow one another in the excerpt from `start` seconds
/// on.
readers::DigitalChannel excerpt_of(const readers::DigitalChannel& source, const std::vector<readers::Part>& parts,
                                   double start) {
  readers::DigitalChannel result;
  result.name = source.name;
  bool state = source.first_state;
  bool state_before = state;  // in the excerpt's last row so far
  std::size_t next = 0;
  std::size_t first_row = 0;
  for (const auto& part : parts) {
    for (; next < source.changes.size() && source.changes[next].row <= part.begin; next++) {
      state = source.changes[next].state;
    }
    if (first_row == 0) {
      result.first_state = state;
    } else if (state != state_before) {
      result.changes.push_back({first_row, part.start - start, state});
    }
    for (; next < source.changes.size() && source.changes[next].row < part.end; next++) {
      const auto& change = source.changes[next];
      state = change.state;
      result.changes.push_back({change.row - part.begin + first_row, change.time - start, state});
    }
    state_before = state;
    first_row += part.length();
  }
  return result;
}

/// Returns the parts of a record in which some of the channels have values. Recorders of several rates store the others
/// in parts of their own. Digital channels have states in every part.
std::vector<readers::Part> parts_with_values(const readers::Record& record, const std::vector<std::size_t>& channels) {
  const auto parts = readers::parts_of(record);
  if (!record.digitals.empty()) return parts;
  const auto has_values = [&](const readers::Part& part) {
    return std::any_of(channels.begin(), channels.end(), [&](std::size_t channel) {
      const auto begin = record.channels[channel].samples.begin();
      return std::any_of(begin + static_cast<std::ptrdiff_t>(part.begin), begin + static_cast<std::ptrdiff_t>(part.end),
                         [](double value) { return !std::isnan(value); });
    });
  };
  std::vector<readers::Part> kept;
  std::copy_if(parts.begin(), parts.end(), std::back_inserter(kept), has_values);
  return kept.empty() ? parts : kept;
}

}  // namespace

readers::Record excerpt_of(const readers::Record& record, const std::vector<std::size_t>& channels) {
  readers::Record excerpt = record;
  excerpt.channels.clear();
  excerpt.digitals.clear();
  excerpt.rates.clear();
  excerpt.stretch.reset();
  const auto parts = parts_with_values(record, channels);
  const double start = parts.empty() ? 0 : parts.front().start;
  std::size_t length = 0;
  double end = start;
  for (const auto& part : parts) {
    length += part.length();
    const bool follows = std::abs(part.start - end) * part.rate < 0.5;
    excerpt.rates.push_back({part.rate, length, part.start - start, follows});
    end = part.start + (part.rate > 0 ? static_cast<double>(part.length()) / part.rate : 0);
  }
  for (const std::size_t index : channels) {
    const auto& source = record.channels[index];
    auto& channel = excerpt.channels.emplace_back(source);
    channel.samples.clear();
    for (const auto& part : parts) {
      channel.samples.insert(channel.samples.end(), source.samples.begin() + static_cast<std::ptrdiff_t>(part.begin),
                             source.samples.begin() + static_cast<std::ptrdiff_t>(part.end));
    }
  }
  for (const auto& digital : record.digitals) excerpt.digitals.push_back(excerpt_of(digital, parts, start));
  if (excerpt.trigger) *excerpt.trigger -= start;
  if (excerpt.trigger && *excerpt.trigger < 0) excerpt.trigger.reset();
  const std::string iso = readers::iso_time(record, start);
  if (start > 0 && !iso.empty()) excerpt.start_time = iso.substr(0, 10) + " " + iso.substr(11, 15);
  return excerpt;
}

Converted converted(const readers::Record& record, std::optional<StoredAs> type) {
  Converted result;
  ComtradeFile& file = result.file;
  if (!type) {
    const bool whole = std::all_of(record.channels.begin(), record.channels.end(),
                                   [](const readers::Channel& channel) { return stored_numbers(channel).has_value(); });
    type = whole ? StoredAs::binary32 : StoredAs::float32;
  }
  file.type = *type;
  file.station = record.station;
  file.device = record.device;
  file.line_frequency = record.line_frequency;
  file.rates = record.rates;
  file.start_time = written_time(record, 0);
  file.trigger_time = written_time(record, record.trigger.value_or(0));
  file.time_zone = record.time_zone;
  file.time_quality = "F,3";  // the quality of the clock is not known
  file.digitals = record.digitals;
  for (const auto& channel : record.channels) {
    const Outcome outcome = store(channel, *type, file.channels.emplace_back());
    result.half_steps.push_back(outcome.half_step);
    result.lost.push_back(outcome.lost);
  }
  return result;
}

}  // namespace writers
