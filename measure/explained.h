// How much of a dip's waveform its segments explain.
#pragma once

#include <optional>
#include <vector>

#include "measure/excerpt.h"
#include "measure/findings.h"
#include "measure/phasor_fit.h"

namespace measure {

/// The fundamental of each one-cycle window between two times is held against the segment that it lies in. It agrees
/// with a steady segment when each phase is within 2 % of its level of the segment's voltage, with a gradual one when
/// the voltage changes by more than 2 % from its beginning to its end. Windows within 1.25 cycles of a transition are
/// left out; any others are not explained. Nothing is returned when no window is left. Gradual transitions are given as
/// gradual segments. The segments are in order of time. The voltages of the segments and of `before` are in units of
/// the excerpt.
std::optional<double> explained_share(const Excerpt& excerpt, const std::vector<Segment>& segments,
                                      const Phasors& before, double start_s, double end_s);

/// Whether the one-cycle windows at the beginning and at the end of a time differ by more than 2 %.
bool changes(const Excerpt& excerpt, double start_s, double end_s, const Phasors& before);

/// Whether the waveform bears out a steady segment: all but a few of the one-cycle windows within it agree with its
/// voltage, or are explained by the fit that it comes from, which knows of decaying offsets.
bool is_borne_out(const Excerpt& excerpt, const Segment& segment, const PhasorFit& fit, const Phasors& before);

}  // namespace measure
