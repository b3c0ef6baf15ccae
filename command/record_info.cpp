#include "command/record_info.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <vector>

#include "command/analysed_voltages.h"
#include "readers/parts.h"
#include "readers/voltage_set.h"

namespace command {

namespace {

/// Collects the lines.
class Summary {
 public:
  explicit Summary(const readers::Record& record) : record_(record) {}

  std::string text() {
    add_heading();
    const auto sets = readers::find_voltage_sets(record_);
    add_parts(sets);
    add_sets("sets of three phase voltages, live ones first", sets);
    add_sets("sets of line-to-line voltages (--line-to-line)", readers::find_line_to_line_sets(record_));
    add_channels();
    for (const auto& note : record_.notes) fmt::format_to(out(), "note: {}\n", note);
    return std::move(text_);
  }

 private:
  std::back_insert_iterator<std::string> out() { return std::back_inserter(text_); }

  void add_heading() {
    fmt::format_to(out(), "{}\n  {}", record_.file, record_.format);
    for (const auto& about : {record_.station, record_.device}) {
      if (!about.empty()) fmt::format_to(out(), ", {}", about);
    }
    text_ += '\n';
    if (!record_.start_time.empty()) {
      fmt::format_to(out(), "  begins {}{}", record_.start_time,
                     record_.time_zone.empty() ? "" : fmt::format(" (time zone {})", record_.time_zone));
      if (record_.trigger) fmt::format_to(out(), ", trigger {:.4f} s later", *record_.trigger);
      text_ += '\n';
    }
    fmt::format_to(out(), "  {} samples of {} channels, line frequency {}\n", record_.length(), record_.channels.size(),
                   record_.line_frequency > 0 ? fmt::format("{:g} Hz", record_.line_frequency) : "not stated");
  }

  /// Parts as the first set's gaps make them: what dipx analyse does without being told otherwise.
  void add_parts(const std::vector<readers::VoltageSet>& sets) {
    const double frequency = record_.line_frequency > 0 ? record_.line_frequency : 50;
    const auto parts = sets.empty()
                           ? readers::parts_of(record_)
                           : readers::parts_without_gaps(record_, sets[0].channels, longest_bridge_cycles / frequency);
    text_ += sets.empty() ? "parts by sampling rate\n" : "parts by sampling rate and gaps of set 1\n";
    for (std::size_t i = 0; i < parts.size(); i++) {
      const auto& part = parts[i];
      const double end = part.start + (part.rate > 0 ? static_cast<double>(part.length()) / part.rate : 0);
      fmt::format_to(out(), "  {:<3} {:.4f} s to {:.4f} s, {} samples at {}{}{}\n", i + 1, part.start, end,
                     part.length(), part.rate > 0 ? fmt::format("{:.6g} Hz", part.rate) : "an unknown rate",
                     part.rate > 0 && record_.line_frequency > 0
                         ? fmt::format(", {:.4g} per cycle", part.rate / record_.line_frequency)
                         : "",
                     record_.trigger && *record_.trigger >= part.start && *record_.trigger < end ? ", trigger" : "");
    }
  }

  void add_sets(const char* heading, const std::vector<readers::VoltageSet>& sets) {
    if (sets.empty()) return;
    fmt::format_to(out(), "{}\n", heading);
    for (std::size_t i = 0; i < sets.size(); i++) {
      fmt::format_to(out(), "  {:<3} ", i + 1);
      for (std::size_t phase = 0; phase < 3; phase++) {
        const std::size_t channel = sets[i].channels[phase];
        fmt::format_to(out(), "{}{} {}", phase == 0 ? "" : ", ", channel + 1, record_.channels[channel].name);
      }
      fmt::format_to(out(), ": {}{}{}\n", sets[i].live ? "live" : "dead",
                     sets[i].unit_guessed ? ", voltages by their names only" : "",
                     sets[i].source == readers::PhaseSource::order ? ", together by their order only" : "");
    }
  }

  void add_channels() {
    text_ += "channels\n";
    for (std::size_t i = 0; i < record_.channels.size(); i++) {
      const auto& channel = record_.channels[i];
      fmt::format_to(out(), "  {:<3} {} [{}]", i + 1, channel.name, channel.unit);
      if (!channel.phase.empty()) fmt::format_to(out(), ", phase {}", channel.phase);
      if (channel.side != 0 || channel.primary != 1 || channel.secondary != 1) {
        fmt::format_to(out(), ", {}transformer {:g}:{:g}",
                       channel.side == 'P'   ? "primary values, "
                       : channel.side == 'S' ? "secondary values, "
                                             : "",
                       channel.primary, channel.secondary);
      }
      fmt::format_to(out(), ", {}\n", range_of(channel));
    }
  }

  static std::string range_of(const readers::Channel& channel) {
    double lowest = INFINITY;
    double highest = -INFINITY;
    for (const double value : channel.samples) {
      if (!std::isfinite(value)) continue;
      lowest = std::min(lowest, value);
      highest = std::max(highest, value);
    }
    if (lowest > highest) return "no values";
    return fmt::format("{:.4g} to {:.4g}", lowest, highest);
  }

  const readers::Record& record_;
  std::string text_;
};

}  // namespace

std::string info_of(const readers::Record& record) {
  return Summary(record).text();
}

}  // namespace command
