// The chain of records that a PQDIF file consists of.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "readers/pqdif/guid.h"

namespace readers::pqdif {

/// A record as it is found in the file.
struct StoredRecord {
  std::size_t number = 1;  ///< in the chain, from 1
  std::size_t offset = 0;  ///< of its header in the file
  Guid kind;
  std::string_view body;  ///< as stored, which may be compressed
  std::uint32_t checksum = 0;
};

/// Returns for example "record 5 at byte 8694".
std::string place_of(const StoredRecord& record);

/// Walks through the chain. Links may lead forwards and backwards, but a chain that comes back to a record, or whose
/// records overlap so that they hold more bytes than the file, ends there with a fault.
class RecordChain {
 public:
  explicit RecordChain(std::string_view content) : content_(content), bytes_left_(content.size()) {}

  /// Returns the next record; nothing at the end of the chain or where it breaks.
  std::optional<StoredRecord> next();

  /// Says where and why the chain breaks, as in "record 5 at byte 8694: ..."; empty if it has ended as it should.
  [[nodiscard]] const std::string& fault() const { return fault_; }

 private:
  std::optional<StoredRecord> record_at(std::size_t offset);
  void follow(std::int32_t link, std::size_t end);

  std::string_view content_;
  std::size_t bytes_left_;
  std::size_t count_ = 0;
  std::optional<std::size_t> next_ = 0;
  std::vector<bool> visited_;  ///< one entry for each 64 bytes of the file, as records do not overlap
  std::string fault_;
};

/// Returns whether the content begins with the signature of a PQDIF record.
bool begins_with_signature(std::string_view content);

}  // namespace readers::pqdif
