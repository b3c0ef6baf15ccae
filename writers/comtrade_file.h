// Writes the bytes of COMTRADE files from stored values.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "readers/record.h"

namespace writers {

enum class StoredAs { ascii, binary, binary32, float32 };

/// "ASCII", "BINARY", "BINARY32" or "FLOAT32".
const char* name_of(StoredAs type);

/// A channel with the values that the file is to hold.
struct StoredChannel {
  readers::Channel about;  ///< name, phase, unit, ratio, side and skew; its samples are not used
  double scale = 1;        ///< a sample is scale * stored value + offset
  double offset = 0;
  double lowest = 0;  ///< range of the stored values, as the configuration states it
  double highest = 0;
  std::vector<double> values;  ///< whole numbers unless stored as FLOAT32; NaN where a value is missing
};

struct ComtradeFile {
  int revision = 2013;
  StoredAs type = StoredAs::float32;
  std::string station;
  std::string device;
  double line_frequency = 0;
  std::vector<readers::RateSection> rates;
  std::string start_time;  ///< "31/12/1998,23:59:59.123456"
  std::string trigger_time;
  std::string time_zone;     ///< revision 2013: offset from UTC such as "+5h30"
  std::string time_quality;  ///< revision 2013: the last line of the configuration
  std::vector<StoredChannel> channels;
  std::vector<readers::DigitalChannel> digitals;
};

/// Returns the .cfg file.
std::string config_of(const ComtradeFile& file);

/// Returns the .dat file.
std::string data_of(const ComtradeFile& file);

/// Returns both in a single file (.cff).
std::string single_file_of(const ComtradeFile& file);

}  // namespace writers
