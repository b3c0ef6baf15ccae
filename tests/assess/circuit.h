// Voltages and currents of a simulated circuit: a source, a feeder with a monitor, and a load.
#pragma once

#include <array>
#include <cmath>
#include <complex>
#include <cstddef>
#include <numbers>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "measure/findings.h"
#include "measure/waveform.h"

namespace tests {

using measure::Phasor;
using measure::Phasors;

/// The impedances are per unit of those of the load.
struct Circuit {
  Phasor source{0.005, 0.05};  ///< from the source to the busbar upstream of the monitor
  Phasor line{0.01, 0.03};     ///< from there to the monitor
  Phasor cable{0.01, 0.03};    ///< from the monitor to the load
  Phasor load{0.9, 0.43};
};

/// A fault at the busbar (upstream) or at the load (downstream).
struct Fault {
  std::string phases;  ///< "A", "BC", "ABC"
  bool to_ground = true;
  double resistance = 0.01;
  bool downstream = true;
};

/// The state at the monitor.
struct State {
  Phasors volts{};
  Phasors amperes{};
};

/// Solves linear equations by elimination with pivots.
template <std::size_t size>
std::array<Phasor, size> solved(std::array<std::array<Phasor, size>, size> matrix, std::array<Phasor, size> right) {
  for (std::size_t k = 0; k < size; k++) {
    std::size_t pivot = k;
    for (std::size_t row = k; row < size; row++) {
      if (std::abs(matrix[row][k]) > std::abs(matrix[pivot][k])) pivot = row;
    }
    std::swap(matrix[k], matrix[pivot]);
    std::swap(right[k], right[pivot]);
    for (std::size_t row = k + 1; row < size; row++) {
      const Phasor factor = matrix[row][k] / matrix[k][k];
      for (std::size_t column = k; column < size; column++) matrix[row][column] -= factor * matrix[k][column];
      right[row] -= factor * right[k];
    }
  }
  for (std::size_t k = size; k-- > 0;) {
    for (std::size_t column = k + 1; column < size; column++) right[k] -= matrix[k][column] * right[column];
    right[k] /= matrix[k][k];
  }
  return right;
}

/// Solves the circuit by the currents at its two nodes, the busbar (0 to 2) and the load (3 to 5). `fault`: null for
/// normal operation.
inline State state_of(const Circuit& circuit, const Fault* fault) {
  std::array<std::array<Phasor, 6>, 6> matrix{};
  std::array<Phasor, 6> right{};
  const Phasor between = circuit.line + circuit.cable;
  const Phasors emf = {1.0, std::polar(1.0, -2 * std::numbers::pi / 3), std::polar(1.0, 2 * std::numbers::pi / 3)};
  for (std::size_t k = 0; k < 3; k++) {
    matrix[k][k] += 1.0 / circuit.source + 1.0 / between;
    matrix[k][k + 3] -= 1.0 / between;
    right[k] = emf[k] / circuit.source;
    matrix[k + 3][k + 3] += 1.0 / between + 1.0 / circuit.load;
    matrix[k + 3][k] -= 1.0 / between;
  }
  if (fault != nullptr) {
    const std::size_t node = fault->downstream ? 3 : 0;
    const double conductance = 1 / fault->resistance;
    for (const char phase : fault->phases) {
      const std::size_t k = node + static_cast<std::size_t>(phase - 'A');
      if (fault->to_ground) matrix[k][k] += conductance;
    }
    if (!fault->to_ground) {  // between two phases
      const std::size_t one = node + static_cast<std::size_t>(fault->phases[0] - 'A');
      const std::size_t other = node + static_cast<std::size_t>(fault->phases[1] - 'A');
      matrix[one][one] += conductance;
      matrix[other][other] += conductance;
      matrix[one][other] -= conductance;
      matrix[other][one] -= conductance;
    }
  }
  const auto volts = solved(matrix, right);
  State state;
  for (std::size_t k = 0; k < 3; k++) {
    state.amperes[k] = (volts[k] - volts[k + 3]) / between;
    state.volts[k] = volts[k] - state.amperes[k] * circuit.line;
  }
  return state;
}

/// A number in a range, the same on every machine.
inline double within(std::mt19937& random, double lowest, double highest) {
  return lowest + (highest - lowest) * static_cast<double>(random()) / 4294967295.0;
}

/// Samples of a bay at 6400 Hz.
struct BaySamples {
  std::array<std::vector<double>, 3> volts;
  std::array<std::vector<double>, 3> amperes;

  [[nodiscard]] measure::Waveform voltage_waveform() const { return waveform_of(volts); }
  [[nodiscard]] measure::Waveform current_waveform() const { return waveform_of(amperes); }
  static measure::Waveform waveform_of(const std::array<std::vector<double>, 3>& samples) {
    return {.phases = {{samples[0]}, {samples[1]}, {samples[2]}}, .rate = 6400, .line_frequency = 50};
  }
};

inline constexpr double sample_rate = 6400;
inline constexpr double omega = 2 * std::numbers::pi * 50;

/// The momentary value of a phasor, with a peak of 325 for 1.
inline double value_at(const Phasor& phasor, double t) {
  return 325 * std::real(phasor * std::polar(1.0, omega * t));
}

/// Half a second of voltages and currents that change to another state and back at two times. The currents of the
/// feeder cannot jump: an offset decays with the time constant of its impedance. Noise is given per unit.
inline BaySamples samples_of(const State& normal, const State& during, double start_s, double end_s, double noise,
                             std::mt19937& random, double time_constant_s) {
  BaySamples samples;
  std::normal_distribution<double> per_unit;
  const auto error = [&] { return 325 * noise * per_unit(random); };
  constexpr std::size_t length = 3840;
  for (std::size_t i = 0; i < length; i++) {
    const double t = static_cast<double>(i) / sample_rate;
    const bool in_dip = t >= start_s && t < end_s;
    const State& state = in_dip ? during : normal;
    for (std::size_t k = 0; k < 3; k++) {
      samples.volts[k].push_back(value_at(state.volts[k], t) + error());
      const double jump = value_at(normal.amperes[k], start_s) - value_at(during.amperes[k], start_s);
      const double offset = in_dip ? jump * std::exp(-(t - start_s) / time_constant_s) : 0;
      samples.amperes[k].push_back(value_at(state.amperes[k], t) + offset + error());
    }
  }
  return samples;
}

}  // namespace tests
