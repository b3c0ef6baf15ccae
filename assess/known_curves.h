// The published voltage-tolerance curves.
#pragma once

#include <vector>

#include "assess/curve.h"

namespace assess {

/// Returns the published curves. Durations that a standard gives in cycles are those of the nominal line frequency
/// (hertz, above 0).
///
/// - "itic", "itic_upper": ITI (CBEMA) curve application note, Information Technology Industry Council, 2000. The upper
///   curve begins at one cycle, because shorter events are not measured by their RMS value.
/// - "semi_f47": SEMI F47-0706. It tests dips of one phase and between two phases, and says nothing about three-phase
///   dips.
/// - "iec_class_2", "iec_class_3": IEC 61000-4-11, preferred test levels for dips of electromagnetic environment
/// classes
///   2 and 3. The interruption to 0 % for 250 cycles (300 at 60 Hz) is a test of its own and not a step of the curves.
/// - "ieee_1668": IEEE Std 1668, recommended ride-through for dips of types I and II, and of type III.
std::vector<Curve> known_curves(double line_frequency);

}  // namespace assess
