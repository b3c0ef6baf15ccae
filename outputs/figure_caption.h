// Writes the lines below a figure: its event with the figures of its segments, and the other events of the record.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "analysis/findings.h"
#include "outputs/figure_view.h"
#include "readers/record.h"

namespace outputs {

struct CaptionLine {
  std::string head;  ///< in bold: "Dip", or a segment's number; empty in a line that continues another
  std::string text;  ///< what follows it, as plain text
};

/// Returns the name of a voltage in a figure: its phase's letter, or the channel's name if fewer than three are
/// analysed, because their phases are not known.
std::string figure_label(const readers::Record& record, const analysis::AnalysedVoltages& voltages, std::size_t phase);

/// Returns the lines, broken so that letters of a size fit a width even if the viewer's font is wide (millimetres).
std::vector<CaptionLine> caption_of(const readers::Record& record, const analysis::Analysis& analysis,
                                    const FigureView& view, double width, double text_size);

}  // namespace outputs
