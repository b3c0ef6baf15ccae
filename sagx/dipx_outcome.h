// Records the outcome of the last analysis and of each dip, and provides the boundary search alone. Private: hosts of
// the shared object learn of this only through printed lines. The command and the tests link the same code statically
// and read this record, so that they need not parse those lines or repeat the driver's rules.
#pragma once

#include "sagx/dq_dipx.h"

namespace sagx {

/// Pre-event levels, volts RMS, that the analysis accepts as plausible; it replaces other levels by a usual nominal
/// voltage.
inline constexpr double lowest_plausible_voltage = 50.0;
inline constexpr double highest_plausible_voltage = 400.0;

/// Largest number of cycles in one record.
inline constexpr int longest_record_cycles = 3000;

/// Dips less than this far apart are joined into one.
inline constexpr int joining_cycles = 10;

/// Number of cycles that the record must have on either side of a dip.
inline constexpr int window_margin_cycles = 4;

/// Windows of more cycles than this are analysed by the long-window stages.
inline constexpr unsigned longest_short_window_cycles = 500;

/// A dip no deeper than this fraction of nominal counts only if it lasts at least this number of cycles.
inline constexpr double least_depth = 0.14;
inline constexpr unsigned shortest_shallow_cycles = 5;

/// The outcome of the run as a whole.
enum class RunOutcome {
  not_run,            ///< nothing has been analysed yet
  no_memory,          ///< a working record could not be allocated
  rate_out_of_range,  ///< not 32 to 128 samples per cycle
  too_many_samples,   ///< more than DQ_RECORD_CAPACITY samples
  too_many_cycles,    ///< more than longest_record_cycles
  no_samples,         ///< a sample array was missing
  too_few_samples,    ///< less than two cycles
  disturbed_start,    ///< the first two cycles are not steady, so the boundaries found were discarded
  searched,           ///< boundaries were found; the dips were not requested
  analysed            ///< each dip was processed; see its own outcome
};

/// The outcome of one dip.
enum class DipOutcome {
  not_reached,      ///< the run ended before this dip
  window_too_long,  ///< the window is longer than DQ_RECORD_CAPACITY samples
  window_at_edge,   ///< the record has less than window_margin_cycles before or after the dip
  too_shallow,      ///< it is not deeper than least_depth and is shorter than shortest_shallow_cycles
  unstable,         ///< more than half of the record's half-cycles fluctuate
  not_segmented,    ///< there is no valid segmentation; the dip has boundaries but no features
  analysed
};

struct Dip {
  DipOutcome outcome = DipOutcome::not_reached;
  bool long_window = false;  ///< its window exceeds longest_short_window_cycles, so the long-window stages analysed it
};

struct Outcome {
  RunOutcome run = RunOutcome::not_run;
  Dip dips[DQ_LIST_CAPACITY] = {};  ///< one per dip, as in new_dipx_buf
};

/// The outcome of the latest run; each run overwrites it.
extern Outcome last_outcome;

/// Runs the analysis up to and including the boundary search on the current input: working records, input checks,
/// nominal voltage, RMS curves and dip boundaries in dq_rms_buf. Prints the same lines as the whole analysis. Returns
/// true if the boundaries are valid (RunOutcome::searched).
bool search_dips();

}  // namespace sagx
