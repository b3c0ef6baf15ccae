// Finds and measures what happened to the voltages of a record.
#pragma once

#include <cstddef>
#include <vector>

#include "analysis/analysis_options.h"
#include "analysis/findings.h"
#include "readers/record.h"

namespace analysis {

/// Analyses one to three voltages of a record. Where the choice leaves the set open, every live one is scanned and the
/// one with the worst event is analysed: the lowest residual voltage in per cent of its reference, then the longest
/// dip, then the first set; without dips the highest swell. Throws what pick_voltages throws, and Refusal when the
/// record holds too little or does not agree with the options. The result refers to the record's samples.
Analysis analyse(const readers::Record& record, const AnalysisOptions& options);

/// Sets and parts of a record.
struct SetAndPart {
  std::size_t set = 0;
  std::size_t part = 0;
};

/// What there is to analyse when all sets, or all parts, are asked for. Throws as `analyse` does.
std::vector<SetAndPart> all_of(const readers::Record& record, const VoltageChoice& choice, bool all_sets,
                               bool all_parts);

}  // namespace analysis
