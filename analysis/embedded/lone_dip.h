// One dip's analysis in a stretch of its own.
#pragma once

#include "analysis/findings.h"

namespace analysis::embedded {

/// Analyses a dip of `analysis` that has recovered. `limits`: how far its stretch may reach, from the recovery before
/// to the fall behind.
void analyse_alone(Dip& dip, Analysis& analysis, const Stretch& limits);

}  // namespace analysis::embedded
