// Input that reveals every difference between two forms of a kernel, and the comparison to the last bit.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace tests {

inline constexpr float nan = std::numeric_limits<float>::quiet_NaN();
inline constexpr float infinity = std::numeric_limits<float>::infinity();
inline constexpr float smallest = std::numeric_limits<float>::denorm_min();

/// Returns whether two values are equal to the last bit, including the sign of a zero; any NaN equals any other.
inline bool same_bits(float a, float b) {
  return (std::isnan(a) && std::isnan(b)) || std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b);
}

inline ::testing::AssertionResult same_bits(const std::vector<float>& a, const std::vector<float>& b) {
  if (a.size() != b.size()) return ::testing::AssertionFailure() << a.size() << " values against " << b.size();
  for (std::size_t i = 0; i < a.size(); i++) {
    if (!same_bits(a[i], b[i])) return ::testing::AssertionFailure() << a[i] << " against " << b[i] << " at " << i;
  }
  return ::testing::AssertionSuccess();
}

/// Generates numbers that look random but are the same on every machine and in every run.
class Numbers {
 public:
  explicit Numbers(std::uint32_t seed) : engine_(seed) {}

  /// Returns one of 0 .. count - 1.
  int below(int count) { return static_cast<int>(engine_() % static_cast<std::uint32_t>(count)); }
  /// Returns a number from -1 up to 1.
  float unit() { return static_cast<float>(static_cast<double>(engine_()) / 2147483648.0 - 1.0); }
  float one_of(const std::vector<float>& values) {
    return values[static_cast<std::size_t>(below(static_cast<int>(values.size())))];
  }

 private:
  std::mt19937 engine_;
};

/// A kind of series, with its name and the function that gives one value of it.
struct Kind {
  std::string name;
  float (*value)(Numbers& numbers, int i);
};

inline const std::vector<Kind>& kinds() {
  static const std::vector<Kind> all = {
      {"random", [](Numbers& numbers, int) { return 400 * numbers.unit(); }},
      {"flat", [](Numbers&, int) { return 325.27F; }},
      {"zero", [](Numbers&, int) { return 0.0F; }},
      {"stepped", [](Numbers&, int i) { return i / 7 % 2 == 0 ? 220.0F : 100.5F; }},
      {"sine", [](Numbers&, int i) { return 311.127F * std::sin(static_cast<float>(i) * 0.049087F); }},
      {"flat but for single changes", [](Numbers&, int i) { return i % 61 == 17 ? 219.75F : 220.0F; }},
      {"flat with seldom steps", [](Numbers&, int i) { return 220.0F - static_cast<float>(i / 190 % 3) * 60.5F; }},
      {"small", [](Numbers& numbers, int) { return numbers.unit() * 1e-30F; }},
      {"runs of no numbers",
       [](Numbers& numbers, int i) {
         const float odd = i / 30 % 3 == 0 ? infinity : nan;
         return i / 30 % 6 == 0 ? odd : 400 * numbers.unit();
       }},
      {"rising", [](Numbers&, int i) { return 0.5F * static_cast<float>(i); }},
      {"falling", [](Numbers&, int i) { return -0.25F * static_cast<float>(i); }},
      {"few levels", [](Numbers& numbers, int) { return static_cast<float>(numbers.below(5) - 2); }},
      {"signed zeros", [](Numbers& numbers, int) { return numbers.below(2) == 0 ? 0.0F : -0.0F; }},
      {"zeros and ones",
       [](Numbers& numbers, int) {
         return numbers.one_of({0.0F, -0.0F, 1.0F, -1.0F});
       }},
      {"round a million",
       [](Numbers& numbers, int) {
         return numbers.one_of({1e6F, -1e6F, 1000000.0625F, -1000000.0625F, 999999.9375F});
       }},
      {"huge",
       [](Numbers& numbers, int) {
         return std::copysign(static_cast<float>(std::pow(10.0, 6 + numbers.below(25))), numbers.unit());
       }},
      {"huge and small",
       [](Numbers& numbers, int) { return numbers.unit() * (numbers.below(2) == 0 ? 1e30F : 1e-3F); }},
      {"largest", [](Numbers& numbers, int) { return numbers.unit() * std::numeric_limits<float>::max(); }},
      {"tiny", [](Numbers& numbers, int) { return numbers.unit() * std::numeric_limits<float>::min(); }},
      {"tiniest", [](Numbers& numbers, int) { return static_cast<float>(numbers.below(7) - 3) * smallest; }},
      {"some not a number", [](Numbers& numbers, int) { return numbers.below(9) == 0 ? nan : 400 * numbers.unit(); }},
      {"mostly not a number",
       [](Numbers& numbers, int) { return numbers.below(9) != 0 ? nan : static_cast<float>(numbers.below(3)); }},
      {"not a number", [](Numbers&, int) { return nan; }},
      {"begins with not a number", [](Numbers& numbers, int i) { return i == 0 ? nan : 400 * numbers.unit(); }},
      {"some infinite",
       [](Numbers& numbers, int) {
         return numbers.one_of({infinity, -infinity, 1.0F, 2.0F, -3.0F, 4.0F});
       }},
      {"anything",
       [](Numbers& numbers, int) {
         return numbers.one_of(
             {nan, infinity, -infinity, 0.0F, -0.0F, 1e30F, -1e6F, 1e6F, smallest, 1.0F, 1.0F, -2.5F});
       }},
  };
  return all;
}

inline std::vector<float> series(const Kind& kind, int n, std::uint32_t seed = 1) {
  Numbers numbers(seed);
  std::vector<float> values;
  for (int i = 0; i < n; i++) values.push_back(kind.value(numbers, i));
  return values;
}

}  // namespace tests
