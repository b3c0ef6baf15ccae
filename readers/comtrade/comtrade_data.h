// The data (.dat) file of a COMTRADE record: one row of stored values per sampling moment.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "readers/comtrade/comtrade_config.h"
#include "readers/file_access.h"

namespace readers {

/// A row whose number is not the next one after that of the row before.
struct NumberJump {
  std::size_t row = 0;
  double before = 0;
  double number = 0;
};

/// What the rows' own numbers tell. Some programs number every row alike or not at all, or by twos, or the rows of each
/// sampling rate anew: only where nearly all go on by one do they tell anything.
struct RowNumbers {
  bool regular = true;  ///< `jumps` has all there are; otherwise it is empty
  std::vector<NumberJump> jumps;

  void take_jump(std::size_t row, double before, double number);
};

struct ComtradeData {
  std::size_t rows = 0;
  std::vector<std::vector<double>> samples;  ///< scaled, per analog channel; NaN where marked as missing
  std::vector<double> stamps;                ///< of each row as stored; NaN where there is none
  bool stamps_agree = false;                 ///< with the record's only rate, from row to row; `stamps` is empty then
  RowNumbers numbers;
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
