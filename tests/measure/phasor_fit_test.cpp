#include "measure/phasor_fit.h"

#include <gtest/gtest.h>

#include "tests/measure/made_waveform.h"

namespace measure {
namespace {

using tests::balanced;
using tests::MadeWaveform;
using tests::phasor;
using tests::ramped;
using tests::staged;
using tests::turning;

const double peak = 230 * std::numbers::sqrt2;
/// Exact fits are off by what keeps their equations solvable: a part in 10^9 of the normal equations.
constexpr double exact = 1e-6;

Excerpt all_of(const MadeWaveform& made) {
  return {made.waveform(), 0, made.waveform().length(), peak, 50};
}

void expect_phasors(const Phasors& found, const Phasors& rms) {
  for (std::size_t phase = 0; phase < 3; phase++) {
    EXPECT_NEAR(std::abs(found[phase] - rms[phase] / 230.0), 0, exact) << "phase " << phase;
  }
}

FitForm with_harmonics(std::vector<int> orders) {
  FitForm form;
  form.harmonics = std::move(orders);
  return form;
}

TEST(PhasorFit, FindsAmplitudeAndAngleOfSinusoids) {
  const Phasors rms = {phasor(230, 30), phasor(115, -100), phasor(345, 170)};
  const auto made = staged({{0, rms}}, 0.2);
  const Excerpt excerpt = all_of(made);
  for (const std::size_t length : {26U, 40U, 200U}) {
    const PhasorFit fit(excerpt, 30, 30 + length, {});
    expect_phasors(fit.phasors(0), rms);
    expect_phasors(fit.phasors(0.1), rms);
    EXPECT_EQ(fit.rows(), length);
    for (std::size_t phase = 0; phase < 3; phase++) EXPECT_NEAR(fit.residual()[phase], 0, 1e-8);
  }
}

TEST(PhasorFit, IsNotDisturbedByHarmonicsAndAConstant) {
  auto made = staged({{0, balanced(230)}}, 0.2);
  for (std::size_t phase = 0; phase < 3; phase++) {
    for (const int order : {2, 3, 4, 5, 7}) {
      made.add(phase, [&](double t) { return turning(phasor(23, 10.0 * order), 50 * order, t); });
    }
    made.add(phase, [](double) { return 40.0; });
  }
  const PhasorFit fit(all_of(made), 3, 47, with_harmonics({2, 3, 4, 5, 7}));
  expect_phasors(fit.phasors(0), balanced(230));
  for (const int order : {2, 3, 4, 5, 7}) {
    for (const Phasor& found : {fit.harmonic(order)[0], fit.harmonic(order)[2]}) {
      EXPECT_NEAR(std::abs(found - phasor(0.1, 10.0 * order)), 0, exact) << "order " << order;
    }
  }
  EXPECT_EQ(fit.harmonic(6)[0], 0.0) << "which was not fitted";
  for (const double t : {0.02, 0.0333}) {
    double expected = turning(phasor(230, -120), 50, t) + 40;
    for (const int order : {2, 3, 4, 5, 7}) expected += turning(phasor(23, 10.0 * order), 50 * order, t);
    EXPECT_NEAR(fit.voltage(t)[1], expected / peak, 1e-5);
  }
}

TEST(PhasorFit, FollowsAFundamentalThatChangesLinearly) {
  // With 24 samples per cycle each average is one sample.
  const Phasors after = {phasor(115, 20), phasor(230, -120), phasor(180, 100)};
  const auto made = ramped(balanced(230), after, 0, 0.2, 0.2, {1200, 50, 3});
  FitForm form;
  form.linear = true;
  const PhasorFit fit(all_of(made), 24, 72, form);
  EXPECT_TRUE(fit.is_linear());
  for (const double t : {0.0, 0.03, 0.15}) {
    Phasors expected{};
    for (std::size_t phase = 0; phase < 3; phase++) {
      expected[phase] = balanced(230)[phase] + t / 0.2 * (after[phase] - balanced(230)[phase]);
    }
    expect_phasors(fit.phasors(t), expected);
  }
}

TEST(PhasorFit, RecoversADecayingOffset) {
  // The offset decays by e in 0.6 cycles from 0.06 s on.
  auto made = staged({{0, balanced(230)}}, 0.2, {1200, 50, 3});
  const auto offset = [](double t) { return 100 * std::exp(-(t - 0.06) / (0.6 * 0.02)); };
  made.add(0, offset);
  FitForm form;
  form.decays = {0.6};
  const PhasorFit fit(all_of(made), 72, 144, form);
  expect_phasors(fit.phasors(0.1), balanced(230));
  for (const double t : {0.055, 0.06, 0.08}) {
    EXPECT_NEAR(fit.voltage(t)[0], (turning(balanced(230)[0], 50, t) + offset(t)) / peak, 1e-5) << t;
  }
}

TEST(PhasorFit, CarriesDecayingOffsetsBackAThirdOfACycleOnly) {
  auto made = staged({{0, balanced(230)}}, 0.2, {1200, 50, 3});
  made.add(0, [](double t) { return 100 * std::exp(-(t - 0.06) / 0.012); });
  FitForm form;
  form.decays = {0.6};
  const PhasorFit fit(all_of(made), 72, 144, form);
  // The fundamental is the same a cycle later; what remains is the offset, which stays as it is before the limit.
  const double early = fit.voltage(0.02)[0] - fit.voltage(0.18)[0];
  const double earlier = fit.voltage(0.0)[0] - fit.voltage(0.18)[0];
  EXPECT_NEAR(early, earlier, 1e-9);
  // The stretch begins half a sample before its first one.
  const double limit = 0.06 - 0.5 / 1200 - 0.35 * 0.02;
  EXPECT_NEAR(early, 100 * std::exp(-(limit - 0.06) / 0.012) / peak, 1e-3);
}

TEST(PhasorFit, LeavesOutHarmonicsThatTheRateDoesNotCarry) {
  const auto made = staged({{0, balanced(230)}}, 0.2, {400, 50, 3});
  const PhasorFit fit(all_of(made), 0, 80, with_harmonics({2, 3, 4, 5, 7}));
  EXPECT_EQ(fit.form().harmonics, (std::vector<int>{2, 3})) << "of 8 samples per cycle";
  expect_phasors(fit.phasors(0), balanced(230));
}

TEST(PhasorFit, LeavesOutMissingSamples) {
  auto made = staged({{0, balanced(230)}}, 0.2);
  made.lose(2, 0.05, 0.06);
  const Excerpt excerpt = all_of(made);
  const PhasorFit fit(excerpt, 0, 200, {});
  std::size_t missing = 0;
  for (std::size_t i = 0; i < 200; i++) missing += excerpt.is_missing(i) ? 1 : 0;
  EXPECT_GE(missing, 64U / 5);
  EXPECT_EQ(fit.rows(), 200 - missing);
  expect_phasors(fit.phasors(0), balanced(230));
}

TEST(PhasorFit, DerivesItsStandardErrorFromTheResidual) {
  // A harmonic that is not fitted is all that is left: its mean square is half its squared amplitude. Of a sum over n
  // whole periods each component of a phasor has the variance of the residual times 2 / n.
  auto made = staged({{0, balanced(230)}}, 0.2, {1200, 50, 3});
  for (std::size_t phase = 0; phase < 3; phase++) {
    made.add(phase, [](double t) { return 0.02 * peak * std::cos(2 * tests::pi * 9 * 50 * t); });
  }
  const PhasorFit fit(all_of(made), 0, 240, {});
  const double residual = 0.02 * 0.02 / 2 * 240 / (240 - 3);
  for (std::size_t phase = 0; phase < 3; phase++) {
    EXPECT_NEAR(fit.residual()[phase] / residual, 1, 1e-5);
    EXPECT_NEAR(fit.standard_error(0.1)[phase] / std::sqrt(residual * 2 / 240), 1, 1e-5);
  }
}

TEST(PhasorFit, OfALinearCourseIsSurestInItsMiddle) {
  auto made = staged({{0, balanced(230)}}, 0.2, {1200, 50, 3});
  made.add(0, [](double t) { return 0.02 * peak * std::cos(2 * tests::pi * 9 * 50 * t); });
  FitForm form;
  form.linear = true;
  const PhasorFit fit(all_of(made), 0, 240, form);
  // The variance of a straight line's ends is four times that of its middle.
  EXPECT_NEAR(fit.standard_error(0.0)[0] / fit.standard_error(0.1)[0], 2, 0.03);
  EXPECT_NEAR(fit.standard_error(0.2)[0] / fit.standard_error(0.1)[0], 2, 0.03);
}

TEST(FitForm, CarriesMoreTheLongerTheStretch) {
  EXPECT_TRUE(FitForm::for_length(0.6, true, true).harmonics.empty());
  EXPECT_FALSE(FitForm::for_length(0.6, true, true).linear);
  EXPECT_EQ(FitForm::for_length(0.8, false, false).harmonics, (std::vector<int>{3, 5}));
  EXPECT_EQ(FitForm::for_length(1, false, false).harmonics, (std::vector<int>{3, 5, 7}));
  EXPECT_EQ(FitForm::for_length(2, false, false).harmonics, (std::vector<int>{2, 3, 4, 5, 7}));
  EXPECT_TRUE(FitForm::for_length(2, true, false).linear);
  EXPECT_FALSE(FitForm::for_length(2, false, false).linear);
  EXPECT_TRUE(FitForm::for_length(5, false, false).decays.empty()) << "there was no change";
  EXPECT_EQ(FitForm::for_length(2, false, true).decays.size(), 1U);
  EXPECT_EQ(FitForm::for_length(5, false, true).decays.size(), 2U);
}

}  // namespace
}  // namespace measure
