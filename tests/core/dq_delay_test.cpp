#include "sagx/dq_delay.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <numbers>
#include <tuple>
#include <utility>
#include <vector>

#include "tests/core/kernel_inputs.h"
#include "tests/plain/dq_delay.h"
#include "tests/plain/lvbo.h"

namespace {

using tests::same_bits;
using Values = std::vector<float>;

constexpr double degree = std::numbers::pi / 180;
constexpr double line_over_phase = 1.224744871391589;  // sqrt(3 / 2): length of a set's vector per volt of peak

Values times(int smp, int n) {
  Values t;
  for (int j = 0; j < n; j++) t.push_back(static_cast<float>(j * (0.02 / smp)));
  return t;
}

Values cosine(double peak, double degrees, int smp, int n) {
  Values wave;
  for (int j = 0; j < n; j++) {
    wave.push_back(static_cast<float>(peak * std::cos(2 * std::numbers::pi * j / smp + degrees * degree)));
  }
  return wave;
}

/// The results of transforming one phase.
struct Transformed {
  explicit Transformed(std::size_t n) : magnitude(n, 42), angle(n, 42), phasor(n, vec_struct{42, 42}) {}

  [[nodiscard]] bool untouched() const {
    const auto as_set = [](float value) { return value == 42.0F; };
    return std::all_of(magnitude.begin(), magnitude.end(), as_set) && std::all_of(angle.begin(), angle.end(), as_set) &&
           std::all_of(phasor.begin(), phasor.end(), [&](const auto& one) { return as_set(one.r) && as_set(one.x); });
  }

  Values magnitude;
  Values angle;
  std::vector<vec_struct> phasor;
};

class DelayTransform : public ::testing::Test {
 protected:
  void SetUp() override {
    before_ = dq_data_buf;
    dq_data_buf = static_cast<dq_data*>(std::calloc(1, sizeof(dq_data)));
    ASSERT_NE(dq_data_buf, nullptr);
  }
  void TearDown() override {
    std::free(dq_data_buf);
    dq_data_buf = before_;
  }

  static Transformed transform(Values wave, int smp, float f = 50) {
    auto t = times(smp, static_cast<int>(wave.size()));
    Transformed result(wave.size());
    dq_delay(wave.data(), t.data(), smp, static_cast<int>(wave.size()), f, result.magnitude.data(), result.angle.data(),
             result.phasor.data());
    return result;
  }

  /// Returns how many of the first values repeat the value after them.
  static int repeated(const float* row) {
    int count = 0;
    while (same_bits(row[count], row[count + 1])) count++;
    return count;
  }

