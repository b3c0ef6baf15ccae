#include "measure/lane_sums.h"

#include <array>

// The compiler makes a form of such a function for each of these instruction sets, and the program takes the fastest
// that the processor has when it starts. No form fuses a multiplication with an addition, so all give the same bits.
// Sanitized programs take the plain form, because their checks are not ready when the choice is made.
#if defined(__x86_64__) && defined(__ELF__) && !defined(DIPX_SANITIZED)
#define FOR_EACH_INSTRUCTION_SET __attribute__((target_clones("avx512f", "avx2", "default")))
#else
#define FOR_EACH_INSTRUCTION_SET
#endif

namespace measure {

namespace {

using Lanes = std::array<double, lanes>;

double sum_of(const Lanes& sums) {
  return ((sums[0] + sums[4]) + (sums[2] + sums[6])) + ((sums[1] + sums[5]) + (sums[3] + sums[7]));
}

}  // namespace

FOR_EACH_INSTRUCTION_SET
double sum_of_squares(const double* samples, std::size_t count) {
  Lanes sums{};
  const std::size_t whole = count / lanes * lanes;
  for (std::size_t k = 0; k < whole; k += lanes) {
    for (std::size_t lane = 0; lane < lanes; lane++) sums[lane] += samples[k + lane] * samples[k + lane];
  }
  double sum = sum_of(sums);
  for (std::size_t k = whole; k < count; k++) sum += samples[k] * samples[k];
  return sum;
}

FOR_EACH_INSTRUCTION_SET
Phasor sum_of_products(const double* samples, const double* re, const double* im, std::size_t count) {
  Lanes re_sums{};
  Lanes im_sums{};
  const std::size_t whole = count / lanes * lanes;
  for (std::size_t k = 0; k < whole; k += lanes) {
    for (std::size_t lane = 0; lane < lanes; lane++) re_sums[lane] += samples[k + lane] * re[k + lane];
    for (std::size_t lane = 0; lane < lanes; lane++) im_sums[lane] += samples[k + lane] * im[k + lane];
  }
  double re_sum = sum_of(re_sums);
  double im_sum = sum_of(im_sums);
  for (std::size_t k = whole; k < count; k++) {
    re_sum += samples[k] * re[k];
    im_sum += samples[k] * im[k];
  }
  return {re_sum, im_sum};
}

}  // namespace measure
