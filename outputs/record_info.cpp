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
#include "readers/clock_time.h"
#include "readers/text.h"
#include "readers/voltages/bay_currents.h"
#include "readers/voltages/parts.h"
#include "readers/voltages/set_search.h"

namespace outputs {

namespace {

struct Contents {
  explicit Contents(const readers::Record& record) {
    const auto names = readers::named_channels(record);
    sets = readers::find_voltage_sets(record, names);
    line_to_line = readers::find_line_to_line_sets(record, names);
    currents = readers::find_current_sets(record, names);
    if (sets.empty() && line_to_line.empty()) {
      if (const auto few = readers::find_few_voltages(record)) sets.push_back(*few);
    }
    // The parts follow from the gaps of the first set, which dipx analyse uses by default.
    const double frequency = record.line_frequency > 0 ? record.line_frequency : 50;
    const auto& first_kind = sets.empty() ? line_to_line : sets;
    parts = first_kind.empty()
                ? readers::parts_of(record)
                : readers::parts_without_gaps(record, first_kind[0].channels, analysis::longest_gap_cycles / frequency);
  }

  std::vector<readers::VoltageSet> sets;
  std::vector<readers::VoltageSet> line_to_line;
  std::vector<readers::CurrentSet> currents;
  std::vector<readers::Part> parts;
};

double end_of(const readers::Part& part) {
  return part.start + (part.rate > 0 ? static_cast<double>(part.length()) / part.rate : 0);
}

/// Returns when a part begins and what the file says of it, as in ", 1999-12-31T23:59:59.000000, observation 2".
std::string title_of(const readers::Part& part, const readers::Record& record) {
  if (part.title.empty()) return {};
  const std::string time = readers::iso_time(record, part.start);
  return fmt::format("{}{}, {}", time.empty() ? "" : ", ", time, part.title);
}

bool holds_trigger(const readers::Part& part, const readers::Record& record) {
  return record.trigger && *record.trigger >= part.start && *record.trigger < end_of(part);
}

/// Returns the lowest and highest of a channel's values; empty if it has none.
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

/// Returns how the phases of a set were guessed, after a comma; empty if they were not.
const char* guess_text(readers::PhaseSource source) {
  switch (source) {
    case readers::PhaseSource::order:
      return ", together by their order only";
    case readers::PhaseSource::number:
      return ", phases by their numbers only";
    case readers::PhaseSource::only_three:
      return ", phases by their order only";
    case readers::PhaseSource::phase_field:
    case readers::PhaseSource::name:
    case readers::PhaseSource::user:
      break;
  }
  return "";
}

/// Says whether a set can be analysed.
const char* state_of(const readers::VoltageSet& set) {
  if (set.live) return set.rms ? "live, RMS values" : "live";
  if (set.alternates) return "dead";
  return set.rms ? "RMS values, left out because others are waveforms" : "no waveform (a trend or a direct voltage)";
}

/// Collects the lines.
class Summary {
 public:
  explicit Summary(const readers::Record& record) : record_(record), contents_(record) {}

  std::string text() {
    add_heading();
    add_parts();
    const bool few = !contents_.sets.empty() && contents_.sets[0].count < 3;
    add_sets(few ? "set of the only voltages" : "sets of three phase voltages, live ones first", contents_.sets);
    add_sets("sets of line-to-line voltages (--line-to-line)", contents_.line_to_line);
    add_currents();
    add_channels();
    add_digitals();
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
    fmt::format_to(out(), "  {} of {}, line frequency {}\n", readers::plural(record_.length(), "sample"),
                   readers::plural(record_.channels.size(), "channel"),
                   record_.line_frequency > 0 ? fmt::format("{:g} Hz", record_.line_frequency) : "not stated");
  }

  void add_parts() {
    const bool by_gaps = !contents_.sets.empty() || !contents_.line_to_line.empty();
    text_ += by_gaps ? "parts by sampling rate and gaps of set 1\n" : "parts by sampling rate\n";
    for (std::size_t i = 0; i < contents_.parts.size(); i++) {
      const auto& part = contents_.parts[i];
      fmt::format_to(out(), "  {:<3} {:.4f} s to {:.4f} s, {} samples at {}{}{}{}\n", i + 1, part.start, end_of(part),
                     part.length(), part.rate > 0 ? fmt::format("{:.6g} Hz", part.rate) : "an unknown rate",
                     part.rate > 0 && record_.line_frequency > 0
                         ? fmt::format(", {:.4g} per cycle", part.rate / record_.line_frequency)
                         : "",
                     holds_trigger(part, record_) ? ", trigger" : "", title_of(part, record_));
    }
  }

