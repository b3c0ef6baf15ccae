// The data (.dat) file of a COMTRADE record: one row of stored values per sampling moment.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "readers/comtrade_config.h"

namespace readers {

struct ComtradeData {
  std::vector<std::vector<double>> samples;  ///< scaled, per analog channel; NaN where marked as missing
  std::vector<std::string> notes;
};

/// Reads the content of a .dat file, as many rows as there are. `file` is its name for messages. Throws ReadError.
ComtradeData read_comtrade_data(const std::string& file, std::string_view content, const ComtradeConfig& config);

}  // namespace readers
