// When something happened, in words: the time of day and the time from the trigger.
#pragma once

#include <string>

#include "readers/record.h"

namespace outputs {

/// "2014-01-08T12:30:06.250000, 12.0 ms after the trigger": the time of day and the time from the trigger, as far as
/// the file gives them; otherwise empty. `seconds` count from the record's first sample.
std::string clock_text(const readers::Record& record, double seconds);

}  // namespace outputs
