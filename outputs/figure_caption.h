// Writes the lines below a figure: the event and the figures of its segments.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "analysis/findings.h"
#include "outputs/figure_view.h"
#include "readers/record.h"

namespace outputs {

struct CaptionLine {
  std::string head;  ///< in bold: "Dip", or a segment's number; may be empty
  std::string text;  ///< what follows it, as plain text
};

/// Returns the name of a voltage in a figure: its phase's letter, or the channel's name if fewer than three are
/// analysed, because their phases are not known.
std::string figure_label(const readers::Record& record, const analysis::AnalysedVoltages& voltages, std::size_t phase);

std::vector<CaptionLine> caption_of(const readers::Record& record, const analysis::Analysis& analysis,
                                    const FigureView& view);

}  // namespace outputs
