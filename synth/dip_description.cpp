#include "synth/dip_description.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace synth {

namespace {

constexpr double most_samples = 2e7;
constexpr double quiet_after = 0.3;  // seconds behind a dip

/// Entry `step` of a list in which a single entry stands for all.
double entry(const std::vector<double>& list, std::size_t step) {
  return list.size() == 1 ? list.front() : list[step];
}

std::size_t steps_of(const DipDescription& dip) {
  const std::size_t steps = std::max({dip.durations.size(), dip.depths.size(), dip.jumps.size()});
  for (const auto& [name, list] :
       {std::pair("durations", &dip.durations), {"depths", &dip.depths}, {"jumps", &dip.jumps}}) {
    if (list->size() != 1 && list->size() != steps) {
      throw DescriptionError(
          fmt::format("{} {} for {} steps; give one for all or one for each", list->size(), name, steps));
    }
  }
  return steps;
}

/// The stages of a dip one after the other.
class Stages {
 public:
  Stages(double begin, const Factors& before) : time_(begin), factors_(before) {}

  void hold(double seconds, const Factors& factors) { add(seconds, factors, factors); }
  void go_to(const Factors& factors, double seconds) { add(seconds, factors_, factors); }

  [[nodiscard]] double end() const { return time_; }
  std::vector<Stage> list;

 private:
  void add(double seconds, const Factors& first, const Factors& last) {
    if (seconds > 0) list.push_back({time_, time_ + seconds, first, last});
    time_ += seconds;
    factors_ = last;
  }
  double time_;
  Factors factors_;
};

}  // namespace

Fault parse_fault(const std::string& text) {
  Fault fault{0, text.size() == 3 && text[1] == '-'};
  for (const char letter : text) {
    if (fault.between_phases && letter == '-') continue;
    const auto phase = std::string("ABC").find(static_cast<char>(letter & ~0x20));
    if (phase == std::string::npos || (fault.mask >> phase & 1) != 0) {
      throw DescriptionError(fmt::format(
          "'{}' names no phases; what there is: A to ABC, and A-B, B-C, C-A for two that move towards each other",
          text));
    }
    fault.mask |= 1 << phase;
  }
  if (fault.mask == 0) throw DescriptionError("no phase is named");
  return fault;
}

Factors factors_of(const Fault& fault, double depth_percent, double jump_degrees) {
  const double remaining = 1 - depth_percent / 100;
  Factors factors = undisturbed;
  if (!fault.between_phases) {
    for (std::size_t phase = 0; phase < 3; phase++) {
      if ((fault.mask >> phase & 1) != 0) factors[phase] = phasor(remaining, jump_degrees);
    }
    return factors;
  }
  if (remaining < 0.5) {
    throw DescriptionError(fmt::format(
        "a depth of {:g} %: two phases that move towards each other fall to a half at most", depth_percent));
  }
  if (jump_degrees != 0) {
    throw DescriptionError("the phase jump of two phases that move towards each other follows from their depth");
  }
  // The line voltage between the two shrinks to `line`, its middle stays: -1/2 -+ j sqrt(3)/2 line.
  const double line = std::sqrt((remaining * remaining - 0.25) / 0.75);
  const Phasor leading = Phasor(-0.5, -std::numbers::sqrt3 / 2 * line) / Phasor(-0.5, -std::numbers::sqrt3 / 2);
  const std::size_t healthy = (fault.mask & 1) == 0 ? 0 : (fault.mask & 2) == 0 ? 1 : 2;
  factors[(healthy + 1) % 3] = leading;
  factors[(healthy + 2) % 3] = std::conj(leading);
  return factors;
}

Waveform waveform_of(const DipDescription& dip) {
  const Fault fault = parse_fault(dip.phases);
  Stages stages(dip.start, undisturbed);
  for (std::size_t step = 0; step < steps_of(dip); step++) {
    const Factors factors = factors_of(fault, entry(dip.depths, step), entry(dip.jumps, step));
    if (step == 0) stages.go_to(factors, dip.fall);
    stages.hold(entry(dip.durations, step), factors);
  }
  stages.go_to(undisturbed, dip.recovery);

  Waveform waveform;
  waveform.volts = dip.volts;
  waveform.nominal_frequency = dip.frequency;
  waveform.frequency = dip.frequency + dip.deviation;
  waveform.rate = dip.rate > 0 ? dip.rate : 128 * dip.frequency;
  const double samples = (dip.length > 0 ? dip.length : stages.end() + quiet_after) * waveform.rate;
  if (samples > most_samples) {
    throw DescriptionError(fmt::format("{:.0f} samples are more than the {:.0f} that are made", samples, most_samples));
  }
  waveform.length = static_cast<std::size_t>(std::llround(samples));
  waveform.degrees = dip.point_on_wave - 360 * waveform.frequency * dip.start;
  waveform.stages = std::move(stages.list);
  waveform.harmonics = dip.harmonics;
  waveform.noise = dip.volts * dip.noise / 100;
  waveform.seed = dip.seed;
  return waveform;
}

}  // namespace synth
