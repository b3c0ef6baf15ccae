#include "synth/pqdif_file.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "readers/pqdif/tags.h"

namespace synth {

namespace {

namespace pqdif = readers::pqdif;
namespace tag = pqdif::tag;
namespace physical = pqdif::physical;

constexpr std::uint32_t first_day = 36526;  // 2000-01-01
constexpr double seconds_per_day = 86400;

/// Returns the largest value that is stored in an integer type; 0 for other types.
double steps_of(std::uint8_t type) {
  switch (type) {
    case physical::int1:
      return std::numeric_limits<std::int8_t>::max();
    case physical::int2:
      return std::numeric_limits<std::int16_t>::max();
    case physical::int4:
      return std::numeric_limits<std::int32_t>::max();
    case physical::unsigned1:
      return std::numeric_limits<std::uint8_t>::max();
    case physical::unsigned2:
      return std::numeric_limits<std::uint16_t>::max();
    case physical::unsigned4:
      return std::numeric_limits<std::uint32_t>::max();
    default:
      return 0;
  }
}

bool is_unsigned(std::uint8_t type) {
  return type == physical::unsigned1 || type == physical::unsigned2 || type == physical::unsigned4;
}

/// How a channel's values become stored numbers.
struct Scaling {
  double scale = 1;
  double offset = 0;

  [[nodiscard]] double stored(double value) const { return (value - offset) / scale; }
};

/// Returns a scaling that uses the whole range of the type.
Scaling scaling_of(const readers::Channel& channel, const PqdifForm& form) {
  if (!form.scaled) return {};
  double peak = 0;
  for (const double value : channel.samples) peak = std::max(peak, std::abs(value - form.offset));
  const double steps = steps_of(form.value_type);
  if (peak == 0) return {1, form.offset};
  if (steps == 0) return {0.5, form.offset};
  // Unsigned numbers begin at the lowest value.
  return is_unsigned(form.value_type) ? Scaling{2 * peak / steps, form.offset - peak}
                                      : Scaling{peak / steps, form.offset};
}

std::uint32_t phase_of(const readers::Channel& channel) {
  constexpr std::array<std::string_view, 8> names = {"", "AN", "BN", "CN", "NG", "AB", "BC", "CA"};
  constexpr std::array<std::string_view, 5> letters = {"", "A", "B", "C", "N"};
  for (std::uint32_t i = 1; i < names.size(); i++) {
    if (channel.phase == names[i] || (i < letters.size() && channel.phase == letters[i])) return i;
  }
  return 0;
}

std::uint32_t units_of_time(PqdifTimes times) {
  if (times == PqdifTimes::cycles) return pqdif::unit::cycles;
  return times == PqdifTimes::time_stamps ? pqdif::unit::time_stamp : pqdif::unit::seconds;
}

class Writer {
 public:
  Writer(const readers::Record& record, const PqdifForm& form)
      : record_(record), form_(form), file_(form.compressed, form.checksum) {}

  std::string write() {
    add_container();
    add_source();
    add_settings();
    for (std::size_t i = 0; i < record_.rates.size(); i++) add_observation(i);
    return file_.bytes();
  }

 private:
  void add_container() {
    PqdifCollection body;
    body.vector(tag::version_info, physical::unsigned4, {1, 5, 1, 5})
        .text(tag::file_name, "record.pqd")
        .time_stamp(tag::creation, first_day, 0)
        .scalar(tag::compression_style, physical::unsigned4, form_.compressed ? 2 : 0)
        .scalar(tag::compression_algorithm, physical::unsigned4, form_.compressed ? 1 : 0);
    file_.add(pqdif::record_kind::container, body);
  }

  [[nodiscard]] bool has_increments() const {
    return form_.times == PqdifTimes::increments || form_.times == PqdifTimes::cycles;
  }

  [[nodiscard]] PqdifCollection time_definition() const {
    std::uint32_t method = has_increments() ? pqdif::storage::increment : pqdif::storage::values;
    if (form_.time_scale != 1) method |= pqdif::storage::scaled;
    PqdifCollection series;
    series.identifier(tag::value_type, pqdif::value_type::time)
        .scalar(tag::units, physical::unsigned4, units_of_time(form_.times))
        .identifier(tag::characteristic, pqdif::characteristic::instantaneous)
        .scalar(tag::storage_method, physical::unsigned4, method);
    return series;
  }

  [[nodiscard]] PqdifCollection value_definition(bool current) const {
    const std::uint32_t method = pqdif::storage::values | (form_.scaled ? pqdif::storage::scaled : 0);
    PqdifCollection series;
    series.identifier(tag::value_type, pqdif::value_type::value)
        .scalar(tag::units, physical::unsigned4, current ? pqdif::unit::amperes : pqdif::unit::volts)
        .identifier(tag::characteristic, pqdif::characteristic::instantaneous)
        .scalar(tag::storage_method, physical::unsigned4, method);
    return series;
  }

