// What every JSON document says of a record and its channels in the same members.
#pragma once

#include <nlohmann/json.hpp>

#include "readers/record.h"

namespace outputs {

/// Adds `side` of the transformer and its ratio.
void add_side(nlohmann::ordered_json& json, const readers::Channel& channel);

/// Where the record comes from: `file` to `start_time`.
nlohmann::ordered_json origin_of(const readers::Record& record);

}  // namespace outputs
