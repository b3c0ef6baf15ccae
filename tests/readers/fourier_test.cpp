#include "readers/fourier.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numbers>
#include <vector>

namespace readers {
namespace {

constexpr std::size_t cycle = 20;

/// Returns three cycles of a sine of amplitude 2 that leads a cosine by 30 degrees.
std::vector<double> three_cycles() {
  std::vector<double> samples;
  for (std::size_t i = 0; i < 3 * cycle; i++) {
    samples.push_back(2 * std::cos(2 * std::numbers::pi * static_cast<double>(i) / cycle + std::numbers::pi / 6));
  }
  return samples;
}

void expect_near(const std::complex<double>& sum, const std::complex<double>& expected) {
  EXPECT_NEAR(std::abs(sum - expected), 0, 1e-12) << sum;
}

TEST(FourierSum, IsHalfTheAmplitudeForEachSampleAtTheAngleOfTheWave) {
  expect_near(fourier_sum(three_cycles(), 0, cycle, rotation_of(cycle, cycle)), std::polar(20.0, std::numbers::pi / 6));
}

TEST(FourierSum, BeginsTheRotationAnewBehindItsEnd) {
  expect_near(fourier_sum(three_cycles(), 0, 3 * cycle, rotation_of(cycle, cycle)),
              std::polar(60.0, std::numbers::pi / 6));
}

TEST(FourierSum, KeepsTheAngleWhereTheRotationBeginsAtTheSamplesTurn) {
  expect_near(fourier_sum(three_cycles(), 7, cycle, rotation_of(cycle, cycle), 7),
              std::polar(20.0, std::numbers::pi / 6));
}

TEST(FourierSum, IsZeroAtAnotherWholeNumberOfTurns) {
  expect_near(fourier_sum(three_cycles(), 0, cycle, rotation_of(cycle / 2.0, cycle)), 0);
}

TEST(FourierSum, LeavesOutSamplesThatAreNotThere) {
  const std::vector<double> samples = {1, no_value, INFINITY, 1e300, 3};
  expect_near(fourier_sum(samples, 0, 5, Rotation(5, 1.0)), 4);
}

TEST(Rotation, HasTheSizeThatIsAskedFor) {
  const Rotation rotation = rotation_of(4, 2, 5);
  ASSERT_EQ(rotation.size(), 2U);
  expect_near(rotation[0], 5);
  expect_near(rotation[1], {0, -5});
}

}  // namespace
}  // namespace readers
