#include "sagx/dq_fft.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <limits>
#include <numbers>
#include <string>
#include <vector>

#include "tests/core/kernel_inputs.h"
#include "tests/core/printed_lines.h"
#include "tests/plain/dq_fft.h"

namespace {

using Phasors = std::vector<vec_struct>;
using Spectrum = std::vector<std::complex<double>>;

constexpr short complex_input = 0;
constexpr short real_input = 1;
constexpr short all_bins = 0;
constexpr short lower_bins = 1;

constexpr int most_points = 4096;
constexpr std::size_t spare = 3;  // entries after the points that must not change
constexpr vec_struct untouched = {42, -43};

/// Returns phasors with these real parts; the imaginary parts are `x`.
Phasors of_reals(const std::vector<float>& reals, float x = 0) {
  Phasors phasors;
  for (const float r : reals) phasors.push_back({r, x});
  return phasors;
}

Phasors of_kind(const tests::Kind& kind, int count) {
  const auto r = tests::series(kind, count, 1);
  const auto x = tests::series(kind, count, 2);
  Phasors phasors;
  for (std::size_t i = 0; i < r.size(); i++) phasors.push_back({r[i], x[i]});
  return phasors;
}

const tests::Kind& random_kind() {
  return tests::kinds()[0];
}

Phasors transformed(Phasors phasors, short in_type, short out_type = all_bins) {
  DQ_FFT(phasors.data(), static_cast<int>(phasors.size()), in_type, out_type);
  return phasors;
}

testing::AssertionResult same_bits(const Phasors& a, const Phasors& b) {
  if (a.size() != b.size()) return testing::AssertionFailure() << a.size() << " phasors against " << b.size();
  for (std::size_t i = 0; i < a.size(); i++) {
    if (tests::same_bits(a[i].r, b[i].r) && tests::same_bits(a[i].x, b[i].x)) continue;
    return testing::AssertionFailure() << "(" << a[i].r << ", " << a[i].x << ") differs from (" << b[i].r << ", "
                                       << b[i].x << ") at " << i;
  }
  return testing::AssertionSuccess();
}

/// Computes the transform by its definition.
Spectrum definition(const Phasors& phasors, short in_type) {
  const std::size_t count = phasors.size();
  Spectrum turns;
  for (std::size_t i = 0; i < count; i++) {
    turns.push_back(std::polar(1.0, -2 * std::numbers::pi * static_cast<double>(i) / static_cast<double>(count)));
  }
  Spectrum spectrum(count);
  for (std::size_t k = 0; k < count; k++) {
    double r = 0;
    double x = 0;
    for (std::size_t n = 0; n < count; n++) {
      const auto& turn = turns[k * n % count];
      const double in_r = static_cast<double>(phasors[n].r);
      const double in_x = in_type == complex_input ? static_cast<double>(phasors[n].x) : 0.0;
      r += in_r * turn.real() - in_x * turn.imag();
      x += in_r * turn.imag() + in_x * turn.real();
    }
    spectrum[k] = {r, x};
  }
  return spectrum;
}

/// Returns the length of the difference divided by the length of the correct result.
double relative_error(const Phasors& found, const Spectrum& right) {
  double wrong = 0;
  double all = 0;
  for (std::size_t k = 0; k < right.size(); k++) {
    const std::complex<double> value(static_cast<double>(found[k].r), static_cast<double>(found[k].x));
    wrong += std::norm(value - right[k]);
    all += std::norm(right[k]);
  }
  return std::sqrt(wrong / all);
}

/// Returns the expected rounding error: log2(N) stages contribute half a unit in the last place each, and independent
/// errors add up as squares.
double error_bound(int points) {
  return std::sqrt(std::log2(points)) * std::ldexp(1.0, -24);
}

// --- known spectra ---------------------------------------------------------------------------------------------------

TEST(Fft, OfAnImpulseIsFlat) {
  EXPECT_TRUE(same_bits(transformed(of_reals({1, 0, 0, 0, 0, 0, 0, 0}), complex_input), Phasors(8, {1, 0})));
}

TEST(Fft, OfAnImpulseASampleLateIsTheTwiddlesRoundedToFloat) {
  Phasors impulse(most_points, {0, 0});
  impulse[1] = {1, 0};
  const auto spectrum = transformed(impulse, complex_input);
  for (int k = 0; k < most_points / 2; k++) {
    const double angle = k * 6.283185307179586 / 4096.0;
    EXPECT_EQ(spectrum[static_cast<std::size_t>(k)].r, static_cast<float>(std::cos(angle))) << k;
    EXPECT_EQ(spectrum[static_cast<std::size_t>(k)].x, -static_cast<float>(std::sin(angle))) << k;
  }
}

TEST(Fft, OfRealOnesIsTheirNumberInBinZero) {
  Phasors expected(8, {0, 0});
  expected[0] = {8, 0};
  const auto spectrum = transformed(of_reals(std::vector<float>(8, 1.0F)), real_input);
  for (std::size_t k = 0; k < 8; k++) {
    EXPECT_EQ(spectrum[k].r, expected[k].r) << k;
    EXPECT_EQ(spectrum[k].x, expected[k].x) << k;
  }
}

TEST(Fft, OfARealInputMayLeaveTheUpperHalfOfTheArrayAsItWas) {
  const auto input = of_reals({1, 1, 1, 1, 1, 1, 1, 1}, 7);
  const auto spectrum = transformed(input, real_input, lower_bins);
  EXPECT_EQ(spectrum[0].r, 8.0F);
  EXPECT_EQ(spectrum[0].x, 0.0F);
  for (std::size_t k = 1; k < 4; k++) {
    EXPECT_EQ(spectrum[k].r, 0.0F) << k;
    EXPECT_EQ(spectrum[k].x, 0.0F) << k;
  }
  EXPECT_TRUE(same_bits({spectrum.begin() + 4, spectrum.end()}, {input.begin() + 4, input.end()}));
}

TEST(Fft, OfACosineIsHalfItsPointsInBothItsBins) {
  std::vector<float> cosine;
  for (int n = 0; n < 16; n++) cosine.push_back(static_cast<float>(std::cos(2 * std::numbers::pi * n / 16)));
  const auto spectrum = transformed(of_reals(cosine), real_input);
  for (std::size_t k = 0; k < 16; k++) {
    EXPECT_NEAR(spectrum[k].r, k == 1 || k == 15 ? 8 : 0, 1e-6) << k;
    EXPECT_NEAR(spectrum[k].x, 0, 1e-6) << k;
  }
}

TEST(Fft, OfASineLagsItsCosineByAQuarterTurn) {
  const auto spectrum = transformed(of_reals({0, 1, 0, -1}), real_input);
  EXPECT_EQ(spectrum[1].x, -2.0F) << "the exponent is negative";
  EXPECT_EQ(spectrum[3].x, 2.0F);
  for (const auto& bin : spectrum) EXPECT_NEAR(bin.r, 0, 1e-15);
}

TEST(Fft, OfAnAlternatingSequenceIsInTheMiddleBin) {
  const auto spectrum = transformed(of_reals({1, -1, 1, -1}), real_input);
  EXPECT_EQ(spectrum[2].r, 4.0F);
  EXPECT_EQ(spectrum[0].r, 0.0F);
  EXPECT_EQ(spectrum[1].r, 0.0F);
  EXPECT_EQ(spectrum[3].r, 0.0F);
}

TEST(Fft, OfTwoPointsIsTheirSumAndDifference) {
  EXPECT_TRUE(same_bits(transformed({{3, 5}, {1, 7}}, complex_input), {{4, 12}, {2, -2}}));
}

TEST(Fft, OfFourRealPointsIsExact) {
  EXPECT_TRUE(same_bits(transformed(of_reals({1, 2, 4, 8}), real_input), {{15, 0}, {-3, 6}, {-5, 0}, {-3, -6}}));
}

TEST(Fft, IsNotScaled) {
  const auto once = transformed({{1, 2}, {3, 4}, {5, 6}, {7, 8}}, complex_input);
  const auto twice = transformed(once, complex_input);
  EXPECT_TRUE(same_bits(twice, {{4, 8}, {28, 32}, {20, 24}, {12, 16}}))
      << "transforming twice gives four times the input in reverse order";
}

TEST(Fft, SumsBinZeroOfARealInputPairByPair) {
  // The first value is 2^24, so each of the ones added after it one by one would be lost.
  std::vector<float> reals(8, 1.0F);
  reals[0] = 16777216.0F;
  reals[1] = 0.0F;
  const auto spectrum = transformed(of_reals(reals), real_input);
  EXPECT_EQ(spectrum[0].r, 16777222.0F);
  EXPECT_EQ(spectrum[4].r, 16777216.0F) << "the differences of the pairs are 0";
}

// --- every size, compared with the plain form and the definition -----------------------------------------------------

struct Transform {
  std::string name;
  short in_type;
  short out_type;
  int fewest_points;
};

void PrintTo(const Transform& transform, std::ostream* out) {
  *out << transform.name;
}

class FftOfEverySize : public testing::TestWithParam<Transform> {
 protected:
  template <typename Action>
  static void for_sizes(Action action) {
    for (int points = GetParam().fewest_points; points <= most_points; points *= 2) action(points);
  }
};

TEST_P(FftOfEverySize, EqualsThePlainFormToTheLastBit) {
  const auto& [name, in_type, out_type, fewest] = GetParam();
  for_sizes([&](int points) {
    for (const auto& kind : tests::kinds()) {
      auto fast = of_kind(kind, points);
      fast.insert(fast.end(), spare, untouched);
      auto plain = fast;
      DQ_FFT(fast.data(), points, in_type, out_type);
      plain::DQ_FFT(plain.data(), points, in_type, out_type);
      ASSERT_TRUE(same_bits(fast, plain)) << kind.name << ", " << points << " points";
    }
  });
}

TEST_P(FftOfEverySize, IsTheSpectrumByItsDefinition) {
  const auto& [name, in_type, out_type, fewest] = GetParam();
  for_sizes([&](int points) {
    const auto input = of_kind(random_kind(), points);
    auto right = definition(input, in_type);
    if (in_type != complex_input && out_type != all_bins) right.resize(right.size() / 2);
    EXPECT_LT(relative_error(transformed(input, in_type, out_type), right), error_bound(points)) << points;
  });
}

TEST_P(FftOfEverySize, TouchesNothingPastItsPoints) {
  const auto& [name, in_type, out_type, fewest] = GetParam();
  for_sizes([&](int points) {
    auto phasors = of_kind(random_kind(), points);
    phasors.insert(phasors.end(), spare, untouched);
    DQ_FFT(phasors.data(), points, in_type, out_type);
    EXPECT_TRUE(same_bits({phasors.end() - spare, phasors.end()}, Phasors(spare, untouched))) << points;
  });
}

INSTANTIATE_TEST_SUITE_P(Transforms, FftOfEverySize,
                         testing::Values(Transform{"Complex", complex_input, all_bins, 2},
                                         Transform{"Real", real_input, all_bins, 4},
                                         Transform{"RealLowerHalf", real_input, lower_bins, 4}),
                         [](const auto& test) { return test.param.name; });

TEST(Fft, OfOneSizeIsTheSameAfterOtherSizes) {
  const auto small = of_kind(random_kind(), 8);
  const auto large = of_kind(random_kind(), most_points);
  const auto small_before = transformed(small, complex_input);
  const auto large_before = transformed(large, real_input);
  EXPECT_TRUE(same_bits(transformed(small, complex_input), small_before));
  EXPECT_TRUE(same_bits(transformed(large, real_input), large_before));
}

// --- types -----------------------------------------------------------------------------------------------------------

TEST(Fft, OfComplexInputHasAllBinsWhateverTheOutputType) {
  const auto input = of_kind(random_kind(), 64);
  const auto expected = transformed(input, complex_input, all_bins);
  for (const short out_type : std::vector<short>{1, 2, -1}) {
    EXPECT_TRUE(same_bits(transformed(input, complex_input, out_type), expected)) << out_type;
  }
}

TEST(Fft, TreatsEveryTypeButZeroAsReal) {
  const auto input = of_kind(random_kind(), 64);
  const auto all = transformed(input, real_input, all_bins);
  const auto lower = transformed(input, real_input, lower_bins);
  for (const short type : std::vector<short>{2, -1, 256, -32768}) {
    EXPECT_TRUE(same_bits(transformed(input, type, all_bins), all)) << type;
    EXPECT_TRUE(same_bits(transformed(input, real_input, type), lower)) << type;
  }
}

TEST(Fft, OfRealInputIgnoresTheImaginaryParts) {
  const std::vector<float> reals = {3, 1, 4, 1, 5, 9, 2, 6};
  const auto expected = transformed(of_reals(reals), real_input);
  EXPECT_TRUE(same_bits(transformed(of_reals(reals, tests::nan), real_input), expected));
}

TEST(Fft, OfRealInputHasTheConjugatesOfTheLowerBinsAbove) {
  const auto spectrum = transformed(of_kind(random_kind(), 256), real_input);
  EXPECT_EQ(spectrum[0].x, 0.0F);
  EXPECT_EQ(spectrum[128].x, 0.0F);
  for (std::size_t k = 1; k < 128; k++) {
    EXPECT_EQ(spectrum[256 - k].r, spectrum[k].r) << k;
    EXPECT_EQ(spectrum[256 - k].x, -spectrum[k].x) << k;
  }
}

// --- sizes -----------------------------------------------------------------------------------------------------------

/// Returns 64 points after a call with this size.
Phasors after(int size, short in_type) {
  auto phasors = of_kind(random_kind(), 64);
  const auto printed = tests::printed_by([&] { DQ_FFT(phasors.data(), size, in_type, all_bins); });
  EXPECT_EQ(printed.out + printed.err, "") << size;
  return phasors;
}

TEST(Fft, OfAnUnsupportedSizeLeavesTheArrayUnchangedAndPrintsNothing) {
  const auto input = of_kind(random_kind(), 64);
  for (const short in_type : {complex_input, real_input}) {
    for (const int size : {0, 1, -1, -2, -64, 3, 6, 7, 12, 48, 63, 65, 100, 4095, 4097, 6144, 8192, 16384, 32767}) {
      EXPECT_TRUE(same_bits(after(size, in_type), input)) << size;
    }
  }
}

TEST(Fft, OfTwoPointsIsForComplexInputOnly) {
  EXPECT_FALSE(same_bits(after(2, complex_input), of_kind(random_kind(), 64)));
  EXPECT_TRUE(same_bits(after(2, real_input), of_kind(random_kind(), 64)));
}

TEST(Fft, NarrowsTheSizeToSixteenBitsBeforeItJudges) {
  const auto input = of_kind(random_kind(), 64);
  for (const short in_type : {complex_input, real_input}) {
    const auto expected = after(64, in_type);
    for (const int size : {65536 + 64, -65536 + 64, 0x7FFF0000 + 64}) {
      EXPECT_TRUE(same_bits(after(size, in_type), expected)) << size;
    }
    const int highest = std::numeric_limits<int>::max();  // its lower 16 bits are -1
    const int lowest = std::numeric_limits<int>::min();   // its lower 16 bits are 0
    for (const int size : {32768, 65536, 65536 + 8192, 1 << 20, 65536 + 63, highest, lowest}) {
      EXPECT_TRUE(same_bits(after(size, in_type), input)) << size;
    }
  }
}

TEST(Fft, WithoutAnArrayDoesNothing) {
  const auto printed = tests::printed_by([] {
    DQ_FFT(nullptr, 64, complex_input, all_bins);
    DQ_FFT(nullptr, 64, real_input, all_bins);
  });
  EXPECT_EQ(printed.out + printed.err, "");
}

}  // namespace
