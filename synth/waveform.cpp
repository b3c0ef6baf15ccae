#include "synth/waveform.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>
#include <string>

namespace synth {

namespace {

constexpr double radians = std::numbers::pi / 180;

/// Returns the first sample at or after a time. Times are sums of decimal fractions and therefore seldom exact.
std::size_t first_sample_at(double seconds, double rate) {
  return static_cast<std::size_t>(std::max(std::ceil(seconds * rate - 1e-6), 0.0));
}

Phasor factor_at(const Stage& stage, std::size_t phase, double time) {
  const Phasor first = stage.first[phase];
  const Phasor last = stage.last[phase];
  return first == last ? first : first + (last - first) * ((time - stage.begin) / (stage.end - stage.begin));
}

std::vector<Phasor> factors_of(const Waveform& waveform, std::size_t phase) {
  std::vector<Phasor> factors(waveform.length, 1);
  for (const auto& stage : waveform.stages) {
    const std::size_t end = std::min(first_sample_at(stage.end, waveform.rate), waveform.length);
    for (std::size_t i = first_sample_at(stage.begin, waveform.rate); i < end; i++) {
      factors[i] = factor_at(stage, phase, static_cast<double>(i) / waveform.rate);
    }
  }
  return factors;
}

std::vector<double> samples_of(const Waveform& waveform, std::size_t phase) {
  const auto factors = factors_of(waveform, phase);
  std::vector<double> samples(waveform.length);
  for (std::size_t i = 0; i < waveform.length; i++) {
    const double turns = waveform.frequency * static_cast<double>(i) / waveform.rate;
    const double angle = 2 * std::numbers::pi * (turns - std::floor(turns)) +
                         (waveform.degrees - 120.0 * static_cast<double>(phase)) * radians + std::arg(factors[i]);
    double value = std::sin(angle);
    for (const auto& harmonic : waveform.harmonics) value += harmonic.share * std::sin(harmonic.order * angle);
    samples[i] = waveform.volts * std::numbers::sqrt2 * std::abs(factors[i]) * value;
  }
  return samples;
}

}  // namespace

Phasor phasor(double magnitude, double degrees) {
  return std::polar(magnitude, degrees * radians);
}

readers::Record record_of(const Waveform& waveform) {
  readers::Record record;
  record.file = "made in memory";
  record.format = "synthetic";
  record.station = "dipx";
  record.device = "synthetic waveform";
  record.line_frequency = waveform.nominal_frequency;
  record.rates = {{waveform.rate, waveform.length}};
  std::mt19937 random(waveform.seed);
  std::normal_distribution<double> noise(0, waveform.noise > 0 ? waveform.noise : 1);
  for (std::size_t phase = 0; phase < 3; phase++) {
    readers::Channel channel;
    channel.name = std::string("U") + "abc"[phase];
    channel.phase = std::string(1, "ABC"[phase]);
    channel.unit = "V";
    channel.samples = samples_of(waveform, phase);
    if (waveform.noise > 0) {
      for (double& sample : channel.samples) sample += noise(random);
    }
    record.channels.push_back(std::move(channel));
  }
  return record;
}

}  // namespace synth
