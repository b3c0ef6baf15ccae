#include "sagx/dip_window.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>

namespace {

constexpr sagx::Window window{1000, 500};

/// Returns a dip at 50 samples per cycle in whose lists each entry holds its own index.
std::unique_ptr<dq_dipx_struct> dip() {
  auto result = std::make_unique<dq_dipx_struct>();
  result->smprate = 50;
  for (int j = 0; j < DQ_LIST_CAPACITY; j++) {
    for (auto* list : {&result->Trms, &result->T, &result->order_min, &result->pos_u3_min, &result->T0, &result->T0rms,
                       &result->pos_ua_min, &result->pos_ub_min, &result->pos_uc_min}) {
      (*list)[j] = 10 * j;
    }
  }
  result->D[0] = 40;
  result->D[1] = 190;
  return result;
}

void expect_window_positions(const dq_dipx_struct& result) {
  for (const auto* list : {&result.T0, &result.T0rms, &result.pos_ua_min, &result.pos_ub_min, &result.pos_uc_min}) {
    for (int j = 0; j < DQ_LIST_CAPACITY; j++) EXPECT_EQ((*list)[j], 10 * j);
  }
  EXPECT_EQ(result.D[0], 40);
  EXPECT_EQ(result.D[1], 190);
}

TEST(FinishedLongWindow, ConvertsItsListsToRecordPositionsUpToTheirCounts) {
  const auto result = dip();
  result->Trms_num = 3;
  result->T_num = 4;
  result->u_min_num = 2;
  sagx::finish_long_window(*result, window);
  for (int j = 0; j < DQ_LIST_CAPACITY; j++) {
    EXPECT_EQ(result->Trms[j], 10 * j + (j < 3 ? 1000 : 0));
    EXPECT_EQ(result->T[j], 10 * j + (j < 4 ? 1000 : 0));
    EXPECT_EQ(result->order_min[j], 10 * j + (j < 2 ? 1000 : 0));
    EXPECT_EQ(result->pos_u3_min[j], 10 * j);
  }
  expect_window_positions(*result);
}

TEST(FinishedLongWindow, LastsFromItsFirstToItsLastRmsBoundary) {
  const auto result = dip();
  result->Trms_num = 3;
  sagx::finish_long_window(*result, window);
  EXPECT_EQ(result->hold_time_dq, static_cast<float>(20 * (0.02 / 50)));
}

TEST(FinishedLongWindow, WithoutABoundaryHasNoDuration) {
  for (const int count : {0, -1}) {
    const auto result = dip();
    result->Trms_num = count;
    result->hold_time_dq = 7;
    sagx::finish_long_window(*result, window);
    EXPECT_EQ(result->hold_time_dq, 0.0F);
    EXPECT_EQ(result->Trms[0], 0);
  }
}

TEST(FinishedLongWindow, NeverHasANegativeDuration) {
  const auto result = dip();
  result->Trms_num = 3;
  result->Trms[0] = 165;
  result->Trms[2] = 52;
  sagx::finish_long_window(*result, window);
  EXPECT_EQ(result->hold_time_dq, 0.0F);
}

TEST(FinishedShortWindow, ConvertsItsListsToRecordPositionsAndCopiesTheMinima) {
  const auto result = dip();
  result->Trms_num = 3;
  result->T_num = 4;
  result->u_min_num = 2;
  for (int& position : result->order_min) position = -5;
  sagx::finish_short_window(*result, window);
  for (int j = 0; j < DQ_LIST_CAPACITY; j++) {
    EXPECT_EQ(result->Trms[j], 10 * j + (j < 3 ? 1000 : 0));
    EXPECT_EQ(result->T[j], 10 * j + (j < 4 ? 1000 : 0));
    EXPECT_EQ(result->pos_u3_min[j], 10 * j + (j < 2 ? 1000 : 0));
    EXPECT_EQ(result->order_min[j], j < 2 ? 10 * j + 1000 : -5);
  }
  expect_window_positions(*result);
}

TEST(FinishedShortWindow, LastsFromFallToRecovery) {
  const auto result = dip();
  sagx::finish_short_window(*result, window);
  EXPECT_EQ(result->hold_time_dq, static_cast<float>(150 * (0.02 / 50)));
}

TEST(FinishedShortWindow, NeverHasANegativeDuration) {
  const auto result = dip();
  result->D[1] = 39;
  sagx::finish_short_window(*result, window);
  EXPECT_EQ(result->hold_time_dq, 0.0F);
}

TEST(FinishedWindows, StayInsideTheListsForAnyCounts) {
  for (const int count : {33, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
    for (const auto finish : {sagx::finish_long_window, sagx::finish_short_window}) {
      const auto result = dip();
      result->Trms_num = result->T_num = result->u_min_num = count;
      finish(*result, window);
      EXPECT_EQ(result->T[31], count > 0 ? 1310 : 310);
      EXPECT_EQ(result->T_num, count);
      EXPECT_EQ(result->T0[0], 0) << "the list before this one must not change";
    }
  }
}

}  // namespace
