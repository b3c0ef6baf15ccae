// Telling whoever waits what is being done.
#pragma once

#include <functional>
#include <string>

namespace analysis {

/// Hears what is being done and how much of it is done, 0 to 1; below 0 where nobody knows.
using StageReport = std::function<void(const std::string& what, double done)>;

/// For nobody.
inline void no_report(const std::string& /*what*/, double /*done*/) {}

}  // namespace analysis
