// One record's analysis as the command reports it: everything in the record's own volts, seconds and positions.
#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "readers/record.h"
#include "readers/voltage_set.h"

namespace command {

/// Why a dip has no results, in the order in which the reasons are looked for.
enum class Obstacle {
  none,
  not_recovered,    ///< still below the threshold at the record's end
  near_start,       ///< less than four cycles of record before it
  near_end,         ///< less than four cycles of record behind it
  too_shallow,      ///< less than 14 % deep and shorter than five cycles
  unstable,         ///< the RMS fluctuates in more than half of the half-cycles round it
  too_long,         ///< its window is longer than the library holds
  not_segmented,    ///< its segments could not be told apart
  unsteady_before,  ///< the first two cycles of its stretch are not steady
  not_found_again   ///< it does not cross the threshold of its own stretch
};

/// A name for machines ("too_shallow") and a sentence for people.
struct ObstacleText {
  const char* code;
  const char* sentence;
};
ObstacleText describe(Obstacle obstacle);

/// A stretch of the record from its first sample to, not including, `end`.
struct Stretch {
  std::size_t begin = 0;
  std::size_t end = 0;
};

/// A stretch of a dip in which the voltage stays about the same: from the end of one transition to the start of the
/// next.
struct Segment {
  Stretch samples;                     ///< record positions
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
  // What follows is there when nothing stood in the way.
  std::optional<std::array<double, 3>> point_on_wave;  ///< of each phase's sine at the start of the dip, degrees
  std::array<double, 3>
      voltage_change{};  ///< steepest change of each phase's RMS over the first transition, volts per second
  std::vector<Segment> segments;
};

struct Analysis {
  std::array<std::size_t, 3> channels{};  ///< indices into the record's channels
  double sampling_rate = 0;               ///< samples per second
  double line_frequency = 0;              ///< hertz
  int samples_per_cycle = 0;
  double level_factor = 1;       ///< what the samples were multiplied by for the analysis
  double pre_event_voltage = 0;  ///< volts RMS of the lowest phase over the first two cycles
  double threshold = 0;          ///< volts
  std::vector<Dip> dips;
  std::vector<std::string> notes;  ///< one sentence each
  std::string report;              ///< the library's report of the whole record, when it was asked for
};

struct AnalysisOptions {
  std::string channels;       ///< "A,B,C" as channel names or numbers; empty: found by phase letter and unit
  double line_frequency = 0;  ///< hertz, over what the file says; 0: not given
  bool report = false;        ///< have the library write its report
  bool trace = false;         ///< show the library's lines on standard error
  /// Hears what is being done and how much of it is done, 0 to 1.
  std::function<void(const std::string& what, double done)> progress;
};

/// The channels that the user named are not in the record.
class UnknownChannels : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// Analyses the three phase voltages of a record. Throws Refusal when the analysis does not take it, UnknownChannels or
/// readers::ReadError when it has no usable voltages.
Analysis analyse(const readers::Record& record, const AnalysisOptions& options);

}  // namespace command
