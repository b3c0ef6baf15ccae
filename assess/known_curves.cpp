#include "assess/known_curves.h"

#include <limits>

namespace assess {

namespace {

constexpr double forever = std::numeric_limits<double>::infinity();

/// IEC 61000-4-11 gives two numbers of cycles for each level, such as 25 at 50 Hz and 30 at 60 Hz, which are the same
/// time. Only its dip of one cycle lasts as long as the line's own cycle.
Curve iec_class_2(double cycle_seconds) {
  Curve curve{"iec_class_2", "IEC 61000-4-11 class 2", false, 0, {{cycle_seconds, 0}, {0.5, 70}}};
  curve.covers_interruptions = false;
  return curve;
}

Curve iec_class_3(double cycle_seconds) {
  Curve curve{"iec_class_3", "IEC 61000-4-11 class 3", false, 0, {{cycle_seconds, 0}, {0.2, 40}, {0.5, 70}, {5, 80}}};
  curve.covers_interruptions = false;
  return curve;
}

Curve semi_f47() {
  Curve curve{"semi_f47", "SEMI F47", false, 0.05, {{0.2, 50}, {0.5, 70}, {1, 80}}};
  curve.covers_three_phases = false;
  return curve;
}

Curve ieee_1668() {
  Curve curve{"ieee_1668", "IEEE 1668", false, 0, {{0.2, 50}, {0.5, 70}, {2, 80}}};
  curve.three_phase_steps = {{0.05, 50}, {0.1, 70}, {2, 80}};
  return curve;
}

}  // namespace

std::vector<Curve> known_curves(double line_frequency) {
  const double cycle_seconds = 1 / line_frequency;
  return {{"itic", "ITIC", false, 0, {{0.02, 0}, {0.5, 70}, {10, 80}, {forever, 90}}},
          semi_f47(),
          iec_class_2(cycle_seconds),
          iec_class_3(cycle_seconds),
          ieee_1668(),
          {"itic_upper", "ITIC upper", true, 0, {{0.5, 120}, {forever, 110}}}};
}

}  // namespace assess
