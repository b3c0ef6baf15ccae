// The course of a dip on the waveform, as text for people.
#pragma once

#include <string>

#include "analysis/findings.h"
#include "outputs/colours.h"
#include "readers/record.h"

namespace outputs {

/// When it began and ended on the waveform, its transitions and segments in order of time, and how much of the waveform
/// they explain. Lines of at most 80 columns, indented, ending in "\n". The dip must have a course.
std::string course_text(const readers::Record& record, const analysis::Analysis& analysis, const measure::Event& dip,
                        const Colours& colours);

}  // namespace outputs
