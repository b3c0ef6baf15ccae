// Which three channels are analysed.
#pragma once

#include <cstddef>
#include <vector>

#include "analysis/choice/noted.h"
#include "analysis/choice/voltage_choice.h"
#include "readers/record.h"
#include "readers/voltages/voltage_set.h"

namespace analysis {

/// Which channels of a record have to be read for a choice; for readers::OpenOptions.
std::vector<bool> channels_to_read(const readers::Record& record, const VoltageChoice& choice);

struct ChosenSet {
  readers::VoltageSet set;
  std::size_t number = 0;  ///< among `of`; 0 when the user named the channels
  std::size_t of = 0;      ///< voltage sets of this kind in the record
  bool compute = false;    ///< voltages between phases are wanted, and these are phase voltages to compute them from
};

/// Numbers of the sets that are worth analysing, for a choice without channels; empty when the user named channels.
std::vector<std::size_t> live_sets(const readers::Record& record, const VoltageChoice& choice);

/// Set 0 is the first one. Throws UnknownChoice, and readers::ReadError when there are no usable voltages.
Noted<ChosenSet> choose_set(const readers::Record& record, const VoltageChoice& choice);

}  // namespace analysis
