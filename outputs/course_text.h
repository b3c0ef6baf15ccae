// Describes the course of a dip on the waveform as text for people.
#pragma once

#include <string>

#include "analysis/findings.h"
#include "outputs/colours.h"
#include "readers/record.h"

namespace outputs {

/// Returns the times of the dip on the waveform, its transitions and segments in order of time, and the share of the
/// waveform that they explain. Lines have at most 80 columns, are indented and end in "\n". The dip must have a course.
std::string course_text(const readers::Record& record, const analysis::Analysis& analysis, const measure::Event& dip,
                        const Colours& colours);

}  // namespace outputs
