// The configuration (.cfg) file of a COMTRADE record, which describes the channels of the data file and how to scale
// them.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "readers/record.h"

namespace readers {

/// The stored value that marks a missing value.
inline constexpr double missing_mark = 99999;

struct AnalogChannel {
  Channel description;  ///< without samples
  double scale = 1;     ///< a sample is scale * stored value + offset
  double offset = 0;
  bool beyond_99999 = false;  ///< the stated range of stored values exceeds 99999, so 99999 may be an ordinary value
};

struct ComtradeConfig {
  enum class DataType { ascii, binary, binary32, float32 };

  std::string station;
  std::string device;
  std::string revision;  ///< "1991", "1999" or "2013": the revision whose rules are applied to the file
  std::vector<AnalogChannel> analogs;
  std::size_t digitals = 0;
  std::vector<std::string> digital_names;
  double line_frequency = 0;  ///< hertz; 0 when the file does not say
  std::vector<RateSection> rates;
  std::string start_time;
  std::string trigger_time;
  std::optional<double> trigger;  ///< seconds from the first sample to the trigger
  std::string time_zone;
  double stamp_unit = 1e-6;  ///< seconds in one unit of the rows' time stamps
  DataType data_type = DataType::ascii;
  std::vector<std::string> notes;
};

/// "ASCII", "BINARY", "BINARY32" or "FLOAT32".
const char* name_of(ComtradeConfig::DataType type);

/// Reads the content of a .cfg file. `file` is its name for messages; `charset` has the same meaning as in to_utf8.
/// Throws ReadError.
ComtradeConfig parse_comtrade_config(const std::string& file, std::string_view content,
                                     const std::string& charset = {});

}  // namespace readers
