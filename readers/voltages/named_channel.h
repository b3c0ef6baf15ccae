// What a channel's name, phase field and unit say, taken apart once for all who ask.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "readers/record.h"
#include "readers/voltages/phase_names.h"

namespace readers {

struct NamedChannel {
  NamedChannel(const Channel& channel, std::size_t position);

  std::size_t index;             ///< among the record's channels
  std::string name;              ///< in lower case
  std::vector<PhaseMark> marks;  ///< where the name may tell the phase
  std::optional<PairMark> pair;  ///< between which phases it says that the voltage is
  PhaseField field;
  bool has_unit;
  std::optional<double> volts;  ///< in one unit; none for a unit that is none of voltage
  bool of_another_quantity;     ///< by its unit, surely
  bool sounds_like_voltage;     ///< by its name
  bool sounds_like_current;
  bool computed;  ///< a phasor figure and no waveform, by its name
};
using NamedChannels = std::vector<NamedChannel>;

/// One for each channel of a record, in order.
NamedChannels named_channels(const Record& record);

/// Volts in one unit of a channel's samples.
struct VoltsPerUnit {
  double factor = 1;
  bool assumed = false;  ///< the unit does not say it: there is none, or it is that of something else
};

/// No unit, or a wrong one of a channel whose name is a voltage's, is taken for V. Throws ReadError for units that are
/// no voltage.
VoltsPerUnit volts_per_unit(const Record& record, std::size_t channel);

}  // namespace readers
