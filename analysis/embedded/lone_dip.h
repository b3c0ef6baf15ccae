// One dip's analysis in a stretch of its own.
#pragma once

#include <cstddef>

#include "analysis/findings.h"

namespace analysis::embedded {

/// The short-window analysis measures a gradual fall rightly when the fall lies exactly five cycles into its record.
inline constexpr std::size_t cycles_before_fall = 5;

/// Analyses a dip of `analysis` that has recovered. `limits`: how far its stretch may reach, from the recovery before
/// to the fall behind.
void analyse_alone(Dip& dip, Analysis& analysis, const Stretch& limits);

}  // namespace analysis::embedded
