#include "measure/cycle_track.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <numeric>
#include <utility>

#include "measure/median.h"
#include "measure/sample_at.h"
#include "measure/window_phasor.h"

namespace measure {

namespace {

/// Standard deviation of a network's frequency from its nominal value, hertz.
constexpr double usual_deviation = 0.1;

const Phasor not_a_voltage(std::numeric_limits<double>::quiet_NaN(), 0);

bool is_voltage(const Phasor& phasor) {
  return std::abs(phasor.real()) < largest_volts && std::abs(phasor.imag()) < largest_volts;
}

/// Returns the mean of the angles between neighbouring phasors, without the jumps that a fault or a switching causes.
double usual_of(const std::vector<double>& angles) {
  constexpr double far_off = 6;          // usual distances from the middle
  constexpr double near_always = 0.002;  // radians
  // Angles are averaged in pairs, because a constant and harmonics shift them alternately from half-cycle to
  // half-cycle.
  std::vector<double> pairs;
  for (std::size_t k = 0; k + 1 < angles.size(); k++) pairs.push_back((angles[k] + angles[k + 1]) / 2);
  if (pairs.empty()) return angles.empty() ? 0 : angles.front();
  const double middle = median(pairs);
  std::vector<double> away;
  for (const double pair : pairs) away.push_back(std::abs(pair - middle));
  const double near = far_off * median(away) + near_always;
  double sum = 0;
  double count = 0;
  for (const double pair : pairs) {
    if (!(std::abs(pair - middle) <= near)) continue;
    sum += pair;
    count++;
  }
  return count > 0 ? sum / count : middle;
}

}  // namespace

CycleTrack::CycleTrack(const Waveform& waveform)
    : waveform_(waveform), frequency_(waveform.line_frequency), frequency_error_(usual_deviation) {
  find_frequency();
  follow();
  find_absent();
  find_steady();
}

/// Describes how the fundamentals turn over a few cycles.
struct CycleTrack::Turning {
  double hertz = 0;           ///< frequency minus the one for which the phasors were computed
  double level = 0;           ///< sum of the phases' lowest magnitudes; it is high if the voltage is high throughout
  double restless = 0;        ///< variance of the angles from step to step, radians squared
  double standard_error = 0;  ///< of the frequency, hertz, as if the steps were independent
};

CycleTrack::Turning CycleTrack::turning(const WindowPhasor& fundamental, std::size_t first, std::size_t hop,
                                        std::size_t hops) const {
  constexpr double steady_share = 0.8;  // of its highest magnitude
  Turning result;
  std::vector<Phasor> of_all(hops);
  std::vector<Phasor> of_steady(hops);
  bool any_steady = false;
  for (const Phase& phase : waveform_.phases) {
    double lowest = std::numeric_limits<double>::infinity();
    double highest = 0;
    std::vector<Phasor> now(hops + 1);
    for (std::size_t k = 0; k <= hops; k++) {
      now[k] = fundamental.of(phase.samples.data() + first + k * hop) * phase.volts_per_unit;
      const double magnitude = std::abs(now[k]);
      lowest = magnitude < largest_volts ? std::min(lowest, magnitude) : 0;
      highest = std::max(highest, magnitude);
    }
    if (!(lowest > 0)) continue;
    const bool steady = lowest >= steady_share * highest;
    any_steady = any_steady || steady;
    for (std::size_t k = 0; k < hops; k++) {
      const Phasor turn = now[k + 1] * std::conj(now[k]);
      of_all[k] += turn;
      if (steady) of_steady[k] += turn;
    }
    result.level += lowest;
  }
  // The angle of a phase that a fault affects says little about the frequency.
  const std::vector<Phasor>& turns = any_steady ? of_steady : of_all;
  const double expected = 2 * std::numbers::pi * static_cast<double>(hop) * frequency_ / waveform_.rate;
  std::vector<double> angles(hops);
  for (std::size_t k = 0; k < hops; k++) angles[k] = std::arg(turns[k] * std::polar(1.0, -expected));
  const double hertz_per_radian = waveform_.rate / static_cast<double>(hop) / (2 * std::numbers::pi);
  result.hertz = usual_of(angles) * hertz_per_radian;
  for (const double angle : angles) result.restless += angle * angle;
  const double mean = std::accumulate(angles.begin(), angles.end(), 0.0) / static_cast<double>(hops);
  result.restless = std::max(0.0, result.restless / static_cast<double>(hops) - mean * mean);
  result.standard_error = std::sqrt(result.restless / static_cast<double>(hops)) * hertz_per_radian;
  return result;
}

/// Measures the turn of the phasors from half-cycle to half-cycle in a few cycles in which the voltage is high and
/// turns steadily, and then repeats the measurement there at the frequency that was found.
void CycleTrack::find_frequency() {
  constexpr std::size_t chunk_cycles = 12;
  constexpr std::size_t most_chunks = 32;
  constexpr std::size_t looks_per_chunk = 12;
  constexpr int rounds = 3;
  // A voltage without a steady turn has no frequency to be measured. The line frequency is the better guess then.
  constexpr double most_uncertain = 0.5;  // hertz
  const double nominal = waveform_.line_frequency;
  WindowPhasor fundamental;
  const auto set_window = [&] {
    const double per_cycle = waveform_.rate / frequency_;
    window_ = std::max<std::size_t>(4, static_cast<std::size_t>(std::lround(per_cycle)));
    fundamental = {2 * std::numbers::pi / per_cycle, window_};
    return std::max<std::size_t>(1, static_cast<std::size_t>(std::lround(per_cycle / 2)));
  };
  const std::size_t hop = set_window();
  if (waveform_.length() < window_ + hop) return;
  const std::size_t hops = std::min<std::size_t>(2 * chunk_cycles, (waveform_.length() - window_) / hop);
  const std::size_t span = window_ + hops * hop;
  const std::size_t chunks = std::min(most_chunks, std::max<std::size_t>(1, waveform_.length() / span));
  const std::size_t apart = chunks > 1 ? (waveform_.length() - span) / (chunks - 1) : 0;
  // Each chunk is sampled at a few places to find the best ones.
  const std::size_t stride = std::max<std::size_t>(1, hops / looks_per_chunk);
  std::vector<Turning> looks;
  for (std::size_t chunk = 0; chunks > 1 && chunk < chunks; chunk++) {
    looks.push_back(turning(fundamental, chunk * apart, stride * hop, hops / stride));
  }
  const std::size_t best = looks.empty() ? 0 : typical_chunk(looks) * apart;
  std::size_t now = hop;
  for (int round = 0; round < rounds; round++) {
    if (round > 0) now = set_window();
    if (waveform_.length() < best + window_ + now) return;
    const Turning found = turning(fundamental, best, now, std::min(hops, (waveform_.length() - window_ - best) / now));
    if (!(found.level > 0) || !std::isfinite(found.hertz)) return;
    if (!(found.standard_error <= most_uncertain)) return;
    frequency_ = std::clamp(frequency_ + found.hertz, 0.8 * nominal, 1.2 * nominal);
    frequency_error_ = found.standard_error;
  }
}

/// Considers the chunks with nearly the highest voltage that are nearly the steadiest, and returns the one with the
/// median frequency.
std::size_t CycleTrack::typical_chunk(const std::vector<Turning>& looks) {
  constexpr double about_highest = 0.95;
  constexpr double about_steadiest = 4;
  constexpr double always_steady = 1e-8;  // radians squared
  double highest = 0;
  for (const Turning& look : looks) highest = std::max(highest, look.level);
  const auto is_high = [&](const Turning& look) { return look.level > 0 && look.level >= about_highest * highest; };
  double steadiest = std::numeric_limits<double>::infinity();
  for (const Turning& look : looks) {
    if (is_high(look)) steadiest = std::min(steadiest, look.restless);
  }
  std::vector<std::size_t> chosen;
  for (std::size_t k = 0; k < looks.size(); k++) {
    if (is_high(looks[k]) && looks[k].restless <= about_steadiest * steadiest + always_steady) chosen.push_back(k);
  }
  if (chosen.empty()) return 0;
  const auto middle = chosen.begin() + static_cast<std::ptrdiff_t>((chosen.size() - 1) / 2);
  std::nth_element(chosen.begin(), middle, chosen.end(), [&](std::size_t one, std::size_t other) {
    return std::pair(looks[one].hertz, one) < std::pair(looks[other].hertz, other);
  });
  return *middle;
}

void CycleTrack::follow() {
  const double per_cycle = waveform_.rate / frequency_;
  window_ = std::max<std::size_t>(4, static_cast<std::size_t>(std::lround(per_cycle)));
  if (waveform_.length() < window_) return;
  const double step = 2 * std::numbers::pi / per_cycle;
  const WindowPhasor fundamental(step, window_);
  const auto count =
      static_cast<std::size_t>(static_cast<double>(waveform_.length() - window_) / per_cycle + sample_rounding) + 1;
  phasors_.resize(count);
  for (std::size_t k = 0; k < count; k++) {
    const std::size_t first = first_sample(k);
    // Whole cycles before the window do not change the angle.
    const double turns = static_cast<double>(first) / per_cycle;
    const Phasor back = std::polar(1.0, -2 * std::numbers::pi * (turns - std::floor(turns)));
    for (std::size_t phase = 0; phase < waveform_.phases.size(); phase++) {
      const Phase& source = waveform_.phases[phase];
      const Phasor phasor = fundamental.of(source.samples.data() + first) * source.volts_per_unit;
      phasors_[k][phase] = is_voltage(phasor) ? phasor * back : not_a_voltage;
    }
  }
}

/// Phases without a single complete cycle have no results, and they do not affect the other phases.
void CycleTrack::find_absent() {
  for (std::size_t phase = 0; phase < waveform_.phases.size(); phase++) {
    absent_[phase] = std::none_of(phasors_.begin(), phasors_.end(),
                                  [&](const Phasors& cycle) { return std::isfinite(cycle[phase].real()); });
  }
  if (std::all_of(absent_.begin(), absent_.begin() + static_cast<std::ptrdiff_t>(waveform_.phases.size()),
                  [](bool absent) { return absent; })) {
    absent_ = {};
  }
}

std::size_t CycleTrack::first_sample(std::size_t cycle) const {
  return static_cast<std::size_t>(whole_samples(static_cast<double>(cycle) * waveform_.rate / frequency_));
}

double CycleTrack::time_of(std::size_t cycle) const {
  return (static_cast<double>(first_sample(cycle)) + static_cast<double>(window_ - 1) / 2) / waveform_.rate;
}

std::size_t CycleTrack::cycle_at(double seconds) const {
  const double cycle = std::max(0.0, seconds * frequency_);
  return std::min(cycles() - 1, static_cast<std::size_t>(cycle));
}

bool CycleTrack::is_missing(std::size_t cycle) const {
  for (std::size_t phase = 0; phase < waveform_.phases.size(); phase++) {
    if (!absent_[phase] && !std::isfinite(phasors_[cycle][phase].real())) return true;
  }
  return false;
}

void CycleTrack::find_steady() {
  constexpr double steady_change = 0.02;  // from one cycle to the next, of the largest phase
  constexpr double steady_drift = 0.03;   // from the stretch's first cycle
  constexpr std::size_t fewest_cycles = 2;
  const std::size_t phases = waveform_.phases.size();
  std::vector<PerPhase> magnitudes(cycles());
  for (std::size_t k = 0; k < cycles(); k++) {
    for (std::size_t phase = 0; phase < phases; phase++) magnitudes[k][phase] = std::abs(phasors_[k][phase]);
  }
  const auto magnitudes_differ = [&](std::size_t one, std::size_t other, double most) {
    double largest = 0;
    double change = 0;
    for (std::size_t phase = 0; phase < phases; phase++) {
      if (absent_[phase]) continue;
      const double a = magnitudes[one][phase];
      const double b = magnitudes[other][phase];
      largest = std::max({largest, a, b});
      change = std::max(change, std::abs(a - b));
    }
    return !(change <= most * largest);
  };
  std::size_t begin = 0;
  for (std::size_t k = 1; k <= cycles(); k++) {
    const bool goes_on = k < cycles() && !is_missing(k) && !is_missing(begin) &&
                         !magnitudes_differ(k, k - 1, steady_change) && !magnitudes_differ(k, begin, steady_drift);
    if (goes_on) continue;
    if (k - begin >= fewest_cycles) {
      SteadyStretch stretch{begin, k, {}};
      for (std::size_t phase = 0; phase < phases; phase++) {
        if (absent_[phase]) continue;
        double sum = 0;
        for (std::size_t i = begin; i < k; i++) sum += magnitudes[i][phase];
        stretch.level[phase] = sum / static_cast<double>(k - begin) / std::numbers::sqrt2;
      }
      steady_.push_back(stretch);
    }
    begin = k;
  }
}

}  // namespace measure
