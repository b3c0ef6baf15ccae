#include "readers/line_rate.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>
#include <vector>

#include "readers/fourier.h"

namespace readers {
namespace {

constexpr double fewest_per_cycle = 8;

std::vector<double> nominal_frequencies(const Record& record) {
  if (record.line_frequency > 0) return {record.line_frequency};
  return {50, 60};
}

/// Returns the frequency of a channel near a nominal one. Between windows of one cycle its phasor turns by the
/// deviation from the nominal frequency.
std::optional<double> frequency_near(const std::vector<double>& samples, double rate, double nominal) {
  constexpr std::size_t most_windows = 200;
  constexpr double least_share = 0.5;
  constexpr double farthest = 0.08;
  const double cycle = rate / nominal;
  if (!(cycle >= fewest_per_cycle) || !(3 * cycle < static_cast<double>(samples.size()))) return std::nullopt;
  const auto length = static_cast<std::size_t>(std::lround(cycle));
  const Rotation rotation = rotation_of(cycle, length);
  const std::size_t pairs = (samples.size() - length) / length;
  const std::size_t stride = length * std::max<std::size_t>(1, pairs / most_windows);
  std::vector<double> frequencies;
  double shown = 0;
  double total = 0;
  for (std::size_t begin = 0; begin + 2 * length <= samples.size(); begin += stride) {
    const std::complex<double> first = fourier_sum(samples, begin, length, rotation);
    const std::complex<double> second = fourier_sum(samples, begin + length, length, rotation);
    double energy = 0;
    for (std::size_t i = begin; i < begin + length; i++) {
      if (fits_float(samples[i])) energy += samples[i] * samples[i];
    }
    const double at_line = 2 * std::norm(first) / static_cast<double>(length);
    shown += at_line;
    total += energy;
    if (!(at_line >= least_share * energy) || energy == 0) continue;
    const double turn = std::arg(second * std::conj(first)) / (2 * std::numbers::pi);
    frequencies.push_back(rate / static_cast<double>(length) * (1 + turn));
  }
  if (frequencies.empty() || !(shown >= least_share * total)) return std::nullopt;
  const auto middle = frequencies.begin() + static_cast<std::ptrdiff_t>(frequencies.size() / 2);
  std::nth_element(frequencies.begin(), middle, frequencies.end());
  if (std::abs(*middle - nominal) > farthest * nominal) return std::nullopt;
  return *middle;
}

double deviation_from_nominal(const Record& record, std::optional<double> line) {
  double least = 1;
  for (const double nominal : nominal_frequencies(record)) {
    if (line) least = std::min(least, std::abs(*line / nominal - 1));
  }
  return least;
}

}  // namespace

std::optional<double> line_at_rate(const Record& record, double rate) {
  if (!(rate > 0)) return std::nullopt;
  std::vector<double> found;
  for (const Channel& channel : record.channels) {
    for (const double nominal : nominal_frequencies(record)) {
      if (const auto frequency = frequency_near(channel.samples, rate, nominal)) found.push_back(*frequency);
    }
  }
  if (found.empty()) return std::nullopt;
  const auto middle = found.begin() + static_cast<std::ptrdiff_t>(found.size() / 2);
  std::nth_element(found.begin(), middle, found.end());
  return *middle;
}

std::optional<RateVerdict> right_rate(const Record& record, double first, double second) {
  constexpr double right = 0.01;
  const auto first_line = line_at_rate(record, first);
  const auto second_line = line_at_rate(record, second);
  const double first_off = deviation_from_nominal(record, first_line);
  const double second_off = deviation_from_nominal(record, second_line);
  const bool is_first = first_off < second_off;
  const double nearer = std::min(first_off, second_off);
  const double farther = std::max(first_off, second_off);
  if (!(nearer <= right && farther > right && farther >= 2 * nearer)) return std::nullopt;
  return RateVerdict{is_first, first_line.value_or(0), second_line.value_or(0)};
}

double factor_of_times(const Record& record, double rate) {
  constexpr double right = 0.025;
  if (!(rate > 0) || line_at_rate(record, rate)) return 1;
  std::vector<double> right_ones;
  for (const double factor : {1e-6, 1e-3, 1e3, 1e6}) {
    if (deviation_from_nominal(record, line_at_rate(record, rate / factor)) <= right) right_ones.push_back(factor);
  }
  return right_ones.size() == 1 ? right_ones.front() : 1;
}

}  // namespace readers
