// Finds and measures the events in the voltages of a record.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "analysis/analysis_options.h"
#include "analysis/choice/record_voltages.h"
#include "analysis/findings.h"
#include "readers/record.h"

namespace analysis {

/// Analyses one to three voltages of a record. If the choice names no set, all live sets are scanned and the one with
/// the worst event is analysed: the lowest residual voltage in per cent of its reference, then the longest dip, then
/// the first set; if there are no dips, the highest swell. `voltages` are those for the choice, whichever set and part
/// it names. Throws the exceptions of RecordVoltages::source and pick_voltages, and Refusal if the record holds too
/// little or does not agree with the options. The result refers to the record's samples.
Analysis analyse(RecordVoltages& voltages, const AnalysisOptions& options);

/// Analyses a record once.
Analysis analyse(const readers::Record& record, const AnalysisOptions& options);

/// A set and a part of a record by their numbers.
struct SetAndPart {
  std::size_t set = 0;
  std::size_t part = 0;
};

/// Names a set and a part: "set 2", "part 3" or "set 2, part 3". A number of 0 is not named.
std::string name_of(const SetAndPart& place);

/// Lists the sets and parts to analyse when all sets, or all parts, are requested. Throws as `analyse` does.
std::vector<SetAndPart> all_of(RecordVoltages& voltages, const VoltageChoice& choice, bool all_sets, bool all_parts);

}  // namespace analysis
