// The voltages of a record from which a choice selects, and the currents that belong to them.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <vector>

#include "analysis/choice/chosen_set.h"
#include "analysis/choice/noted.h"
#include "analysis/choice/voltage_choice.h"
#include "readers/record.h"
#include "readers/voltages/bay_currents.h"
#include "readers/voltages/parts.h"
#include "readers/voltages/voltage_set.h"

namespace analysis {

/// A set of voltages before one of its parts is chosen.
struct VoltageSource {
  ChosenSet chosen;
  double line_frequency = 0;  ///< hertz
  std::vector<readers::Part> parts;
  Notes notes;  ///< on how the set and the line frequency were determined
};

/// Finds the sets of voltages in a record and divides each set that is asked for into parts, both only once: a record
/// may have as many sets as channels and thousands of parts, and a search for the worst event visits all of them.
class RecordVoltages {
 public:
  /// Refers to `record`. Of the choice, the numbers of set and part are ignored here.
  RecordVoltages(const readers::Record& record, const VoltageChoice& choice);

  [[nodiscard]] const readers::Record& record() const { return record_; }

  /// Numbers of the sets that are worth analysing; none when the user named the channels.
  [[nodiscard]] std::vector<std::size_t> live_sets() const;

  /// Set 0 is the first one. The reference stays valid as long as this object. Throws UnknownChoice, and
  /// readers::ReadError when there are no usable voltages.
  const VoltageSource& source(std::size_t set);

  /// Returns the currents in the bay of voltages; nothing if they are not known or their samples were not read.
  std::optional<readers::BayCurrents> currents_of(const readers::VoltageSet& voltages);

 private:
  const readers::Record& record_;
  VoltageChoice choice_;
  std::vector<readers::VoltageSet> sets_;
  std::map<std::size_t, VoltageSource> sources_;
  std::optional<readers::Bays> bays_;
};

}  // namespace analysis
