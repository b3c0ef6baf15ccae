// Where a waveform changes: the division of an excerpt into pieces that explains it best.
#pragma once

#include <cstddef>
#include <vector>

#include "measure/excerpt.h"

namespace measure {

/// Averages from `begin` to, not including, `end`, over which each phase is one fundamental.
struct Piece {
  std::size_t begin = 0;
  std::size_t end = 0;
  bool linear = false;  ///< its phasor changes linearly
};

/// Divides an excerpt into pieces, half a cycle long or longer. The division is the best one there is among borders on
/// a grid of an eighth of a cycle, by penalised likelihood: a piece costs its length times the logarithm of what it
/// leaves unexplained, and a constant. See R. Killick, P. Fearnhead, I. Eckley: Optimal detection of changepoints with
/// a linear computational cost, JASA 107 (2012).
std::vector<Piece> partition(const Excerpt& excerpt);

}  // namespace measure
