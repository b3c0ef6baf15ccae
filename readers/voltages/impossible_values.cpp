#include "readers/voltages/impossible_values.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "readers/plausible.h"
#include "readers/text.h"
#include "readers/voltages/named_channel.h"

namespace readers {

namespace {

bool is_impossible(double sample) {
  return std::abs(sample) > largest_sample;
}

bool may_be_voltage(const Channel& channel) {
  const NamedChannel named(channel, 0);
  return named.volts || (!named.of_another_quantity && named.sounds_like_voltage);
}

}  // namespace

std::string drop_impossible_values(Record& record) {
  std::size_t dropped = 0;
  std::string first;
  for (std::size_t c = 0; c < record.channels.size(); c++) {
    Channel& channel = record.channels[c];
    const auto at = std::find_if(channel.samples.begin(), channel.samples.end(), is_impossible);
    if (at == channel.samples.end() || !may_be_voltage(channel)) continue;
    if (dropped == 0) {
      first = fmt::format("sample {} of channel {} {}", at - channel.samples.begin() + 1, c + 1, cited(channel.name));
    }
    for (auto sample = at; sample != channel.samples.end(); ++sample) {
      if (!is_impossible(*sample)) continue;
      *sample = no_value;
      dropped++;
    }
  }
  if (dropped == 0) return {};
  return fmt::format("{} than {} in the unit of the channel, which no grid has, and {} as missing; the first is {}.",
                     dropped == 1 ? "1 voltage is larger" : fmt::format("{} voltages are larger", dropped),
                     number_text(largest_sample), dropped == 1 ? "counts" : "count", first);
}

}  // namespace readers
