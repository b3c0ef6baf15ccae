// Explains the difference between a dip's figures by the standard and those of its waveform.
#pragma once

#include <optional>
#include <string>

#include "analysis/findings.h"

namespace outputs {

/// Returns the duration of a dip on the waveform, seconds; empty if its start or end lies outside of the record.
std::optional<double> waveform_seconds(const measure::Course& course);

/// Gives the reasons why the duration by the standard is longer or shorter than on the waveform, as clauses without a
/// full stop. The dip must have a course.
std::string duration_reasons(const measure::Event& dip, const analysis::Analysis& analysis, bool standard_longer);

}  // namespace outputs
