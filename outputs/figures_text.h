// Formats angles, figures with their uncertainty and names for people, in the same form in the text, the figures and
// the page.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "measure/findings.h"
#include "readers/record.h"

namespace outputs {

/// An angle in [0, 360): "96.3°".
std::string angle_text(double degrees);

/// Formats the angle of a turn: "+4.3°", "-19.4°", "0.0°".
std::string turn_text(double degrees);

/// Formats "115.0 ± 0.2 V", "63.36 ± 0.01 kV" with four significant digits, or fewer where the uncertainty has more
/// than two: "82.7 ± 1.7 kV". An uncertainty is rounded up, to at least one unit of the last digit shown, so that the
/// interval still contains the true value as often as it should. The other figures with uncertainty follow the same
/// rule.
std::string volts_text(const measure::Figure& volts);

/// A voltage with the digits that its uncertainty allows: "82.7 kV".
std::string rounded_volts_text(const measure::Figure& volts);

/// Formats a slope of the RMS: "2.789 MV/s". One that changes the level by less than can be resolved in a cycle is
/// zero.
std::string slope_text(double volts_per_second, double level, double frequency);

/// Per cent with their uncertainty: "66.7 ± 0.1 %".
std::string percent_text(const measure::Figure& percent);

/// Per cent with one decimal, or none if the uncertainty allows none: "66.7 %", "103 %".
std::string rounded_percent_text(const measure::Figure& percent);

/// The voltage of a segment in per cent of its own level before. An uncertainty of 0 means that none is known.
measure::Figure percent_of_before(const measure::SegmentPhase& figures);

/// Returns the uncertainty of each symmetrical component of a segment. A component is the third of a sum of the three
/// voltages, each of them turned.
double sequence_plus_minus(const measure::Segment& segment);

/// Returns the unbalance of a segment in per cent, with the largest error that those of the two sequences can make
/// together. Of a positive sequence that is within its uncertainty no ratio can be told.
std::optional<measure::Figure> unbalance_percent(const measure::Segment& segment);

/// An angle in [0, 360) with its uncertainty: "96.3° ± 0.4°", "359° ± 82°".
std::string angle_text(const measure::Figure& degrees);

/// A turn with its uncertainty: "-19.4° ± 0.4°".
std::string turn_text(const measure::Figure& degrees);

/// The record's time: "0.3050 s".
std::string instant_text(double record_seconds);

/// The record's time with its uncertainty: "0.3050 s ± 0.2 ms", "0.305 s ± 12 ms".
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
