// An event in the terms that curves, tables and classes use.
#pragma once

#include <optional>
#include <vector>

namespace assess {

struct EventTerms {
  double percent = 0;             ///< residual or highest voltage, per cent of the event's reference
  double depth_percent = 0;       ///< difference between 100 and a dip's residual voltage
  std::optional<double> seconds;  ///< duration; empty if the beginning or the end lies outside of the record
  double least_seconds = 0;       ///< the part of the duration that was recorded
  double cycle_seconds = 0;       ///< period of the fundamental
};

/// Uncertainty of a residual or highest voltage, per cent of the reference. Source: IEC 61000-4-30, 5.4.5, class A. The
/// uncertainty of a duration is a cycle, half of it at either end.
inline constexpr double uncertain_percent = 0.2;

/// The number of voltages that a dip affects most: types I, II and III of CIGRE/CIRED working group C4.110, "Voltage
/// dip immunity of equipment and installations" (2010).
enum class DipKind { one_voltage, two_voltages, three_voltages };

/// A part of a dip in which its lowest voltage has one value.
struct Piece {
  double seconds = 0;
  double percent = 0;  ///< per cent of the event's reference
};

/// A dip or a swell as verdicts need it.
struct EventShape {
  EventTerms terms;
  bool swell = false;
  bool interruption = false;    ///< an interruption lies within the dip
  std::optional<DipKind> kind;  ///< empty if fewer than three voltages were measured
  std::vector<Piece> pieces;    ///< empty unless all segments of a dip were measured
};

}  // namespace assess
