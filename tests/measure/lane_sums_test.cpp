#include "measure/lane_sums.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>
#include <vector>

namespace measure {
namespace {

constexpr std::size_t longest = 300;

/// Returns values of very different sizes, whose sums change with the order of the terms.
std::vector<double> values(unsigned seed) {
  std::mt19937 random(seed);
  std::vector<double> result(longest + lanes);
  for (double& value : result) {
    const double mantissa = static_cast<double>(random()) / 4294967296.0 - 0.5;
    value = std::ldexp(mantissa, static_cast<int>(random() % 60) - 30);
  }
  return result;
}

/// Adds products term by term in the order that the header promises.
double plain_sum(const double* one, const double* other, std::size_t count) {
  double sums[lanes] = {};
  std::size_t k = 0;
  for (; k < count / lanes * lanes; k++) {
    const volatile double product = one[k] * other[k];  // which no compiler fuses with the addition
    sums[k % lanes] += product;
  }
  double sum = ((sums[0] + sums[4]) + (sums[2] + sums[6])) + ((sums[1] + sums[5]) + (sums[3] + sums[7]));
  for (; k < count; k++) {
    const volatile double product = one[k] * other[k];
    sum += product;
  }
  return sum;
}

bool same_bits(double one, double other) {
  return std::memcmp(&one, &other, sizeof one) == 0;
}

TEST(LaneSums, OfSquaresEqualThePlainOrderForEveryCountAndAlignment) {
  const std::vector<double> samples = values(1);
  for (std::size_t offset = 0; offset < lanes; offset++) {
    for (std::size_t count = 0; count <= longest; count++) {
      const double* first = samples.data() + offset;
      ASSERT_TRUE(same_bits(sum_of_squares(first, count), plain_sum(first, first, count)))
          << count << " from " << offset;
    }
  }
}

TEST(LaneSums, OfProductsEqualThePlainOrderForEveryCountAndAlignment) {
  const std::vector<double> samples = values(2);
  const std::vector<double> re = values(3);
  const std::vector<double> im = values(4);
  for (std::size_t offset = 0; offset < lanes; offset++) {
    for (std::size_t count = 0; count <= longest; count++) {
      const double* first = samples.data() + offset;
      const Phasor sums = sum_of_products(first, re.data(), im.data(), count);
      ASSERT_TRUE(same_bits(sums.real(), plain_sum(first, re.data(), count))) << count << " from " << offset;
      ASSERT_TRUE(same_bits(sums.imag(), plain_sum(first, im.data(), count))) << count << " from " << offset;
    }
  }
}

TEST(LaneSums, DependOnTheirOrder) {
  const std::vector<double> samples = values(1);
  double one_by_one = 0;
  for (std::size_t k = 0; k < longest; k++) one_by_one += samples[k] * samples[k];
  EXPECT_FALSE(same_bits(sum_of_squares(samples.data(), longest), one_by_one));
}

}  // namespace
}  // namespace measure
