// The information in a channel's name, phase field and unit, extracted once for all users of it.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "readers/record.h"
#include "readers/voltages/phase_names.h"

namespace readers {

/// What the name, the phase field and the unit of a channel say.
struct NamedChannel {
  /// Reads them from a channel; `position` is its index among the record's channels.
  NamedChannel(const Channel& channel, std::size_t position);

  std::size_t index;              ///< index among the record's channels
  std::string name;               ///< the name in lower case
  std::vector<PhaseMark> marks;   ///< places in the name that may give the phase
  std::optional<PairMark> pair;   ///< the two phases between which the name says that the voltage is
  PhaseField field;               ///< what the phase field says
  bool has_unit;                  ///< the file gives a unit
  std::optional<double> volts;    ///< volts in one unit; nothing if the unit is not a unit of voltage
  std::optional<double> amperes;  ///< amperes in one unit; nothing if the unit is not a unit of current
  bool of_another_quantity;       ///< the unit is certainly that of another quantity
  bool sounds_like_voltage;       ///< the name suggests a voltage
  bool sounds_like_current;       ///< the name suggests a current
  bool computed;                  ///< the name says that it is a phasor quantity, not a waveform
};
/// All channels of a record, in order.
using NamedChannels = std::vector<NamedChannel>;

/// Returns one entry for each channel of a record, in order.
NamedChannels named_channels(const Record& record);

/// The number of volts in one unit of a channel's samples.
struct VoltsPerUnit {
  double factor = 1;     ///< volts in one unit
  bool assumed = false;  ///< the unit does not give the factor: it is missing or belongs to another quantity
};

/// Returns the factor to volts. V is assumed if the channel has no unit, or if its name is that of a voltage but its
/// unit is not. Throws ReadError for any other unit that is not a unit of voltage.
VoltsPerUnit volts_per_unit(const Record& record, std::size_t channel);

}  // namespace readers
