// Changes of the voltage that are too small, or go the wrong way, to belong to an event.
#pragma once

#include <vector>

#include "measure/course.h"
#include "measure/findings.h"

namespace measure {

/// Changes of a fundamental by more than 3 % of its usual level within two cycles, outside of events and of two cycles
/// round them.
std::vector<Change> changes_without_event(const Supply& supply, const std::vector<Event>& events);

}  // namespace measure
