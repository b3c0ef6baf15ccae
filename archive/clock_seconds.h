// Converts the dates and times in a store to seconds, so that events can be compared.
#pragma once

#include <optional>
#include <string>

namespace archive {

/// Returns the seconds from 1970-01-01 of "2014-01-08T12:30:06.250000+05:30"; without an offset, as if the time were
/// UTC. Nothing for other texts.
std::optional<double> clock_seconds(const std::string& clock);

}  // namespace archive
