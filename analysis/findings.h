// What was found in one record. Voltages are the record's own; positions count the analysed samples, which
// AnalysedVoltages turns into the record's seconds and samples.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "analysis/analysed_voltages.h"
#include "analysis/waveform.h"

namespace analysis {

/// Why a dip has no results, in the order in which the reasons are looked for.
enum class Obstacle {
  none,
  not_recovered,    ///< still below the threshold at the record's end
  near_start,       ///< too little of the record before it
  near_end,         ///< too little of the record behind it
  too_shallow,      ///< neither deep nor long enough
  unstable,         ///< the RMS fluctuates in more than half of the half-cycles round it
  too_long,         ///< its window is longer than the library holds
  not_segmented,    ///< its segments could not be told apart
  unsteady_before,  ///< the first two cycles of its stretch are not steady
  not_found_again   ///< it does not cross the threshold of its own stretch
};

/// A name for machines ("too_shallow") and a sentence for people.
struct ObstacleText {
  const char* code;
  std::string sentence;
};
ObstacleText describe(Obstacle obstacle);

/// A stretch of a dip in which the voltage stays about the same: from the end of one transition to the start of the
/// next.
struct Segment {
  Stretch samples;
  std::array<double, 3> residual{};    ///< lowest magnitude of each phase, volts RMS
  std::array<double, 3> phase_jump{};  ///< at that place, against the angle before the dip; degrees in (-180, 180]
  int category = 10;                   ///< code, see dip_category_name
  int low_count = 0;                   ///< phases below the threshold
  int low_mask = 0;                    ///< which: 1 = A, 2 = B, 4 = C
  double unbalance = 0;                ///< largest ratio of negative to positive sequence, per cent
};

/// The fundamental of one phase.
struct PhasePhasor {
  double volts = 0;    ///< RMS
  double degrees = 0;  ///< against phase A, in (-180, 180]
};

struct Dip {
  std::size_t start = 0;               ///< first sample below the threshold
  std::optional<std::size_t> end;      ///< first sample back at it; none when the record ends before
  std::array<double, 3> lowest{};      ///< lowest one-cycle RMS of each phase during the dip, volts
  double lowest_of_highest = 0;        ///< lowest that all three stood at or below at once, volts
  Stretch stretch;                     ///< what was analysed for it; empty when it could not be
  bool gradual_fall_doubtful = false;  ///< less than five steady cycles lie before it
  Obstacle obstacle = Obstacle::none;
  std::array<PhasePhasor, 3> before{};  ///< fundamental of each phase ahead of the dip, a cycle long
  std::optional<double> frequency;      ///< ahead of the dip, hertz, where it is so far off that it matters
  // What follows is there when nothing stood in the way.
  std::optional<std::array<double, 3>> point_on_wave;  ///< of each phase's sine at the start of the dip, degrees
  std::array<double, 3>
      voltage_change{};  ///< steepest change of each phase's RMS over the first transition, volts per second
  std::vector<Segment> segments;
};

/// What the user says that the voltage should be.
struct DeclaredVoltage {
  double given = 0;        ///< volts, as the user gave it
  bool line = false;       ///< it is a voltage between phases, as the record's level shows
  bool secondary = false;  ///< it was divided by the transformers' ratio, as the record holds secondary values
  double level = 0;        ///< volts RMS that the analysed voltages should have
};

struct Analysis {
  AnalysedVoltages voltages;
  Waveform waveform;             ///< the samples as they were analysed: volts times `level_factor`
  double level_factor = 1;       ///< what the samples were multiplied by for the analysis
  double pre_event_voltage = 0;  ///< volts RMS of the lowest phase over the first two cycles
  double threshold = 0;          ///< volts
  std::optional<DeclaredVoltage> declared;
  std::vector<Dip> dips;
  std::vector<std::string> notes;  ///< one sentence each
  std::string report;              ///< the library's report of the whole record, when it was asked for

  /// A voltage in per cent of the pre-event voltage, and of the declared one where there is one.
  [[nodiscard]] double percent(double volts) const { return 100 * volts / pre_event_voltage; }
  [[nodiscard]] std::optional<double> percent_of_declared(double volts) const {
    return declared ? std::optional(100 * volts / declared->level) : std::nullopt;
  }
};

}  // namespace analysis
