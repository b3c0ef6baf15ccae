#include "outputs/record_json.h"

#include <utility>

namespace outputs {

using Json = nlohmann::ordered_json;

void add_side(nlohmann::ordered_json& json, const readers::Channel& channel) {
  json["side"] = nullptr;
  if (channel.side == 'P') json["side"] = "primary";
  if (channel.side == 'S') json["side"] = "secondary";
  json["transformer_primary"] = channel.primary;
  json["transformer_secondary"] = channel.secondary;
}

nlohmann::ordered_json origin_of(const readers::Record& record) {
  return {{"file", record.file},
          {"format", record.format},
          {"station", record.station},
          {"device", record.device},
          {"start_time", record.start_time}};
}

nlohmann::ordered_json digital_channels_of(const readers::Record& record) {
  Json list = Json::array();
  for (const auto& channel : record.digitals) {
    Json changes = Json::array();
    for (const auto& change : channel.changes) {
      changes.push_back({{"sample", change.row}, {"time_s", change.time}, {"state", change.state ? 1 : 0}});
    }
    list.push_back({{"number", list.size() + 1},
                    {"name", channel.name},
                    {"first_state", channel.first_state ? 1 : 0},
                    {"changes", std::move(changes)}});
  }
  return list;
}

nlohmann::ordered_json stretch_of(const readers::Record& record) {
  if (!record.stretch) return nullptr;
  return {{"from_s", record.stretch->from}, {"to_s", record.stretch->to}};
}

}  // namespace outputs
