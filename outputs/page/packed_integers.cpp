#include "outputs/page/packed_integers.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <string_view>
#include <utility>
#include <vector>

namespace outputs {

namespace {

constexpr std::size_t block_length = 256;
constexpr unsigned order_count = 4;
constexpr unsigned most_ones = 24;
constexpr unsigned plain_bits = 20;
constexpr unsigned widest = 15;

/// Appends bits to bytes, most significant bit first.
class BitWriter {
 public:
  void put(std::uint32_t value, unsigned count) {
    for (unsigned bit = count; bit-- > 0;) {
      if (used_ == 0) bytes_.push_back(0);
      if ((value >> bit & 1U) != 0) bytes_.back() = static_cast<std::uint8_t>(bytes_.back() | 0x80U >> used_);
      used_ = (used_ + 1) % 8;
    }
  }

  [[nodiscard]] const std::vector<std::uint8_t>& bytes() const { return bytes_; }

 private:
  std::vector<std::uint8_t> bytes_;
  unsigned used_ = 0;  ///< bits of the last byte
};

/// The values before the present one, the latest first.
using History = std::array<int, 3>;

/// Returns the difference of an order between a value and its predecessors.
int difference(int value, const History& before, unsigned order) {
  switch (order) {
    case 0:
      return value;
    case 1:
      return value - before[0];
    case 2:
      return value - 2 * before[0] + before[1];
    default:
      return value - 3 * before[0] + 3 * before[1] - before[2];
  }
}

void remember(History& before, int value) {
  before = {value, before[0], before[1]};
}

/// Maps 0, -1, 1, -2, ... to 0, 1, 2, 3, ...
std::uint32_t unsigned_of(int value) {
  return value < 0 ? 2 * static_cast<std::uint32_t>(-(value + 1)) + 1 : 2 * static_cast<std::uint32_t>(value);
}

/// Returns the order whose differences are smallest in a block, and the sum of their mapped sizes.
std::pair<unsigned, std::uint64_t> best_order(std::span<const std::int16_t> block, const History& before) {
  std::pair<unsigned, std::uint64_t> best = {0, std::numeric_limits<std::uint64_t>::max()};
  for (unsigned order = 0; order < order_count; order++) {
    History history = before;
    std::uint64_t sum = 0;
    for (const int value : block) {
      sum += unsigned_of(difference(value, history, order));
      remember(history, value);
    }
    if (sum < best.second) best = {order, sum};
  }
  return best;
}

void put_code(BitWriter& writer, std::uint32_t value, unsigned width) {
  const std::uint32_t ones = value >> width;
  if (ones >= most_ones) {
    writer.put((1U << most_ones) - 1, most_ones);
    writer.put(value, plain_bits);
    return;
  }
  writer.put((1U << (ones + 1)) - 2, ones + 1);
  writer.put(value & ((1U << width) - 1), width);
}

std::string base64(const std::vector<std::uint8_t>& bytes) {
  constexpr std::string_view digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    const auto byte = [&](std::size_t k) { return i + k < bytes.size() ? unsigned{bytes[i + k]} : 0U; };
    const unsigned bits = byte(0) << 16 | byte(1) << 8 | byte(2);
    for (int digit = 0; digit < 4; digit++) text += digits[bits >> (18 - 6 * digit) & 63];
    if (i + 1 >= bytes.size()) text[text.size() - 2] = '=';
    if (i + 2 >= bytes.size()) text.back() = '=';
  }
  return text;
}

}  // namespace

std::string packed_integers(std::span<const std::int16_t> values) {
  BitWriter writer;
  History before = {};
  for (std::size_t begin = 0; begin < values.size(); begin += block_length) {
    const auto block = values.subspan(begin, std::min(block_length, values.size() - begin));
    const auto [order, sum] = best_order(block, before);
    // The best width is near the logarithm of the mean of geometrically distributed sizes.
    const auto mean = static_cast<std::uint32_t>(sum / block.size());
    const unsigned width = std::min(static_cast<unsigned>(std::bit_width(mean * 7 / 10)), widest);
    writer.put(order, 2);
    writer.put(width, 4);
    for (const int value : block) {
      put_code(writer, unsigned_of(difference(value, before, order)), width);
      remember(before, value);
    }
  }
  return base64(writer.bytes());
}

}  // namespace outputs
