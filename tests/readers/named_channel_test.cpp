#include "readers/voltages/named_channel.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "tests/readers/scratch_folder.h"
#include "tests/readers/voltage_records.h"

namespace readers {
namespace {

TEST(Volts, AreScaledByTheUnit) {
  const std::vector<std::pair<std::string, double>> units = {{"V", 1},     {"v", 1},    {"", 1},     {"Volt", 1},
                                                             {"kV", 1e3},  {"KV", 1e3}, {"kv", 1e3}, {"mV", 1e-3},
                                                             {"mv", 1e-3}, {"MV", 1e6}, {"Mv", 1e6}};
  for (const auto& [unit, expected] : units) {
    EXPECT_EQ(volts_per_unit(record_of({channel("Ua", unit)}), 0).factor, expected) << unit;
  }
}

TEST(Volts, AreAssumedWhereTheUnitDoesNotSay) {
  const Record record = record_of({channel("Ua", "V"), channel("Ua", ""), channel("Ua", "A"), channel("Ua", "kV")});
  EXPECT_FALSE(volts_per_unit(record, 0).assumed);
  EXPECT_TRUE(volts_per_unit(record, 1).assumed);
  EXPECT_TRUE(volts_per_unit(record, 2).assumed);
  EXPECT_EQ(volts_per_unit(record, 2).factor, 1);
  EXPECT_FALSE(volts_per_unit(record, 3).assumed);
  EXPECT_EQ(volts_per_unit(record, 3).factor, 1000);
}

TEST(Volts, AreRefusedForAnotherUnit) {
  const Record record = record_of({channel("Ia", "A")});
  EXPECT_EQ(refusal_of([&] { volts_per_unit(record, 0); }),
            "r.cfg: channel 'Ia': the unit 'A' is not a unit of voltage; choose channels in V, kV, mV or MV");
}

}  // namespace
}  // namespace readers
