// Computes voltages between phases that no channel holds.
#pragma once

#include "analysis/measured_waveform.h"

namespace analysis {

/// Replaces three phase voltages by the voltages AB, BC and CA between them.
void make_line_voltages(MeasuredWaveform& measured);

/// Adds the third voltage between phases to two of them, because the three add up to zero.
void close_triangle(MeasuredWaveform& measured);

}  // namespace analysis
