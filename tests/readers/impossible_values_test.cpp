#include "readers/voltages/impossible_values.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "readers/open_record.h"
#include "tests/readers/scratch_folder.h"
#include "tests/readers/voltage_records.h"

namespace readers {
namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

TEST(ImpossibleValues, AreMissingAndNoted) {
  Record record = record_of({channel("Ua", "V", "", {1, 2}), channel("Ub", "kV", "", {1, 5e28, -1e11, infinity}),
                             channel("Uc", "", "", {-infinity, 1e10, -1e10})});
  EXPECT_EQ(drop_impossible_values(record),
            "4 voltages are larger than 1e+10 in the unit of the channel, which no grid has, and count as missing; the "
            "first is sample 2 of channel 2 'Ub'.");
  EXPECT_EQ(record.channels[0].samples, (std::vector<double>{1, 2}));
  EXPECT_EQ(record.channels[1].samples[0], 1);
  for (std::size_t i = 1; i < 4; i++) EXPECT_TRUE(std::isnan(record.channels[1].samples[i])) << i;
  EXPECT_TRUE(std::isnan(record.channels[2].samples[0]));
  EXPECT_EQ(record.channels[2].samples[1], 1e10);
  EXPECT_EQ(record.channels[2].samples[2], -1e10);
}

TEST(ImpossibleValues, AreOneOfManyOrNone) {
  Record record = record_of({channel("Ua", "V", "", {-2e10, 2})});
  EXPECT_EQ(drop_impossible_values(record),
            "1 voltage is larger than 1e+10 in the unit of the channel, which no grid has, and counts as missing; the "
            "first is sample 1 of channel 1 'Ua'.");
  EXPECT_EQ(drop_impossible_values(record), "");
}

TEST(ImpossibleValues, StayInChannelsOfOtherQuantities) {
  Record record =
      record_of({channel("P", "W", "", {5e12}), channel("Ia", "A", "", {5e12}), channel("E", "Wh", "", {5e12})});
  EXPECT_EQ(drop_impossible_values(record), "");
  for (const Channel& other : record.channels) EXPECT_EQ(other.samples[0], 5e12);
}

TEST(ImpossibleValues, KeepNumbersOf32BitsThatWereNeverScaled) {
  Record record = record_of({channel("Ua", "", "", {-2147483648.0, 4294967295.0})});
  EXPECT_EQ(drop_impossible_values(record), "");
}

TEST(ImpossibleValues, AreNotedWhenAFileIsOpened) {
  const ScratchFolder folder;
  const Record record = open_record(folder.write("t.csv", "t,Ua [V]\n0,1\n0.001,1e30\n0.002,inf\n0.003,2\n"));
  EXPECT_EQ(record.notes, (std::vector<std::string>{
                              "2 voltages are larger than 1e+10 in the unit of the channel, which no grid has, and "
                              "count as missing; the first is sample 2 of channel 1 'Ua'.",
                              "2 values are missing; the first is sample 2 of channel 1 'Ua'."}));
}

}  // namespace
}  // namespace readers
