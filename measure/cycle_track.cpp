#include "measure/cycle_track.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "measure/window_phasor.h"

namespace measure {

CycleTrack::CycleTrack(const Waveform& waveform) : waveform_(waveform), frequency_(waveform.line_frequency) {
  find_frequency();
  follow();
  find_steady();
}

/// How the fundamentals turn over a few cycles.
struct CycleTrack::Turning {
  double hertz = 0;  ///< by which they turn faster than the frequency by which they were looked at
  double level = 0;  ///< the sum of the phases' lowest magnitudes: high where the voltage is high throughout
};

CycleTrack::Turning CycleTrack::turning(const WindowPhasor& fundamental, std::size_t first, std::size_t hop,
                                        std::size_t hops) const {
  Turning result;
  Phasor turn = 0;
  for (const Phase& phase : waveform_.phases) {
    double lowest = std::numeric_limits<double>::infinity();
    Phasor previous = 0;
    Phasor sum = 0;
    for (std::size_t k = 0; k <= hops; k++) {
      const Phasor now = fundamental.of(phase.samples.data() + first + k * hop) * phase.volts_per_unit;
      lowest = std::isfinite(std::abs(now)) ? std::min(lowest, std::abs(now)) : 0;
      if (k > 0) sum += now * std::conj(previous);
      previous = now;
    }
    if (!(lowest > 0)) continue;
    turn += sum;
    result.level += lowest;
  }
  const double expected = 2 * std::numbers::pi * static_cast<double>(hop) * frequency_ / waveform_.rate;
  const double off = std::arg(turn * std::polar(1.0, -expected));
  result.hertz = off / (2 * std::numbers::pi) * waveform_.rate / static_cast<double>(hop);
  return result;
}

/// Measures how the phasors turn from half-cycle to half-cycle where the voltage is highest throughout some cycles, and
/// there again at the frequency so found.
void CycleTrack::find_frequency() {
  constexpr std::size_t chunk_cycles = 12;
  constexpr std::size_t most_chunks = 32;
  constexpr std::size_t looks_per_chunk = 12;
  constexpr int rounds = 3;
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
  // A chunk is looked at here and there to find the best one.
  const std::size_t stride = std::max<std::size_t>(1, hops / looks_per_chunk);
  std::size_t best = 0;
  double best_level = 0;
  for (std::size_t chunk = 0; chunks > 1 && chunk < chunks; chunk++) {
    const double level = turning(fundamental, chunk * apart, stride * hop, hops / stride).level;
    // Earlier chunks win unless a later one is clearly better.
    if (!(level > 1.02 * best_level)) continue;
    best_level = level;
    best = chunk * apart;
  }
  for (int round = 0; round < rounds; round++) {
    const std::size_t now = set_window();
    if (waveform_.length() < best + window_ + now) return;
    const Turning found = turning(fundamental, best, now, std::min(hops, (waveform_.length() - window_ - best) / now));
    if (!(found.level > 0)) return;
    frequency_ = std::clamp(frequency_ + found.hertz, 0.8 * nominal, 1.2 * nominal);
  }
}

void CycleTrack::follow() {
  const double per_cycle = waveform_.rate / frequency_;
  window_ = std::max<std::size_t>(4, static_cast<std::size_t>(std::lround(per_cycle)));
  if (waveform_.length() < window_) return;
  const double step = 2 * std::numbers::pi / per_cycle;
  const WindowPhasor fundamental(step, window_);
  const auto count = static_cast<std::size_t>(static_cast<double>(waveform_.length() - window_) / per_cycle) + 1;
  phasors_.resize(count);
  for (std::size_t k = 0; k < count; k++) {
    const std::size_t first = first_sample(k);
    // The number of whole cycles before does not turn anything.
    const double turns = static_cast<double>(first) / per_cycle;
    const Phasor back = std::polar(1.0, -2 * std::numbers::pi * (turns - std::floor(turns)));
    for (std::size_t phase = 0; phase < waveform_.phases.size(); phase++) {
      const Phase& source = waveform_.phases[phase];
      phasors_[k][phase] = fundamental.of(source.samples.data() + first) * source.volts_per_unit * back;
    }
  }
}

std::size_t CycleTrack::first_sample(std::size_t cycle) const {
  return static_cast<std::size_t>(static_cast<double>(cycle) * waveform_.rate / frequency_);
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
    if (!std::isfinite(std::abs(phasors_[cycle][phase]))) return true;
  }
  return false;
}

void CycleTrack::find_steady() {
  constexpr double steady_change = 0.02;  // from one cycle to the next, of the largest phase
  constexpr double steady_drift = 0.03;   // from the stretch's first cycle
  constexpr std::size_t fewest_cycles = 2;
  const std::size_t phases = waveform_.phases.size();
  const auto magnitudes_differ = [&](std::size_t one, std::size_t other, double most) {
    double largest = 0;
    double change = 0;
    for (std::size_t phase = 0; phase < phases; phase++) {
      const double a = std::abs(phasors_[one][phase]);
      const double b = std::abs(phasors_[other][phase]);
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
        double sum = 0;
        for (std::size_t i = begin; i < k; i++) sum += std::abs(phasors_[i][phase]);
        stretch.level[phase] = sum / static_cast<double>(k - begin) / std::numbers::sqrt2;
      }
      steady_.push_back(stretch);
    }
    begin = k;
  }
}

}  // namespace measure
