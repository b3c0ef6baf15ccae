// Options that a program passes when it opens a record file.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "readers/record.h"

namespace readers {

struct OpenOptions {
  /// Samples per second, used when neither the file nor its time stamps give a rate; 0: not given.
  double sampling_rate = 0;
  /// The character set of the file's text, as iconv names it; empty: it is detected from the bytes.
  std::string charset = {};
  /// Called with the record as its description gives it, without samples; returns for each channel whether its samples
  /// are wanted. Leaving channels out makes long files faster to read. Without this function all channels are wanted.
  std::function<std::vector<bool>(const Record&)> wanted = {};
};

}  // namespace readers
