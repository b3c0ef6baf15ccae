#include "sagx/dip_category.h"

#include <cmath>

namespace sagx {

namespace {

constexpr int phase_a = 1;
constexpr int phase_b = 2;
constexpr int phase_c = 4;

/// Returns the angle of `numerator` / `denominator` in sectors of 60 degrees, 0 to 6, rounded to float after each
/// operation.
float angle_in_sectors(const vec_struct& numerator, const vec_struct& denominator) {
  const float square = denominator.r * denominator.r + denominator.x * denominator.x;
  const float real = (numerator.r * denominator.r + numerator.x * denominator.x) / square;
  const float imaginary = (denominator.r * numerator.x - denominator.x * numerator.r) / square;
  auto angle = static_cast<float>(std::atan2(static_cast<double>(imaginary), static_cast<double>(real)));
  if (angle < 0) angle = static_cast<float>(static_cast<double>(angle) + 6.283185307179586);
  return static_cast<float>(static_cast<double>(angle) / 1.0471975511965976);
}

}  // namespace

LowPhases low_phases(float a, float b, float c, float threshold) {
  LowPhases low{0, 0};
  if (a < threshold) low = {low.count + 1, low.mask | phase_a};
  if (b < threshold) low = {low.count + 1, low.mask | phase_b};
  if (c < threshold) low = {low.count + 1, low.mask | phase_c};
  return low;
}

SequenceThresholds::SequenceThresholds(float nominal)
    : negative(static_cast<float>(least_negative_sequence * static_cast<double>(nominal))),
      zero(static_cast<float>(least_zero_sequence * static_cast<double>(nominal))) {}

int category_by_phases(LowPhases low) {
  const auto has = [&](int phases) { return (low.mask & phases) == phases; };
  int category = no_category;
  if (low.count == 3) category = three_phase_category;
  if (low.count == 1) {
    if (has(phase_a)) category = 3;
    if (has(phase_b)) category = 5;
    if (has(phase_c)) category = 1;
  }
  if (low.count == 2) {
    if (has(phase_a | phase_b)) category = 4;
    if (has(phase_b | phase_c)) category = 0;
    if (has(phase_c | phase_a)) category = 2;
  }
  return category;
}

int category_by_angle(const vec_struct& negative, const vec_struct& positive_before, const vec_struct& positive,
                      int low_count) {
  const vec_struct drop = {positive_before.r - positive.r, positive_before.x - positive.x};
  const float angle = angle_in_sectors(negative, drop);
  if (std::isnan(angle)) return no_category;
  const auto sectors = static_cast<double>(angle);
  int category = static_cast<int>(sectors + 0.5);
  if (category == 6) category = 0;
  if (category % 2 == 1 && low_count == 2) category = static_cast<int>(sectors + 0.1 + 0.5);
  if (category % 2 == 0 && low_count == 1) category = static_cast<int>(sectors - 0.1 + 0.5);
  return category == 6 ? 0 : category;
}

int with_zero_sequence(int category, float zero_sequence, float threshold) {
  if (!(zero_sequence > threshold)) return category;
  switch (category) {
    case 0:
      return 6;
    case 2:
      return 7;
    case 4:
      return 8;
    default:
      return category;
  }
}

int category_of(const SequenceSample& sample, LowPhases low, const SequenceThresholds& thresholds, AllLow all_low) {
  const auto& [before, now, negative, negative_size, zero_size] = sample;
  int category = no_category;
  if (negative_size < thresholds.negative) {
    category = category_by_phases(low);
  } else if (now.r == before.r && now.x == before.x) {
    return no_category;
  } else if (all_low == AllLow::three_phase && low.count == 3) {
    category = three_phase_category;
  } else {
    category = category_by_angle(negative, before, now, low.count);
  }
  return with_zero_sequence(category, zero_size, thresholds.zero);
}

void CategoryVote::add(int category) {
  if (category >= 0 && category < no_category) votes_[category]++;
}

int CategoryVote::winner() const {
  int winner = no_category;
  int most = 0;
  for (int category = 0; category < no_category; category++) {
    if (votes_[category] > most) {
      most = votes_[category];
      winner = category;
    }
  }
  return winner;
}

}  // namespace sagx
