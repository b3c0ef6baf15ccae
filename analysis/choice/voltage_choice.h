// The user's choice of voltages in a record.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>

namespace analysis {

struct VoltageChoice {
  std::string channels;  ///< "A,B,C" as one to three names or numbers; empty: found by phase letter and unit, or the
                         ///< only one or two
  std::size_t set = 0;   ///< number of the voltage set as `dipx info` lists them; 0: the one with the worst event
  bool line_to_line = false;  ///< voltages between phases
  std::size_t part = 0;       ///< number of the record's part; 0: one with a dip, of them the one round the trigger
                              ///< or else the longest
  double line_frequency = 0;  ///< hertz, over what the file says; 0: not given
};

/// The channels, the set or the part that the user named are not in the record.
class UnknownChoice : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

}  // namespace analysis
