// The embedded library's own results as JSON.
#pragma once

#include <nlohmann/json.hpp>

#include "analysis/analysed_voltages.h"
#include "analysis/embedded/library_results.h"

namespace outputs {

/// An object with `refusal`, or with `dips`. Times are seconds from the record's first sample.
nlohmann::ordered_json library_json(const analysis::embedded::Results& results,
                                    const analysis::AnalysedVoltages& voltages);

}  // namespace outputs
