// Labels along an axis that are kept apart.
#include "outputs/label_places.h"

#include <gtest/gtest.h>

#include "outputs/figure_events.h"

namespace {

using outputs::places_apart;

using Places = std::vector<double>;

TEST(LabelPlaces, StayWhereThereIsRoom) {
  EXPECT_EQ(places_apart({1, 3, 10}, 2, 0, 20), (Places{1, 3, 10}));
  EXPECT_EQ(places_apart({}, 2, 0, 20), Places{});
}

TEST(LabelPlaces, MoveApartByEqualDistances) {
  EXPECT_EQ(places_apart({10, 11}, 2, 0, 20), (Places{9.5, 11.5}));
  EXPECT_EQ(places_apart({10, 10, 10}, 2, 0, 20), (Places{8, 10, 12}));
  // The last two reach the first one when they have moved.
  EXPECT_EQ(places_apart({7, 10, 10}, 2, 0, 20), (Places{7, 9, 11}));
  EXPECT_EQ(places_apart({8, 10, 10}, 2, 0, 20), (Places{7.333333333333333, 9.333333333333332, 11.333333333333332}));
}

TEST(LabelPlaces, StayWithinTheirRoom) {
  EXPECT_EQ(places_apart({0, 0.5}, 2, 0, 20), (Places{1, 3}));
  EXPECT_EQ(places_apart({19.5, 20}, 2, 0, 20), (Places{17, 19}));
}

TEST(EventBars, ShareALaneWhereTheyDoNotOverlap) {
  const auto dip = measure::EventKind::dip;
  std::vector<outputs::EventBar> bars = {{1, dip, 11, 30}, {2, dip, 20, 40}, {3, dip, 45, 60}};
  outputs::distribute(bars);
  EXPECT_EQ(bars[0].lane, 0U);
  EXPECT_EQ(bars[1].lane, 1U);
  EXPECT_EQ(bars[2].lane, 0U);
  EXPECT_EQ(outputs::lanes_of(bars), 2U);
}

TEST(EventBars, TakeFourLanesAtMost) {
  std::vector<outputs::EventBar> bars(100);
  for (std::size_t i = 0; i < bars.size(); i++) bars[i] = {i + 1, measure::EventKind::dip, 20, 40};
  outputs::distribute(bars);
  EXPECT_EQ(outputs::lanes_of(bars), 4U);
  for (std::size_t i = 0; i < bars.size(); i++) EXPECT_EQ(bars[i].labelled, i < 4) << i;
}

}  // namespace
