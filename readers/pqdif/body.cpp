#include "readers/pqdif/body.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

#include "readers/charset.h"
#include "readers/pqdif/tags.h"

namespace readers::pqdif {
namespace {

constexpr std::size_t count_size = 4;
constexpr std::size_t entry_size = 28;
constexpr std::size_t embedded_size = 8;

/// Returns a value stored with its lowest byte first.
template <typename Unsigned>
Unsigned unsigned_at(std::string_view bytes, std::size_t at) {
  Unsigned value = 0;
  for (std::size_t i = 0; i < sizeof value; i++) {
    value = static_cast<Unsigned>(value | static_cast<Unsigned>(static_cast<unsigned char>(bytes[at + i])) << (8 * i));
  }
  return value;
}

template <typename Value, typename Unsigned>
double value_at(std::string_view bytes, std::size_t at) {
  static_assert(sizeof(Value) == sizeof(Unsigned));
  const auto stored = unsigned_at<Unsigned>(bytes, at);
  Value value;
  std::memcpy(&value, &stored, sizeof value);
  return static_cast<double>(value);
}

bool is_numeric_type(std::uint8_t type) {
  return (type >= physical::bool1 && type <= physical::bool4) || (type >= physical::int1 && type <= physical::int4) ||
         (type >= physical::unsigned1 && type <= physical::unsigned4) || type == physical::real4 ||
         type == physical::real8;
}

double numeric_value(std::uint8_t type, std::string_view bytes, std::size_t at) {
  switch (type) {
    case physical::int1:
      return value_at<std::int8_t, std::uint8_t>(bytes, at);
    case physical::int2:
      return value_at<std::int16_t, std::uint16_t>(bytes, at);
    case physical::int4:
      return value_at<std::int32_t, std::uint32_t>(bytes, at);
    case physical::bool1:
    case physical::unsigned1:
      return unsigned_at<std::uint8_t>(bytes, at);
    case physical::bool2:
    case physical::unsigned2:
      return unsigned_at<std::uint16_t>(bytes, at);
    case physical::bool4:
    case physical::unsigned4:
      return unsigned_at<std::uint32_t>(bytes, at);
    case physical::real4:
      return value_at<float, std::uint32_t>(bytes, at);
    case physical::real8:
      return value_at<double, std::uint64_t>(bytes, at);
    default:
      return 0;
  }
}

std::optional<Moment> moment_at(std::string_view bytes, std::size_t at) {
  return moment_of(unsigned_at<std::uint32_t>(bytes, at), value_at<double, std::uint64_t>(bytes, at + 4));
}

const Element* find(const Collection& in, const Guid& tag) {
  const auto found = std::find_if(in.begin(), in.end(), [&](const Element& element) { return element.tag == tag; });
  return found == in.end() ? nullptr : &*found;
}

}  // namespace

bool StoredVector::is_numeric() const {
  return is_numeric_type(type);
}

double StoredVector::number(std::size_t index) const {
  return numeric_value(type, bytes, index * size_of(type));
}

std::optional<Moment> StoredVector::moment(std::size_t index) const {
  return moment_at(bytes, index * size_of(physical::time_stamp));
}

double StoredVector::seconds_since(Moment from, std::size_t index) const {
  const std::size_t at = index * size_of(physical::time_stamp);
  return pqdif::seconds_since(from, unsigned_at<std::uint32_t>(bytes, at),
                              value_at<double, std::uint64_t>(bytes, at + 4));
}

Body::Body(std::string bytes)
    : bytes_(std::move(bytes)), entries_left_(bytes_.size() / entry_size), vector_bytes_left_(bytes_.size()) {}

Collection Body::root() {
  return collection_at(0, 0);
}

Collection Body::collection(const Collection& in, const Guid& tag) {
  for (const Element& element : in) {
    if (element.tag == tag && element.kind == element_kind::collection) {
      return collection_at(element.link, element.entry);
    }
  }
  return {};
}

std::vector<Collection> Body::collections(const Collection& in, const Guid& tag) {
  std::vector<Collection> found;
  for (const Element& element : in) {
    if (element.tag == tag && element.kind == element_kind::collection) {
      found.push_back(collection_at(element.link, element.entry));
    }
  }
  return found;
}

Collection Body::collection_at(std::int64_t link, std::size_t entry) {
  const auto size = static_cast<std::int64_t>(bytes_.size());
  if (link < 0 || link + static_cast<std::int64_t>(count_size) > size) {
    fault(entry, fmt::format("links to byte {}, where a collection cannot be", link));
    return {};
  }
  const auto at = static_cast<std::size_t>(link);
  const auto count = unsigned_at<std::uint32_t>(bytes_, at);
  if (count > (bytes_.size() - at - count_size) / entry_size) {
    fault(entry,
          fmt::format("links to a collection of {} entries at byte {}, more than the body has room for", count, link));
    return {};
  }
  if (count > entries_left_) {
    entries_left_ = 0;
    fault(entry, "links to a collection that is linked before, and so would be read in a loop or again and again");
    return {};
  }
  entries_left_ -= count;
  Collection entries(count);
  for (std::size_t i = 0; i < count; i++) {
    const std::size_t place = at + count_size + i * entry_size;
    Element& element = entries[i];
    std::memcpy(element.tag.bytes.data(), bytes_.data() + place, element.tag.bytes.size());
    element.kind = static_cast<std::uint8_t>(bytes_[place + 16]);
    element.type = static_cast<std::uint8_t>(bytes_[place + 17]);
    element.embedded = bytes_[place + 18] != 0;
    element.link = static_cast<std::int32_t>(unsigned_at<std::uint32_t>(bytes_, place + 20));
    element.entry = place;
  }
  return entries;
}

std::string_view Body::scalar(const Element& element, std::size_t size) {
  const std::string_view all = bytes_;
  // Only small values fit into an entry, whatever its flag says.
  if (element.embedded && size <= embedded_size) return all.substr(element.entry + 20, size);
  const auto room = static_cast<std::int64_t>(bytes_.size()) - static_cast<std::int64_t>(size);
  if (element.link < 0 || element.link > room) {
    fault(element.entry, fmt::format("links to a value of {} bytes at byte {}", size, element.link));
    return {};
  }
  return all.substr(static_cast<std::size_t>(element.link), size);
}

std::optional<double> Body::number(const Collection& in, const Guid& tag) {
  const Element* element = find(in, tag);
  if (element == nullptr || element->kind != element_kind::scalar || !is_numeric_type(element->type)) return {};
  const std::string_view value = scalar(*element, size_of(element->type));
  if (value.empty()) return {};
  const double number = numeric_value(element->type, value, 0);
  return std::isfinite(number) ? std::optional(number) : std::nullopt;
}

std::optional<std::uint32_t> Body::count(const Collection& in, const Guid& tag) {
  const auto value = number(in, tag);
  if (!value || !(*value >= 0 && *value <= 4294967295.0) || *value != std::floor(*value)) return {};
  return static_cast<std::uint32_t>(*value);
}

std::optional<Guid> Body::identifier(const Collection& in, const Guid& tag) {
  const Element* element = find(in, tag);
  if (element == nullptr || element->kind != element_kind::scalar || element->type != physical::guid) return {};
  const std::string_view value = scalar(*element, size_of(physical::guid));
  if (value.empty()) return {};
  Guid id;
  std::memcpy(id.bytes.data(), value.data(), id.bytes.size());
  return id;
}

std::optional<Moment> Body::moment(const Collection& in, const Guid& tag) {
  const Element* element = find(in, tag);
  if (element == nullptr || element->kind != element_kind::scalar || element->type != physical::time_stamp) return {};
  const std::string_view value = scalar(*element, size_of(physical::time_stamp));
  if (value.empty()) return {};
  const auto moment = moment_at(value, 0);
  if (!moment) fault(element->entry, "gives a time outside the years 1900 to 2400");
  return moment;
}

std::optional<StoredVector> Body::vector(const Collection& in, const Guid& tag) {
  const Element* element = find(in, tag);
  if (element == nullptr || element->kind != element_kind::vector) return {};
  return vector_at(*element);
}

std::optional<StoredVector> Body::vector_at(const Element& element) {
  const std::size_t size = size_of(element.type);
  if (size == 0) {
    fault(element.entry, fmt::format("has a vector of the unknown type {}", element.type));
    return {};
  }
  const auto whole = static_cast<std::int64_t>(bytes_.size());
  if (element.link < 0 || element.link + static_cast<std::int64_t>(count_size) > whole) {
    fault(element.entry, fmt::format("links to byte {}, where a vector cannot be", element.link));
    return {};
  }
  const auto at = static_cast<std::size_t>(element.link);
  const std::size_t count = unsigned_at<std::uint32_t>(bytes_, at);
  if (count > (bytes_.size() - at - count_size) / size) {
    fault(element.entry, fmt::format("links to a vector of {} values of {} bytes at byte {}, more than the body holds",
                                     count, size, at));
    return {};
  }
  if (count * size > vector_bytes_left_) {
    vector_bytes_left_ = 0;
    fault(element.entry, "links to a vector that other entries link to as well");
    return {};
  }
  vector_bytes_left_ -= count * size;
  return StoredVector{element.type, count, std::string_view(bytes_).substr(at + count_size, count * size)};
}

std::string Body::text(const Collection& in, const Guid& tag) {
  const auto stored = vector(in, tag);
  if (!stored) return {};
  if (stored->type == physical::char1) return std::string(stored->bytes.substr(0, stored->bytes.find('\0')));
  if (stored->type != physical::char2) return {};
  std::size_t end = 0;
  while (end < stored->bytes.size() && (stored->bytes[end] != 0 || stored->bytes[end + 1] != 0)) end += 2;
  return to_utf8(stored->bytes.substr(0, end), "UTF-16LE").text;
}

void Body::fault(std::size_t entry, const std::string& what) {
  if (fault_count_++ == 0) {
    first_fault_ = fmt::format("the entry at byte {} of its body of {} bytes {}", entry, bytes_.size(), what);
  }
}

std::string Body::faults() const {
  if (fault_count_ < 2) return first_fault_;
  return fmt::format("{} (and {} more such faults)", first_fault_, fault_count_ - 1);
}

}  // namespace readers::pqdif
