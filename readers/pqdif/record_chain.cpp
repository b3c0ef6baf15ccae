#include "readers/pqdif/record_chain.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>

#include "readers/pqdif/tags.h"

namespace readers::pqdif {
namespace {

constexpr std::size_t header_size = 64;

std::uint32_t unsigned_at(std::string_view bytes, std::size_t at) {
  std::uint32_t value = 0;
  for (std::size_t i = 4; i-- > 0;) value = value << 8 | static_cast<unsigned char>(bytes[at + i]);
  return value;
}

Guid guid_at(std::string_view bytes, std::size_t at) {
  Guid id;
  std::memcpy(id.bytes.data(), bytes.data() + at, id.bytes.size());
  return id;
}

}  // namespace

std::string place_of(const StoredRecord& record) {
  return fmt::format("record {} at byte {}", record.number, record.offset);
}

bool begins_with_signature(std::string_view content) {
  return content.size() >= signature.bytes.size() && guid_at(content, 0) == signature;
}

std::optional<StoredRecord> RecordChain::next() {
  if (!next_) return std::nullopt;
  const std::size_t offset = *next_;
  next_.reset();
  return record_at(offset);
}

std::optional<StoredRecord> RecordChain::record_at(std::size_t offset) {
  StoredRecord record;
  record.number = ++count_;
  record.offset = offset;
  const auto fail = [&](const std::string& what) {
    fault_ = place_of(record) + ": " + what;
    return std::nullopt;
  };

  visited_.resize(content_.size() / header_size + 1);
  if (visited_[offset / header_size]) return fail("the chain of records comes back to a place where it has been");
  visited_[offset / header_size] = true;
  const std::string_view rest = content_.substr(offset);
  if (rest.size() < header_size) {
    return fail(
        fmt::format("only {} bytes are left of its header of {}; the file is incomplete", rest.size(), header_size));
  }
  if (!begins_with_signature(rest)) return fail("there is no record here, as the 16 bytes of its signature are wrong");
  record.kind = guid_at(rest, 16);
  const auto header = static_cast<std::int32_t>(unsigned_at(rest, 32));
  const auto size = static_cast<std::int32_t>(unsigned_at(rest, 36));
  const auto link = static_cast<std::int32_t>(unsigned_at(rest, 40));
  record.checksum = unsigned_at(rest, 44);
  if (header < static_cast<std::int32_t>(header_size) || static_cast<std::size_t>(header) > rest.size()) {
    return fail(fmt::format("its header states a size of {} bytes instead of {}", header, header_size));
  }
  if (size < 0) return fail(fmt::format("its header states a body of {} bytes", size));
  const auto stored = static_cast<std::size_t>(size);
  record.body = rest.substr(static_cast<std::size_t>(header), stored);
  if (record.body.size() < stored) {
    return fail(
        fmt::format("its body should have {} bytes, but the file ends after {} of them", size, record.body.size()));
  }
  if (stored > bytes_left_) return fail("it overlaps records before it");
  bytes_left_ -= stored;
  follow(link, offset + static_cast<std::size_t>(header) + stored);
  return record;
}

void RecordChain::follow(std::int32_t link, std::size_t end) {
  if (link == 0) {
    if (end < content_.size()) {
      fault_ = fmt::format("record {} ends the chain at byte {}, but the file has {} more bytes", count_, end,
                           content_.size() - end);
    }
    return;
  }
  const auto next = static_cast<std::size_t>(link);
  if (link < 0 || next >= content_.size()) {
    fault_ = fmt::format("record {} links to byte {} of a file of {} bytes; records after it may be lost", count_, link,
                         content_.size());
    return;
  }
  next_ = next;
}

}  // namespace readers::pqdif
