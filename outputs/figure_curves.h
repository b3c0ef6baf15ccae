// Draws a curve of one value per sample as lines on paper.
#pragma once

#include <cstddef>
#include <vector>

#include "analysis/waveform.h"
#include "outputs/drawing.h"
#include "outputs/ticks.h"

namespace outputs {

/// Where the samples of a curve are on the paper, millimetres.
struct CurveFrame {
  analysis::Stretch shown;  ///< samples
  Scale across;             ///< from samples
  Scale up;                 ///< from values, after `factor`
  double factor = 1;        ///< of the values

  [[nodiscard]] Point point(std::size_t sample, float value) const {
    return {across(static_cast<double>(sample)), up(factor * static_cast<double>(value))};
  }
};

/// Draws a curve with breaks at missing values. If samples are closer than a printer's dots, the curve connects the
/// lowest and the highest sample of each step.
Lines curve_of(const std::vector<float>& values, const CurveFrame& frame, const char* kind, Stroke stroke);

/// The area between the highest and the lowest value of each cycle, and its edges.
struct Envelope {
  Lines area;
  Lines edges;
};

/// Draws the envelope of a waveform, of class "wave". There is a break at a cycle in which so many values are missing
/// that its peaks may be among them.
Envelope envelope_of(const std::vector<float>& values, const CurveFrame& frame, double samples_per_cycle,
                     const char* colour);

}  // namespace outputs
