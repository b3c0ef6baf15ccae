#include "fuzz/read_record.h"

#include <span>

#include "fuzz/bytes.h"
#include "readers/text.h"
#include "readers/voltages/channel_choice.h"
#include "readers/voltages/named_channel.h"
#include "readers/voltages/parts.h"
#include "readers/voltages/set_search.h"

namespace fuzz {
namespace {

void expect_inert(const std::string& text) {
  expect(readers::inert(text) == text);
}

void expect_sound(const readers::Record& record) {
  for (const auto* text : {&record.file, &record.format, &record.station, &record.device, &record.start_time,
                           &record.trigger_time, &record.time_zone}) {
    expect_inert(*text);
  }
  for (const std::string& note : record.notes) expect_inert(note);
  const std::size_t length = record.length();
  for (const auto& channel : record.channels) {
    expect_inert(channel.name);
    expect_inert(channel.phase);
    expect_inert(channel.unit);
    expect(channel.samples.empty() || channel.samples.size() == length);
  }
  std::size_t end = 0;
  for (const auto& section : record.rates) {
    expect(section.end > end && section.rate >= 0);
    end = section.end;
  }
  if (record.trigger) expect(*record.trigger >= 0);
}

void take_apart(const readers::Record& record) {
  const auto parts = readers::parts_of(record);
  std::size_t end = 0;
  for (const auto& part : parts) {
    expect(part.begin >= end && part.end > part.begin && part.end <= record.length());
    end = part.end;
  }
  auto sets = readers::find_voltage_sets(record);
  for (const auto& more : readers::find_line_to_line_sets(record)) sets.push_back(more);
  for (const auto& set : sets) {
    for (const auto& part : readers::parts_without_gaps(record, set.channels, 0.01)) {
      expect(part.end > part.begin && part.end <= record.length());
      const double factor = readers::volts_per_unit(record, set.channels[0]).factor;
      const auto samples = std::span(record.channels[set.channels[0]].samples).subspan(part.begin, part.length());
      expect(readers::bridged(samples, factor).values.size() == part.length());
    }
    try {
      for (const std::size_t channel : set.channels) readers::volts_per_unit(record, channel);
    } catch (const readers::ReadError& error) {
      expect_inert(error.what());
    }
  }
  try {
    readers::named_voltage_set(record, record.channels.empty() ? "1,2,3" : record.channels[0].name + ",2,3");
  } catch (const readers::ReadError& error) {
    expect_inert(error.what());
  }
}

}  // namespace

void read_record(const std::uint8_t* data, std::size_t size,
                 const std::function<readers::Record(const std::string& file, std::string_view content,
                                                     const readers::OpenOptions& options)>& read) {
  readers::OpenOptions options;
  if (size % 2 == 1) options.sampling_rate = 3200;
  if (size % 16 == 6) options.charset = "GBK";
  if (size % 16 == 10) options.charset = "CP1251";
  if (size % 8 == 4)
    options.wanted = [](const readers::Record& record) {
      std::vector<bool> wanted(record.channels.size(), true);
      if (!wanted.empty()) wanted[0] = false;
      return wanted;
    };
  try {
    const readers::Record record = read("input", {reinterpret_cast<const char*>(data), size}, options);
    expect_sound(record);
    if (!options.wanted) take_apart(record);
  } catch (const readers::ReadError& error) {
    expect_inert(error.what());
  }
}

}  // namespace fuzz
