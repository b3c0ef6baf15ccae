// Converts records: chooses how the values are stored, and says how exactly they come back.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "readers/record.h"
#include "writers/comtrade_file.h"

namespace writers {

/// Returns a record that holds only these channels of another, by index, and only its samples within the stretch, if
/// there is one, without the parts in which none of these channels has a value. Times begin with its first sample.
readers::Record excerpt_of(const readers::Record& record, const std::vector<std::size_t>& channels);

struct Converted {
  ComtradeFile file;
  /// Half the step in which the values of each channel are stored, in its unit: the largest difference from the source.
  /// 0 if all that are stored are equal to those of the source.
  std::vector<double> half_steps;
  /// Number of values of each channel that the type cannot hold. They are missing in the file.
  std::vector<std::size_t> lost;
};

/// Returns the record as a COMTRADE file of revision 2013. Without a type it is BINARY32 if the source stores whole
/// numbers in all channels, and FLOAT32 otherwise. All sections must have a sampling rate.
Converted converted(const readers::Record& record, std::optional<StoredAs> type);

}  // namespace writers
