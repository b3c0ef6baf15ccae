#include "assess/power_flow.h"

#include <cmath>
#include <numbers>
#include <stdexcept>

#include "measure/dip_type.h"

namespace assess {

namespace {

using measure::Phasor;
using measure::Phasors;

measure::WindowPhasor window_of(const measure::Waveform& waveform, double frequency, int order) {
  const double radians = 2 * std::numbers::pi * frequency * order / waveform.rate;
  return {radians, static_cast<std::size_t>(std::lround(waveform.rate / frequency))};
}

}  // namespace

double Moment::watts() const {
  double sum = 0;
  for (std::size_t phase = 0; phase < 3; phase++) sum += std::real(volts[phase] * std::conj(amperes[phase]));
  return sum;
}

PowerFlow::PowerFlow(const measure::Waveform& voltages, const measure::Waveform& currents, double frequency,
                     const Monitor& monitor)
    : voltages_(voltages), currents_(currents), frequency_(frequency), to_phases_(map_to_phases({}, monitor)) {
  const bool three = voltages.phases.size() == 3 && currents.phases.size() == 3;
  if (!three || voltages.length() != currents.length() || voltages.rate != currents.rate) {
    throw std::invalid_argument("a bay has three voltages and three currents of one length and rate");
  }
  // The second harmonic has to be below half the sampling rate.
  constexpr double fewest_samples = 5;
  if (!(frequency > 0) || voltages.rate / frequency < fewest_samples) {
    throw std::invalid_argument("a cycle has at least 5 samples");
  }
  order_.reversed = monitor.wiring.reversed;
  fundamental_ = window_of(voltages, frequency, 1);
  second_ = window_of(voltages, frequency, 2);
}

std::optional<std::size_t> PowerFlow::first_sample(double begin_s) const {
  const double sample = std::round(begin_s * voltages_.rate);
  if (!(sample >= 0) || sample + static_cast<double>(fundamental_.size()) > static_cast<double>(voltages_.length())) {
    return std::nullopt;
  }
  return static_cast<std::size_t>(sample);
}

std::optional<Phasors> PowerFlow::phasors(const measure::Waveform& waveform, std::size_t first,
                                          const measure::WindowPhasor& window, int order) const {
  const double omega = 2 * std::numbers::pi * frequency_ * order;
  Phasors result{};
  for (std::size_t phase = 0; phase < 3; phase++) {
    const measure::Phase& source = waveform.phases[phase];
    const double first_s = static_cast<double>(first) / waveform.rate + source.skew;
    result[phase] = window.of(source.samples.data() + first) * source.volts_per_unit / std::numbers::sqrt2 *
                    std::polar(1.0, -omega * first_s);
    if (!std::isfinite(std::abs(result[phase]))) return std::nullopt;
  }
  return result;
}

std::optional<Moment> PowerFlow::at(double begin_s) const {
  const auto first = first_sample(begin_s);
  if (!first) return std::nullopt;
  const auto volts = phasors(voltages_, *first, fundamental_, 1);
  const auto amperes = phasors(currents_, *first, fundamental_, 1);
  if (!volts || !amperes) return std::nullopt;
  return Moment{mapped(to_phases_, *volts), *amperes};
}

std::optional<measure::PerPhase> PowerFlow::second_harmonic(double begin_s) const {
  const auto first = first_sample(begin_s);
  const auto amperes = first ? phasors(currents_, *first, second_, 2) : std::nullopt;
  if (!amperes) return std::nullopt;
  return measure::PerPhase{std::abs((*amperes)[0]), std::abs((*amperes)[1]), std::abs((*amperes)[2])};
}

Phasor PowerFlow::positive(const Phasors& phasors) const {
  return measure::components_of(phasors, order_).positive;
}

Phasor PowerFlow::negative(const Phasors& phasors) const {
  return measure::components_of(phasors, order_).negative;
}

}  // namespace assess
