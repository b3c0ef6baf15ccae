// The findings in a waveform: events by the rules of the standard, and the course of each dip on the waveform.
#pragma once

#include <array>
#include <complex>
#include <cstddef>
#include <optional>
#include <vector>

#include "measure/waveform.h"

namespace measure {

/// A complex amplitude; the voltage is its real part times the square root of 2 as it turns.
using Phasor = std::complex<double>;
/// One phasor for each phase.
using Phasors = std::array<Phasor, most_phases>;
/// One number for each phase.
using PerPhase = std::array<double, most_phases>;
/// One flag for each phase.
using PhaseFlags = std::array<bool, most_phases>;

/// A figure with the half width of the interval that contains the true value in 95 of 100 cases.
struct Figure {
  double value = 0;       ///< in the unit that the figure's name gives
  double plus_minus = 0;  ///< in the same unit
};

// --- the course of a dip ---------------------------------------------------------------------------------------------

/// The figures of one voltage in a segment.
struct SegmentPhase {
  bool measured = true;                      ///< false if its samples are missing; the other figures are then invalid
  Figure voltage_v;                          ///< RMS of the fundamental; in a gradual segment where it is lowest
  double share_of_before = 0;                ///< that voltage over the phase's own level before the dip
  std::optional<Figure> phase_jump_degrees;  ///< against the voltage before, carried on at the line's frequency; in
                                             ///< (-180, 180], + is leading; none below 5 % of the level before
  bool below_threshold = false;              ///< below 90 % of the phase's own level before
  std::optional<double> lowest_rms_v;        ///< of the one-cycle RMS within the segment; none in less than a cycle
  std::optional<double> highest_rms_v;       ///< of the same RMS
};

/// Symmetrical components of three phase voltages, RMS. Voltages between phases have no zero sequence.
struct Sequences {
  double positive_v = 0;                    ///< volts
  double negative_v = 0;                    ///< volts
  double zero_v = 0;                        ///< volts
  std::optional<double> unbalance_percent;  ///< negative over positive sequence; none without a positive one
};

/// The kind of dip that the symmetrical components of three voltages show: M. H. J. Bollen, Understanding Power Quality
/// Problems (IEEE Press, 2000), chapter 4.
struct DipType {
  char letter = 'A';      ///< A to G
  PhaseFlags phases{};    ///< the phase, or the two, that make the type symmetrical; all three for A
  Phasor characteristic;  ///< characteristic voltage, of the positive-sequence voltage before
  Phasor pn_factor;       ///< positive-negative factor, of the same voltage
  int category = 9;       ///< 0 BC, 1 C, 2 CA, 3 A, 4 AB, 5 B; 6 to 8 BC, CA, AB with zero sequence; 9 all three
};

/// A time between two transitions in which the fundamentals are steady or change gradually.
struct Segment {
  double start_s = 0;           ///< seconds from the waveform's first sample, as all times
  std::optional<double> end_s;  ///< empty if it continues past the record's end
  bool gradual = false;         ///< the fundamentals change from its beginning to its end
  bool measured = true;         ///< false if too many samples are missing, so that only its times are valid
  std::array<SegmentPhase, most_phases> phases;  ///< the figures of each voltage
  std::optional<Sequences> sequences;            ///< of three voltages only, as is the type
  std::optional<DipType> type;                   ///< none where the components show none of the types
  Phasors phasors{};                             ///< volts RMS, against the same reference as `Course::before`
};

/// A change of the network's state, from the first phase that changes to the last one.
struct Transition {
  double start_s = 0;    ///< when the first phase begins to change
  double end_s = 0;      ///< when the last phase has changed, and transients that decay within 0.4 cycles no longer
                         ///< hide the voltage of a steady segment
  bool gradual = false;  ///< the change takes so long that its course can be measured
  PhaseFlags phases{};   ///< those that change
};

/// The source of the level before a dip.
enum class LevelSource {
  before,    ///< the voltage before the dip
  declared,  ///< the declared voltage: the record begins in the dip
  after      ///< the voltage after the dip: the record begins in the dip
};

/// The voltages that a transformer may pass on: between phases, and phases without their zero sequence.
enum class SixVoltages { ab, bc, ca, a, b, c };

/// The lowest of six voltages over time during a dip (IEEE Std 1564-2014).
struct LowestOfSix {
  double share = 0;                     ///< one-cycle fundamental over its own value before the dip
  SixVoltages which = SixVoltages::ab;  ///< the voltage that is lowest
};

/// The course of a dip on the waveform: when it begins and ends, and what lies in between.
struct Course {
  std::optional<Figure> start_s;  ///< none: the record begins in the dip
  std::optional<Figure> end_s;    ///< empty if the dip continues past the record's end
  std::array<std::optional<Figure>, most_phases>
      point_on_wave_degrees;                       ///< of each phase's sine at the start, 0 at a
                                                   ///< rising zero crossing; none if it is gradual
  LevelSource level_source = LevelSource::before;  ///< where `before` comes from
  Phasors before{};                                ///< volts RMS, carried on through the dip at `frequency`
  double frequency = 0;                            ///< hertz
  std::optional<double> frequency_before;          ///< as far as enough steady voltage lies there to tell
  std::optional<double> frequency_after;           ///< the same after the dip
  /// Largest slope of each phase's one-cycle RMS: its change over half a cycle, divided by that time. The search covers
  /// the time from a cycle before the start to a cycle after the end, or to the record's ends if these are unknown.
  PerPhase steepest_change_v_per_s{};
  std::optional<LowestOfSix> lowest_of_six;  ///< of three voltages between phase and neutral
  std::vector<Segment> segments;             ///< in order of time
  std::vector<Transition> transitions;       ///< in order of time; the segments lie between them
  /// Share of the one-cycle windows at a distance from abrupt transitions that agree with their segment or lie in a
  /// gradual transition; empty if the dip is too short for such a window.
  std::optional<double> explained_share;
};

// --- events ----------------------------------------------------------------------------------------------------------

/// The kinds of events of IEC 61000-4-30.
enum class EventKind { dip, swell, interruption, rapid_voltage_change };

/// An event by the rules of the standard. Times are seconds from the waveform's first sample, voltages are RMS.
struct Event {
  EventKind kind = EventKind::dip;  ///< by which rule it was found
  double start_s = 0;               ///< beginning of the window that began it
  bool start_known = true;          ///< false: it is on in the record's first window
  std::optional<double> end_s;      ///< end of the window that ended it; none: it is on in the last window
  double extreme_v = 0;             ///< residual voltage: lowest Urms(1/2) of any voltage; of a swell the highest
  std::size_t extreme_phase = 0;    ///< the voltage that has it
  double reference_v = 0;           ///< highest of the references of the voltages that crossed the threshold
  PhaseFlags phases{};              ///< the voltages that crossed the threshold
  PerPhase lowest_v{};              ///< of each voltage's Urms(1/2) during the event
  PerPhase highest_v{};             ///< the same, highest
  double delta_max_v = 0;           ///< of a rapid change: largest distance from the steady value before
  double delta_steady_v = 0;        ///< of a rapid change: from the steady value before to that after
  std::optional<Course> course;     ///< of dips
};

/// A change of the voltage that does not belong to an event.
struct Change {
  double start_s = 0;   ///< when it begins, seconds from the waveform's first sample
  double end_s = 0;     ///< when it is over
  PhaseFlags phases{};  ///< the voltages that change
  PerPhase before_v{};  ///< fundamentals, volts RMS
  PerPhase after_v{};   ///< the same after the change
};

}  // namespace measure
