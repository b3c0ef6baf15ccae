// Measures what happened to one to three voltages: the dips, swells, interruptions and rapid voltage changes of
// IEC 61000-4-30, and the course of each dip on the waveform. Nothing is needed but samples and sampling rate.
//
//   measure::Waveform waveform{.phases = {{a}, {b}, {c}}, .rate = 6400, .line_frequency = 50};
//   for (const measure::Event& event : measure::measure(waveform, {}).events) ...
//
// All functions may be called from several threads at once.
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

struct Findings {
  double frequency = 0;     ///< hertz, the mean over the waveform
  PerPhase reference_v{};   ///< what the thresholds refer to; of a sliding reference its beginning
  bool begins_low = false;  ///< the usual level is not that of the waveform's first cycles, which are much lower
  Wiring wiring;
  std::vector<Event> events;                  ///< by their starts; an interruption lies within a dip of its own
  std::vector<Change> changes_without_event;  ///< by their starts
};

/// A waveform that holds too little to measure anything; the message is a clause that names what is missing.
class TooLittle : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// What a waveform shows as a whole, found in one pass. It keeps a reference to the waveform, whose samples must live
/// as long.
class Screening {
 public:
  /// Throws TooLittle for a rate below 8 samples per cycle, less than two cycles, or no voltage at all;
  /// std::invalid_argument for a waveform without voltages, with more than three, or with ones of unequal length.
  explicit Screening(const Waveform& waveform);
  Screening(Screening&&) noexcept;
  Screening& operator=(Screening&&) noexcept;
  ~Screening();

  [[nodiscard]] double frequency() const;               ///< hertz, the mean over the waveform
  [[nodiscard]] const PerPhase& usual_rms_v() const;    ///< Urms(1/2) of each voltage's usual level, volts
  [[nodiscard]] const PerPhase& lowest_rms_v() const;   ///< lowest Urms(1/2), volts
  [[nodiscard]] const PerPhase& highest_rms_v() const;  ///< highest Urms(1/2), volts
  [[nodiscard]] const Wiring& wiring() const;
  /// Values of Urms(1/2) of one voltage in order of time.
  [[nodiscard]] const HalfCycleRms& half_cycle_rms(std::size_t phase) const;

 private:
  friend struct Measuring;
  struct Parts;
  std::unique_ptr<Parts> parts_;
};

/// Finds the events by the options' rules, without measuring the courses of dips. Throws as `measure` does.
std::vector<Event> events_of(const Screening& screening, const Options& options);

/// Finds the events by the options' rules and measures the course of each dip. Throws std::invalid_argument for
/// Reference::declared without a declared voltage.
Findings measure(const Screening& screening, const Options& options);

/// The same for a waveform that is looked at only once. Throws what Screening and the other one throw.
Findings measure(const Waveform& waveform, const Options& options);

}  // namespace measure
