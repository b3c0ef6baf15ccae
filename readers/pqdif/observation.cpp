#include "readers/pqdif/observation.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <utility>

#include "readers/plausible.h"
#include "readers/pqdif/names.h"
#include "readers/pqdif/tags.h"
#include "readers/text.h"

namespace readers::pqdif {
namespace {

/// A series of a channel instance as stored.
struct StoredSeries {
  std::optional<StoredVector> values;
  std::optional<double> scale;
  std::optional<double> offset;
  std::optional<std::uint32_t> share_channel;  ///< the vector is that of this channel instance ...
  std::optional<std::uint32_t> share_series;   ///< ... and of this series in it
};

struct Instance {
  std::optional<std::uint32_t> definition;
  std::vector<StoredSeries> series;
};

/// A vector and how to read it.
struct Source {
  StoredVector stored;
  Storage storage;
  std::size_t channel = 0;  ///< instance that the vector belongs to
  std::size_t series = 0;   ///< its series there
  bool own_scale = false;   ///< the storage is not that of the vector's owner
};

/// The series of a channel that matter for a waveform.
struct Roles {
  std::optional<std::size_t> time;
  std::optional<std::size_t> value;
};

bool is_unit_of_time(std::uint32_t units) {
  return units == unit::time_stamp || units == unit::seconds || units == unit::cycles;
}

Roles roles_of(const ChannelDefinition& definition, std::size_t count) {
  Roles roles;
  for (std::size_t i = 0; i < count; i++) {
    const SeriesDefinition& series = definition.series[i];
    const bool is_time = series.value_type ? *series.value_type == value_type::time : is_unit_of_time(series.units);
    const bool is_value =
        series.value_type ? *series.value_type == value_type::value || *series.value_type == value_type::instantaneous
                          : !is_time;
    if (is_time && !roles.time) roles.time = i;
    if (is_value && !roles.value) roles.value = i;
  }
  return roles;
}

/// Reads the waveforms of one observation.
class ObservationReader {
 public:
  ObservationReader(Body& body, const Surroundings& surroundings, ValueBudget& budget)
      : body_(body), surroundings_(surroundings), budget_(budget) {}

  Observation read() {
    const Collection root = body_.root();
    observation_.name = body_.text(root, tag::observation_name);
    observation_.start = body_.moment(root, tag::time_start);
    observation_.triggered = body_.moment(root, tag::time_triggered);
    if (const auto category = body_.identifier(root, tag::disturbance_category)) {
      observation_.category = category_name(*category);
    }
    const Collection list = body_.collection(root, tag::channel_instances);
    for (const Collection& one : body_.collections(list, tag::channel_instance)) instances_.push_back(instance_of(one));
    for (std::size_t i = 0; i < instances_.size(); i++) add_channel(i);
    if (more_faults_ > 0) {
      observation_.notes.push_back(fmt::format("{} more channels are left out for such reasons", more_faults_));
    }
    return std::move(observation_);
  }

 private:
  Instance instance_of(const Collection& entries) {
    Instance instance;
    instance.definition = body_.count(entries, tag::definition_index);
    const Collection list = body_.collection(entries, tag::series_instances);
    for (const Collection& one : body_.collections(list, tag::series_instance)) {
      StoredSeries& series = instance.series.emplace_back();
      series.values = body_.vector(one, tag::series_values);
      series.scale = body_.number(one, tag::series_scale);
      series.offset = body_.number(one, tag::series_offset);
      series.share_channel = body_.count(one, tag::share_channel);
      series.share_series = body_.count(one, tag::share_series);
    }
    return instance;
  }

  void leave_out(std::size_t channel, const std::string& why) {
    constexpr std::size_t most = 3;
    if (faults_++ < most) {
      observation_.notes.push_back(fmt::format("its channel {} is left out because {}", channel + 1, why));
    } else {
      more_faults_++;
    }
  }

  /// Returns the definition of an instance; null when the data source has none for it.
  [[nodiscard]] const ChannelDefinition* definition_of(std::size_t channel) const {
    const auto& index = instances_[channel].definition;
    const auto& definitions = surroundings_.source.channels;
    return index && *index < definitions.size() ? &definitions[*index] : nullptr;
  }

