// Reads a plant's own voltage-tolerance curve from the text of a CSV file.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "assess/curve.h"

namespace analysis {

/// A curve cannot be read. The message names the file, the line, the error and a remedy.
class CurveError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Reads the curve in a text. A header has a column "duration" or "time" with the unit s or ms, as in "duration_ms" or
/// "Duration (s)", and a column "voltage" in per cent. Each row is a step: equipment rides through dips down to the
/// voltage that last up to the duration. Durations rise from row to row, voltages lie between 0 and 100 and do not
/// fall. The last duration may be "inf". Columns are separated by commas, semicolons or tabs; with the latter two,
/// numbers may have a decimal comma. Lines that begin with # are comments, and "# name: Press line 3" names the curve;
/// otherwise the name is the file's, without folder and extension. Text that is not UTF-8 is read in the character set
/// that its bytes look like. The code is the name in lower case with underscores.
/// Throws CurveError; `file` is the name for messages.
assess::Curve own_curve(std::string_view text, const std::string& file);

/// Reads the curve in a text and appends it to the user's curves. Throws CurveError as `own_curve` does, and if another
/// curve has the same code, because verdicts could not be told apart.
void add_own_curve(std::vector<assess::Curve>& curves, std::string_view text, const std::string& file);

}  // namespace analysis
