// Decides on which side of the monitor a dip has its cause.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "assess/power_flow.h"

namespace assess {

/// Active power flowed from upstream to downstream before the dip.
enum class Side { upstream, downstream };

/// What one published method says.
struct Opinion {
  std::string method;        ///< "real current"
  std::optional<Side> side;  ///< empty if the change is too small for the method
};

struct Direction {
  std::vector<Opinion> opinions;  ///< one of each method

  /// Returns the side that all methods that decide name; nothing if fewer than two decide or if they disagree.
  [[nodiscard]] std::optional<Side> agreed() const;
  /// Returns how many methods decide.
  [[nodiscard]] std::size_t decided() const;
  /// "both methods that decide say downstream", "the methods disagree".
  [[nodiscard]] std::string words() const;
};

/// Returns "upstream" or "downstream".
const char* side_words(Side side);

/// A dip on the waveform, seconds from the first sample.
struct DipSpan {
  double start_s = 0;
  double end_s = 0;
};

/// Asks four methods, which compare the fundamentals of a cycle before the dip with those in it:
///
/// - "real current": the real component of the current of the phase that falls most rises if the cause is downstream
///   and falls if it is upstream. After N. Hamzah, A. Mohamed, A. Hussain, "A new approach to locate the voltage sag
///   source using real current component", Electric Power Systems Research 72 (2004). Here the sign is that of the
///   change, because a passive load draws a real current from upstream throughout.
/// - "system trajectory": the slope of V cos(phi) over I from before the dip into it is negative if the cause is
///   downstream. It is upstream if the power reverses. C. Li, T. Tayjasanant, W. Xu, X. Li, "Method for
///   voltage-sag-source detection by investigating slope of the system trajectory", IEE Proceedings Generation,
///   Transmission and Distribution 150 (2003).
/// - "disturbance energy": the energy beyond that of the flow before is positive if the cause is downstream. It decides
///   if the energy at the end of the dip is at least 80 % of its largest excursion. A. C. Parsons, W. M. Grady,
///   E. J. Powers, J. C. Soward, "A direction finder for power quality disturbances based upon disturbance power and
///   energy", 8th International Conference on Harmonics and Quality of Power (1998).
/// - "resistance sign": the change of the positive-sequence voltage over that of the current has a negative real part
///   if the cause is downstream. T. Tayjasanant, C. Li, W. Xu, "A resistance sign-based method for voltage sag source
///   detection", IEEE Transactions on Power Delivery 20 (2005).
///
/// Returns nothing if less than 5 % of the power before was active, as the side is then not defined, if the dip lasts
/// less than one and a half cycles, or if samples are missing. All methods may be wrong for loads of constant power.
std::optional<Direction> direction_of(const PowerFlow& flow, const DipSpan& dip);

}  // namespace assess
