// The identifiers of IEEE 1159.3 that describe waveforms, and those that say what else a file holds.
#pragma once

#include <cstdint>

#include "readers/pqdif/guid.h"

namespace readers::pqdif {

/// Starts every record.
inline constexpr Guid signature = guid("4a111440-e49f-11cf-9900-505144494600");

namespace record_kind {
inline constexpr Guid container = guid("89738606-f1c3-11cf-9d89-0080c72e70a3");
inline constexpr Guid data_source = guid("89738619-f1c3-11cf-9d89-0080c72e70a3");
inline constexpr Guid settings = guid("b48d858c-f5f5-11cf-9d89-0080c72e70a3");
inline constexpr Guid observation = guid("8973861a-f1c3-11cf-9d89-0080c72e70a3");
}  // namespace record_kind

namespace tag {
// Of the container.
inline constexpr Guid version_info = guid("89738607-f1c3-11cf-9d89-0080c72e70a3");
inline constexpr Guid file_name = guid("89738608-f1c3-11cf-9d89-0080c72e70a3");
inline constexpr Guid creation = guid("89738609-f1c3-11cf-9d89-0080c72e70a3");
inline constexpr Guid compression_style = guid("8973861b-f1c3-11cf-9d89-0080c72e70a3");
inline constexpr Guid compression_algorithm = guid("8973861c-f1c3-11cf-9d89-0080c72e70a3");

// Of a data source.
inline constexpr Guid source_type = guid("b48d8581-f5f5-11cf-9d89-0080c72e70a3");
inline constexpr Guid serial_number = guid("b48d8585-f5f5-11cf-9d89-0080c72e70a3");
inline constexpr Guid source_name = guid("b48d8587-f5f5-11cf-9d89-0080c72e70a3");
inline constexpr Guid location = guid("b48d8589-f5f5-11cf-9d89-0080c72e70a3");
inline constexpr Guid time_zone = guid("b48d858a-f5f5-11cf-9d89-0080c72e70a3");
inline constexpr Guid model_name = guid("3d786f83-f76e-11cf-9d89-0080c72e70a3");
inline constexpr Guid model_number = guid("3d786f84-f76e-11cf-9d89-0080c72e70a3");
inline constexpr Guid effective = guid("62f28183-f9c4-11cf-9d89-0080c72e70a3");
inline constexpr Guid channel_definitions = guid("b48d858d-f5f5-11cf-9d89-0080c72e70a3");
inline constexpr Guid channel_definition = guid("b48d858e-f5f5-11cf-9d89-0080c72e70a3");
inline constexpr Guid channel_name = guid("b48d8590-f5f5-11cf-9d89-0080c72e70a3");
inline constexpr Guid phase = guid("b48d8591-f5f5-11cf-9d89-0080c72e70a3");
inline constexpr Guid quantity_type = guid("b48d8592-f5f5-11cf-9d89-0080c72e70a3");
inline constexpr Guid quantity_measured = guid("c690e872-f755-11cf-9d89-0080c72e70a3");
inline constexpr Guid series_definitions = guid("b48d8598-f5f5-11cf-9d89-0080c72e70a3");
inline constexpr Guid series_definition = guid("b48d859a-f5f5-11cf-9d89-0080c72e70a3");
inline constexpr Guid value_type = guid("b48d859c-f5f5-11cf-9d89-0080c72e70a3");
inline constexpr Guid units = guid("b48d859b-f5f5-11cf-9d89-0080c72e70a3");
inline constexpr Guid characteristic = guid("3d786f9e-f76e-11cf-9d89-0080c72e70a3");
inline constexpr Guid storage_method = guid("b48d85a1-f5f5-11cf-9d89-0080c72e70a3");
inline constexpr Guid nominal_quantity = guid("0fa118c8-cb4a-11d2-b30b-fe25cb9a1760");

// Of the settings.
inline constexpr Guid use_calibration = guid("62f28180-f9c4-11cf-9d89-0080c72e70a3");
inline constexpr Guid use_transducer = guid("62f28181-f9c4-11cf-9d89-0080c72e70a3");
inline constexpr Guid nominal_frequency = guid("0fa118c3-cb4a-11d2-b30b-fe25cb9a1760");
inline constexpr Guid time_installed = guid("3d786f85-f76e-11cf-9d89-0080c72e70a3");
inline constexpr Guid channel_settings = guid("62f28182-f9c4-11cf-9d89-0080c72e70a3");
inline constexpr Guid channel_setting = guid("3d786f9a-f76e-11cf-9d89-0080c72e70a3");
inline constexpr Guid definition_index = guid("b48d858f-f5f5-11cf-9d89-0080c72e70a3");
inline constexpr Guid system_side_ratio = guid("62f2818a-f9c4-11cf-9d89-0080c72e70a3");
inline constexpr Guid monitor_side_ratio = guid("62f2818b-f9c4-11cf-9d89-0080c72e70a3");
inline constexpr Guid calibration_offset = guid("62f2818e-f9c4-11cf-9d89-0080c72e70a3");
inline constexpr Guid calibration_ratio = guid("62f2818f-f9c4-11cf-9d89-0080c72e70a3");

// Of an observation.
inline constexpr Guid observation_name = guid("3d786f8a-f76e-11cf-9d89-0080c72e70a3");
inline constexpr Guid time_created = guid("3d786f8b-f76e-11cf-9d89-0080c72e70a3");
inline constexpr Guid time_start = guid("3d786f8c-f76e-11cf-9d89-0080c72e70a3");
inline constexpr Guid trigger_method = guid("3d786f8d-f76e-11cf-9d89-0080c72e70a3");
inline constexpr Guid time_triggered = guid("3d786f8e-f76e-11cf-9d89-0080c72e70a3");
inline constexpr Guid disturbance_category = guid("b48d8597-f5f5-11cf-9d89-0080c72e70a3");
inline constexpr Guid channel_instances = guid("3d786f91-f76e-11cf-9d89-0080c72e70a3");
inline constexpr Guid channel_instance = guid("3d786f92-f76e-11cf-9d89-0080c72e70a3");
inline constexpr Guid series_instances = guid("3d786f93-f76e-11cf-9d89-0080c72e70a3");
inline constexpr Guid series_instance = guid("3d786f94-f76e-11cf-9d89-0080c72e70a3");
inline constexpr Guid series_scale = guid("3d786f96-f76e-11cf-9d89-0080c72e70a3");
inline constexpr Guid series_offset = guid("3d786f97-f76e-11cf-9d89-0080c72e70a3");
inline constexpr Guid share_channel = guid("8973861f-f1c3-11cf-9d89-0080c72e70a3");
inline constexpr Guid share_series = guid("89738620-f1c3-11cf-9d89-0080c72e70a3");
inline constexpr Guid series_values = guid("3d786f99-f76e-11cf-9d89-0080c72e70a3");
}  // namespace tag

namespace quantity_type {
inline constexpr Guid waveform = guid("67f6af80-f753-11cf-9d89-0080c72e70a3");
inline constexpr Guid value_log = guid("67f6af82-f753-11cf-9d89-0080c72e70a3");
inline constexpr Guid phasor = guid("67f6af81-f753-11cf-9d89-0080c72e70a3");
inline constexpr Guid response = guid("67f6af85-f753-11cf-9d89-0080c72e70a3");
inline constexpr Guid flash = guid("67f6af83-f753-11cf-9d89-0080c72e70a3");
inline constexpr Guid histogram = guid("67f6af87-f753-11cf-9d89-0080c72e70a3");
inline constexpr Guid histogram_3d = guid("67f6af88-f753-11cf-9d89-0080c72e70a3");
inline constexpr Guid probability = guid("67f6af89-f753-11cf-9d89-0080c72e70a3");
inline constexpr Guid xy = guid("67f6af8a-f753-11cf-9d89-0080c72e70a3");
inline constexpr Guid xyz = guid("67f6af8c-f753-11cf-9d89-0080c72e70a3");
inline constexpr Guid magnitude_duration = guid("67f6af8b-f753-11cf-9d89-0080c72e70a3");
inline constexpr Guid magnitude_duration_time = guid("67f6af8d-f753-11cf-9d89-0080c72e70a3");
inline constexpr Guid magnitude_duration_count = guid("67f6af8e-f753-11cf-9d89-0080c72e70a3");
}  // namespace quantity_type

namespace value_type {
inline constexpr Guid time = guid("c690e862-f755-11cf-9d89-0080c72e70a3");
inline constexpr Guid value = guid("67f6af97-f753-11cf-9d89-0080c72e70a3");
inline constexpr Guid instantaneous = guid("67f6af9b-f753-11cf-9d89-0080c72e70a3");
}  // namespace value_type

namespace characteristic {
inline constexpr Guid instantaneous = guid("a6b31add-b451-11d1-ae17-0060083a2628");
inline constexpr Guid rms = guid("a6b31ae5-b451-11d1-ae17-0060083a2628");
}  // namespace characteristic

/// The type of a data source that measures.
inline constexpr Guid measured_source = guid("e6b51730-f747-11cf-9d89-0080c72e70a3");

namespace quantity {
inline constexpr std::uint32_t voltage = 1;
inline constexpr std::uint32_t current = 2;
}  // namespace quantity

namespace unit {
inline constexpr std::uint32_t none = 0;
inline constexpr std::uint32_t time_stamp = 1;
inline constexpr std::uint32_t seconds = 2;
inline constexpr std::uint32_t cycles = 3;
inline constexpr std::uint32_t volts = 6;
inline constexpr std::uint32_t amperes = 7;
}  // namespace unit

/// Bits of a storage method.
namespace storage {
inline constexpr std::uint32_t values = 1;
inline constexpr std::uint32_t scaled = 2;
inline constexpr std::uint32_t increment = 4;
}  // namespace storage

/// Kinds and types of the elements that a body consists of.
namespace element_kind {
inline constexpr std::uint8_t collection = 1;
inline constexpr std::uint8_t scalar = 2;
inline constexpr std::uint8_t vector = 3;
}  // namespace element_kind

namespace physical {
inline constexpr std::uint8_t bool1 = 1;
inline constexpr std::uint8_t bool2 = 2;
inline constexpr std::uint8_t bool4 = 3;
inline constexpr std::uint8_t char1 = 10;
inline constexpr std::uint8_t char2 = 11;
inline constexpr std::uint8_t int1 = 20;
inline constexpr std::uint8_t int2 = 21;
inline constexpr std::uint8_t int4 = 22;
inline constexpr std::uint8_t unsigned1 = 30;
inline constexpr std::uint8_t unsigned2 = 31;
inline constexpr std::uint8_t unsigned4 = 32;
inline constexpr std::uint8_t real4 = 40;
inline constexpr std::uint8_t real8 = 41;
inline constexpr std::uint8_t complex8 = 42;
inline constexpr std::uint8_t complex16 = 43;
inline constexpr std::uint8_t time_stamp = 50;
inline constexpr std::uint8_t guid = 60;
}  // namespace physical

/// Returns the bytes of one value of a physical type; 0 for unknown types.
constexpr std::size_t size_of(std::uint8_t type) {
  switch (type) {
    case physical::bool1:
    case physical::char1:
    case physical::int1:
    case physical::unsigned1:
      return 1;
    case physical::bool2:
    case physical::char2:
    case physical::int2:
    case physical::unsigned2:
      return 2;
    case physical::bool4:
    case physical::int4:
    case physical::unsigned4:
    case physical::real4:
      return 4;
    case physical::real8:
    case physical::complex8:
      return 8;
    case physical::time_stamp:
      return 12;
    case physical::complex16:
    case physical::guid:
      return 16;
    default:
      return 0;
  }
}

}  // namespace readers::pqdif
