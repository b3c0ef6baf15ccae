// Draws events by their magnitude and duration over voltage-tolerance curves.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "archive/report.h"

namespace archive {

/// Returns up to `most` events, the most severe of each kind if there are more.
std::vector<ReportedEvent> drawn_events(const std::vector<ReportedEvent>& events, std::size_t most);

/// Returns an SVG with a point for each event over the curves ITIC and SEMI F47. Events whose duration is not known are
/// open circles at the duration that was recorded. `link`: the address of a page about an event; empty if there is
/// none.
std::string scatter_svg(const std::vector<ReportedEvent>& events,
                        const std::function<std::string(const ReportedEvent&)>& link);

}  // namespace archive
