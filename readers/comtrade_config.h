// The configuration (.cfg) file of a COMTRADE record: which channels the data file holds and how to scale them.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "readers/record.h"

namespace readers {

struct AnalogChannel {
  Channel description;  ///< without samples
  double scale = 1;     ///< a sample is scale * stored value + offset
  double offset = 0;
};

struct ComtradeConfig {
  enum class DataType { kAscii, kBinary };

  std::string station;
  std::string device;
  std::string revision;  ///< "1991", "1999" or "2013": the rules the file is read by
  std::vector<AnalogChannel> analogs;
  std::size_t digitals = 0;
  double line_frequency = 0;  ///< hertz; 0 when the file does not say
  std::vector<RateSection> rates;
  std::string start_time;
  std::string trigger_time;
  DataType data_type = DataType::kAscii;
  std::vector<std::string> notes;
};

/// Reads the content of a .cfg file. `file` is its name for messages. Throws ReadError.
ComtradeConfig parse_comtrade_config(const std::string& file, std::string_view content);

}  // namespace readers
