#include "outputs/record_json.h"

namespace outputs {

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

}  // namespace outputs
