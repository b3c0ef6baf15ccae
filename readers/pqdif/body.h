// The body of a PQDIF record: a tree of collections, scalars and vectors that are linked by byte offsets.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "readers/pqdif/guid.h"
#include "readers/pqdif/moment.h"

namespace readers::pqdif {

/// One entry of a collection.
struct Element {
  Guid tag;
  std::uint8_t kind = 0;
  std::uint8_t type = 0;
  bool embedded = false;  ///< the value is in the entry itself
  std::int64_t link = 0;  ///< offset of the element in the body
  std::size_t entry = 0;  ///< offset of the entry in the body
};
using Collection = std::vector<Element>;

/// The values of a vector as stored.
struct StoredVector {
  std::uint8_t type = 0;
  std::size_t count = 0;
  std::string_view bytes;

  /// Returns whether the values are integers, floating-point numbers or truth values.
  [[nodiscard]] bool is_numeric() const;
  /// Returns the value at `index` of a numeric vector.
  [[nodiscard]] double number(std::size_t index) const;
  /// Returns the value at `index` of a vector of time stamps.
  [[nodiscard]] std::optional<Moment> moment(std::size_t index) const;
  /// Returns the seconds from a moment to that value.
  [[nodiscard]] double seconds_since(Moment from, std::size_t index) const;
};

/// Gives access to a body. Whatever its bytes are, no access goes outside it, and all accesses together take time in
/// proportion to its size: entries and vectors that are reached several times, as in a loop, are refused once more has
/// been read than the body can hold. An element that cannot be read counts as absent, and a fault is kept.
class Body {
 public:
  explicit Body(std::string bytes);

  /// Returns the collection at the start of the body.
  Collection root();
  /// Returns the first collection with this tag; it is empty if there is none.
  Collection collection(const Collection& in, const Guid& tag);
  /// Returns all collections with this tag, in order.
  std::vector<Collection> collections(const Collection& in, const Guid& tag);

  // These return the first element with the tag; nothing when there is none or it has another type.

  /// Any numeric type is accepted. Numbers that are not finite count as absent.
  std::optional<double> number(const Collection& in, const Guid& tag);
  /// The number must be a whole one that fits.
  std::optional<std::uint32_t> count(const Collection& in, const Guid& tag);
  std::optional<Guid> identifier(const Collection& in, const Guid& tag);
  std::optional<Moment> moment(const Collection& in, const Guid& tag);
  std::optional<StoredVector> vector(const Collection& in, const Guid& tag);
  /// The bytes up to the first zero; empty when there is none. Text of 16-bit characters is converted to UTF-8.
  std::string text(const Collection& in, const Guid& tag);

  /// Returns a sentence about the first fault, and how many there were; empty when there was none.
  [[nodiscard]] std::string faults() const;

 private:
  Collection collection_at(std::int64_t link, std::size_t entry);
  std::optional<StoredVector> vector_at(const Element& element);
  std::string_view scalar(const Element& element, std::size_t size);
  void fault(std::size_t entry, const std::string& what);

  std::string bytes_;
  std::size_t entries_left_;
  std::size_t vector_bytes_left_;
  std::string first_fault_;
  std::size_t fault_count_ = 0;
};

}  // namespace readers::pqdif
