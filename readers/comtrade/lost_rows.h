// Finds rows that a data file has lost or contains twice, using its time stamps or sample numbers.
#pragma once

#include <vector>

#include "readers/comtrade/comtrade_config.h"
#include "readers/comtrade/comtrade_data.h"

namespace readers {

/// Returns the record's sections as stated, fitted to the number of rows in the data.
std::vector<RateSection> fitted_rates(const std::vector<RateSection>& declared, std::size_t length);

/// Inserts rows without values where a few are lost and removes rows that are present twice; each change is noted.
/// Longer gaps are left, because the stamps will split the record there; if there are no stamps, they are made from the
/// numbers. Returns the sections of the edited data. `unit` is the number of seconds in one unit of the stamps.
std::vector<RateSection> repair_rows(const ComtradeConfig& config, double unit, ComtradeData& data);

}  // namespace readers
