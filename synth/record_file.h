// Records as the bytes of files: CSV and COMTRADE.
#pragma once

#include <string>

#include "readers/record.h"

namespace synth {

/// A table with the time in seconds and one column per channel.
std::string csv_of(const readers::Record& record);

enum class ComtradeData { ascii, binary };

/// The two files of a COMTRADE record of 1999, with 16-bit values or up to 99998 steps to either side of zero.
struct ComtradePair {
  std::string config;  ///< .cfg
  std::string data;    ///< .dat
};
ComtradePair comtrade_of(const readers::Record& record, ComtradeData data);

/// The same as the single file (.cff) of 2013.
std::string single_comtrade_of(const readers::Record& record, ComtradeData data);

}  // namespace synth
