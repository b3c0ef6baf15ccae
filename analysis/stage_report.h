// Progress reports for a user who waits.
#pragma once

#include <functional>
#include <string>

namespace analysis {

/// Progress callback. It gets the current stage and its progress from 0 to 1, or a negative number if the progress is
/// unknown.
using StageReport = std::function<void(const std::string& what, double done)>;

/// Ignores progress.
inline void no_report(const std::string& /*what*/, double /*done*/) {}

}  // namespace analysis
