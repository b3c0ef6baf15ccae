// What became of the last analysis and of each of its dips, and the boundary search on its own.
// Private: hosts of the shared object are told by printed lines alone. The command and the tests link the same code
// statically and read this record, so that nobody has to parse those lines or to repeat the driver's rules.
#pragma once

#include "sagx/dq_dipx.h"

namespace sagx {

/// Pre-event levels, volts RMS, that the analysis takes for what they are; it replaces others by a usual nominal
/// voltage.
inline constexpr double lowest_plausible_voltage = 50.0;
inline constexpr double highest_plausible_voltage = 400.0;

/// Cycles that one record may have.
inline constexpr int longest_record_cycles = 3000;

/// Dips less than this apart are one.
inline constexpr int joining_cycles = 10;

/// Cycles of record that a dip needs on either side of it.
inline constexpr int window_margin_cycles = 4;

/// Windows of more cycles are analysed the long way.
inline constexpr unsigned longest_short_window_cycles = 500;

/// A dip that is no deeper than this share of nominal counts only when it has these many cycles.
inline constexpr double least_depth = 0.14;
inline constexpr unsigned shortest_shallow_cycles = 5;

/// How the run as a whole ended.
enum class RunOutcome {
  not_run,            ///< nothing was analysed yet
  no_memory,          ///< a working record could not be allocated
  rate_out_of_range,  ///< not 32 to 128 samples per cycle
  too_many_samples,   ///< more than DQ_RECORD_CAPACITY samples
  too_many_cycles,    ///< more than longest_record_cycles
  no_samples,         ///< a sample array was missing
  too_few_samples,    ///< less than two cycles
  disturbed_start,    ///< the first two cycles are not steady: the boundaries found were discarded
  searched,           ///< boundaries found; the dips were not asked for
  analysed            ///< each dip went through; see its own outcome
};

/// What became of one dip.
enum class DipOutcome {
  not_reached,      ///< the run ended before it
  window_too_long,  ///< window longer than DQ_RECORD_CAPACITY samples
  window_at_edge,   ///< less than window_margin_cycles of record before or behind it
  too_shallow,      ///< not deeper than least_depth and shorter than shortest_shallow_cycles
  unstable,         ///< more than half of the record's half-cycles fluctuate
  not_segmented,    ///< no valid segmentation: it has boundaries but no features
  analysed
};

struct Dip {
  DipOutcome outcome = DipOutcome::not_reached;
  bool long_window = false;  ///< its window exceeds longest_short_window_cycles, so it went the long way
};

struct Outcome {
  RunOutcome run = RunOutcome::not_run;
  Dip dips[DQ_LIST_CAPACITY] = {};  ///< one per dip, as in new_dipx_buf
};

/// Of the latest run; rewritten by each.
extern Outcome last_outcome;

/// The analysis up to and with the boundary search, for the input that is set: working records, input checks, nominal
/// voltage, RMS curves and dip boundaries in dq_rms_buf. Prints the same lines as the whole analysis. True when the
/// boundaries are valid (RunOutcome::searched).
bool search_dips();

}  // namespace sagx