  void add_channel(std::size_t channel) {
    const Instance& instance = instances_[channel];
    const ChannelDefinition* definition = definition_of(channel);
    if (definition == nullptr) {
      leave_out(channel, !instance.definition
                             ? "it does not say which channel definition it belongs to"
                             : fmt::format("it belongs to channel definition {}, but the data source has only {}",
                                           *instance.definition + 1, surroundings_.source.channels.size()));
      return;
    }
    const bool stated = definition->type == quantity_type::waveform;
    const bool unknown = !definition->type || kind_name(*definition->type) == kind_name({});
    constexpr std::size_t most_waveforms = 1000;
    if (observation_.waveforms.size() >= most_waveforms) {
      leave_out(channel, fmt::format("more than {} waveforms in one observation are not read", most_waveforms));
      return;
    }
    if (!stated && !unknown) {
      observation_.others[kind_name(*definition->type)]++;
      return;
    }
    const Roles roles = roles_of(*definition, std::min(definition->series.size(), instance.series.size()));
    if (!roles.value) {
      leave_out(channel, "it has no series of values");
      return;
    }
    add_waveform(channel, *definition, roles, stated);
  }

  void add_waveform(std::size_t channel, const ChannelDefinition& definition, const Roles& roles, bool stated) {
    std::string fault;
    const auto source = source_of(channel, *roles.value, fault);
    if (!source) return leave_out(channel, "its values are missing: " + fault);
    SeriesValues read = values_of(source->stored, source->storage, budget_);
    if (!read.fault.empty()) return leave_out(channel, read.fault);
    if (read.values.empty()) return leave_out(channel, "its series of values is empty");
    const SeriesDefinition& series = definition.series[*roles.value];
    // Only a waveform goes below zero, and some programs write the type or the characteristic carelessly.
    const bool certain = stated && series.characteristic != characteristic::rms;
    if (!certain && std::none_of(read.values.begin(), read.values.end(), [](double value) { return value < 0; })) {
      observation_.others[kind_name(quantity_type::value_log)]++;
      return;
    }

    TimeBase base = base_of(channel, roles, read.values.size(), fault);
    if (!fault.empty()) return leave_out(channel, fault);
    Waveform waveform;
    waveform.definition = *instances_[channel].definition;
    waveform.base = index_of(std::move(base));
    waveform.values = std::move(read.values);
    waveform.units = series.units;
    waveform.nominal = series.nominal;
    waveform.zero_scale = source->storage.scale == 0;
    apply_setting(waveform);
    observation_.waveforms.push_back(std::move(waveform));
  }

  /// Finds the vector of a series, which may be that of another channel instance.
  std::optional<Source> source_of(std::size_t channel, std::size_t index, std::string& fault) const {
    const StoredSeries& series = instances_[channel].series[index];
    Source source;
    source.channel = channel;
    source.series = index;
    if (!series.values && series.share_channel && series.share_series) {
      source.channel = *series.share_channel;
      source.series = *series.share_series;
      if (source.channel >= instances_.size() || source.series >= instances_[source.channel].series.size()) {
        fault = fmt::format("they are shared with series {} of channel {}, which does not exist", source.series + 1,
                            source.channel + 1);
        return std::nullopt;
      }
    }
    const StoredSeries& owner = instances_[source.channel].series[source.series];
    if (!owner.values) {
      const bool shared = series.share_channel && series.share_series;
      fault = shared ? fmt::format("they are shared with series {} of channel {}, which has none of its own",
                                   source.series + 1, source.channel + 1)
                     : "the series has no vector";
      return std::nullopt;
    }
    source.stored = *owner.values;
    source.own_scale = &series != &owner && (series.scale || series.offset);
    source.storage =
        storage_of(source, series.scale ? series.scale : owner.scale, series.offset ? series.offset : owner.offset);
    return source;
  }

  /// Returns how a vector is stored, as the definition of its owner says. Where it says nothing, values with a scale or
  /// an offset are scaled.
  [[nodiscard]] Storage storage_of(const Source& source, std::optional<double> scale,
                                   std::optional<double> offset) const {
    const ChannelDefinition* definition = definition_of(source.channel);
    std::optional<std::uint32_t> method;
    if (definition != nullptr && source.series < definition->series.size()) {
      method = definition->series[source.series].storage;
    }
    Storage storage;
    const bool known = method.value_or(0) != 0;
    storage.increment = known && (*method & storage::increment) != 0;
    if (known && (*method & storage::scaled) == 0) return storage;
    storage.scale = scale.value_or(1);
    storage.offset = offset.value_or(0);
    return storage;
  }

