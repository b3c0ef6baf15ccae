#include "measure/cycle_rms.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "measure/sample_at.h"

namespace measure {

CycleRms::CycleRms(const Waveform& waveform, std::size_t phase, double frequency, double from_s, double to_s)
    : window_(std::max<std::size_t>(2, static_cast<std::size_t>(std::lround(waveform.rate / frequency)))),
      rate_(waveform.rate),
      unit_(std::abs(waveform.phases[phase].volts_per_unit)) {
  const auto length = static_cast<double>(waveform.length());
  const auto first = static_cast<std::size_t>(std::clamp(sample_from(from_s, rate_), 0.0, length));
  const auto end = static_cast<std::size_t>(std::clamp(whole_samples(to_s * rate_) + 1, 0.0, length));
  squares_.push_back(0);
  missing_.push_back(0);
  for (std::size_t i = first; i < end; i++) {
    const double value = waveform.phases[phase].samples[i];
    const bool there = std::isfinite(value * value);
    squares_.push_back(squares_.back() + (there ? value * value : 0));
    missing_.push_back(missing_.back() + (there ? 0 : 1));
  }
}

double CycleRms::mean_square(std::size_t begin) const {
  if (missing_[begin + window_] != missing_[begin]) return std::numeric_limits<double>::quiet_NaN();
  return std::max(0.0, squares_[begin + window_] - squares_[begin]) / static_cast<double>(window_);
}

std::optional<CycleRms::Range> CycleRms::range() const {
  double lowest = std::numeric_limits<double>::infinity();
  double highest = -1;
  for (std::size_t begin = 0; begin < cycles(); begin++) {
    const double now = mean_square(begin);
    if (now < lowest) lowest = now;
    if (now > highest) highest = now;
  }
  if (highest < 0) return std::nullopt;
  return Range{std::sqrt(lowest) * unit_, std::sqrt(highest) * unit_};
}

double CycleRms::steepest() const {
  const std::size_t half = std::max<std::size_t>(1, window_ / 2);
  double steepest = 0;
  for (std::size_t begin = 0; begin + half < cycles(); begin++) {
    const double change = std::abs(std::sqrt(mean_square(begin + half)) - std::sqrt(mean_square(begin)));
    if (change > steepest) steepest = change;
  }
  return steepest * unit_ * rate_ / static_cast<double>(half);
}

}  // namespace measure
