// Writes records as the bytes of CSV and COMTRADE files.
#pragma once

#include <string>

#include "readers/record.h"

namespace synth {

/// Returns a table with the time in seconds and one column per channel.
std::string csv_of(const readers::Record& record);

enum class ComtradeData { ascii, binary };

/// The two files of a COMTRADE record of revision 1999, with 16-bit values or with text values of up to 99998 steps on
/// either side of zero.
struct ComtradePair {
  std::string config;  ///< .cfg
  std::string data;    ///< .dat
};
ComtradePair comtrade_of(const readers::Record& record, ComtradeData data);

/// Returns the same record as a single file (.cff) of revision 2013.
std::string single_comtrade_of(const readers::Record& record, ComtradeData data);

}  // namespace synth
