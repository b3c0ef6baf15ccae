// Which part of a record is analysed.
#pragma once

#include <array>
#include <cstddef>

#include "analysis/choice/noted.h"
#include "readers/record.h"
#include "readers/voltages/parts.h"

namespace analysis {

/// Missing values are left out of all figures; a gap of more cycles takes a record apart, since nothing can be said of
/// what happened within it.
inline constexpr double longest_gap_cycles = 25;

/// Why a part was chosen.
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

/// The part that the user names by its number, or for 0 the one round the trigger or the longest that will do; but one
/// with a dip comes before those without, and before those that begin within one. Throws UnknownChoice, and
/// readers::ReadError when the voltages have no values.
Noted<ChosenPart> choose_part(const readers::Record& record, const std::array<std::size_t, 3>& channels,
                              double line_frequency, std::size_t wanted);

/// How many parts the channels have.
std::size_t count_parts(const readers::Record& record, const std::array<std::size_t, 3>& channels,
                        double line_frequency);

}  // namespace analysis
