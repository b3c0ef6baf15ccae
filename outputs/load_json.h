// The voltages of a load beyond transformers as JSON.
#pragma once

#include <nlohmann/json.hpp>

#include "analysis/findings.h"

namespace outputs {

/// An object with the transformers, and the events of the load's phase voltages and of those between phases. Voltages
/// are per cent of references, because the ratios of the transformers are not known. Null without a load.
nlohmann::ordered_json load_json(const analysis::Analysis& analysis);

}  // namespace outputs
