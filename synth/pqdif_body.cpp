#include "synth/pqdif_body.h"

#include <zlib.h>

#include <bit>
#include <cmath>
#include <cstddef>
#include <stdexcept>
#include <utility>

#include "readers/pqdif/tags.h"

namespace synth {

namespace {

namespace pqdif = readers::pqdif;

constexpr std::size_t entry_size = 28;
constexpr std::size_t embedded_size = 8;
constexpr std::uint32_t header_size = 64;

template <typename Unsigned>
std::string little_endian(Unsigned value) {
  std::string bytes;
  for (unsigned shift = 0; shift < 8 * sizeof value; shift += 8) bytes += static_cast<char>(value >> shift & 0xFF);
  return bytes;
}

std::string bytes_of(const pqdif::Guid& id) {
  return {id.bytes.begin(), id.bytes.end()};
}

void pad(std::string& bytes) {
  while (bytes.size() % 4 != 0) bytes += '\0';
}

std::string compressed(const std::string& bytes) {
  uLongf size = compressBound(static_cast<uLong>(bytes.size()));
  std::string result(size, '\0');
  const int status =
      compress2(reinterpret_cast<Bytef*>(result.data()), &size, reinterpret_cast<const Bytef*>(bytes.data()),
                static_cast<uLong>(bytes.size()), Z_DEFAULT_COMPRESSION);
  if (status != Z_OK) throw std::runtime_error("zlib could not compress a record");
  result.resize(size);
  return result;
}

template <typename Sum>
std::uint32_t sum_of(Sum sum, const std::string& bytes) {
  return static_cast<std::uint32_t>(
      sum(sum(0, nullptr, 0), reinterpret_cast<const Bytef*>(bytes.data()), static_cast<uInt>(bytes.size())));
}

}  // namespace

std::string pqdif_number(std::uint8_t type, double value) {
  switch (type) {
    case pqdif::physical::real4:
      return little_endian(std::bit_cast<std::uint32_t>(static_cast<float>(value)));
    case pqdif::physical::real8:
      return little_endian(std::bit_cast<std::uint64_t>(value));
    default:
      return little_endian(static_cast<std::uint64_t>(std::llround(value))).substr(0, pqdif::size_of(type));
  }
}

PqdifCollection& PqdifCollection::scalar(const Guid& tag, std::uint8_t type, double value) {
  entries_.push_back({tag, pqdif::element_kind::scalar, type, pqdif_number(type, value), {}});
  return *this;
}

PqdifCollection& PqdifCollection::identifier(const Guid& tag, const Guid& value) {
  entries_.push_back({tag, pqdif::element_kind::scalar, pqdif::physical::guid, bytes_of(value), {}});
  return *this;
}

PqdifCollection& PqdifCollection::time_stamp(const Guid& tag, std::uint32_t days, double seconds) {
  entries_.push_back({tag,
                      pqdif::element_kind::scalar,
                      pqdif::physical::time_stamp,
                      little_endian(days) + pqdif_number(pqdif::physical::real8, seconds),
                      {}});
  return *this;
}

PqdifCollection& PqdifCollection::vector(const Guid& tag, std::uint8_t type, const std::vector<double>& values) {
  std::string bytes = little_endian(static_cast<std::uint32_t>(values.size()));
  for (const double value : values) bytes += pqdif_number(type, value);
  entries_.push_back({tag, pqdif::element_kind::vector, type, std::move(bytes), {}});
  return *this;
}

PqdifCollection& PqdifCollection::time_stamps(const Guid& tag, std::uint32_t day, const std::vector<double>& seconds) {
  std::string bytes = little_endian(static_cast<std::uint32_t>(seconds.size()));
  for (const double value : seconds) bytes += little_endian(day) + pqdif_number(pqdif::physical::real8, value);
  entries_.push_back({tag, pqdif::element_kind::vector, pqdif::physical::time_stamp, std::move(bytes), {}});
  return *this;
}

PqdifCollection& PqdifCollection::text(const Guid& tag, const std::string& value) {
  std::string bytes = little_endian(static_cast<std::uint32_t>(value.size() + 1)) + value + '\0';
  entries_.push_back({tag, pqdif::element_kind::vector, pqdif::physical::char1, std::move(bytes), {}});
  return *this;
}

PqdifCollection& PqdifCollection::collection(const Guid& tag, PqdifCollection entries) {
  entries_.push_back({tag, pqdif::element_kind::collection, 0, {}, {}});
  entries_.back().collection.push_back(std::move(entries));
  return *this;
}

std::string PqdifCollection::body() const {
  std::string bytes;
  append_to(bytes);
  return bytes;
}

void PqdifCollection::append_to(std::string& body) const {
  std::size_t place = body.size() + 4;
  body += little_endian(static_cast<std::uint32_t>(entries_.size()));
  body.resize(body.size() + entries_.size() * entry_size);
  for (const Entry& entry : entries_) {
    const bool embedded = entry.kind == pqdif::element_kind::scalar && entry.bytes.size() <= embedded_size;
    std::string described = bytes_of(entry.tag);
    described += static_cast<char>(entry.kind);
    described += static_cast<char>(entry.type);
    described += embedded ? '\1' : '\0';
    described += '\0';
    if (embedded) {
      described += entry.bytes;
      described.resize(entry_size);
    } else {
      const std::size_t link = body.size();
      std::size_t size = entry.bytes.size();
      if (entry.kind == pqdif::element_kind::collection) {
        entry.collection.front().append_to(body);
        size = 4 + entry.collection.front().entries_.size() * entry_size;
      } else {
        body += entry.bytes;
        pad(body);
        size = body.size() - link;
      }
      described += little_endian(static_cast<std::uint32_t>(link)) + little_endian(static_cast<std::uint32_t>(size));
    }
    body.replace(place, entry_size, described);
    place += entry_size;
  }
}

void PqdifFile::add(const pqdif::Guid& kind, const PqdifCollection& body) {
  add(kind, body.body());
}

void PqdifFile::add(const pqdif::Guid& kind, const std::string& body) {
  const bool container = offsets_.empty();
  const std::string stored = compressed_ && !container ? compressed(body) : body;
  std::uint32_t checksum = 0;
  if (checksum_ == PqdifChecksum::adler_of_stored) checksum = sum_of(adler32, stored);
  if (checksum_ == PqdifChecksum::crc_of_unpacked && !container) checksum = sum_of(crc32, body);
  constexpr std::size_t link_place = 40;
  if (!container) {
    bytes_.replace(offsets_.back() + link_place, 4, little_endian(static_cast<std::uint32_t>(bytes_.size())));
  }
  offsets_.push_back(bytes_.size());
  bytes_ += bytes_of(pqdif::signature) + bytes_of(kind) + little_endian(header_size) +
            little_endian(static_cast<std::uint32_t>(stored.size())) + little_endian(std::uint32_t{0}) +
            little_endian(checksum) + std::string(16, '\0') + stored;
}

}  // namespace synth
