// Figures and pages of findings with numbers that cannot be drawn.
#include "outputs/drawable.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

#include "outputs/drawing_svg.h"
#include "outputs/figure.h"
#include "tests/outputs/found_by_hand.h"

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

/// A second of curves for findings by hand.
analysis::Curves curves(float volts) {
  analysis::Curves result;
  for (auto& curve : result.volts) curve.assign(3200, volts);
  for (auto& curve : result.rms) curve.assign(3200, 230);
  return result;
}

std::string drawn(const analysis::Analysis& analysis, float volts = 230) {
  return outputs::svg_of(outputs::figure_of(tests::a_record(), analysis, curves(volts), 0));
}

TEST(Drawable, IsWhatIsFiniteAndNotTooLarge) {
  for (const double value : {0.0, -1e15, 1e15, 1e-300}) EXPECT_EQ(outputs::drawable(value), value);
  for (const double value : {nan, infinity, -infinity, 1.1e15, -1e300}) {
    EXPECT_THROW(outputs::drawable(value), outputs::Undrawable) << value;
  }
}

TEST(Drawable, AreFindingsOfARecord) {
  EXPECT_EQ(drawn(tests::one_dip_found()).find("nan"), std::string::npos);
}

TEST(Drawable, AreNoTimesWithoutEnd) {
  for (const double start : {nan, infinity, -infinity, 1e21, -1e300}) {
    auto analysis = tests::one_dip_found();
    analysis.voltages.part.start = start;
    EXPECT_THROW(drawn(analysis), outputs::Undrawable) << start;
  }
}

TEST(Drawable, AreNoVoltagesWithoutEnd) {
  EXPECT_THROW(drawn(tests::one_dip_found(), 3e38F), outputs::Undrawable);
  auto analysis = tests::one_dip_found();
  analysis.found.events[0].course->segments[0].phases[0].voltage_v.value = 1e300;
  EXPECT_THROW(drawn(analysis), outputs::Undrawable);
}

}  // namespace
