#include "readers/voltages/channel_choice.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/readers/scratch_folder.h"
#include "tests/readers/voltage_records.h"

namespace readers {
namespace {

class NamedSet : public testing::Test {
 protected:
  std::vector<std::size_t> named(const std::string& names) const {
    const VoltageSet set = named_voltage_set(record, names);
    return {set.channels[0] + 1, set.channels[1] + 1, set.channels[2] + 1};
  }
  std::string refusal(const std::string& names) const {
    return refusal_of([&] { named(names); });
  }

  Record record = record_of({channel("Ua"), channel("ua"), channel("Ub"), channel("Uc", "kV"), channel("6", ""),
                             channel("x", "A"), channel("x", "A")});
  const std::string list =
      "; choose one to three of the channels by name or number: 1 Ua [V], 2 ua [V], 3 Ub [V], 4 Uc [kV], 5 6, 6 x [A], 7 x "
      "[A]";
};

TEST_F(NamedSet, IsFoundByExactName) {
  EXPECT_EQ(named("Ua,Ub,Uc"), (std::vector<std::size_t>{1, 3, 4}));
  EXPECT_EQ(named(" ua , Ub , Uc "), (std::vector<std::size_t>{2, 3, 4}));
}

TEST_F(NamedSet, IsFoundInAnyLetterCaseWhereOnlyOneFits) {
  EXPECT_EQ(named("Ua,UB,uc"), (std::vector<std::size_t>{1, 3, 4}));
}

TEST_F(NamedSet, IsFoundByNumber) {
  EXPECT_EQ(named("3,1,7"), (std::vector<std::size_t>{3, 1, 7}));
  EXPECT_EQ(named("Ua,3,Uc"), (std::vector<std::size_t>{1, 3, 4}));
  EXPECT_EQ(named("6,1,2"), (std::vector<std::size_t>{5, 1, 2})) << "a name comes before a number";
}

TEST_F(NamedSet, IsFoundByNameAndUnit) {
  EXPECT_EQ(named("Ua_V,Ub [V],Uc (kV)"), (std::vector<std::size_t>{1, 3, 4}));
}

TEST_F(NamedSet, IsRefusedWithTheListOfChannels) {
  EXPECT_EQ(refusal("Ua,Ub,Ud"), "r.cfg: there is no channel 'Ud'" + list);
  EXPECT_EQ(refusal("Ua,Ub,0"), "r.cfg: there is no channel '0'" + list);
  EXPECT_EQ(refusal("Ua,Ub,8"), "r.cfg: there is no channel '8'" + list);
  EXPECT_EQ(refusal("UA,Ub,Uc"), "r.cfg: 2 channels have the name 'UA'" + list);
  EXPECT_EQ(refusal("Ua,Ub,x"), "r.cfg: 2 channels have the name 'x'" + list);
  EXPECT_EQ(refusal("Ua,Ub,Uc,3"),
            "r.cfg: one to three channels separated by commas are needed, not 'Ua,Ub,Uc,3'" + list);
  EXPECT_EQ(refusal("Ua,Ub,1"), "r.cfg: 'Ua,Ub,1' names a channel twice" + list);
}

TEST_F(NamedSet, IsRefusedWithAListThatStaysShort) {
  record.channels.assign(1000, channel(std::string(200, 'n'), std::string(200, 'u')));
  const std::string refused = refusal("Ua");
  EXPECT_LT(refused.size(), 10000U);
  const std::string n = std::string(40, 'n') + "...";
  const std::string u = std::string(40, 'u') + "...";
  EXPECT_NE(refused.find(": 1 " + n + " [" + u + "], 2 "), std::string::npos) << refused;
  EXPECT_TRUE(refused.ends_with(", 100 " + n + " [" + u + "] and 900 more")) << refused;
}

TEST_F(NamedSet, MayHaveOneOrTwoVoltages) {
  const auto two = named_voltage_set(record, "Ua,Uc");
  EXPECT_EQ(two.count, 2U);
  EXPECT_EQ(two.channels, (std::array<std::size_t, 3>{0, 3, 3}));
  EXPECT_EQ(named_voltage_set(record, "3").count, 1U);
}

TEST_F(NamedSet, KnowsWhetherItIsLive) {
  EXPECT_FALSE(named_voltage_set(two_sets(100, 0.5), "Va,Vb,Vc").live);
  EXPECT_TRUE(named_voltage_set(two_sets(100, 0.5), "Ua,Vb,Uc").live);
}

TEST_F(NamedSet, OfLineToLineVoltagesIsKnownAsSuch) {
  record = record_named({"Uab", "Ubc", "Uca", "Ua", "Ub", "Uc"}, "V");
  EXPECT_TRUE(named_voltage_set(record, "Uab,Ubc,Uca").between_phases);
  EXPECT_FALSE(named_voltage_set(record, "Ua,Ub,Uc").between_phases);
}

TEST_F(NamedSet, SaysThatTheUserToldItsPhases) {
  EXPECT_EQ(named_voltage_set(record_named({"Ua", "Ub", "Uc"}, "V"), "1,2,3").source, PhaseSource::user);
}

}  // namespace
}  // namespace readers
