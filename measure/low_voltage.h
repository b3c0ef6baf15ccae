// The shares of its level before below which a voltage is low, or almost none.
#pragma once

namespace measure {

/// A phase is low below this share of its own level before.
inline constexpr double threshold = 0.9;

/// Below this, in usual peaks, a phase has almost no voltage: the movement of its phasor means nothing, and nothing is
/// divided by it.
inline constexpr double next_to_nothing = 0.05;

}  // namespace measure
