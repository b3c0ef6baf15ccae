// The assessment of an event for people: verdicts, classes and indices, one sentence each.
#pragma once

#include <string>

#include "analysis/findings.h"

namespace outputs {

/// Lists the curves by verdict: "Rides through: ITIC; trips: SEMI F47". Curves that do not cover the event are listed
/// with their reason. Empty for an event that no curve judges.
std::string verdicts_sentence(const measure::Event& event, const analysis::Analysis& analysis);

/// Names the classes of a dip or a swell: "cell D2 of EN 50160, IEEE 1159 instantaneous sag"; empty without a class.
std::string classes_sentence(const measure::Event& event, const analysis::Analysis& analysis);

/// Gives the single-event indices of a dip: "dip energy 140.2 ms, lost 12.30 V s, severity 1.43 by ITIC". `index`:
/// number of the event in the findings. Empty without indices.
std::string indices_sentence(std::size_t index, const analysis::Analysis& analysis);

}  // namespace outputs
