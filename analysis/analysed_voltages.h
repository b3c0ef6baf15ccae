// What of a record is analysed: which channels, which part of it, at which rate; with what had to be guessed or made up
// said in notes.
#pragma once

#include <array>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

#include "analysis/stage_report.h"
#include "analysis/waveform.h"
#include "readers/record.h"
#include "readers/voltages/parts.h"

namespace analysis {

/// Missing values are bridged over as much of a cycle at most; longer gaps take a record apart.
inline constexpr double longest_bridge_cycles = 0.25;

/// What the user chose.
struct VoltageChoice {
  std::string channels;       ///< "A,B,C" as channel names or numbers; empty: found by phase letter and unit
  std::size_t set = 0;        ///< number of the voltage set as `dipx info` lists them; 0: the first
  bool line_to_line = false;  ///< voltages between phases
  std::size_t part = 0;       ///< number of the record's part; 0: one with a dip, of them the one round the trigger
                              ///< or else the longest
  double line_frequency = 0;  ///< hertz, over what the file says; 0: not given
};

/// The channels, the set or the part that the user named are not in the record.
class UnknownChoice : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

struct AnalysedVoltages {
  std::array<std::size_t, 3> channels{};  ///< indices into the record's channels
  std::array<bool, 3> unit_assumed{};     ///< the channel's unit is none of voltage; its values are taken for volts
  bool between_phases = false;            ///< line-to-line voltages AB, BC, CA
  std::size_t set = 0;                    ///< number among `sets`; 0 when the user named the channels
  std::size_t sets = 0;                   ///< voltage sets of this kind in the record
  readers::Part part;                     ///< of the record
  std::size_t part_number = 1;            ///< of `parts`, from 1
  std::size_t parts = 1;
  double line_frequency = 0;  ///< hertz
  int samples_per_cycle = 0;  ///< of the analysed samples
  double sampling_rate = 0;   ///< of the analysed samples, per second
  bool resampled = false;     ///< from part.rate
  double start = 0;           ///< time of the first analysed sample, seconds from the record's first
  std::size_t length = 0;     ///< analysed samples per phase

  /// Time of an analysed sample, seconds from the record's first.
  [[nodiscard]] double seconds_at(std::size_t sample) const {
    return start + static_cast<double>(sample) / sampling_rate;
  }
  /// The record's sample at or nearest to an analysed one.
  [[nodiscard]] std::size_t record_sample_at(std::size_t sample) const;
};

/// Which channels of a record have to be read for a choice; for readers::OpenOptions.
std::vector<bool> channels_to_read(const readers::Record& record, const VoltageChoice& choice);

/// Picks the voltages and brings them into the form that the library takes, save for their level. Notes, one sentence
/// each, are added to `notes`. Throws UnknownChoice, readers::ReadError when there are no usable voltages, Refusal when
/// the analysis does not take them.
AnalysedVoltages pick_voltages(const readers::Record& record, const VoltageChoice& choice, Waveform& waveform,
                               std::vector<std::string>& notes, const StageReport& report_stage);

}  // namespace analysis
