// Writes records as the bytes of PQDIF files (IEEE 1159.3), in all forms in which instruments store them.
#pragma once

#include <cstdint>
#include <string>

#include "readers/record.h"
#include "synth/pqdif_body.h"

namespace synth {

/// How the times of the samples are stored.
enum class PqdifTimes {
  increments,   ///< the number of samples and the step
  seconds,      ///< one value for each sample
  cycles,       ///< increments in cycles of the line frequency
  time_stamps,  ///< one absolute time for each sample
};

/// How a file stores its data. The defaults are what most instruments write.
struct PqdifForm {
  std::uint8_t value_type = 21;  ///< physical type of the values; 21 is int16
  bool scaled = true;            ///< the values are multiples of a scale, which an integer type needs
  double offset = 0;             ///< offset of scaled values
  PqdifTimes times = PqdifTimes::increments;
  std::uint8_t time_type = 41;  ///< physical type of times in seconds, cycles or increments; 41 is double
  double time_scale = 1;        ///< unless it is 1, times are stored divided by it
  bool share_times = true;      ///< all channels refer to the times of the first one
  bool share_values = false;    ///< each channel has a copy that refers to its values
  bool compressed = true;
  PqdifChecksum checksum = PqdifChecksum::adler_of_stored;
};

/// Returns a file with one observation for each section of the record. The channels' phases are written as identifiers,
/// volts and amperes as units; the record begins on 2000-01-01 at 00:00 unless its sections say otherwise.
std::string pqdif_of(const readers::Record& record, const PqdifForm& form = {});

}  // namespace synth
