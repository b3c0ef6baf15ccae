// Finds changes of the voltage that belong to no event, because they are too small or have the wrong direction.
#pragma once

#include <vector>

#include "measure/course.h"
#include "measure/findings.h"

namespace measure {

/// Returns changes of a fundamental by more than 3 % of its usual level within two cycles. Events and the two cycles
/// before and after them are left out.
std::vector<Change> changes_without_event(const Supply& supply, const std::vector<Event>& events);

}  // namespace measure
