// Keeps labels along an axis apart.
#pragma once

#include <vector>

namespace outputs {

/// Returns places for the middles of labels of one length, as near to the wanted ones as their order and the room from
/// `low` to `high` allow, so that no two overlap. `wanted` is in ascending order. Labels for which there is no room
/// extend beyond `high`.
std::vector<double> places_apart(const std::vector<double>& wanted, double length, double low, double high);

}  // namespace outputs
