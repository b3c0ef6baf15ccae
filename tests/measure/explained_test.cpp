#include "measure/explained.h"

#include <gtest/gtest.h>

#include "tests/measure/made_waveform.h"

namespace measure {
namespace {

using tests::balanced;
using tests::MadeWaveform;
using tests::phasor;
using tests::ramped;
using tests::staged;

const double peak = 230 * std::numbers::sqrt2;

Excerpt all_of(const MadeWaveform& made) {
  return {made.waveform(), 0, made.waveform().length(), peak, 50};
}

Segment segment(double start_s, double end_s, const Phasors& rms) {
  Segment result;
  result.start_s = start_s;
  result.end_s = end_s;
  for (std::size_t phase = 0; phase < 3; phase++) result.phasors[phase] = rms[phase] / 230.0;
  return result;
}

TEST(Explained, IsEverythingWhenTheSegmentsAreRight) {
  const auto made = staged({{0, balanced(230)}, {0.3, balanced(115)}, {0.4, balanced(184)}, {0.5, balanced(230)}}, 0.8);
  const Excerpt excerpt = all_of(made);
  const std::vector<Segment> right = {segment(0.3, 0.4, balanced(115)), segment(0.4, 0.5, balanced(184))};
  EXPECT_NEAR(explained_share(excerpt, right, balanced(1), 0.3, 0.5).value(), 1, 1e-9);
  // A deviation of 2 % of the level before still agrees, 3 % does not.
  const std::vector<Segment> nearly = {segment(0.3, 0.4, balanced(118)), segment(0.4, 0.5, balanced(180))};
  EXPECT_NEAR(explained_share(excerpt, nearly, balanced(1), 0.3, 0.5).value(), 1, 1e-9);
  const std::vector<Segment> wrong = {segment(0.3, 0.4, balanced(122)), segment(0.4, 0.5, balanced(177))};
  EXPECT_NEAR(explained_share(excerpt, wrong, balanced(1), 0.3, 0.5).value(), 0, 1e-9);
}

TEST(Explained, IsTheShareOfTheTimeThatAgrees) {
  // One of two equal halves is right. Only windows that lie wholly within a segment count.
  const auto made = staged({{0, balanced(230)}, {0.3, balanced(115)}, {0.9, balanced(230)}}, 1.2);
  const std::vector<Segment> half = {segment(0.3, 0.6, balanced(115)), segment(0.6, 0.9, balanced(69))};
  EXPECT_NEAR(explained_share(all_of(made), half, balanced(1), 0.3, 0.9).value(), 0.5, 0.02);
}

TEST(Explained, IsMissingWithoutSegments) {
  const auto made = staged({{0, balanced(230)}, {0.3, balanced(115)}, {0.6, balanced(230)}}, 0.9);
  EXPECT_EQ(explained_share(all_of(made), {}, balanced(1), 0.3, 0.6), 0);
}

TEST(Explained, AcceptsAGradualSegmentThatChanges) {
  const auto made = ramped(balanced(115), balanced(230), 0.3, 0.6, 0.9);
  const Excerpt excerpt = all_of(made);
  Segment gradual = segment(0.3, 0.6, balanced(115));
  gradual.gradual = true;
  EXPECT_NEAR(explained_share(excerpt, {gradual}, balanced(1), 0.3, 0.6).value(), 1, 1e-9);
  Segment level = segment(0, 0.3, balanced(115));
  level.gradual = true;
  EXPECT_NEAR(explained_share(excerpt, {level}, balanced(1), 0, 0.3).value(), 0, 1e-9) << "nothing changes there";
}

TEST(Explained, KnowsWhetherAVoltageChanges) {
  const auto made = ramped(balanced(115), balanced(230), 0.3, 0.6, 0.9);
  const Excerpt excerpt = all_of(made);
  EXPECT_TRUE(changes(excerpt, 0.3, 0.6, balanced(1)));
  EXPECT_FALSE(changes(excerpt, 0.1, 0.28, balanced(1)));
  EXPECT_FALSE(changes(excerpt, 0.3, 0.325, balanced(1))) << "by less than 2 % between the two windows";
}

TEST(Explained, BearsOutASteadySegmentOnlyWhereItIsSteady) {
  auto made = staged({{0, balanced(230)}, {0.3, balanced(115)}, {0.5, balanced(161)}, {0.7, balanced(230)}}, 1);
  const Excerpt excerpt = all_of(made);
  const PhasorFit fit(excerpt, excerpt.index_at(0.31), excerpt.index_at(0.49), {});
  EXPECT_TRUE(is_borne_out(excerpt, segment(0.3, 0.5, balanced(115)), fit, balanced(1)));
  EXPECT_FALSE(is_borne_out(excerpt, segment(0.3, 0.7, balanced(115)), fit, balanced(1)));
}

TEST(Explained, BearsOutASegmentWhoseDecayingOffsetIsKnown) {
  auto made = staged({{0, balanced(230)}, {0.3, balanced(115)}}, 0.42, {1200, 50, 3});
  for (std::size_t phase = 0; phase < 3; phase++) {
    made.add(phase, [](double t) { return t < 0.3 ? 0 : 150 * std::exp(-(t - 0.3) / 0.012); });
  }
  const Excerpt excerpt = all_of(made);
  FitForm form;
  const PhasorFit without(excerpt, excerpt.index_at(0.3), excerpt.length(), form);
  form.decays = {0.6};
  const PhasorFit with(excerpt, excerpt.index_at(0.3), excerpt.length(), form);
  EXPECT_TRUE(is_borne_out(excerpt, segment(0.3, 0.42, balanced(115)), with, balanced(1)));
  EXPECT_FALSE(is_borne_out(excerpt, segment(0.3, 0.42, balanced(115)), without, balanced(1)));
}

TEST(Explained, FindsAStepThatASegmentHides) {
  const auto step = staged({{0, balanced(230)}, {0.3, balanced(115)}, {0.5, balanced(161)}}, 0.9);
  EXPECT_TRUE(hides_step(all_of(step), 0.31, 0.7));
  EXPECT_FALSE(hides_step(all_of(step), 0.51, 0.7)) << "the voltage is steady";
  const auto small = staged({{0, balanced(230)}, {0.3, balanced(115)}, {0.5, balanced(133)}}, 0.9);
  EXPECT_FALSE(hides_step(all_of(small), 0.31, 0.7)) << "a step of 8 %";
  // The voltage of a ramp of 10 cycles changes by a tenth in each of them.
  EXPECT_FALSE(hides_step(all_of(ramped(balanced(115), balanced(230), 0.3, 0.5, 0.9)), 0.3, 0.5));
}

TEST(Explained, FindsWhenATransientHasDecayed) {
  // For 4 ms the voltage is higher than that of the segment, by 10 % of the level before. In one of the phases this is
  // more than 2 % of the fundamental of a cycle that contains all of that time, but no longer when half of it is past.
  const auto made = staged({{0, balanced(230)}, {0.3, balanced(138)}, {0.304, balanced(115)}}, 0.6);
  const double settled = settled_s(all_of(made), segment(0.3, 0.5, balanced(115)), 0.306, balanced(1));
  EXPECT_GT(settled, 0.3);
  EXPECT_LT(settled, 0.305);
  EXPECT_EQ(settled_s(all_of(made), segment(0.3, 0.5, balanced(115)), 0.3005, balanced(1)), 0.3)
      << "it takes longer than that";
  EXPECT_EQ(settled_s(all_of(made), segment(0.31, 0.5, balanced(115)), 0.316, balanced(1)), 0.31);
}

}  // namespace
}  // namespace measure
