// Which part of a record is analysed.
#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "analysis/choice/noted.h"
#include "readers/record.h"
#include "readers/voltages/parts.h"

namespace analysis {

/// Missing values are left out of all figures. A gap of more cycles than this divides the record, because the voltage
/// within such a gap is not known.
inline constexpr double longest_gap_cycles = 25;

/// The reason for which a part was chosen.
enum class PartReason {
  named,  ///< by the user
  longest,
  holds_trigger,
  holds_dip
};

struct ChosenPart {
  readers::Part part;
  std::size_t number = 1;  ///< of `of`, from 1
  std::size_t of = 1;
  PartReason reason = PartReason::longest;
};

/// Returns one of the parts of some channels: the one with the user's number; for 0 the one around the trigger, or the
/// longest one that can be analysed. Parts with a dip are preferred to parts without one and to parts that begin within
/// one. Throws UnknownChoice, and readers::ReadError if the voltages have no values.
Noted<ChosenPart> choose_part(const readers::Record& record, const std::array<std::size_t, 3>& channels,
                              const std::vector<readers::Part>& parts, double line_frequency, std::size_t wanted);

}  // namespace analysis
