// Options that a program passes when it opens a record file.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "readers/record.h"

namespace readers {

/// What a program may say about a file before it is read. The defaults are right for most files.
struct OpenOptions {
  /// Samples per second, used in place of what the file and its time stamps say, except in a record of several sections
  /// with their own rates and times; 0: not given.
  double sampling_rate = 0;
  /// The character set of the file's text, as iconv names it; empty: it is detected from the bytes.
  std::string charset = {};
  /// Called with the record as its description gives it, without samples; returns for each channel whether its samples
  /// are wanted. Leaving channels out makes long files faster to read. Without this function all channels are wanted.
  std::function<std::vector<bool>(const Record&)> wanted = {};
  /// Read the changes of digital channels too.
  bool digitals = false;
};

}  // namespace readers
