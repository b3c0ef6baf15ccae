#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <memory>

#include "sagx/dq_dipx.h"

namespace {

template <typename Value, std::size_t Size>
bool all(const Value (&values)[Size], Value wanted) {
  return std::all_of(std::begin(values), std::end(values), [=](Value value) { return value == wanted; });
}

TEST(ClearingTheFeatureArrays, ZeroesSevenArraysOverTheirWholeCapacity) {
  const auto data = std::make_unique<dq_data>();
  const auto mark = [](auto& values) { std::fill(std::begin(values), std::end(values), 3.0F); };
  for (auto* cleared : {&data->ua0, &data->ub0, &data->uc0}) mark(*cleared);
  for (auto* cleared : {&data->feasvd_a, &data->feasvd_b, &data->feasvd_c, &data->u}) mark(*cleared);
  for (auto* kept : {&data->ua, &data->ub, &data->uc, &data->angle_a, &data->upq1, &data->upd}) mark(*kept);
  for (auto* kept : {&data->rms_ua, &data->rms_ub, &data->rms_uc, &data->Vc}) mark(*kept);
  data->hold_time = 3;
  data->num = data->smp = 3;

  clear_segdid_buf(data.get());

  for (auto* cleared : {&data->ua0, &data->ub0, &data->uc0}) EXPECT_TRUE(all(*cleared, 0.0F));
  for (auto* cleared : {&data->feasvd_a, &data->feasvd_b, &data->feasvd_c, &data->u}) EXPECT_TRUE(all(*cleared, 0.0F));
  for (auto* kept : {&data->ua, &data->ub, &data->uc, &data->angle_a, &data->upq1, &data->upd})
    EXPECT_TRUE(all(*kept, 3.0F));
  for (auto* kept : {&data->rms_ua, &data->rms_ub, &data->rms_uc, &data->Vc}) EXPECT_TRUE(all(*kept, 3.0F));
  EXPECT_EQ(data->hold_time, 3.0F);
  EXPECT_EQ(data->num, 3U);
  EXPECT_EQ(data->smp, 3U);
}

TEST(ClearingTheFeatureArrays, IgnoresANullPointer) {
  EXPECT_NO_FATAL_FAILURE(clear_segdid_buf(nullptr));
}

}  // namespace
