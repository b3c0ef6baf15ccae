#include "readers/voltages/named_channel.h"

#include "readers/text.h"
#include "readers/voltages/units.h"

namespace readers {

NamedChannel::NamedChannel(const Channel& channel, std::size_t position)
    : index(position),
      name(lower_case(channel.name)),
      marks(phase_marks(name)),
      pair(pair_mark(name, marks)),
      field(read_phase_field(channel.phase)),
      has_unit(!channel.unit.empty()),
      volts(volts_per(channel.unit)),
      of_another_quantity(is_of_another_quantity(channel.unit)),
      sounds_like_voltage(readers::sounds_like_voltage(name, marks)),
      sounds_like_current(readers::sounds_like_current(name, marks)),
      computed(is_computed(name)) {}

NamedChannels named_channels(const Record& record) {
  NamedChannels channels;
  for (const Channel& channel : record.channels) channels.emplace_back(channel, channels.size());
  return channels;
}

VoltsPerUnit volts_per_unit(const Record& record, std::size_t channel) {
  const Channel& source = record.channels.at(channel);
  const NamedChannel named(source, channel);
  if (named.volts) return {*named.volts, trimmed(source.unit).empty()};
  if (!named.of_another_quantity && named.sounds_like_voltage) return {1, true};
  throw ReadError(record.file, "channel " + cited(source.name),
                  "the unit " + cited(source.unit) + " is not a unit of voltage", "choose channels in V, kV, mV or MV");
}

}  // namespace readers