  void add_sets(const char* heading, const std::vector<readers::VoltageSet>& sets) {
    if (sets.empty()) return;
    fmt::format_to(out(), "{}\n", heading);
    for (std::size_t i = 0; i < sets.size(); i++) {
      fmt::format_to(out(), "  {:<3} ", i + 1);
      for (std::size_t phase = 0; phase < sets[i].count; phase++) {
        const std::size_t channel = sets[i].channels[phase];
        fmt::format_to(out(), "{}{} {}", phase == 0 ? "" : ", ", channel + 1, record_.channels[channel].name);
      }
      fmt::format_to(out(), ": {}{}{}\n", state_of(sets[i]),
                     sets[i].unit_guessed ? ", voltages by their names only" : "", guess_text(sets[i].source));
    }
  }

  void add_currents() {
    if (contents_.currents.empty()) return;
    text_ += "sets of currents\n";
    std::size_t number = 0;
    for (const auto& set : contents_.currents) {
      fmt::format_to(out(), "  {:<3} ", ++number);
      const auto name = [&](std::size_t channel) {
        return fmt::format("{} {}", channel + 1, record_.channels[channel].name);
      };
      fmt::format_to(out(), "{}, {}, {}", name(set.phases[0]), name(set.phases[1]), name(set.phases[2]));
      if (set.residual) fmt::format_to(out(), ", residual current {}", name(*set.residual));
      text_ += set.trend ? ": no waveform\n" : "\n";
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

  void add_digitals() {
    if (record_.digitals.empty()) return;
    text_ += "digital channels\n";
    for (std::size_t i = 0; i < record_.digitals.size(); i++) {
      constexpr std::size_t most = 8;
      const auto& channel = record_.digitals[i];
      const std::size_t count = channel.changes.size();
      fmt::format_to(out(), "  {:<3} {}: {}", i + 1, channel.name.empty() ? "(no name)" : channel.name,
                     channel.first_state ? 1 : 0);
      for (std::size_t c = 0; c < std::min(count, most); c++) {
        fmt::format_to(out(), ", {} from {:.4f} s", channel.changes[c].state ? 1 : 0, channel.changes[c].time);
      }
      if (count > most) fmt::format_to(out(), " and {} more changes", count - most);
      text_ += count == 0 ? " throughout\n" : "\n";
    }
  }

  const readers::Record& record_;
  Contents contents_;
  std::string text_;
};

// This number increases when a member changes its meaning or is removed; new members do not increase it.
constexpr int format_version = 1;

using Json = nlohmann::ordered_json;

Json positive_or_null(double figure) {
  return figure > 0 ? Json(figure) : Json();
}

Json sets_json(const readers::Record& record, const std::vector<readers::VoltageSet>& sets) {
  Json list = Json::array();
  for (const auto& set : sets) {
    Json channels = Json::array();
    for (std::size_t phase = 0; phase < set.count; phase++) {
      const std::size_t channel = set.channels[phase];
      channels.push_back({{"channel", channel + 1}, {"name", record.channels[channel].name}});
    }
    list.push_back({{"number", list.size() + 1},
                    {"live", set.live},
                    {"alternates", set.alternates},
                    {"rms", set.rms},
                    {"voltages_by_name_only", set.unit_guessed},
                    {"phases_by_order_only", *guess_text(set.source) != '\0'},
                    {"channels", std::move(channels)}});
  }
  return list;
}

Json currents_json(const readers::Record& record, const std::vector<readers::CurrentSet>& sets) {
  Json list = Json::array();
  for (const auto& set : sets) {
    Json channels = Json::array();
    const auto add = [&](std::size_t channel) {
      channels.push_back({{"channel", channel + 1}, {"name", record.channels[channel].name}});
    };
    for (const std::size_t phase : set.phases) add(phase);
    if (set.residual) add(*set.residual);
    list.push_back({{"number", list.size() + 1}, {"trend", set.trend}, {"channels", std::move(channels)}});
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
                    {"trigger", holds_trigger(part, record)},
                    {"start_time", readers::iso_time(record, part.start)},
                    {"title", part.title}});
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
  about["stretch"] = stretch_of(record);
  const Json json = {{"format", "dipx info"},
                     {"format_version", format_version},
                     {"dipx_version", DIPX_VERSION},
                     {"record", std::move(about)},
                     {"parts", parts_json(record, contents.parts)},
                     {"voltage_sets", sets_json(record, contents.sets)},
                     {"line_to_line_sets", sets_json(record, contents.line_to_line)},
                     {"current_sets", currents_json(record, contents.currents)},
                     {"channels", channels_json(record)},
                     {"digital_channels", digital_channels_of(record)},
                     {"notes", record.notes}};
  return json.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}

}  // namespace outputs
