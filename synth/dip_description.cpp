#include "synth/dip_description.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <numbers>

namespace synth {

namespace {

constexpr double most_samples = 2e7;
constexpr double quiet_after = 0.3;  // seconds after a dip

/// Returns entry `step` of a list; a list with a single entry uses it for every step.
double entry(const std::vector<double>& list, std::size_t step) {
  return list.size() == 1 ? list.front() : list[step];
}

/// The phases that dip, for all steps or for each.
std::vector<Fault> faults_of(const std::string& text) {
  std::vector<Fault> faults;
  std::size_t begin = 0;
  while (true) {
    const std::size_t end = std::min(text.find(',', begin), text.size());
    faults.push_back(parse_fault(text.substr(begin, end - begin)));
    if (end == text.size()) return faults;
    begin = end + 1;
  }
}

std::size_t steps_of(const DipDescription& dip, std::size_t faults) {
  const std::size_t steps = std::max({dip.durations.size(), dip.depths.size(), dip.jumps.size(), faults});
  if (faults != 1 && faults != steps) {
    throw DescriptionError(fmt::format("--phases {}: {} faults for {} steps; give one for all or one for each",
                                       dip.phases, faults, steps));
  }
  for (const auto& [option, list] :
       {std::pair("--duration", &dip.durations), {"--depth", &dip.depths}, {"--jump", &dip.jumps}}) {
    if (list->size() != 1 && list->size() != steps) {
      throw DescriptionError(fmt::format("{} {}: {} values for {} steps; give one value for all steps or one for each",
                                         option, fmt::join(*list, ","), list->size(), steps));
    }
  }
  return steps;
}

/// Builds the consecutive stages of a dip.
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

[[noreturn]] void throw_no_phases(const std::string& text) {
  throw DescriptionError(fmt::format(
      "--phases '{}' does not name phases; give A to ABC, or A-B, B-C or C-A for two phases that move towards each other",
      text));
}

/// Checks the rate, because components at or above half the rate would appear at a lower frequency.
void check_rate(const Waveform& waveform) {
  const auto fits = [&](double frequency) { return 2 * frequency < waveform.rate; };
  if (!fits(waveform.frequency)) {
    throw DescriptionError(fmt::format("--rate {}: {} Hz needs more than {} samples per second; raise the rate",
                                       waveform.rate, waveform.frequency, 2 * waveform.frequency));
  }
  for (const auto& harmonic : waveform.harmonics) {
    const double frequency = harmonic.order * waveform.frequency;
    if (fits(frequency)) continue;
    throw DescriptionError(
        fmt::format("--harmonics {}:{:g}: {} Hz is not below half of the {} samples per second; choose a lower order "
                    "or a higher --rate",
                    harmonic.order, 100 * harmonic.share, frequency, waveform.rate));
  }
}

/// Returns the number of samples in a duration. Throws if so many samples cannot be generated.
std::size_t samples_of(double seconds, double rate) {
  const double samples = std::round(seconds * rate);
  if (samples >= 1 && samples <= most_samples) return static_cast<std::size_t>(samples);
  throw DescriptionError(fmt::format(
      "{} s at {} samples per second are {:.0f} samples, but the limits are 1 and {:.0f}; choose another --length "
      "or --rate",
      seconds, rate, samples, most_samples));
}

}  // namespace

Fault parse_fault(const std::string& text) {
  Fault fault{0, text.size() == 3 && text[1] == '-'};
  for (const char letter : text) {
    if (fault.between_phases && letter == '-') continue;
    const auto phase = std::string("ABC").find(static_cast<char>(letter & ~0x20));
    if (phase == std::string::npos || (fault.mask >> phase & 1) != 0) throw_no_phases(text);
    fault.mask |= 1 << phase;
  }
  const int named = std::popcount(static_cast<unsigned>(fault.mask));
  if (named == 0 || (fault.between_phases && named != 2)) throw_no_phases(text);
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
        "--depth {}: two phases that move towards each other fall by a half at most; give up to 50, or choose phases "
        "that shrink",
        depth_percent));
  }
  if (jump_degrees != 0) {
    throw DescriptionError(fmt::format(
        "--jump {}: when two phases move towards each other, the jump follows from the depth; leave it out, or "
        "choose phases that shrink",
        jump_degrees));
  }
  // The line-to-line voltage between the two phases shrinks to `line` while its midpoint stays: -1/2 -+ j sqrt(3)/2
  // line.
  const double line = std::sqrt((remaining * remaining - 0.25) / 0.75);
  const Phasor leading = Phasor(-0.5, -std::numbers::sqrt3 / 2 * line) / Phasor(-0.5, -std::numbers::sqrt3 / 2);
  const std::size_t healthy = (fault.mask & 1) == 0 ? 0 : (fault.mask & 2) == 0 ? 1 : 2;
  factors[(healthy + 1) % 3] = leading;
  factors[(healthy + 2) % 3] = std::conj(leading);
  return factors;
}

Waveform waveform_of(const DipDescription& dip) {
  const std::vector<Fault> faults = faults_of(dip.phases);
  Stages stages(dip.start, undisturbed);
  for (std::size_t step = 0; step < steps_of(dip, faults.size()); step++) {
    const Fault& fault = faults.size() == 1 ? faults.front() : faults[step];
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
  waveform.length = samples_of(dip.length > 0 ? dip.length : stages.end() + quiet_after, waveform.rate);
  waveform.degrees = dip.point_on_wave - 360 * waveform.frequency * dip.start;
  waveform.stages = std::move(stages.list);
  waveform.harmonics = dip.harmonics;
  check_rate(waveform);
  waveform.noise = dip.volts * dip.noise / 100;
  waveform.seed = dip.seed;
  return waveform;
}

}  // namespace synth
