// The library's limits, for what depends on them and for messages.
#pragma once

#include <cstddef>

#include "sagx/dip_category.h"
#include "sagx/dipx_outcome.h"

namespace analysis::embedded {

/// What one run of the library takes at most.
inline constexpr std::size_t longest_run_cycles = sagx::longest_record_cycles;
inline constexpr std::size_t most_dips_of_a_run = DQ_BOUNDARY_CAPACITY / 2;

/// Dips less than this apart are one.
inline constexpr std::size_t joining_cycles = sagx::joining_cycles;

/// Cycles of record that a dip needs on either side of it.
inline constexpr std::size_t window_margin_cycles = sagx::window_margin_cycles;

/// One more than the window needs, so that the boundaries' moving by some samples does not cost a dip its place.
inline constexpr std::size_t cycles_after_recovery = window_margin_cycles + 1;

/// The short-window analysis measures a gradual fall rightly when the fall lies exactly so far into its record.
inline constexpr std::size_t cycles_before_fall = 5;

/// A dip with its margins is analysed in another way when it has more cycles.
inline constexpr std::size_t longest_short_window_cycles = sagx::longest_short_window_cycles;

/// A dip that is no deeper than this counts only when it has these many cycles.
inline constexpr double least_depth_percent = 100 * sagx::least_depth;
inline constexpr std::size_t shortest_shallow_cycles = sagx::shortest_shallow_cycles;

/// Per cent of nominal that the negative and the zero sequence must have to decide about a category.
inline constexpr double least_negative_sequence_percent = 100 * sagx::least_negative_sequence;
inline constexpr double least_zero_sequence_percent = 100 * sagx::least_zero_sequence;

}  // namespace analysis::embedded
