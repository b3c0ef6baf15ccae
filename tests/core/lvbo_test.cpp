#include "sagx/lvbo.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <utility>
#include <vector>

#include "tests/core/kernel_inputs.h"
#include "tests/plain/lvbo.h"

namespace {

using tests::same_bits;
using tests::series;
using Values = std::vector<float>;

/// The kernels work in the window record.
class Morphology : public ::testing::Test {
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

 private:
  dq_data* before_ = nullptr;
};

class Erosion : public Morphology {};
class Dilation : public Morphology {};
class Smoothing : public Morphology {};

using Kernel = void (*)(float*, float*, float*, int, int);
using PlainKernel = void (*)(const float*, float*, int, int);

Values by(Kernel kernel, Values signal, int win) {
  Values out(signal.size());
  kernel(signal.data(), nullptr, out.data(), static_cast<int>(signal.size()), win);
  return out;
}

Values eroded(Values signal, int win) {
  return by(FS, std::move(signal), win);
}
Values dilated(Values signal, int win) {
  return by(PZ, std::move(signal), win);
}

Values smoothed(Values signal, int win) {
  Values out(signal.size());
  lvbo(signal.data(), out.data(), static_cast<int>(signal.size()), win);
  return out;
}

/// Tests every kind of series and every length of element, from a single sample on.
void expect_plain_form(Kernel kernel, PlainKernel plain_kernel) {
  for (const auto& kind : tests::kinds()) {
    for (const int n : {1, 2, 3, 9, 40, 131}) {
      const auto signal = series(kind, n);
      for (int win = 1; win <= DQ_FILTER_ROWS; win++) {
        Values expected(signal.size());
        plain_kernel(signal.data(), expected.data(), n, win);
        ASSERT_TRUE(same_bits(by(kernel, signal, win), expected)) << kind.name << " n " << n << " win " << win;
      }
    }
  }
}

void expect_plain_form_in_place(Kernel kernel, PlainKernel plain_kernel) {
  for (const auto& kind : tests::kinds()) {
    for (const int win : {1, 2, 9, 17, 33, 128}) {
      auto signal = series(kind, 100);
      Values expected(signal.size());
      plain_kernel(signal.data(), expected.data(), 100, win);
      kernel(signal.data(), nullptr, signal.data(), 100, win);
      ASSERT_TRUE(same_bits(signal, expected)) << kind.name << " win " << win;
    }
  }
}

void expect_plain_form_shifted(Kernel kernel, PlainKernel plain_kernel) {
  for (const int shift : {-5, 5}) {
    auto both = series(tests::kinds()[0], 110);
    Values expected(100);
    plain_kernel(&both[5], expected.data(), 100, 9);
    kernel(&both[5], nullptr, &both[static_cast<std::size_t>(5 + shift)], 100, 9);
    const auto begin = both.begin() + 5 + shift;
    EXPECT_TRUE(same_bits(Values(begin, begin + 100), expected)) << shift;
  }
}

/// Tests that sizes just beyond every limit leave the output unchanged.
template <typename Call>
void expect_nothing_done_beyond_limits(Call call) {
  constexpr int most = std::numeric_limits<int>::max();
  for (const auto& [n, win] : std::vector<std::pair<int, int>>{{0, 9},
                                                               {-1, 9},
                                                               {8, 0},
                                                               {8, -1},
                                                               {8, 129},
                                                               {DQ_FILTER_CAPACITY - 8, 9},
                                                               {DQ_FILTER_CAPACITY, 1},
                                                               {most, 128},
                                                               {8, most},
                                                               {std::numeric_limits<int>::min(), 1}}) {
    Values signal(DQ_FILTER_CAPACITY, 1);
    Values out(DQ_FILTER_CAPACITY, 42);
    call(signal.data(), out.data(), n, win);
    EXPECT_EQ(out, Values(DQ_FILTER_CAPACITY, 42)) << n << " " << win;
  }
}

template <typename Call>
void expect_all_done_at_limits(Call call) {
  for (const auto& [n, win] : std::vector<std::pair<int, int>>{
           {1, 128}, {DQ_FILTER_CAPACITY - 9, 9}, {DQ_FILTER_CAPACITY - 1, 1}, {DQ_WINDOW_CAPACITY, 67}}) {
    Values signal(static_cast<std::size_t>(n), 3);
    Values out(static_cast<std::size_t>(n) + 1, 42);
    call(signal.data(), out.data(), n, win);
    Values expected(static_cast<std::size_t>(n), 3);
    expected.push_back(42);
    EXPECT_EQ(out, expected) << n << " " << win;
  }
}

TEST_F(Erosion, YieldsTheSmallestOfACentredWindow) {
  EXPECT_EQ(eroded({5, 3, 4, 1, 2, 6, 7}, 3), (Values{3, 3, 1, 1, 1, 2, 6}));
}

TEST_F(Dilation, YieldsTheLargestOfACentredWindow) {
  EXPECT_EQ(dilated({5, 3, 4, 1, 2, 6, 7}, 3), (Values{5, 5, 4, 4, 6, 7, 7}));
}

TEST_F(Erosion, OfAnEvenWindowReachesOneFurtherBackThanForward) {
  EXPECT_EQ(eroded({5, 3, 4, 1, 2}, 2), (Values{5, 3, 3, 1, 1}));
  EXPECT_EQ(eroded({4, 3, 2, 1, 5, 6, 7, 8}, 4), (Values{3, 2, 1, 1, 1, 1, 5, 6}));
}

TEST_F(Dilation, OfAnEvenWindowReachesOneFurtherBackThanForward) {
  EXPECT_EQ(dilated({5, 3, 4, 1, 2}, 2), (Values{5, 5, 4, 4, 2}));
  EXPECT_EQ(dilated({4, 3, 2, 1, 5, 6, 7, 8}, 4), (Values{4, 4, 4, 5, 6, 7, 8, 8}));
}

TEST_F(Erosion, OfAWindowLongerThanTheSignalUsesAllSamples) {
  EXPECT_EQ(eroded({5, 3, 4}, 128), (Values{3, 3, 3}));
  EXPECT_EQ(eroded({7}, 33), (Values{7}));
}

TEST_F(Dilation, OfAWindowLongerThanTheSignalUsesAllSamples) {
  EXPECT_EQ(dilated({5, 3, 4}, 128), (Values{5, 5, 5}));
  EXPECT_EQ(dilated({-7}, 33), (Values{-7}));
}

TEST_F(Erosion, SeesAMillionOutsideTheSignal) {
  EXPECT_EQ(eroded({2e6F, 3e6F, 4e6F, 5e6F}, 3), (Values{1e6F, 2e6F, 3e6F, 1e6F}));
  EXPECT_EQ(eroded({2e6F, 3e6F, 4e6F, 5e6F}, 2), (Values{1e6F, 2e6F, 3e6F, 4e6F}))
      << "an even element extends outside only at the front";
  EXPECT_EQ(eroded({2e6F}, 1), (Values{2e6F}));
}

TEST_F(Dilation, SeesMinusAMillionOutsideTheSignal) {
  EXPECT_EQ(dilated({-2e6F, -3e6F, -4e6F, -5e6F}, 3), (Values{-1e6F, -2e6F, -3e6F, -1e6F}));
  EXPECT_EQ(dilated({-2e6F, -3e6F, -4e6F, -5e6F}, 2), (Values{-1e6F, -2e6F, -3e6F, -4e6F}));
  EXPECT_EQ(dilated({-2e6F}, 1), (Values{-2e6F}));
}

TEST_F(Erosion, LeavesTheLastOfTwoEqualZeros) {
  EXPECT_TRUE(same_bits(eroded({0.0F, -0.0F}, 2), {0.0F, -0.0F}));
  EXPECT_TRUE(same_bits(eroded({-0.0F, 0.0F}, 2), {-0.0F, 0.0F}));
}

TEST_F(Dilation, LeavesTheFirstOfTwoEqualZeros) {
  EXPECT_TRUE(same_bits(dilated({0.0F, -0.0F}, 2), {0.0F, 0.0F}));
  EXPECT_TRUE(same_bits(dilated({-0.0F, 0.0F}, 2), {-0.0F, -0.0F}));
}

TEST_F(Erosion, KeepsNotANumberThatComesFirstAndPassesOverOthers) {
  EXPECT_TRUE(same_bits(eroded({5, tests::nan, 3, 4}, 2), {5, 5, tests::nan, 3}));
}

TEST_F(Dilation, KeepsNotANumberThatComesLastAndPassesOverOthers) {
  EXPECT_TRUE(same_bits(dilated({5, tests::nan, 3, 4}, 2), {5, tests::nan, 3, 4}));
}

TEST_F(Erosion, EqualsThePlainFormToTheLastBit) {
  expect_plain_form(FS, plain::FS);
}
TEST_F(Dilation, EqualsThePlainFormToTheLastBit) {
  expect_plain_form(PZ, plain::PZ);
}

TEST_F(Erosion, MayWriteOverItsInput) {
  expect_plain_form_in_place(FS, plain::FS);
  expect_plain_form_shifted(FS, plain::FS);
}
TEST_F(Dilation, MayWriteOverItsInput) {
  expect_plain_form_in_place(PZ, plain::PZ);
  expect_plain_form_shifted(PZ, plain::PZ);
}

TEST_F(Erosion, MayReadFromTheRecordsOwnRow) {
  const Values signal = {5, 3, 4, 1, 2, 6, 7, 0.5F};
  std::copy(signal.begin(), signal.end(), dq_data_buf->B);
  Values out(signal.size());
  FS(dq_data_buf->B, nullptr, out.data(), static_cast<int>(signal.size()), 3);
  EXPECT_EQ(out, eroded(signal, 3));
  EXPECT_EQ(out[5], 2.0F);
}

TEST_F(Erosion, DoesNotReadTheElement) {
  Values signal = series(tests::kinds()[0], 50);
  Values element(128, tests::nan);
  Values out(50);
  FS(signal.data(), element.data(), out.data(), 50, 9);
  EXPECT_EQ(out, eroded(signal, 9));
  PZ(signal.data(), element.data(), out.data(), 50, 9);
  EXPECT_EQ(out, dilated(signal, 9));
}

TEST_F(Erosion, KeepsToItsLimits) {
  const auto call = [](float* signal, float* out, int n, int win) { FS(signal, nullptr, out, n, win); };
  expect_nothing_done_beyond_limits(call);
  expect_all_done_at_limits(call);
}
TEST_F(Dilation, KeepsToItsLimits) {
  const auto call = [](float* signal, float* out, int n, int win) { PZ(signal, nullptr, out, n, win); };
  expect_nothing_done_beyond_limits(call);
  expect_all_done_at_limits(call);
}
TEST_F(Smoothing, KeepsToItsLimits) {
  expect_nothing_done_beyond_limits(lvbo);
  expect_all_done_at_limits(lvbo);
}

TEST_F(Morphology, WithoutAnArrayDoesNothing) {
  Values values(8, 42);
  for (const auto kernel : {FS, PZ}) {
    kernel(nullptr, nullptr, values.data(), 8, 3);
    kernel(values.data(), nullptr, nullptr, 8, 3);
  }
  lvbo(nullptr, values.data(), 8, 3);
  lvbo(values.data(), nullptr, 8, 3);
  EXPECT_EQ(values, Values(8, 42));
  EXPECT_EQ(dq_data_buf->eroder[0], 0.0F);
}

TEST_F(Morphology, WithoutAWindowRecordDoesNothing) {
  dq_data* record = std::exchange(dq_data_buf, nullptr);
  Values signal(8, 1);
  Values out(8, 42);
  FS(signal.data(), nullptr, out.data(), 8, 3);
  PZ(signal.data(), nullptr, out.data(), 8, 3);
  lvbo(signal.data(), out.data(), 8, 3);
  dq_data_buf = record;
  EXPECT_EQ(out, Values(8, 42));
}

TEST_F(Smoothing, RemovesASpikeNarrowerThanTheElement) {
  for (const float height : {50.0F, -50.0F}) {
    Values signal(60, 10);
    for (std::size_t i = 20; i < 28; i++) signal[i] = height;
    EXPECT_EQ(smoothed(signal, 9), Values(60, 10)) << "eight samples of " << height;
    signal[28] = height;
    EXPECT_EQ(smoothed(signal, 9), signal) << "nine samples of " << height;
  }
}

TEST_F(Smoothing, KeepsAStepWhereItIs) {
  for (const int win : {1, 3, 9, 17, 33}) {
    for (const float after : {50.0F, -50.0F}) {
      Values signal(100, 10);
      std::fill(signal.begin() + 50, signal.end(), after);
      EXPECT_EQ(smoothed(signal, win), signal) << win << " " << after;
    }
  }
}

TEST_F(Smoothing, ByAnEvenElementMovesAStepTwoSamplesOn) {
  // Each of the four passes over the step moves it by half a sample.
  Values signal(100, 10);
  std::fill(signal.begin() + 50, signal.end(), 50.0F);
  Values expected(100, 10);
  std::fill(expected.begin() + 52, expected.end(), 50.0F);
  EXPECT_EQ(smoothed(signal, 8), expected);
}

TEST_F(Smoothing, IsTheMeanOfTheOpenedClosingAndTheClosedOpening) {
  // The signal alternates between up and down. Opening first leaves the lower level, and closing first leaves the upper
  // one.
  const Values signal = {1, 1, 1, 3, 1, 3, 1, 3, 3, 3};
  EXPECT_EQ(smoothed(signal, 3), (Values{1, 1, 1, 2, 2, 2, 2, 3, 3, 3}));
}

TEST_F(Smoothing, EqualsThePlainFormToTheLastBit) {
  for (const auto& kind : tests::kinds()) {
    for (const int n : {1, 2, 3, 9, 40, 131, 400}) {
      const auto signal = series(kind, n);
      for (const int win : {1, 2, 3, 4, 5, 8, 9, 13, 16, 17, 25, 33, 64, 67, 127, 128}) {
        Values expected(signal.size());
        plain::lvbo(signal.data(), expected.data(), n, win);
        ASSERT_TRUE(same_bits(smoothed(signal, win), expected)) << kind.name << " n " << n << " win " << win;
      }
    }
  }
}

TEST_F(Smoothing, EqualsThePlainFormOverAWholeWindow) {
  for (const auto& kind : {tests::kinds()[0], tests::kinds().back()}) {
    const auto signal = series(kind, DQ_WINDOW_CAPACITY);
    Values expected(signal.size());
    plain::lvbo(signal.data(), expected.data(), DQ_WINDOW_CAPACITY, 33);
    EXPECT_TRUE(same_bits(smoothed(signal, 33), expected)) << kind.name;
  }
}

TEST_F(Smoothing, MayWriteOverItsInput) {
  auto signal = series(tests::kinds()[0], 200);
  const auto expected = smoothed(signal, 9);
  lvbo(signal.data(), signal.data(), 200, 9);
  EXPECT_TRUE(same_bits(signal, expected));
}

TEST_F(Smoothing, LeavesEveryIntermediateResultInTheRecord) {
  constexpr int n = 200;
  constexpr int win = 9;
  const auto signal = series(tests::kinds()[0], n);
  smoothed(signal, win);
  const auto plain_result = [](PlainKernel kernel, const Values& in) {
    Values out(in.size());
    kernel(in.data(), out.data(), n, win);
    return out;
  };
  const auto left = [](const float* row) { return Values(row, row + n); };
  const auto erosion = plain_result(plain::FS, signal);
  const auto dilation = plain_result(plain::PZ, signal);
  const auto opening = plain_result(plain::PZ, erosion);
  const auto closing = plain_result(plain::FS, dilation);
  EXPECT_EQ(left(dq_data_buf->eroder), erosion);
  EXPECT_EQ(left(dq_data_buf->dilata), dilation);
  EXPECT_EQ(left(dq_data_buf->OPEN), opening);
  EXPECT_EQ(left(dq_data_buf->CLOSE), closing);
  EXPECT_EQ(left(dq_data_buf->TEMP), plain_result(plain::FS, closing));
  EXPECT_EQ(left(dq_data_buf->OC), plain_result(plain::FS, plain_result(plain::PZ, opening)));
  EXPECT_EQ(left(dq_data_buf->CO), plain_result(plain::PZ, plain_result(plain::FS, closing)));
}

}  // namespace
