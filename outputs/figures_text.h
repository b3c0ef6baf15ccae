// Formats angles, figures with their uncertainty and names for people, in the same form in the text, the figures and
// the page.
#pragma once

#include <cstddef>
#include <string>

#include "measure/findings.h"
#include "readers/record.h"

namespace outputs {

/// An angle in [0, 360): "96.3°".
std::string angle_text(double degrees);

/// Formats the angle of a turn: "+4.3°", "-19.4°", "0.0°".
std::string turn_text(double degrees);

/// Formats "115.0 ± 0.2 V", "63.36 ± 0.01 kV" with four significant digits. An uncertainty is rounded up, to at least
/// one unit of the last digit shown, so that the interval still contains the true value as often as it should.
std::string volts_text(const measure::Figure& volts);

/// An angle in [0, 360) with its uncertainty: "96.3° ± 0.4°".
std::string angle_text(const measure::Figure& degrees);

/// A turn with its uncertainty: "-19.4° ± 0.4°".
std::string turn_text(const measure::Figure& degrees);

/// The record's time: "0.3050 s".
std::string instant_text(double record_seconds);

/// The record's time with its uncertainty: "0.3050 s ± 0.2 ms".
std::string instant_text(double record_seconds, double plus_minus);

/// Breaks words into lines of at most `width` columns. Each line is indented by `indent` blanks and ends in "\n".
std::string wrapped(const std::string& words, std::size_t width, std::size_t indent = 0);

/// Returns lines of text so that none is wider than a terminal of `columns` columns. A wider line continues in lines
/// that are indented by two blanks more; it is broken at blanks where possible. Colours take no columns. 0 columns
/// leave the text unchanged.
std::string fitted(const std::string& text, std::size_t columns);

/// How many columns of a terminal a text takes; letters of East Asia take two.
std::size_t columns_of(const std::string& text);

/// Returns a name, with "…" in place of its middle if it is wider than `most` columns.
std::string shortened(const std::string& name, std::size_t most);

/// Returns whether a channel's values refer to one side of a transformer.
bool is_of_transformer(const readers::Channel& channel);

/// "secondary values, transformer 500000:100".
std::string side_text(const readers::Channel& channel);

}  // namespace outputs
