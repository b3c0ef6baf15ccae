// Says between which voltages a record stays.
#pragma once

#include <string>

#include "analysis/findings.h"

namespace outputs {

/// "Urms(1/2) from 99.2 % (A) to 100.4 % (C) of the pre-event voltage": what a record without events shows instead.
/// Empty where a voltage or its reference is not known.
std::string rms_range_text(const analysis::Analysis& analysis);

}  // namespace outputs
