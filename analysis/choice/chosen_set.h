// Chooses the channels that are analysed.
#pragma once

#include <cstddef>
#include <vector>

#include "analysis/choice/noted.h"
#include "analysis/choice/voltage_choice.h"
#include "readers/record.h"
#include "readers/voltages/voltage_set.h"

namespace analysis {

/// Returns the channels of a record whose samples an analysis of a choice needs, voltages and currents; for
/// readers::OpenOptions.
std::vector<bool> channels_to_read(const readers::Record& record, const VoltageChoice& choice);

/// Returns the voltages among them, for an analysis that shows nothing of the currents.
std::vector<bool> voltages_to_read(const readers::Record& record, const VoltageChoice& choice);

struct ChosenSet {
  readers::VoltageSet set;
  std::size_t number = 0;  ///< among `of`; 0 when the user named the channels
  std::size_t of = 0;      ///< voltage sets of this kind in the record
  bool compute = false;    ///< voltages between phases are requested and have to be computed from these phase voltages
};

/// Returns the sets of the wanted kind, from which a choice selects one; none when the user named the channels.
std::vector<readers::VoltageSet> sets_for(const readers::Record& record, const VoltageChoice& choice);

/// Set 0 is the first one. `sets` are those for the choice, whichever set it names. Throws UnknownChoice, and
/// readers::ReadError when there are no usable voltages.
Noted<ChosenSet> choose_set(const readers::Record& record, const VoltageChoice& choice,
                            const std::vector<readers::VoltageSet>& sets);

}  // namespace analysis
