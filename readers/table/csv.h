// Reads waveform records from text tables with one column per channel and one row per sampling instant.
#pragma once

#include <string>
#include <string_view>

#include "readers/file_access.h"
#include "readers/open_options.h"
#include "readers/record.h"

namespace readers {

/// Reads a table whose columns are separated by commas, semicolons or tabs, with or without a line of column names and
/// with or without a column of times; lines before it that start with '#' are skipped. `file` is the table's name for
/// messages. If no column holds the time, `options` must give the sampling rate. Throws ReadError.
///
/// Names may end in a unit: "v1_V", "Ua [kV]", "Ub (V)", "t/ms". Columns without a name are called "column 3".
///
/// If `held` is given, it holds the content, which is released as it is read.
Record read_csv(const std::string& file, std::string_view content, const OpenOptions& options = {},
                FileText* held = nullptr);

}  // namespace readers
