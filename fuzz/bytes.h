// Converts a fuzzer's input to numbers and series, from its beginning on. An input that is used up gives zeros.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

namespace fuzz {

/// Ends the run with a finding if the condition does not hold.
inline void expect(bool holds) {
  if (!holds) __builtin_trap();
}

class Bytes {
 public:
  Bytes(const std::uint8_t* data, std::size_t size) : at_(data), left_(size) {}

  [[nodiscard]] std::size_t left() const { return left_; }

  template <typename Number>
  Number number() {
    Number value{};
    const std::size_t count = std::min(left_, sizeof value);
    std::memcpy(&value, at_, count);
    at_ += count;
    left_ -= count;
    return value;
  }

  /// Returns one of 0 .. count - 1; count is at most 256.
  int below(int count) { return number<std::uint8_t>() % count; }

  /// Returns a number from `low` to `high`.
  int between(int low, int high) { return low + number<std::uint16_t>() % (high - low + 1); }

  /// Usually returns a number from `low` to `high`, sometimes any number at all.
  int mostly_between(int low, int high) {
    const int kind = below(16);
    if (kind == 0) return number<int>();
    if (kind == 1) return below(2) == 0 ? std::numeric_limits<int>::min() : std::numeric_limits<int>::max();
    return between(low, high);
  }

  /// Fills in positions that usually rise by less than `most_apart`, as far as the input suffices.
  void fill_positions(int* list, int count, int most_apart) {
    constexpr int far = 1 << 30;
    for (int i = 0; i < count && left_ > 0; i++) {
      const int last = i == 0 || list[i - 1] < 0 || list[i - 1] > far ? 0 : list[i - 1];
      list[i] = mostly_between(last, last + most_apart);
    }
  }

  /// Usually returns a voltage, sometimes any bit pattern: NaN, infinity, denormal or huge numbers.
  float value() {
    switch (below(8)) {
      case 0:
        return number<float>();
      case 1: {
        constexpr float limit = std::numeric_limits<float>::max();
        constexpr float odd[] = {std::numeric_limits<float>::quiet_NaN(),
                                 std::numeric_limits<float>::infinity(),
                                 -std::numeric_limits<float>::infinity(),
                                 limit,
                                 -limit,
                                 std::numeric_limits<float>::denorm_min(),
                                 -0.0F,
                                 0.0F};
        return odd[below(8)];
      }
      default:
        return static_cast<float>(number<std::int16_t>()) / 64;
    }
  }

  /// Fills in a series of levels, each of which is constant for some values, reached by a ramp, or followed by noise.
  void fill(float* values, int count) {
    std::uint32_t noise = number<std::uint8_t>();
    float level = 220;
    for (int i = 0; i < count;) {
      const int kind = below(5);
      const int stretch = std::min(count - i, kind == 0 ? 1 : left_ == 0 ? count : 1 + below(256));
      const float next = left_ == 0 && kind != 0 ? level : value();
      for (int j = 0; j < stretch; j++, i++) {
        values[i] = next;
        if (kind == 3) values[i] = level + (next - level) * static_cast<float>(j + 1) / static_cast<float>(stretch);
        if (kind == 4) {
          noise = noise * 1664525U + 1013904223U;
          values[i] = next + static_cast<float>(noise >> 16) / 65536;
        }
      }
      level = next;
    }
  }

  std::vector<float> series(int count) {
    std::vector<float> values(static_cast<std::size_t>(count));
    fill(values.data(), count);
    return values;
  }

 private:
  const std::uint8_t* at_;
  std::size_t left_;
};

/// Returns whether the series are equal to the last bit; any NaN equals any other.
inline bool same_bits(const float* a, const float* b, std::size_t count) {
  for (std::size_t i = 0; i < count; i++) {
    if (a[i] != a[i] && b[i] != b[i]) continue;
    if (std::memcmp(a + i, b + i, sizeof *a) != 0) return false;
  }
  return true;
}

}  // namespace fuzz
