#include "readers/pqdif/definitions.h"

#include "readers/pqdif/tags.h"

namespace readers::pqdif {
namespace {

SeriesDefinition series_of(Body& body, const Collection& entries) {
  SeriesDefinition series;
  series.value_type = body.identifier(entries, tag::value_type);
  series.characteristic = body.identifier(entries, tag::characteristic);
  series.units = body.count(entries, tag::units).value_or(unit::none);
  series.storage = body.count(entries, tag::storage_method);
  series.nominal = body.number(entries, tag::nominal_quantity).value_or(0);
  return series;
}

ChannelDefinition channel_of(Body& body, const Collection& entries) {
  ChannelDefinition channel;
  channel.name = body.text(entries, tag::channel_name);
  channel.phase = body.count(entries, tag::phase).value_or(0);
  channel.quantity = body.count(entries, tag::quantity_measured).value_or(0);
  channel.type = body.identifier(entries, tag::quantity_type);
  const Collection list = body.collection(entries, tag::series_definitions);
  for (const Collection& one : body.collections(list, tag::series_definition)) {
    channel.series.push_back(series_of(body, one));
  }
  return channel;
}

std::string joined(const std::string& one, const std::string& other) {
  return one.empty() || other.empty() || one == other ? (one.empty() ? other : one) : one + " " + other;
}

}  // namespace

DataSource read_data_source(Body& body) {
  DataSource source;
  const Collection root = body.root();
  source.name = body.text(root, tag::source_name);
  source.serial_number = body.text(root, tag::serial_number);
  source.model = joined(body.text(root, tag::model_name), body.text(root, tag::model_number));
  source.location = body.text(root, tag::location);
  source.time_zone = body.text(root, tag::time_zone);
  const Collection list = body.collection(root, tag::channel_definitions);
  for (const Collection& one : body.collections(list, tag::channel_definition)) {
    source.channels.push_back(channel_of(body, one));
  }
  return source;
}

Settings read_settings(Body& body) {
  Settings settings;
  const Collection root = body.root();
  settings.apply_transducer = body.number(root, tag::use_transducer).value_or(0) != 0;
  settings.apply_calibration = body.number(root, tag::use_calibration).value_or(0) != 0;
  settings.nominal_frequency = body.number(root, tag::nominal_frequency).value_or(0);
  const Collection list = body.collection(root, tag::channel_settings);
  for (const Collection& one : body.collections(list, tag::channel_setting)) {
    const auto index = body.count(one, tag::definition_index);
    if (!index) continue;
    ChannelSetting& setting = settings.channels[*index];
    setting.system_side = body.number(one, tag::system_side_ratio).value_or(0);
    setting.monitor_side = body.number(one, tag::monitor_side_ratio).value_or(0);
    setting.calibration_ratio = body.number(one, tag::calibration_ratio).value_or(1);
    setting.calibration_offset = body.number(one, tag::calibration_offset).value_or(0);
  }
  return settings;
}

}  // namespace readers::pqdif
