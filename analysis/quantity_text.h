// Voltages, durations and counts as people read them, the same wherever they stand: in the text, in a figure, in a
// note.
#pragma once

#include <cstddef>
#include <string>

namespace analysis {

/// Four significant digits with the prefix that suits them: "63.36 kV".
std::string volts_text(double volts);

/// A count as running text has it: "one" to "twelve" in words, others in digits.
std::string count_text(std::size_t count);

/// "280.2 ms" below a second, "8.130 s" from there on.
std::string duration_text(double seconds);

}  // namespace analysis
