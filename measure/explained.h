// Computes how much of a dip's waveform its segments explain.
#pragma once

#include <optional>
#include <vector>

#include "measure/excerpt.h"
#include "measure/findings.h"
#include "measure/phasor_fit.h"

namespace measure {

/// Compares the fundamental of each one-cycle window between two times with its segment. The window agrees with a
/// steady segment if each phase is within 2 % of its level of the segment's voltage, and with a gradual segment if the
/// voltage changes by more than 2 % from its beginning to its end. Windows within 1.25 cycles of a transition are left
/// out; windows in no segment are not explained. Returns nothing if no window is left. Gradual transitions are passed
/// as gradual segments. The segments are in order of time. The voltages of the segments and of `before` are in units of
/// the excerpt.
std::optional<double> explained_share(const Excerpt& excerpt, const std::vector<Segment>& segments,
                                      const Phasors& before, double start_s, double end_s);

/// Returns whether the one-cycle windows at the beginning and at the end of a time differ by more than 2 %.
bool changes(const Excerpt& excerpt, double start_s, double end_s, const Phasors& before);

/// Returns whether a voltage changes by a tenth or more of its usual peak within a time of at least 3 cycles, and does
/// so almost wholly within one cycle.
bool hides_step(const Excerpt& excerpt, double start_s, double end_s);

/// Returns whether the waveform agrees with a steady segment: all but a few of its one-cycle windows have the segment's
/// voltage, or are explained by the segment's fit, which includes decaying offsets.
bool is_borne_out(const Excerpt& excerpt, const Segment& segment, const PhasorFit& fit, const Phasors& before);

/// Returns the time in a steady segment from which its one-cycle windows agree with it and stay so for half a cycle;
/// the segment's start if that is later than `latest_s`.
double settled_s(const Excerpt& excerpt, const Segment& segment, double latest_s, const Phasors& before);

}  // namespace measure
