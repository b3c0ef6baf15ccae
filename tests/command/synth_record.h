// A record with a described dip, as the file that a user would have.
#pragma once

#include <fstream>
#include <string>

#include "synth/dip_description.h"
#include "synth/record_file.h"

namespace tests {

inline void write_csv(const synth::DipDescription& dip, const std::string& file) {
  std::ofstream(file, std::ios::binary) << synth::csv_of(synth::record_of(synth::waveform_of(dip)));
}

}  // namespace tests
