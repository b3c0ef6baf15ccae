// The fundamentals of the voltages and currents of a bay, cycle by cycle.
#pragma once

#include <cstddef>
#include <optional>

#include "assess/transformer.h"
#include "measure/findings.h"
#include "measure/waveform.h"
#include "measure/window_phasor.h"

namespace assess {

/// The fundamentals over one cycle, RMS, against a common reference.
struct Moment {
  measure::Phasors volts{};    ///< of the phases
  measure::Phasors amperes{};  ///< positive in the direction of the bay's current transformers
  /// Returns the active power of the three phases, watts.
  [[nodiscard]] double watts() const;
};

/// Refers to the waveforms' samples, which must outlive it.
class PowerFlow {
 public:
  /// Both waveforms have three channels with the same length and rate; `volts_per_unit` of a current is in amperes.
  /// `frequency`: hertz. `monitor`: how the voltages are connected. Throws std::invalid_argument for other waveforms.
  PowerFlow(const measure::Waveform& voltages, const measure::Waveform& currents, double frequency,
            const Monitor& monitor);

  [[nodiscard]] double cycle_s() const { return 1 / frequency_; }

  /// Returns the fundamentals over the cycle that begins at a time, seconds from the first sample; nothing if samples
  /// are missing or lie outside of the waveforms.
  [[nodiscard]] std::optional<Moment> at(double begin_s) const;

  /// Returns the second harmonic of each current over the same cycle, amperes RMS.
  [[nodiscard]] std::optional<measure::PerPhase> second_harmonic(double begin_s) const;

  /// Returns the positive sequence of three phasors.
  [[nodiscard]] measure::Phasor positive(const measure::Phasors& phasors) const;
  /// Returns the negative sequence of three phasors.
  [[nodiscard]] measure::Phasor negative(const measure::Phasors& phasors) const;

 private:
  /// The first sample of a cycle; nothing if it does not lie within the waveforms.
  [[nodiscard]] std::optional<std::size_t> first_sample(double begin_s) const;
  [[nodiscard]] std::optional<measure::Phasors> phasors(const measure::Waveform& waveform, std::size_t first,
                                                        const measure::WindowPhasor& window, int order) const;

  measure::Waveform voltages_;
  measure::Waveform currents_;
  double frequency_;
  measure::Wiring order_;  // of the phases
  VoltageMap to_phases_;
  measure::WindowPhasor fundamental_;
  measure::WindowPhasor second_;
};

}  // namespace assess
