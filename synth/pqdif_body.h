// Builds the bytes of PQDIF records: bodies as trees of elements, and files as chains of records.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "readers/pqdif/guid.h"

namespace synth {

/// A collection of a body, to which elements are added.
class PqdifCollection {
 public:
  using Guid = readers::pqdif::Guid;

  /// Adds a number as a value of a physical type.
  PqdifCollection& scalar(const Guid& tag, std::uint8_t type, double value);
  PqdifCollection& identifier(const Guid& tag, const Guid& value);
  /// Adds a time stamp; days count from 1899-12-30.
  PqdifCollection& time_stamp(const Guid& tag, std::uint32_t days, double seconds);
  /// Adds a vector of numbers as values of a physical type.
  PqdifCollection& vector(const Guid& tag, std::uint8_t type, const std::vector<double>& values);
  /// Adds a vector of time stamps, which are seconds from the start of a day.
  PqdifCollection& time_stamps(const Guid& tag, std::uint32_t day, const std::vector<double>& seconds);
  PqdifCollection& text(const Guid& tag, const std::string& value);
  PqdifCollection& collection(const Guid& tag, PqdifCollection entries);

  /// Returns the body that has this collection at its start.
  [[nodiscard]] std::string body() const;

 private:
  struct Entry {
    Guid tag;
    std::uint8_t kind = 0;
    std::uint8_t type = 0;
    std::string bytes;                        ///< of a scalar or a vector
    std::vector<PqdifCollection> collection;  ///< of a collection, which is the only entry
  };

  void append_to(std::string& body) const;

  std::vector<Entry> entries_;
};

/// Returns the stored bytes of a number, its lowest byte first.
std::string pqdif_number(std::uint8_t type, double value);

/// The checksums that makers of instruments write.
enum class PqdifChecksum { adler_of_stored, crc_of_unpacked, none };

/// A file to which records are added. The first of them is the container, which is never compressed.
class PqdifFile {
 public:
  PqdifFile(bool compressed, PqdifChecksum checksum) : compressed_(compressed), checksum_(checksum) {}

  void add(const readers::pqdif::Guid& kind, const PqdifCollection& body);
  void add(const readers::pqdif::Guid& kind, const std::string& body);

  [[nodiscard]] const std::string& bytes() const { return bytes_; }

  /// Returns the offset of each record.
  [[nodiscard]] const std::vector<std::size_t>& offsets() const { return offsets_; }

 private:
  bool compressed_;
  PqdifChecksum checksum_;
  std::string bytes_;
  std::vector<std::size_t> offsets_;
};

}  // namespace synth
