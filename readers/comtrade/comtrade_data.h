// The data (.dat) file of a COMTRADE record, which has one row of stored values for each sampling instant.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "readers/comtrade/comtrade_config.h"
#include "readers/even_times.h"
#include "readers/file_access.h"

namespace readers {

/// A row whose number is not the successor of the previous row's number.
struct NumberJump {
  std::size_t row = 0;
  double before = 0;
  double number = 0;
};

/// Where the rows' own numbers jump. Some programs give every row the same number or none, count in twos, or restart
/// with each sampling rate; the numbers are therefore conclusive only if nearly all of them increase by one.
struct RowNumbers {
  bool regular = true;  ///< `jumps` lists every jump; otherwise it is empty
  std::vector<NumberJump> jumps;

  void take_jump(std::size_t row, double before, double number);
};

/// The states of all digital channels from a row on.
struct DigitalStates {
  std::size_t row = 0;
  std::vector<bool> states;
};

struct ComtradeData {
  std::size_t rows = 0;
  std::vector<std::vector<double>> samples;  ///< scaled, per analog channel; NaN where a value is marked as missing
  std::vector<double> stamps;                ///< stamp of each row as stored; NaN where a row has none
  /// Every step matches the record's only rate within a tolerance. `stamps` is then empty, and `knots` has the times of
  /// some rows.
  bool stamps_agree = false;
  std::vector<TimeKnot> knots;
  double contradicting_rate = 0;        ///< the rate of stamps that agree step by step but not in sum; 0: they do
  std::vector<DigitalStates> digitals;  ///< of the first row and of each row that changes them, if they were wanted
  RowNumbers numbers;
  std::vector<std::string> notes;
};

struct WantedData {
  std::vector<bool> analogs;  ///< whether the samples of each analog channel are wanted
  bool digitals = false;
};

/// Reads the content of a .dat file with as many rows as it has. `wanted` says what of it
/// is wanted; the samples of other channels stay empty. `file` is the file's name for messages. If `held` is
/// given, it holds the content, which is released as it is read. Throws ReadError.
ComtradeData read_comtrade_data(const std::string& file, std::string_view content, const ComtradeConfig& config,
                                const WantedData& wanted, FileText* held = nullptr);

/// Does the same for a file that is read piece by piece.
ComtradeData read_comtrade_data(const std::string& file, FileStream& stream, const ComtradeConfig& config,
                                const WantedData& wanted);

}  // namespace readers
