// Names of the six voltages that IEEE 1564 compares: three between phases and three of phases without zero sequence.
#pragma once

#include "measure/findings.h"

namespace outputs {

/// For machines: "AB", "BC", "CA", "A-0", "B-0", "C-0".
inline const char* six_voltages_code(measure::SixVoltages which) {
  switch (which) {
    case measure::SixVoltages::ab:
      return "AB";
    case measure::SixVoltages::bc:
      return "BC";
    case measure::SixVoltages::ca:
      return "CA";
    case measure::SixVoltages::a:
      return "A-0";
    case measure::SixVoltages::b:
      return "B-0";
    case measure::SixVoltages::c:
      break;
  }
  return "C-0";
}

/// For people: "AB" or "A without zero sequence".
inline const char* six_voltages_words(measure::SixVoltages which) {
  switch (which) {
    case measure::SixVoltages::a:
      return "A without zero sequence";
    case measure::SixVoltages::b:
      return "B without zero sequence";
    case measure::SixVoltages::c:
      return "C without zero sequence";
    default:
      return six_voltages_code(which);
  }
}

}  // namespace outputs
