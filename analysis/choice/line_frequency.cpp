#include "analysis/choice/line_frequency.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstddef>

#include "readers/fourier.h"
#include "readers/voltages/parts.h"

namespace analysis {

namespace {

/// Returns the power at a frequency in the first tenth of a second of the part, which is a whole number of cycles of
/// both 50 and 60 Hz.
double power_at(double frequency, const readers::Channel& channel, const readers::Part& part) {
  const auto length = static_cast<std::size_t>(std::lround(part.rate / 10));
  return std::norm(
      readers::fourier_sum(channel.samples, part.begin, length, readers::rotation_of(part.rate / frequency, length)));
}

/// Returns the line frequency that the waveform shows: 50 or 60 Hz if one of them has at least `clearly` times the
/// power of the other, otherwise 0.
double shown_frequency(const readers::Record& record, std::size_t channel, double clearly) {
  const auto& samples = record.channels[channel];
  for (const auto& part : readers::parts_of(record)) {
    if (!(part.rate >= 60 * readers::fewest_samples_per_cycle) || static_cast<double>(part.length()) < part.rate / 10)
      continue;
    // A channel may have no values in some parts.
    const auto first = samples.samples.begin() + static_cast<std::ptrdiff_t>(part.begin);
    if (std::none_of(first, first + static_cast<std::ptrdiff_t>(part.length()), readers::fits_float)) continue;
    const double fifty = power_at(50, samples, part);
    const double sixty = power_at(60, samples, part);
    if (fifty > clearly * sixty) return 50;
    return sixty > clearly * fifty ? 60 : 0;
  }
  return 0;
}

}  // namespace

Noted<double> line_frequency_of(const readers::Record& record, std::size_t channel, double given) {
  if (given > 0) return {given, {}};
  if (record.line_frequency > 0) {
    const double shown = shown_frequency(record, channel, 100);
    const bool other = (record.line_frequency == 50 && shown == 60) || (record.line_frequency == 60 && shown == 50);
    if (!other) return {record.line_frequency, {}};
    return {shown,
            {fmt::format("The file states a line frequency of {:g} Hz, but the waveform's is {:g} Hz, which is used "
                         "(override with --frequency).",
                         record.line_frequency, shown)}};
  }
  if (shown_frequency(record, channel, 4) == 60) {
    return {60,
            {"The file does not state the line frequency; by the waveform it is 60 Hz (override "
             "with --frequency)."}};
  }
  return {50, {"The file does not state the line frequency; 50 Hz is assumed (override with --frequency)."}};
}

}  // namespace analysis
