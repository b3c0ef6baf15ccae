// Describes an event in the terms of the field: residual voltage and depth in per cent, duration, and words for its
// kind and its reference.
#pragma once

#include "analysis/findings.h"
#include "assess/event_terms.h"

namespace analysis {

using assess::EventTerms;

/// Describes an event in per cent of its reference and in seconds.
EventTerms terms_of(const measure::Event& event, const Analysis& analysis);

/// Returns the kind for programs: "dip", "swell", "interruption" or "rapid_voltage_change".
const char* kind_code(measure::EventKind kind);
/// Returns the kind for people: "rapid voltage change".
const char* kind_words(measure::EventKind kind);

/// Returns the reference of an event's percentages: "declared voltage", "sliding reference" or "pre-event voltage".
const char* reference_words(measure::Reference reference);
/// Returns the reference as the option names it: "declared", "sliding" or "pre-event".
const char* reference_code(measure::Reference reference);

}  // namespace analysis
