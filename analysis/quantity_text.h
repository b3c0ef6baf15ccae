// Formats voltages, durations and counts for people, in the same form in texts, figures and notes.
#pragma once

#include <cstddef>
#include <string>

#include "measure/options.h"

namespace analysis {

/// Formats four significant digits with a suitable prefix: "63.36 kV".
std::string volts_text(double volts);

/// The same, but "0 V" for a voltage that is less than 10^-5 of `whole`, because no converter of 16 bits resolves it.
std::string volts_text_of(double volts, double whole);

/// Per cent with one decimal: "52.3 %"; a number that no event of a grid reaches has three digits: "4.19e+08 %".
std::string percent_text(double percent);

/// A count as running text has it: "one" to "twelve" in words, others in digits.
std::string count_text(std::size_t count);

/// Formats "280.2 ms" below a second and "8.130 s" from a second on.
std::string duration_text(double seconds);

/// Formats a residual or highest voltage: "64.9 %". If one decimal would move it across a limit of EN 50160's tables or
/// a threshold, it gets as many decimals as it needs to stay on its side: "89.96 %".
std::string percent_text(double percent, const measure::Thresholds& thresholds);

}  // namespace analysis
