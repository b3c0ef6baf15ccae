// Angles, figures with their uncertainty and names as people read them, the same in the text, in a figure and on a
// page.
#pragma once

#include <cstddef>
#include <string>

#include "measure/findings.h"
#include "readers/record.h"

namespace outputs {

/// An angle in [0, 360): "96.3°".
std::string angle_text(double degrees);

/// What an angle turns by: "+4.3°", "-19.4°", "0.0°".
std::string turn_text(double degrees);

/// "115.0 ± 0.2 V", "63.36 ± 0.01 kV": four significant digits. An uncertainty is rounded up, to one unit of the last
/// digit shown at least, so that the interval still holds what it should.
std::string volts_text(const measure::Figure& volts);

/// An angle in [0, 360) with its uncertainty: "96.3° ± 0.4°".
std::string angle_text(const measure::Figure& degrees);

/// A turn with its uncertainty: "-19.4° ± 0.4°".
std::string turn_text(const measure::Figure& degrees);

/// The record's time: "0.3050 s".
std::string instant_text(double record_seconds);

/// The record's time with its uncertainty: "0.3050 s ± 0.2 ms".
std::string instant_text(double record_seconds, double plus_minus);

/// Words in lines of at most `width` columns, each indented by `indent` blanks and ended by "\n".
std::string wrapped(const std::string& words, std::size_t width, std::size_t indent = 0);

/// How many columns of a terminal a text takes; letters of East Asia take two.
std::size_t columns_of(const std::string& text);

/// A name with its middle cut out, "…" standing for it, where it is wider than `most` columns.
std::string shortened(const std::string& name, std::size_t most);

/// Whether a channel's values are those of one side of a transformer.
bool is_of_transformer(const readers::Channel& channel);

/// "secondary values, transformer 500000:100".
std::string side_text(const readers::Channel& channel);

}  // namespace outputs
