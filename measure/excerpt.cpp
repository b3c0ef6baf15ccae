#include "measure/excerpt.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace measure {

namespace {

/// At most this many averages per cycle are made: enough for the seventh harmonic, but few enough to save time.
constexpr double most_averages_per_cycle = 24;

}  // namespace

Excerpt::Excerpt(const Waveform& waveform, std::size_t first, std::size_t end, double peak, double frequency,
                 const PhaseFlags& left_out)
    : waveform_(waveform),
      phases_(waveform.phases.size()),
      first_(first),
      end_(std::min(end, waveform.length())),
      block_(std::max<std::size_t>(1, static_cast<std::size_t>(waveform.rate / frequency / most_averages_per_cycle))),
      rate_(waveform.rate),
      peak_(peak),
      omega_(2 * std::numbers::pi * frequency) {
  const std::size_t count = (end_ - first_) / block_;
  missing_.assign(count, false);
  for (std::size_t phase = 0; phase < phases_; phase++) {
    const Phase& source = waveform.phases[phase];
    const double scale = source.volts_per_unit / peak / static_cast<double>(block_);
    auto& averages = averages_[phase];
    averages.resize(count);
    if (left_out[phase]) continue;
    const double* sample = source.samples.data() + first_;
    for (std::size_t i = 0; i < count; i++) {
      double sum = 0;
      for (std::size_t k = 0; k < block_; k++) sum += *sample++;
      averages[i] = sum * scale;
      if (!(std::abs(averages[i]) * peak < largest_volts)) missing_[i] = true;
    }
  }
  turn();
  sums_ = std::make_shared<const WaveSums>(waves());
}

/// Fills in the cosines and sines. Each is computed from the one before by a rotation; some are computed directly, so
/// that rounding errors do not accumulate.
void Excerpt::turn() {
  constexpr std::size_t afresh = 32;
  cosines_.resize(length());
  sines_.resize(length());
  const double step_s = static_cast<double>(block_) / rate_;
  const double step_c = std::cos(omega_ * step_s);
  const double step_sine = std::sin(omega_ * step_s);
  for (std::size_t i = 0; i < length(); i++) {
    if (i % afresh == 0) {
      const double angle = omega_ * time_of(static_cast<double>(i));
      cosines_[i] = std::cos(angle);
      sines_[i] = std::sin(angle);
    } else {
      cosines_[i] = cosines_[i - 1] * step_c - sines_[i - 1] * step_sine;
      sines_[i] = sines_[i - 1] * step_c + cosines_[i - 1] * step_sine;
    }
  }
}

double Excerpt::cycle() const {
  return 2 * std::numbers::pi / omega_;
}

double Excerpt::begin_s() const {
  return (static_cast<double>(first_) - 0.5) / rate_;
}

double Excerpt::end_s() const {
  return (static_cast<double>(end_) - 0.5) / rate_;
}

double Excerpt::value(std::size_t phase, std::size_t sample) const {
  return waveform_.volts(phase, sample) / peak_;
}

double Excerpt::averages_per_cycle() const {
  return rate_ / static_cast<double>(block_) * cycle();
}

double Excerpt::time_of(double index) const {
  const auto block = static_cast<double>(block_);
  return (static_cast<double>(first_) + index * block + (block - 1) / 2) / rate_;
}

double Excerpt::start_of(std::size_t index) const {
  return (static_cast<double>(first_ + index * block_) - 0.5) / rate_;
}

std::size_t Excerpt::index_at(double seconds) const {
  const double index =
      std::ceil((seconds * rate_ + 0.5 - static_cast<double>(first_)) / static_cast<double>(block_) - 1e-9);
  return static_cast<std::size_t>(std::clamp(index, 0.0, static_cast<double>(length())));
}

std::size_t Excerpt::end_at(double seconds) const {
  const double index =
      std::floor((seconds * rate_ + 0.5 - static_cast<double>(first_)) / static_cast<double>(block_) + 1e-9);
  return static_cast<std::size_t>(std::clamp(index, 0.0, static_cast<double>(length())));
}

void Excerpt::subtract(const std::array<std::vector<double>, most_phases>& values) {
  for (std::size_t phase = 0; phase < phases_; phase++) {
    for (std::size_t i = 0; i < length(); i++) averages_[phase][i] -= values[phase][i];
  }
  sums_ = nullptr;
}

AveragedWaves Excerpt::waves() const {
  AveragedWaves waves;
  waves.phase_count = phases_;
  waves.per_cycle = averages_per_cycle();
  for (std::size_t phase = 0; phase < phases_; phase++) waves.values[phase] = &averages_[phase];
  waves.missing = &missing_;
  waves.cosines = &cosines_;
  waves.sines = &sines_;
  return waves;
}

WaveSums::Sums Excerpt::sums_between(std::size_t begin, std::size_t end) const {
  if (!sums_) sums_ = std::make_shared<const WaveSums>(waves());
  return sums_->between(waves(), begin, end);
}

double Excerpt::attenuation(int order) const {
  if (block_ == 1) return 1;
  const double half_step = order * omega_ / rate_ / 2;
  const auto block = static_cast<double>(block_);
  return std::sin(half_step * block) / (block * std::sin(half_step));
}

}  // namespace measure
