// Builds records of channels with given names, units and phase fields, and lists the sets that are found in them.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "readers/voltages/set_search.h"

namespace readers {

inline Channel channel(const std::string& name, const std::string& unit = "V", const std::string& phase = "",
                       std::vector<double> samples = {100, -100}) {
  Channel result;
  result.name = name;
  result.unit = unit;
  result.phase = phase;
  result.samples = std::move(samples);
  return result;
}

inline Record record_of(std::vector<Channel> channels) {
  Record record;
  record.file = "r.cfg";
  record.channels = std::move(channels);
  return record;
}

inline Record record_named(const std::vector<std::string>& names, const std::string& unit) {
  Record record = record_of({});
  for (const std::string& name : names) record.channels.push_back(channel(name, unit));
  return record;
}

inline Record two_sets(double first, double second, const std::string& second_unit = "V") {
  Record record = record_of({});
  for (const char* name : {"Ua", "Ub", "Uc"}) record.channels.push_back(channel(name, "V", "", {first, -first}));
  for (const char* name : {"Va", "Vb", "Vc"})
    record.channels.push_back(channel(name, second_unit, "", {second, -second}));
  return record;
}

using Sets = std::vector<std::vector<std::size_t>>;

/// Returns the sets that were found, with channels counted from 1.
inline Sets sets_in(const Record& record) {
  Sets result;
  for (const VoltageSet& set : find_voltage_sets(record)) {
    result.push_back({set.channels[0] + 1, set.channels[1] + 1, set.channels[2] + 1});
  }
  return result;
}

inline Sets sets_named(const std::vector<std::string>& names, const std::string& unit = "V") {
  return sets_in(record_named(names, unit));
}

}  // namespace readers
