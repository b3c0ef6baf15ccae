// What a program says about a file to be read.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "readers/record.h"

namespace readers {

struct OpenOptions {
  double sampling_rate = 0;  ///< samples per second, where neither the file nor its time stamps tell; 0: not given
  std::string charset = {};  ///< of the file's text, a name that iconv knows; empty: told or guessed by the bytes
  /// Called with the record as far as its description goes, without samples: whether each channel's samples are wanted.
  /// Long files are read faster for it. None: all are wanted.
  std::function<std::vector<bool>(const Record&)> wanted = {};
};

}  // namespace readers
