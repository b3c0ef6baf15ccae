// What a PQDIF file says of its instruments: data sources with their channels, and the settings of an instrument.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "readers/pqdif/body.h"
#include "readers/pqdif/guid.h"

namespace readers::pqdif {

// All texts are bytes of the file, in its character set.

struct SeriesDefinition {
  std::optional<Guid> value_type;
  std::optional<Guid> characteristic;
  std::uint32_t units = 0;
  std::optional<std::uint32_t> storage;  ///< bits of the storage method
  double nominal = 0;                    ///< 0 when it is not stated
};

struct ChannelDefinition {
  std::string name;
  std::uint32_t phase = 0;
  std::uint32_t quantity = 0;  ///< voltage, current, ...
  std::optional<Guid> type;    ///< waveform, phasor, ...
  std::vector<SeriesDefinition> series;
};

struct DataSource {
  std::string name;
  std::string serial_number;
  std::string model;
  std::string location;
  std::string time_zone;
  std::vector<ChannelDefinition> channels;

  /// Returns whether two records describe the same instrument.
  [[nodiscard]] bool is_same_instrument(const DataSource& other) const {
    return name == other.name && serial_number == other.serial_number && location == other.location;
  }
};

/// The settings of one channel.
struct ChannelSetting {
  double system_side = 0;   ///< ratio of a transducer; 0 when it is not stated
  double monitor_side = 0;  ///< the same
  double calibration_ratio = 1;
  double calibration_offset = 0;
};

struct Settings {
  bool apply_transducer = false;                     ///< values have still to be multiplied by the transducer's ratio
  bool apply_calibration = false;                    ///< values have still to be calibrated
  double nominal_frequency = 0;                      ///< hertz; 0 when it is not stated
  std::map<std::uint32_t, ChannelSetting> channels;  ///< by the index of the channel's definition
};

/// Reads the body of a data source. What is missing keeps its default.
DataSource read_data_source(Body& body);

/// Reads the body of a settings record.
Settings read_settings(Body& body);

}  // namespace readers::pqdif
