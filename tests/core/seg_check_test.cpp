#include <gtest/gtest.h>

#include <limits>
#include <numeric>
#include <vector>

#include "sagx/dipx_lib.h"
#include "tests/core/printed_lines.h"

namespace {

struct Checked {
  int status;
  tests::Printed printed;
};

Checked check(std::vector<int> list, int num) {
  Checked result{-7, {}};
  result.printed = tests::printed_by([&] { result.status = seg_check(list.data(), num); });
  return result;
}

Checked check(const std::vector<int>& list) {
  return check(list, static_cast<int>(list.size()));
}

/// Returns the list 0, 1, 2, ...
std::vector<int> counting(int entries) {
  std::vector<int> list(static_cast<std::size_t>(entries));
  std::iota(list.begin(), list.end(), 0);
  return list;
}

void expect_accepted(const Checked& checked) {
  EXPECT_EQ(checked.status, 0);
  EXPECT_EQ(checked.printed.out, "");
  EXPECT_EQ(checked.printed.err, "");
}

void expect_rejected(const Checked& checked, const char* line) {
  EXPECT_EQ(checked.status, 1);
  EXPECT_EQ(checked.printed.out, line);
  EXPECT_EQ(checked.printed.err, "");
}

constexpr const char* wrong_count = "seg check err1\r\n";
constexpr const char* negative_entry = "seg check err2\r\n";
constexpr const char* out_of_order = "seg check err3\r\n";

TEST(BoundaryCheck, AcceptsTwoBoundaries) {
  expect_accepted(check({10, 20}));
}

TEST(BoundaryCheck, RejectsOneBoundaryAndNone) {
  expect_rejected(check({10}), wrong_count);
  expect_rejected(check({10, 20}, 0), wrong_count);
}

TEST(BoundaryCheck, RejectsANegativeCount) {
  expect_rejected(check({10, 20}, -1), wrong_count);
  expect_rejected(check({10, 20}, std::numeric_limits<int>::min()), wrong_count);
}

TEST(BoundaryCheck, AcceptsThirtyTwoBoundariesButNotThirtyThree) {
  expect_accepted(check(counting(32)));
  expect_rejected(check(counting(33)), wrong_count);
}

TEST(BoundaryCheck, RejectsAHugeCountWithoutReadingTheList) {
  expect_rejected(check({10, 20}, std::numeric_limits<int>::max()), wrong_count);
}

TEST(BoundaryCheck, TreatsAMissingListAsEmpty) {
  int status = -7;
  const auto printed = tests::printed_by([&] { status = seg_check(nullptr, 4); });
  EXPECT_EQ(status, 1);
  EXPECT_EQ(printed.out, wrong_count);
}

TEST(BoundaryCheck, AcceptsZeroAndRejectsNegativePositions) {
  expect_accepted(check({0, 0, 0}));
  expect_rejected(check({-1, 0, 0}), negative_entry);
}

TEST(BoundaryCheck, SeesANegativeEntryInTheLastPlace) {
  expect_rejected(check({1, 2, 3, -4}), negative_entry);
}

TEST(BoundaryCheck, AcceptsEqualNeighbours) {
  expect_accepted(check({10, 10, 20}));
  expect_accepted(check({10, 20, 20}));
}

TEST(BoundaryCheck, RejectsADescent) {
  expect_rejected(check({10, 9}), out_of_order);
}

TEST(BoundaryCheck, SeesADescentBetweenTheLastTwoEntries) {
  expect_rejected(check({1, 2, 3, 4, 3}), out_of_order);
}

TEST(BoundaryCheck, NamesTheFirstRuleBroken) {
  expect_rejected(check({10, -9, 5}), negative_entry);
  expect_rejected(check({10, -9}, 1), wrong_count);
}

TEST(BoundaryCheck, ReadsNothingPastTheCount) {
  expect_accepted(check({10, 20, -1}, 2));
  expect_accepted(check({10, 20, 5}, 2));
}

TEST(BoundaryCheck, AcceptsTheLargestPositions) {
  const int last = std::numeric_limits<int>::max();
  expect_accepted(check({0, last, last}));
}

TEST(BoundaryCheck, LeavesTheListUnchanged) {
  int list[] = {30, -1, 20};
  tests::printed_by([&] { seg_check(list, 3); });
  EXPECT_EQ(list[0], 30);
  EXPECT_EQ(list[1], -1);
  EXPECT_EQ(list[2], 20);
}

}  // namespace