  void add_source() {
    PqdifCollection channels;
    for (const auto& channel : record_.channels) {
      const bool current = channel.unit == "A";
      PqdifCollection series;
      series.collection(tag::series_definition, time_definition())
          .collection(tag::series_definition, value_definition(current));
      PqdifCollection definition;
      definition.text(tag::channel_name, channel.name)
          .scalar(tag::phase, physical::unsigned4, phase_of(channel))
          .identifier(tag::quantity_type, pqdif::quantity_type::waveform)
          .scalar(tag::quantity_measured, physical::unsigned4,
                  current ? pqdif::quantity::current : pqdif::quantity::voltage)
          .collection(tag::series_definitions, std::move(series));
      channels.collection(tag::channel_definition, std::move(definition));
    }
    PqdifCollection body;
    body.identifier(tag::source_type, pqdif::measured_source)
        .text(tag::source_name, record_.station)
        .text(tag::model_name, record_.device)
        .time_stamp(tag::effective, first_day, 0)
        .collection(tag::channel_definitions, std::move(channels));
    file_.add(pqdif::record_kind::data_source, body);
  }

  void add_settings() {
    PqdifCollection body;
    body.time_stamp(tag::effective, first_day, 0)
        .time_stamp(tag::time_installed, first_day, 0)
        .scalar(tag::use_calibration, physical::bool4, 0)
        .scalar(tag::use_transducer, physical::bool4, 0);
    if (record_.line_frequency > 0) body.scalar(tag::nominal_frequency, physical::real8, record_.line_frequency);
    body.collection(tag::channel_settings, {});
    file_.add(pqdif::record_kind::settings, body);
  }

  /// Adds the time of a sample of a section.
  static void add_time(PqdifCollection& to, const pqdif::Guid& what, double seconds) {
    const double days = std::floor(seconds / seconds_per_day);
    to.time_stamp(what, first_day + static_cast<std::uint32_t>(days), seconds - days * seconds_per_day);
  }

  [[nodiscard]] PqdifCollection times_of(const readers::RateSection& section, std::size_t length) const {
    PqdifCollection series;
    const double step = (form_.times == PqdifTimes::cycles ? record_.line_frequency : 1) / section.rate;
    std::vector<double> values;
    if (has_increments()) {
      values = {1, static_cast<double>(length), step / form_.time_scale};
    } else if (form_.times == PqdifTimes::seconds) {
      for (std::size_t i = 0; i < length; i++) values.push_back(static_cast<double>(i) * step / form_.time_scale);
    }
    if (form_.time_scale != 1) series.scalar(tag::series_scale, physical::real8, form_.time_scale);
    if (form_.times == PqdifTimes::time_stamps) {
      std::vector<double> seconds;
      for (std::size_t i = 0; i < length; i++) seconds.push_back(section.start + static_cast<double>(i) * step);
      series.time_stamps(tag::series_values, first_day, seconds);
    } else {
      series.vector(tag::series_values, form_.time_type, values);
    }
    return series;
  }

  static PqdifCollection shared(std::size_t channel, std::size_t index) {
    PqdifCollection series;
    series.scalar(tag::share_channel, physical::unsigned4, static_cast<double>(channel))
        .scalar(tag::share_series, physical::unsigned4, static_cast<double>(index));
    return series;
  }

  [[nodiscard]] PqdifCollection values_of(const readers::Channel& channel, std::size_t begin, std::size_t end) const {
    const Scaling scaling = scaling_of(channel, form_);
    PqdifCollection series;
    if (form_.scaled) {
      series.scalar(tag::series_scale, physical::real8, scaling.scale)
          .scalar(tag::series_offset, physical::real8, scaling.offset);
    }
    std::vector<double> values;
    for (std::size_t i = begin; i < end; i++) values.push_back(scaling.stored(channel.samples[i]));
    series.vector(tag::series_values, form_.value_type, values);
    return series;
  }

  void add_observation(std::size_t index) {
    const readers::RateSection& section = record_.rates[index];
    const std::size_t begin = index == 0 ? 0 : record_.rates[index - 1].end;
    PqdifCollection instances;
    for (std::size_t i = 0; i < record_.channels.size(); i++) {
      PqdifCollection series;
      series
          .collection(tag::series_instance,
                      i > 0 && form_.share_times ? shared(0, 0) : times_of(section, section.end - begin))
          .collection(tag::series_instance, values_of(record_.channels[i], begin, section.end));
      PqdifCollection instance;
      instance.scalar(tag::definition_index, physical::unsigned4, static_cast<double>(i))
          .collection(tag::series_instances, std::move(series));
      instances.collection(tag::channel_instance, std::move(instance));
    }
    if (form_.share_values) add_sharing_instances(instances);
    PqdifCollection body;
    body.text(tag::observation_name, section.title);
    add_time(body, tag::time_created, section.start);
    add_time(body, tag::time_start, section.start);
    body.scalar(tag::trigger_method, physical::unsigned4, record_.trigger ? 1 : 0);
    if (record_.trigger) add_time(body, tag::time_triggered, *record_.trigger);
    body.collection(tag::channel_instances, std::move(instances));
    file_.add(pqdif::record_kind::observation, body);
  }

  void add_sharing_instances(PqdifCollection& instances) const {
    for (std::size_t i = 0; i < record_.channels.size(); i++) {
      PqdifCollection series;
      series.collection(tag::series_instance, shared(form_.share_times ? 0 : i, 0))
          .collection(tag::series_instance, shared(i, 1));
      PqdifCollection instance;
      instance.scalar(tag::definition_index, physical::unsigned4, static_cast<double>(i))
          .collection(tag::series_instances, std::move(series));
      instances.collection(tag::channel_instance, std::move(instance));
    }
  }

  const readers::Record& record_;
  const PqdifForm& form_;
  PqdifFile file_;
};

}  // namespace

std::string pqdif_of(const readers::Record& record, const PqdifForm& form) {
  return Writer(record, form).write();
}

}  // namespace synth
