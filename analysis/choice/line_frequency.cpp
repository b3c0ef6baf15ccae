#include "analysis/choice/line_frequency.h"

#include <fmt/format.h>

#include <cmath>
#include <complex>

#include "readers/voltages/fourier.h"
#include "readers/voltages/parts.h"

namespace analysis {

namespace {

/// How much of the part's first tenth of a second, a whole number of cycles of 50 and of 60 Hz, is at a frequency.
double power_at(double frequency, const readers::Channel& channel, const readers::Part& part) {
  const auto length = static_cast<std::size_t>(std::lround(part.rate / 10));
  return std::norm(
      readers::fourier_sum(channel.samples, part.begin, length, readers::rotation_of(part.rate / frequency, length)));
}

/// The line frequency that the waveform shows: 50 or 60 Hz, one having at least `clearly` times the other's power; 0
/// when it does not tell.
double shown_frequency(const readers::Record& record, std::size_t channel, double clearly) {
  const auto& samples = record.channels[channel];
  for (const auto& part : readers::parts_of(record)) {
    if (!(part.rate >= 60 * readers::fewest_samples_per_cycle) || static_cast<double>(part.length()) < part.rate / 10)
      continue;
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
            {"The file does not state the line frequency; by the waveform it is 60 Hz (--frequency tells "
             "otherwise)."}};
  }
  return {50, {"The file does not state the line frequency; 50 Hz is assumed (override with --frequency)."}};
}

}  // namespace analysis
