// Finds the currents of a record and those that flow in the same bay as three voltages.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "readers/record.h"
#include "readers/voltages/named_channel.h"
#include "readers/voltages/voltage_set.h"

namespace readers {

/// The currents of one bay, as indices into Record::channels.
struct CurrentSet {
  std::array<std::size_t, 3> phases{};  ///< in the order A, B, C
  std::optional<std::size_t> residual;  ///< 3I0, I0 or the current of the neutral, if it is recorded
  /// None of the values that were read has the opposite sign of another one, so they are a trend of RMS values. False
  /// if the samples were not asked for.
  bool trend = false;
};

/// The way in which currents were found to belong to voltages.
enum class BaySource {
  only_one,  ///< the record has no other currents, and their names do not give them to other voltages
  name       ///< what the names say of the bay agrees
};

struct BayCurrents {
  CurrentSet set;
  BaySource source = BaySource::name;
};

/// Returns all complete sets of phase currents in file order. Channels belong together as those of voltages do
/// (set_search.h), if they have a unit of current or none, and are not named as voltages.
std::vector<CurrentSet> find_current_sets(const Record& record);
std::vector<CurrentSet> find_current_sets(const Record& record, const NamedChannels& channels);

/// The bays of a record, which are found once for all sets of voltages.
class Bays {
 public:
  explicit Bays(const Record& record);

  /// Returns the currents that flow in the bay of one to three voltages: those whose names agree with the names of the
  /// voltages apart from quantity, phase and running numbers ("VA_GC1" and "IA_GC1"), or else those whose names have
  /// all words of the voltages' names, or the reverse ("LINE UL1" and "LINE SUM IL1"), or else the only currents of the
  /// record. Returns nothing if there are none, or if several sets agree equally well, as the feeders of one busbar do.
  /// Trends are left out if the voltages are waveforms. The names of fewer than three voltages are not compared.
  [[nodiscard]] std::optional<BayCurrents> currents_of(const VoltageSet& voltages) const;

 private:
  using Name = std::set<std::string>;  // the words that say which bay it is

  struct NamedCurrents {
    CurrentSet set;
    Name name;
  };
  struct NamedVoltages {
    std::array<std::size_t, 3> channels{};
    Name name;
  };

  /// Returns whether other voltages of the record have the same name.
  [[nodiscard]] bool is_of_others(const Name& name, const VoltageSet& voltages) const;

  NamedChannels channels_;
  std::vector<NamedCurrents> currents_;
  std::vector<NamedVoltages> voltages_;
};

/// Does the same for one set of voltages.
std::optional<BayCurrents> currents_of_bay(const Record& record, const VoltageSet& voltages);

/// Marks in `wanted`, which has one entry per channel, the channels of all sets of currents; for OpenOptions::wanted.
void want_currents(const Record& record, std::vector<bool>& wanted);

/// Returns the amperes in one unit of a channel of a CurrentSet; 1 if it has no unit.
double amperes_per_unit(const Channel& channel);

}  // namespace readers