  /// Returns when a channel's samples were taken.
  TimeBase base_of(std::size_t channel, const Roles& roles, std::size_t length, std::string& fault) {
    TimeBase base;
    if (!roles.time) {
      base.sections = {{surroundings_.given_rate, length, 0, false}};
      note_once("its channels have no series of times, so their sampling rate is not known");
      return base;
    }
    auto source = source_of(channel, *roles.time, fault);
    if (!source) {
      fault = "its times are missing: " + fault;
      return base;
    }
    // Some programs store runs of increments but do not say so.
    if (!source->storage.increment && source->stored.count != length && count_in_runs(source->stored) == length) {
      source->storage.increment = true;
    }
    base = stored_base(*source, unit_of(channel, *roles.time, source->stored));
    fault = base.fault;
    if (!fault.empty()) return base;
    if (base.sections.empty()) {
      fault = "its series of times is empty";
      return base;
    }
    constexpr double longest = 1e9;
    if (!(std::abs(base.first) < longest)) {
      fault = fmt::format("its first time is {} s after the start of the observation", base.first);
      return base;
    }
    fault = fault_of_sections(base.sections);
    if (!fault.empty()) return base;
    const std::size_t times = base.length();
    if (times + 1 < length || times > length + 1) {
      note_once(fmt::format("its channel {} has {} values but {} times", channel + 1, length, times));
    }
    fit_to(base.sections, length);
    return base;
  }

  /// Returns why times are none that a recorder takes; empty if they are.
  static std::string fault_of_sections(const std::vector<RateSection>& sections) {
    std::size_t begin = 0;
    for (const RateSection& section : sections) {
      if (section.rate > highest_rate) {
        return fmt::format("its times give {} samples per second, more than any recorder takes (at most {})",
                           number_text(section.rate), number_text(highest_rate));
      }
      const double seconds = section.rate > 0 ? static_cast<double>(section.end - begin) / section.rate : 0;
      if (!(section.start + seconds <= longest_time)) return "its times last more than a century";
      begin = section.end;
    }
    return {};
  }

  /// Reads a series of times, or returns what was read before when other channels share it.
  TimeBase stored_base(const Source& source, const TimeUnit& unit) {
    const std::pair key(source.channel, source.series);
    const auto known = shared_bases_.find(key);
    if (known != shared_bases_.end() && !source.own_scale) return known->second;
    TimeBase base = time_base_of(source.stored, source.storage, unit, surroundings_.given_rate, budget_);
    if (!source.own_scale) shared_bases_[key] = base;
    return base;
  }

  TimeUnit unit_of(std::size_t channel, std::size_t series, const StoredVector& stored) {
    TimeUnit unit;
    const std::uint32_t units = definition_of(channel)->series[series].units;
    if (units == unit::cycles) {
      const double frequency = surroundings_.settings.nominal_frequency;
      unit.seconds = frequency > 0 ? 1 / frequency : 0;
      if (unit.seconds == 0) note_once("its times count in cycles, but the file does not state the nominal frequency");
    }
    if (stored.type == physical::time_stamp && stored.count > 0 && !observation_.start) {
      observation_.start = stored.moment(0);
    }
    unit.observation = observation_.start.value_or(0);
    return unit;
  }

  /// Returns the index of a time base among those of the observation; one that runs together with it is continued.
  std::size_t index_of(TimeBase base) {
    for (std::size_t i = 0; i < observation_.bases.size(); i++) {
      TimeBase& other = observation_.bases[i];
      if (!run_together(base, other)) continue;
      if (base.length() > other.length()) fit_to(other.sections, base.length());
      return i;
    }
    for (const std::string& note : base.notes) note_once(note);
    observation_.bases.push_back(std::move(base));
    return observation_.bases.size() - 1;
  }

  /// Applies what the settings say has still to be applied.
  void apply_setting(Waveform& waveform) {
    const Settings& settings = surroundings_.settings;
    const auto found = settings.channels.find(static_cast<std::uint32_t>(waveform.definition));
    if (found == settings.channels.end()) return;
    const ChannelSetting& setting = found->second;
    const double ratio = setting.system_side / setting.monitor_side;
    if (std::isfinite(ratio) && ratio != 0) {
      waveform.primary = setting.system_side;
      waveform.secondary = setting.monitor_side;
      if (settings.apply_transducer && ratio != 1) {
        for (double& value : waveform.values) value *= ratio;
        note_once("its values were multiplied by the ratios of transducers, as the settings demand");
      }
    }
    if (settings.apply_calibration && (setting.calibration_ratio != 1 || setting.calibration_offset != 0)) {
      note_once("the settings demand a calibration of its values, which was not applied");
    }
  }

  void note_once(const std::string& note) {
    if (std::find(observation_.notes.begin(), observation_.notes.end(), note) == observation_.notes.end()) {
      observation_.notes.push_back(note);
    }
  }

  Body& body_;
  const Surroundings& surroundings_;
  ValueBudget& budget_;
  std::vector<Instance> instances_;
  std::map<std::pair<std::size_t, std::size_t>, TimeBase> shared_bases_;
  std::size_t faults_ = 0;
  std::size_t more_faults_ = 0;
  Observation observation_;
};

}  // namespace

Observation read_observation(Body& body, const Surroundings& surroundings, ValueBudget& budget) {
  return ObservationReader(body, surroundings, budget).read();
}

}  // namespace readers::pqdif
