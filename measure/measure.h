// Finds and measures the events in one to three voltages: the dips, swells, interruptions and rapid voltage changes of
// IEC 61000-4-30, and the course of each dip on the waveform. The input is only samples and their sampling rate.
//
//   measure::Waveform waveform{.phases = {{a}, {b}, {c}}, .rate = 6400, .line_frequency = 50};
//   for (const measure::Event& event : measure::measure(waveform, {}).events) ...
//
// All functions may be called from several threads at once. They compute in the default floating-point environment,
// whatever the caller has set, and restore the caller's.
#pragma once

#include <memory>
#include <stdexcept>
#include <vector>

#include "measure/findings.h"
#include "measure/half_cycle_rms.h"
#include "measure/options.h"
#include "measure/waveform.h"
#include "measure/wiring.h"

namespace measure {

/// What was found in a waveform.
struct Findings {
  double frequency = 0;       ///< hertz, the mean over the waveform
  PerPhase reference_v{};     ///< what the thresholds refer to; of a sliding reference its beginning
  bool begins_low = false;    ///< the usual level was measured later, because the first cycles are much lower
  Wiring wiring;              ///< how the phases are connected
  std::vector<Event> events;  ///< in the order of their starts; each interruption lies within a dip
                              ///< that is listed as well
  std::vector<Change> changes_without_event;  ///< by their starts
};

/// A waveform that holds too little to measure anything; the message is a clause that names what is missing.
class TooLittle : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Results for the waveform as a whole, computed in one pass. The object refers to the waveform, whose samples must
/// outlive it.
class Screening {
 public:
  /// Throws TooLittle for a rate below 8 samples per cycle (of RMS values: 4 per second), less than two cycles, or no
  /// voltage of at least 1 nV; std::invalid_argument for a waveform without voltages, with more than three, or with
  /// ones of unequal length.
  explicit Screening(const Waveform& waveform);
  Screening(Screening&&) noexcept;             ///< takes the results of another one, which is then empty
  Screening& operator=(Screening&&) noexcept;  ///< the same
  ~Screening();

  [[nodiscard]] double frequency() const;               ///< hertz, the mean over the waveform
  [[nodiscard]] const PerPhase& usual_rms_v() const;    ///< Urms(1/2) of each voltage's usual level, volts
  [[nodiscard]] const PerPhase& lowest_rms_v() const;   ///< lowest Urms(1/2), volts
  [[nodiscard]] const PerPhase& highest_rms_v() const;  ///< highest Urms(1/2), volts
  [[nodiscard]] const Wiring& wiring() const;           ///< how the phases are connected
  /// Values of Urms(1/2) of one voltage in order of time.
  [[nodiscard]] const HalfCycleRms& half_cycle_rms(std::size_t phase) const;

 private:
  friend struct Measuring;
  struct Parts;
  std::unique_ptr<Parts> parts_;
};

/// Finds the events by the options' rules, without measuring the courses of dips. Throws as `measure` does.
std::vector<Event> events_of(const Screening& screening, const Options& options);

/// Finds the events by the options' rules and measures the course of each dip; RMS values show no courses. Throws
/// std::invalid_argument for Reference::declared without a declared voltage.
Findings measure(const Screening& screening, const Options& options);

/// Does the same for a waveform of which only one analysis is needed. Throws as Screening and the other function do.
Findings measure(const Waveform& waveform, const Options& options);

}  // namespace measure
