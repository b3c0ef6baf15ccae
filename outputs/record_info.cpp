#include "outputs/record_info.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <nlohmann/json.hpp>
#include <optional>
#include <utility>
#include <vector>

#include "analysis/choice/chosen_part.h"
#include "outputs/figures_text.h"
#include "outputs/record_json.h"
#include "readers/voltages/parts.h"
#include "readers/voltages/set_search.h"

namespace outputs {

namespace {

struct Contents {
  explicit Contents(const readers::Record& record) {
    const auto names = readers::named_channels(record);
    sets = readers::find_voltage_sets(record, names);
    line_to_line = readers::find_line_to_line_sets(record, names);
    // As the first set's gaps make them: what dipx analyse does without being told otherwise.
    const double frequency = record.line_frequency > 0 ? record.line_frequency : 50;
    parts = sets.empty()
                ? readers::parts_of(record)
                : readers::parts_without_gaps(record, sets[0].channels, analysis::longest_gap_cycles / frequency);
  }

  std::vector<readers::VoltageSet> sets;
  std::vector<readers::VoltageSet> line_to_line;
  std::vector<readers::Part> parts;
};

double end_of(const readers::Part& part) {
  return part.start + (part.rate > 0 ? static_cast<double>(part.length()) / part.rate : 0);
}

bool holds_trigger(const readers::Part& part, const readers::Record& record) {
  return record.trigger && *record.trigger >= part.start && *record.trigger < end_of(part);
}

/// Lowest and highest of a channel's values; nothing when it has none.
std::optional<std::pair<double, double>> range_of(const readers::Channel& channel) {
  double lowest = INFINITY;
  double highest = -INFINITY;
  for (const double value : channel.samples) {
    if (!std::isfinite(value)) continue;
    lowest = std::min(lowest, value);
    highest = std::max(highest, value);
  }
  if (lowest > highest) return std::nullopt;
  return std::pair(lowest, highest);
}

/// Collects the lines.
class Summary {
 public:
  explicit Summary(const readers::Record& record) : record_(record), contents_(record) {}

  std::string text() {
    add_heading();
    add_parts();
    add_sets("sets of three phase voltages, live ones first", contents_.sets);
    add_sets("sets of line-to-line voltages (--line-to-line)", contents_.line_to_line);
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

  void add_parts() {
    text_ += contents_.sets.empty() ? "parts by sampling rate\n" : "parts by sampling rate and gaps of set 1\n";
    for (std::size_t i = 0; i < contents_.parts.size(); i++) {
      const auto& part = contents_.parts[i];
      fmt::format_to(out(), "  {:<3} {:.4f} s to {:.4f} s, {} samples at {}{}{}\n", i + 1, part.start, end_of(part),
                     part.length(), part.rate > 0 ? fmt::format("{:.6g} Hz", part.rate) : "an unknown rate",
                     part.rate > 0 && record_.line_frequency > 0
                         ? fmt::format(", {:.4g} per cycle", part.rate / record_.line_frequency)
                         : "",
                     holds_trigger(part, record_) ? ", trigger" : "");
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
        text_ += ", " + side_text(channel);
      }
      const auto range = range_of(channel);
      text_ += range ? fmt::format(", {:.4g} to {:.4g}\n", range->first, range->second) : ", no values\n";
    }
  }

  const readers::Record& record_;
  Contents contents_;
  std::string text_;
};

// Rises when a member changes its meaning or goes; new members do not raise it.
constexpr int format_version = 1;

using Json = nlohmann::ordered_json;

Json positive_or_null(double figure) {
  return figure > 0 ? Json(figure) : Json();
}

Json sets_json(const readers::Record& record, const std::vector<readers::VoltageSet>& sets) {
  Json list = Json::array();
  for (const auto& set : sets) {
    Json channels = Json::array();
    for (const std::size_t channel : set.channels) {
      channels.push_back({{"channel", channel + 1}, {"name", record.channels[channel].name}});
    }
    list.push_back({{"number", list.size() + 1},
                    {"live", set.live},
                    {"voltages_by_name_only", set.unit_guessed},
                    {"phases_by_order_only", set.source == readers::PhaseSource::order},
                    {"channels", std::move(channels)}});
  }
  return list;
}

Json parts_json(const readers::Record& record, const std::vector<readers::Part>& parts) {
  Json list = Json::array();
  for (const auto& part : parts) {
    list.push_back({{"number", list.size() + 1},
                    {"start_s", part.start},
                    {"end_s", end_of(part)},
                    {"samples", part.length()},
                    {"sampling_rate_hz", positive_or_null(part.rate)},
                    {"trigger", holds_trigger(part, record)}});
  }
  return list;
}

Json channels_json(const readers::Record& record) {
  Json list = Json::array();
  for (const auto& channel : record.channels) {
    const auto range = range_of(channel);
    Json json = {{"number", list.size() + 1}, {"name", channel.name}, {"unit", channel.unit}, {"phase", channel.phase}};
    add_side(json, channel);
    json["lowest"] = range ? Json(range->first) : Json();
    json["highest"] = range ? Json(range->second) : Json();
    list.push_back(std::move(json));
  }
  return list;
}

}  // namespace

std::string info_text(const readers::Record& record) {
  return Summary(record).text();
}

std::string info_json(const readers::Record& record) {
  const Contents contents(record);
  Json about = origin_of(record);
  about["time_zone"] = record.time_zone;
  about["trigger_s"] = record.trigger ? Json(*record.trigger) : Json();
  about["samples"] = record.length();
  about["line_frequency_hz"] = positive_or_null(record.line_frequency);
  const Json json = {{"format", "dipx info"},
                     {"format_version", format_version},
                     {"dipx_version", DIPX_VERSION},
                     {"record", std::move(about)},
                     {"parts", parts_json(record, contents.parts)},
                     {"voltage_sets", sets_json(record, contents.sets)},
                     {"line_to_line_sets", sets_json(record, contents.line_to_line)},
                     {"channels", channels_json(record)},
                     {"notes", record.notes}};
  return json.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}

}  // namespace outputs
