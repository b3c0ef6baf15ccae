#include "readers/voltages/set_search.h"

#include "readers/voltages/grouping.h"
#include "readers/voltages/live_sets.h"

namespace readers {

std::vector<VoltageSet> find_voltage_sets(const Record& record) {
  return find_voltage_sets(record, named_channels(record));
}

std::vector<VoltageSet> find_voltage_sets(const Record& record, const NamedChannels& channels) {
  std::vector<VoltageSet> sets = grouped_phase_voltages(channels);
  put_live_first(record, channels, sets);
  return sets;
}

std::vector<VoltageSet> find_line_to_line_sets(const Record& record) {
  return find_line_to_line_sets(record, named_channels(record));
}

std::vector<VoltageSet> find_line_to_line_sets(const Record& record, const NamedChannels& channels) {
  std::vector<VoltageSet> sets = grouped_line_to_line_voltages(channels);
  put_live_first(record, channels, sets);
  return sets;
}

}  // namespace readers
