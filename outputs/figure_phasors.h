// Draws the phasors of the voltages before and during a dip.
#pragma once

#include "analysis/findings.h"
#include "outputs/drawing.h"
#include "outputs/figure_view.h"

namespace outputs {

/// Height in millimetres of a row of diagrams; 0 where no segment of the course is measured.
double height_of_phasors(const measure::Course& course);

/// Adds a row of diagrams below a height: one for each of the longest segments, at most four, in order of time. Lines
/// with heads are the voltages of the segment, dashed ones those before the dip. The first voltage before points to
/// the right, and the circle is 100 % of the view's reference.
void add_phasors(Drawing& drawing, const analysis::Analysis& analysis, const FigureView& view, double top);

}  // namespace outputs