 private:
  dq_data* before_ = nullptr;
};

std::pair<float, float> rotated(float a, float b, float c, float t, float f = 50) {
  float d = 42;
  float q = 42;
  dq(a, b, c, t, f, &d, &q);
  return {d, q};
}

TEST(Rotation, AtTheStartProjectsEachPhaseOnItsAxis) {
  const double scale = std::sqrt(2.0 / 3);
  const auto a = rotated(1, 0, 0, 0);
  EXPECT_NEAR(a.first, scale, 1e-7);
  EXPECT_EQ(a.second, 0.0F);
  const auto b = rotated(0, 1, 0, 0);
  EXPECT_NEAR(b.first, scale * -0.5, 1e-7);
  EXPECT_NEAR(b.second, scale * std::sqrt(0.75), 1e-7);
  const auto c = rotated(0, 0, 1, 0);
  EXPECT_NEAR(c.first, scale * -0.5, 1e-7);
  EXPECT_NEAR(c.second, scale * -std::sqrt(0.75), 1e-7);
}

TEST(Rotation, TurnsWithTimeAndFrequency) {
  // The angles are a quarter of a cycle at 50 Hz and at 25 Hz.
  const double scale = std::sqrt(2.0 / 3);
  for (const auto& [t, f] : std::vector<std::pair<float, float>>{{0.005F, 50.0F}, {0.01F, 25.0F}}) {
    const auto quarter = rotated(1, 0, 0, t, f);
    EXPECT_NEAR(quarter.first, 0, 1e-6);
    EXPECT_NEAR(quarter.second, -scale, 1e-6);
  }
}

TEST(Rotation, HoldsABalancedSetStillAtItsPhase) {
  for (const double phase : {0.0, 30.0, -100.0, 179.0}) {
    for (int j = 0; j < 32; j++) {
      const double at = 2 * std::numbers::pi * j / 32 + phase * degree;
      const double third = 2 * std::numbers::pi / 3;
      const auto [d, q] = rotated(static_cast<float>(std::cos(at)), static_cast<float>(std::cos(at - third)),
                                  static_cast<float>(std::cos(at + third)), static_cast<float>(j * 0.02 / 32));
      EXPECT_NEAR(d, line_over_phase * std::cos(phase * degree), 2e-6) << phase << " " << j;
      EXPECT_NEAR(q, line_over_phase * std::sin(phase * degree), 2e-6) << phase << " " << j;
    }
  }
}

TEST(Rotation, AddsPhasesInTheirOrderInFloat) {
  // On the d axis a and c cancel. b is added between them and is lost next to a; it would remain if it were added last.
  const auto [d, q] = rotated(1e9F, -2, 2e9F, 0);
  EXPECT_EQ(d, 0.0F);
  EXPECT_NEAR(q, -std::sqrt(2.0) * 1e9, 200);
}

TEST(Rotation, EqualsThePlainFormToTheLastBit) {
  for (const auto& kind : tests::kinds()) {
    const auto values = tests::series(kind, 300);
    for (std::size_t i = 0; i + 3 <= values.size(); i++) {
      const auto t = static_cast<float>(static_cast<double>(i) * 0.0137);
      float d = 0;
      float q = 0;
      plain::dq(values[i], values[i + 1], values[i + 2], t, 50, &d, &q);
      const auto [own_d, own_q] = rotated(values[i], values[i + 1], values[i + 2], t);
      ASSERT_TRUE(same_bits(own_d, d) && same_bits(own_q, q)) << kind.name << " " << i;
    }
  }
}

TEST(Rotation, WithoutAPlaceForItsResultDoesNothing) {
  float value = 42;
  dq(1, 2, 3, 0, 50, nullptr, &value);
  dq(1, 2, 3, 0, 50, &value, nullptr);
  EXPECT_EQ(value, 42.0F);
}

TEST_F(DelayTransform, OfACosineGivesItsMagnitudeAndAngleAtEverySample) {
  for (const int smp : {32, 50, 64, 99, 128}) {
    for (const double phase : {0.0, 30.0, -90.0, 135.0, -179.0}) {
      const int n = 12 * smp + 5;
      const auto result = transform(cosine(325, phase, smp, n), smp);
      for (std::size_t i = 0; i < static_cast<std::size_t>(n); i++) {
        ASSERT_NEAR(result.magnitude[i], 325 / std::numbers::sqrt2, 5e-3) << smp << " " << phase << " " << i;
        ASSERT_NEAR(result.angle[i], phase, 5e-3) << smp << " " << phase << " " << i;
      }
    }
  }
}

TEST_F(DelayTransform, CountsTheAngleFromTheGivenTimes) {
  // All times are equal, so the frame does not rotate and the phasor does.
  constexpr int smp = 64;
  auto wave = cosine(100, 0, smp, 4 * smp);
  Values t(wave.size(), 0.0F);
  Transformed result(wave.size());
  dq_delay(wave.data(), t.data(), smp, 4 * smp, 50, result.magnitude.data(), result.angle.data(), result.phasor.data());
  for (std::size_t i = 11; i < wave.size(); i++) {
    const double at = 2 * std::numbers::pi * static_cast<double>(i) / smp;
    EXPECT_NEAR(dq_data_buf->upd1[i], 100 * line_over_phase * std::cos(at), 1e-3) << i;
    EXPECT_NEAR(dq_data_buf->upq1[i], 100 * line_over_phase * std::sin(at), 1e-3) << i;
  }
}

TEST_F(DelayTransform, RepeatsItsFirstValueOverTheDelay) {
  for (const auto& [smp, delay] :
       std::vector<std::pair<int, int>>{{32, 5}, {33, 6}, {50, 8}, {64, 11}, {99, 17}, {128, 21}}) {
    transform(tests::series(tests::kinds()[0], 3 * smp), smp);
    EXPECT_EQ(repeated(dq_data_buf->upd1), delay) << smp;
    EXPECT_EQ(repeated(dq_data_buf->upq1), delay) << smp;
  }
}

TEST_F(DelayTransform, BuildsTheThirdPhaseFromTheSampleAndItsDelayedCopy) {
  // A single sample of 1 appears once as itself and once more as the delayed sample. All times are zero, so d is
  // sqrt(2/3) (a - b/2 - c/2) = sqrt(3/2) a, and q is sqrt(1/2) (b - c).
  for (const auto& [smp, delay, degrees] :
       std::vector<std::tuple<int, int, double>>{{32, 5, 56.25}, {64, 11, 61.875}, {128, 21, 59.0625}}) {
    Values wave(static_cast<std::size_t>(smp), 0.0F);
    const int at = smp / 2;
    wave[static_cast<std::size_t>(at)] = 1;
    Values t(wave.size(), 0.0F);
    Transformed result(wave.size());
    dq_delay(wave.data(), t.data(), smp, smp, 50, result.magnitude.data(), result.angle.data(), result.phasor.data());
    const double angle = degrees * degree;
    const double own_c = std::sqrt(0.75) * std::cos(angle) / std::sin(angle) - 0.5;
    const double own_b = -1 - own_c;
    const double late_c = -std::sqrt(0.75) / std::sin(angle);
    EXPECT_NEAR(dq_data_buf->upd1[at], line_over_phase, 1e-6) << smp;
    EXPECT_NEAR(dq_data_buf->upq1[at], std::sqrt(0.5) * (own_b - own_c), 1e-6) << smp;
    EXPECT_NEAR(dq_data_buf->upd1[at + delay], 0, 1e-6) << smp;
    EXPECT_NEAR(dq_data_buf->upq1[at + delay], std::sqrt(0.5) * (-late_c - late_c), 1e-6) << smp;
    for (int i = 0; i < smp; i++) {
      if (i == at || i == at + delay) continue;
      EXPECT_EQ(dq_data_buf->upq1[i], 0.0F) << smp << " " << i;
    }
  }
}

TEST_F(DelayTransform, RotatesLikeThePlainFormToTheLastBit) {
  for (const auto& kind : tests::kinds()) {
    for (const int smp : {32, 50, 64, 99, 128}) {
      const int n = 4 * smp + 3;
      const auto wave = tests::series(kind, n);
      const auto t = times(smp, n);
      Values d(wave.size());
      Values q(wave.size());
      plain::delayed_dq(wave.data(), t.data(), smp, n, 50, d.data(), q.data());
      transform(wave, smp);
      ASSERT_TRUE(same_bits(Values(dq_data_buf->upd1, dq_data_buf->upd1 + n), d)) << kind.name << " " << smp;
      ASSERT_TRUE(same_bits(Values(dq_data_buf->upq1, dq_data_buf->upq1 + n), q)) << kind.name << " " << smp;
    }
  }
}

TEST_F(DelayTransform, SmoothsBothComponentsOverAQuarterCycleAndASample) {
  for (const auto& [smp, win] :
       std::vector<std::pair<int, int>>{{32, 9}, {35, 9}, {50, 13}, {64, 17}, {99, 25}, {128, 33}}) {
    const int n = 4 * smp;
    transform(tests::series(tests::kinds()[0], n), smp);
    Values expected(static_cast<std::size_t>(n));
    plain::lvbo(dq_data_buf->upd1, expected.data(), n, win);
    EXPECT_TRUE(same_bits(Values(dq_data_buf->upd, dq_data_buf->upd + n), expected)) << smp;
    plain::lvbo(dq_data_buf->upq1, expected.data(), n, win);
    EXPECT_TRUE(same_bits(Values(dq_data_buf->upq, dq_data_buf->upq + n), expected)) << smp;
  }
}

TEST_F(DelayTransform, DerivesMagnitudeAngleAndPhasorFromTheSmoothedComponents) {
  const auto result = transform(tests::series(tests::kinds()[0], 2000), 128);
  for (std::size_t i = 0; i < 2000; i++) {
    const float d = dq_data_buf->upd[i];
    const float q = dq_data_buf->upq[i];
    const float squares = d * d + q * q;
    ASSERT_EQ(result.magnitude[i], static_cast<float>(0.57735 * std::sqrt(static_cast<double>(squares)))) << i;
    const double radians = std::atan2(static_cast<double>(q), static_cast<double>(d));
    ASSERT_EQ(result.angle[i], static_cast<float>(radians / 3.1415926536 * 180.0)) << i;
    ASSERT_EQ(result.phasor[i].r, static_cast<float>(0.57735 * static_cast<double>(d))) << i;
    ASSERT_EQ(result.phasor[i].x, static_cast<float>(0.57735 * static_cast<double>(q))) << i;
  }
}

TEST_F(DelayTransform, GivesAPhasorOfTheMagnitudeAtTheAngle) {
  const auto result = transform(tests::series(tests::kinds()[0], 500), 64);
  for (std::size_t i = 0; i < 500; i++) {
    ASSERT_NEAR(result.phasor[i].r, result.magnitude[i] * std::cos(result.angle[i] * degree), 1e-3) << i;
    ASSERT_NEAR(result.phasor[i].x, result.magnitude[i] * std::sin(result.angle[i] * degree), 1e-3) << i;
  }
}

TEST_F(DelayTransform, DoesNotSeeASpikeOfASample) {
  for (const int smp : {32, 64, 128}) {
    const int n = 6 * smp;
    auto wave = cosine(325, 40, smp, n);
    wave[static_cast<std::size_t>(3 * smp)] += 500;
    const auto result = transform(wave, smp);
    EXPECT_GT(std::fabs(dq_data_buf->upd1[3 * smp] - dq_data_buf->upd1[3 * smp - 1]), 100);
    for (std::size_t i = 0; i < static_cast<std::size_t>(n); i++) {
      ASSERT_NEAR(result.magnitude[i], 325 / std::numbers::sqrt2, 5e-3) << smp << " " << i;
      ASSERT_NEAR(result.angle[i], 40, 5e-3) << smp << " " << i;
    }
  }
}

TEST_F(DelayTransform, SeesAStepAsLongAsTheDelayMixesItsSides) {
  // The peak changes from 325 to 130 at one sample. The magnitude is the old one before that sample and the new one
  // exactly one delay after it.
  for (const auto& [smp, delay] : std::vector<std::pair<int, int>>{{32, 5}, {64, 11}, {128, 21}}) {
    const int at = 4 * smp;
    auto wave = cosine(325, 0, smp, 8 * smp);
    for (std::size_t i = static_cast<std::size_t>(at); i < wave.size(); i++) wave[i] *= 0.4F;
    const auto result = transform(wave, smp);
    for (int i = 0; i < 8 * smp; i++) {
      const float magnitude = result.magnitude[static_cast<std::size_t>(i)];
      if (i >= at && i < at + delay) continue;
      ASSERT_NEAR(magnitude, (i < at ? 325 : 130) / std::numbers::sqrt2, 5e-3) << smp << " " << i;
    }
  }
}

TEST_F(DelayTransform, OfSilenceIsZero) {
  const auto result = transform(Values(200, 0.0F), 64);
  EXPECT_EQ(result.magnitude, Values(200, 0));
  for (const auto& phasor : result.phasor) {
    EXPECT_EQ(phasor.r, 0.0F);
    EXPECT_EQ(phasor.x, 0.0F);
  }
}

TEST_F(DelayTransform, OfNoMoreSamplesThanTheDelayRepeatsTheOldValue) {
  // The delay at 128 samples per cycle is 21 samples, so nothing is computed.
  dq_data_buf->upd1[21] = 3;
  dq_data_buf->upq1[21] = 4;
  const auto result = transform(Values(21, 1.0F), 128);
  EXPECT_EQ(Values(dq_data_buf->upd1, dq_data_buf->upd1 + 21), Values(21, 3.0F));
  EXPECT_EQ(result.magnitude, Values(21, static_cast<float>(0.57735 * 5)));
  transform(Values(22, 1.0F), 128);
  EXPECT_NE(dq_data_buf->upd1[0], 3.0F);
}

TEST_F(DelayTransform, FillsAWholeWindow) {
  const auto result = transform(cosine(325, 20, 128, DQ_WINDOW_CAPACITY), 128);
  EXPECT_NEAR(result.magnitude.back(), 325 / std::numbers::sqrt2, 0.02);
  EXPECT_NEAR(result.angle.back(), 20, 0.02);
}

TEST_F(DelayTransform, BeyondTheRecordDoesNothing) {
  Values wave(DQ_WINDOW_CAPACITY + 1, 1.0F);
  auto t = times(128, DQ_WINDOW_CAPACITY + 1);
  Transformed result(DQ_WINDOW_CAPACITY + 1);
  constexpr int most = std::numeric_limits<int>::max();
  constexpr int least = std::numeric_limits<int>::min();
  for (const auto& [smp, n] : std::vector<std::pair<int, int>>{{128, DQ_WINDOW_CAPACITY + 1},
                                                               {128, most},
                                                               {128, 0},
                                                               {128, -1},
                                                               {128, least},
                                                               {0, 100},
                                                               {-1, 100},
                                                               {least, 100},
                                                               {512, 1000},
                                                               {most, 1000}}) {
    dq_delay(wave.data(), t.data(), smp, n, 50, result.magnitude.data(), result.angle.data(), result.phasor.data());
    ASSERT_TRUE(result.untouched()) << smp << " " << n;
  }
}

TEST_F(DelayTransform, WhoseElementNoLongerFitsBesideTheWindowDoesNothing) {
  // At 300 samples per cycle the element has 76 samples, which leaves space for 70391 samples.
  EXPECT_FALSE(transform(cosine(100, 0, 300, 70391), 300).untouched());
  EXPECT_TRUE(transform(cosine(100, 0, 300, 70392), 300).untouched());
}

TEST_F(DelayTransform, WithoutAnArrayOrTheRecordDoesNothing) {
  auto wave = cosine(100, 0, 32, 100);
  auto t = times(32, 100);
  Transformed result(100);
  float* ua = result.magnitude.data();
  float* angle = result.angle.data();
  vec_struct* phasor = result.phasor.data();
  dq_delay(nullptr, t.data(), 32, 100, 50, ua, angle, phasor);
  dq_delay(wave.data(), nullptr, 32, 100, 50, ua, angle, phasor);
  dq_delay(wave.data(), t.data(), 32, 100, 50, nullptr, angle, phasor);
  dq_delay(wave.data(), t.data(), 32, 100, 50, ua, nullptr, phasor);
  dq_delay(wave.data(), t.data(), 32, 100, 50, ua, angle, nullptr);
  dq_data* record = std::exchange(dq_data_buf, nullptr);
  dq_delay(wave.data(), t.data(), 32, 100, 50, ua, angle, phasor);
  dq_data_buf = record;
  EXPECT_TRUE(result.untouched());
  EXPECT_EQ(Values(dq_data_buf->upd1, dq_data_buf->upd1 + 100), Values(100, 0));
}

TEST_F(DelayTransform, CarriesNotANumberToItsDelayedCopyAndNoFurther) {
  auto wave = cosine(325, 0, 64, 640);
  wave[300] = tests::nan;
  transform(wave, 64);
  for (int i = 0; i < 640; i++) EXPECT_EQ(std::isnan(dq_data_buf->upd1[i]), i == 300 || i == 311) << i;
}

/// The times of all windows at all rates are known, so the rotations are, too. All of them are rounded correctly, so a
/// C library that is less accurate in the last bit of a double gives the same ones.
TEST(AMillionRotations, AreRoundedCorrectlyAtAllTimesOfAllRates) {
  constexpr double frequency_turn = 50.0 * 6.283185307179586;
  constexpr double third = 2.0943951023931953;
  long wrong = 0;
  for (int smp = 32; smp <= 128; smp++) {
    const auto step = static_cast<float>(0.02 / smp);
    const int longest = std::min(508 * smp, +DQ_WINDOW_CAPACITY);
    for (int j = 0; j < longest; j++) {
      const double angle = static_cast<double>(static_cast<float>(j) * step) * frequency_turn;
      for (const double at : {angle, angle - third, angle + third}) {
        const auto exact = static_cast<long double>(at);
        if (static_cast<float>(std::cos(at)) != static_cast<float>(std::cos(exact))) wrong++;
        if (static_cast<float>(std::sin(at)) != static_cast<float>(std::sin(exact))) wrong++;
      }
    }
  }
  EXPECT_EQ(wrong, 0);
}

}  // namespace
