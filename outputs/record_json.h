// Writes the members that every JSON document has for a record and its channels.
#pragma once

#include <nlohmann/json.hpp>

#include "readers/record.h"

namespace outputs {

/// Adds `side` of the transformer and its ratio.
void add_side(nlohmann::ordered_json& json, const readers::Channel& channel);

/// Adds the origin of the record: the members from `file` to `start_time`.
nlohmann::ordered_json origin_of(const readers::Record& record);

/// Lists the digital channels with their changes.
nlohmann::ordered_json digital_channels_of(const readers::Record& record);

/// The stretch that the user chose: `from_s` and `to_s`, or null.
nlohmann::ordered_json stretch_of(const readers::Record& record);

}  // namespace outputs
