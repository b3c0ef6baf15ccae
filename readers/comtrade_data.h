// The data (.dat) file of a COMTRADE record: one row of stored values per sampling moment.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "readers/comtrade_config.h"
#include "readers/file_access.h"

namespace readers {

struct ComtradeData {
  std::size_t rows = 0;
  std::vector<std::vector<double>> samples;  ///< scaled, per analog channel; NaN where marked as missing
  std::vector<double> stamps;                ///< of each row as stored; NaN where there is none
  bool stamps_agree = false;                 ///< with the record's only rate, from row to row; `stamps` is empty then
  std::vector<std::string> notes;
};

/// Reads the content of a .dat file, as many rows as there are. `wanted`: of each analog channel, whether its samples
/// are; those of others stay empty. `file` is the file's name for messages. Throws ReadError.
ComtradeData read_comtrade_data(const std::string& file, std::string_view content, const ComtradeConfig& config,
                                const std::vector<bool>& wanted);

/// The same from a file that is read as it is gone through.
ComtradeData read_comtrade_data(const std::string& file, FileStream& stream, const ComtradeConfig& config,
                                const std::vector<bool>& wanted);

}  // namespace readers
