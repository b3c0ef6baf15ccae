// Reads PQDIF files (IEEE 1159.3), which power quality instruments write.
#pragma once

#include <string>
#include <string_view>

#include "readers/open_options.h"
#include "readers/record.h"

namespace readers {

/// Returns whether the content begins like a PQDIF file.
bool is_pqdif(std::string_view content);

/// Reads the waveforms of all observations of a file. Each observation becomes a section of the record, or several if
/// its channels have different sampling rates; channels without samples in a section have no values there. Sections are
/// in the order of their times. Trends, phasors, histograms and the like are noted but not read, and so are records
/// that are damaged. `file` is the file's name for messages. Throws ReadError when there is no waveform that can be
/// read.
Record read_pqdif(const std::string& file, std::string_view content, const OpenOptions& options = {});

}  // namespace readers
