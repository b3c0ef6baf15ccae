// What was found in a waveform: events by the standard's rules, and the course of each dip on the waveform.
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
using Phasors = std::array<Phasor, most_phases>;
using PerPhase = std::array<double, most_phases>;
/// One flag for each phase.
using PhaseFlags = std::array<bool, most_phases>;

/// A figure with the half width of the interval in which the true one lies in 95 of 100 cases.
struct Figure {
  double value = 0;
  double plus_minus = 0;
};

// --- the course of a dip ---------------------------------------------------------------------------------------------

struct SegmentPhase {
  bool measured = true;                      ///< false: its samples are missing, and its figures say nothing
  Figure voltage_v;                          ///< RMS of the fundamental; in a gradual segment where it is lowest
  double share_of_before = 0;                ///< that voltage over the phase's own level before the dip
  std::optional<Figure> phase_jump_degrees;  ///< against the voltage before, carried on at the line's frequency; in
                                             ///< (-180, 180], + is leading; none below 5 % of the level before
  bool below_threshold = false;              ///< below 90 % of the phase's own level before
  std::optional<double> lowest_rms_v;        ///< of the one-cycle RMS within the segment; none in less than a cycle
  std::optional<double> highest_rms_v;
};

/// Symmetrical components of three phase voltages, RMS. Of voltages between phases there is no zero sequence.
struct Sequences {
  double positive_v = 0;
  double negative_v = 0;
  double zero_v = 0;
  std::optional<double> unbalance_percent;  ///< negative over positive sequence; none without a positive one
};

/// What kind of dip three voltages show: M. H. J. Bollen, Understanding Power Quality Problems (IEEE Press, 2000),
/// chapter 4, by the symmetrical components.
struct DipType {
  char letter = 'A';      ///< A to G
  PhaseFlags phases{};    ///< the phase, or the two, that make the type symmetrical; all three for A
  Phasor characteristic;  ///< characteristic voltage, of the positive-sequence voltage before
  Phasor pn_factor;       ///< positive-negative factor, of the same
  int category = 9;       ///< 0 BC, 1 C, 2 CA, 3 A, 4 AB, 5 B; 6 to 8 BC, CA, AB with zero sequence; 9 all three
};

/// A time between two transitions in which the fundamentals are steady, or change gradually.
struct Segment {
  double start_s = 0;           ///< seconds from the waveform's first sample, as all times
  std::optional<double> end_s;  ///< none: it goes on at the record's end
  bool gradual = false;         ///< the fundamentals change from its beginning to its end
  bool measured = true;         ///< false: too many samples are missing for any figure but its times
  std::array<SegmentPhase, most_phases> phases;
  std::optional<Sequences> sequences;  ///< of three voltages only, as is the type
  std::optional<DipType> type;
  Phasors phasors{};  ///< volts RMS, against the same reference as `Course::before`
};

/// A change of the network's state: from the first phase that changes to the last.
struct Transition {
  double start_s = 0;
  double end_s = 0;
  bool gradual = false;
  PhaseFlags phases{};  ///< those that change
};

/// Where the level before a dip was taken from.
enum class LevelSource {
  before,    ///< the voltage before the dip
  declared,  ///< the declared voltage: the record begins in the dip
  after      ///< the voltage after the dip: the record begins in the dip
};

/// The voltages that a transformer may pass on: between phases, and of phases without their zero sequence.
enum class SixVoltages { ab, bc, ca, a, b, c };

/// The lowest of six voltages over time during a dip (IEEE Std 1564-2014).
struct LowestOfSix {
  double share = 0;  ///< one-cycle fundamental over its own value before the dip
  SixVoltages which = SixVoltages::ab;
};

struct Course {
  std::optional<Figure> start_s;  ///< none: the record begins in the dip
  std::optional<Figure> end_s;    ///< none: the dip goes on at the record's end
  std::array<std::optional<Figure>, most_phases>
      point_on_wave_degrees;  ///< of each phase's sine at the start, 0 at a
                              ///< rising zero crossing; none if it is gradual
  LevelSource level_source = LevelSource::before;
  Phasors before{};                        ///< volts RMS, carried on through the dip at `frequency`
  double frequency = 0;                    ///< hertz
  std::optional<double> frequency_before;  ///< as far as enough steady voltage lies there to tell
  std::optional<double> frequency_after;
  /// Largest slope of each phase's true one-cycle RMS: its change over half a cycle, divided by that time. Looked for
  /// from a cycle before the start to a cycle after the end, or from and to the record's ends where these are unknown.
  PerPhase steepest_change_v_per_s{};
  std::optional<LowestOfSix> lowest_of_six;  ///< of three voltages between phase and neutral
  std::vector<Segment> segments;
  std::vector<Transition> transitions;
  /// Of the one-cycle windows that are clear of abrupt transitions, how many agree with their segment or lie in a
  /// gradual transition; none where the dip is too short for such a window.
  std::optional<double> explained_share;
};

// --- events ----------------------------------------------------------------------------------------------------------

enum class EventKind { dip, swell, interruption, rapid_voltage_change };

struct Event {
  EventKind kind = EventKind::dip;
  double start_s = 0;           ///< beginning of the window that began it
  bool start_known = true;      ///< false: it is on in the record's first window
  std::optional<double> end_s;  ///< end of the window that ended it; none: it is on in the last window
  double extreme_v = 0;         ///< residual voltage: lowest Urms(1/2) of any voltage; of a swell the highest
  std::size_t extreme_phase = 0;
  double reference_v = 0;  ///< highest of the references of the voltages that crossed the threshold
  PhaseFlags phases{};     ///< the voltages that crossed the threshold
  PerPhase lowest_v{};     ///< of each voltage's Urms(1/2) during the event
  PerPhase highest_v{};
  double delta_max_v = 0;        ///< of a rapid change: largest distance from the steady value before
  double delta_steady_v = 0;     ///< of a rapid change: from the steady value before to that after
  std::optional<Course> course;  ///< of dips
};

/// A change of the voltage that belongs to no event.
struct Change {
  double start_s = 0;
  double end_s = 0;
  PhaseFlags phases{};  ///< the voltages that change
  PerPhase before_v{};  ///< fundamentals, volts RMS
  PerPhase after_v{};
};

}  // namespace measure
