// The library's globals: what sets its input, runs it, and looks at the records that a run leaves. No other source
// knows the globals. What is returned holds until the next run.
#pragma once

#include "analysis/waveform.h"
#include "sagx/dipx_outcome.h"
#include "sagx/dq_dipx.h"

namespace analysis::embedded {

/// Searches a stretch of the waveform for dips, by the level of the stretch's first two cycles.
sagx::RunOutcome search(Waveform& waveform, int samples_per_cycle, const Stretch& stretch);

/// Searches another stretch by the threshold of the search before.
void search_on(const Waveform& waveform, const Stretch& stretch);

/// Searches a stretch and analyses its dips.
const sagx::Outcome& run(Waveform& waveform, int samples_per_cycle, const Stretch& stretch);

/// Gives the working records back, so that the next run begins with zeros.
void forget();

/// The stretch that was searched last.
const dq_dipx_rms& searched();

/// The window of the dip that was analysed last.
dq_data& window();

/// What the last run found of a dip, counted from 0.
const dq_dipx_struct& result_of(int dip);

}  // namespace analysis::embedded
