// Rows that a data file has lost, or has twice, as its time stamps or sample numbers show.
#pragma once

#include <vector>

#include "readers/comtrade/comtrade_config.h"
#include "readers/comtrade/comtrade_data.h"

namespace readers {

/// The record's sections as stated, made to end where the data do.
std::vector<RateSection> fitted_rates(const std::vector<RateSection>& declared, std::size_t length);

/// Puts rows without values where a few are lost, and takes out rows that are there twice, each with a note. Longer
/// holes are left, for the stamps to take the record apart there: where there are none, they are made from the
/// numbers. Returns the sections of what the data are then. `unit`: seconds in one unit of the stamps.
std::vector<RateSection> repair_rows(const ComtradeConfig& config, double unit, ComtradeData& data);

}  // namespace readers
