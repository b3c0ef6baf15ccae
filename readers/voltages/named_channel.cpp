#include "readers/voltages/named_channel.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "readers/text.h"
#include "readers/voltages/units.h"

namespace readers {

namespace {

/// Returns the name in lower case and without the word RMS, which would separate the quantity from the phase: "Urms
/// L1".
std::string plain_name(const std::string& name) {
  std::string plain = lower_case(name);
  for (const std::string_view word : {"rms(1/2)", "rms1/2", "rms"}) {
    const std::size_t at = plain.find(word);
    if (at == plain.npos) continue;
    const std::size_t after = at + word.size();
    const bool is_word = after == plain.size() || !(plain[after] >= 'a' && plain[after] <= 'z');
    if (!is_word) continue;
    plain.erase(at, word.size());
    return std::string(trimmed(plain));
  }
  return plain;
}

}  // namespace

NamedChannel::NamedChannel(const Channel& channel, std::size_t position)
    : index(position),
      name(plain_name(channel.name)),
      marks(phase_marks(name)),
      pair(pair_mark(name, marks)),
      field(read_phase_field(channel.phase)),
      has_unit(!channel.unit.empty()),
      volts(volts_per(channel.unit)),
      amperes(amperes_per(channel.unit)),
      of_another_quantity(!volts && is_of_another_quantity(channel.unit)),
      sounds_like_voltage(readers::sounds_like_voltage(name, marks)),
      sounds_like_current(readers::sounds_like_current(name, marks)),
      computed(is_computed(lower_case(channel.name))) {}

NamedChannels named_channels(const Record& record) {
  NamedChannels channels;
  channels.reserve(record.channels.size());
  for (const Channel& channel : record.channels) channels.emplace_back(channel, channels.size());
  // RMS values beside waveforms are computed from them. Where there are no waveforms, they are what was recorded.
  const bool waveform = std::any_of(channels.begin(), channels.end(), [](const NamedChannel& channel) {
    return !channel.computed && (channel.volts || channel.sounds_like_voltage) && !channel.sounds_like_current;
  });
  for (NamedChannel& channel : channels) {
    if (!waveform) channel.computed = is_computed(channel.name);
  }
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
