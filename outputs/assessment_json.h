// The assessment of an event as JSON: verdicts and classes.
#pragma once

#include <nlohmann/json.hpp>

#include "analysis/findings.h"

namespace outputs {

/// A list with the verdict of each curve that is made for the event.
nlohmann::ordered_json verdicts_json(const measure::Event& event, const analysis::Analysis& analysis);

/// An object with the classes of a dip or a swell; a class is null if the event has none.
nlohmann::ordered_json classes_json(const measure::Event& event, const analysis::Analysis& analysis);

}  // namespace outputs
