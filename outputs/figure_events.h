// Draws the events of a record as bars along its time.
#pragma once

#include <cstddef>
#include <vector>

#include "analysis/findings.h"
#include "outputs/drawing.h"

namespace outputs {

/// An event on the paper, from left to right in millimetres.
struct EventBar {
  std::size_t number = 1;  ///< counted from 1
  measure::EventKind kind = measure::EventKind::dip;
  double from = 0;
  double to = 0;
  std::size_t lane = 0;  ///< counted from 0, from above
  bool labelled = true;  ///< there is room for its number
};

/// The colour of a kind of event.
const char* colour_of(measure::EventKind kind);

/// The height of a lane, millimetres.
constexpr double lane_height = 2.7;

/// Distributes bars, which are in order of their beginnings, over as few lanes as keep them and their labels apart.
/// There are at most four lanes; bars beyond them share one and have no label.
void distribute(std::vector<EventBar>& bars);

/// The number of lanes that bars take.
std::size_t lanes_of(const std::vector<EventBar>& bars);

/// Adds bars below a height. Each has its number and, where there is room, its kind.
void add_bars(Drawing& drawing, const std::vector<EventBar>& bars, double top);

}  // namespace outputs
