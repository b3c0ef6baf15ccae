// The rules that determine a dip's category from its phases and its symmetrical components. Private: both feature
// stages and symmetrical_components_dq use them.
//
// Categories: 0, 2, 4 are two-phase dips of BC, CA, AB; 1, 3, 5 are single-phase dips of C, A, B; 6, 7, 8 are the same
// as 0, 2, 4 but with a zero-sequence component; 9 is a three-phase dip; 10 is not classified. Codes 0 to 5 are sectors
// of 60 degrees.
#pragma once

#include "sagx/dq_dipx.h"

namespace sagx {

inline constexpr int three_phase_category = 9;
inline constexpr int no_category = 10;

/// The phases below the threshold: their number and their mask (1 = A, 2 = B, 4 = C).
struct LowPhases {
  int count;
  int mask;
};
LowPhases low_phases(float a, float b, float c, float threshold);

/// Smallest magnitudes at which the negative and the zero sequence matter, as fractions of nominal and in volts.
inline constexpr double least_negative_sequence = 0.04;
inline constexpr double least_zero_sequence = 0.03;
struct SequenceThresholds {
  explicit SequenceThresholds(float nominal);
  float negative;
  float zero;
};

/// Returns the category from the number and the mask of the low phases alone, for dips with almost no negative
/// sequence.
int category_by_phases(LowPhases low);

/// Returns the category from the angle of the negative sequence relative to the drop of the positive one. The number of
/// low phases moves the border between two sectors by 6 degrees. Returns 10 if there is no angle.
int category_by_angle(const vec_struct& negative, const vec_struct& positive_before, const vec_struct& positive,
                      int low_count);

/// Returns the corresponding category with zero sequence for a two-phase category, if the zero-sequence component is
/// above the threshold; otherwise the category itself.
int with_zero_sequence(int category, float zero_sequence, float threshold);

/// One sample of a dip in symmetrical components, with the magnitudes that the caller has measured.
struct SequenceSample {
  vec_struct positive_before;
  vec_struct positive;
  vec_struct negative;
  float negative_size;
  float zero_size;
};

/// How to classify a sample in which all phases are low although its negative sequence is significant.
enum class AllLow { by_angle, three_phase };

/// Returns the category of one sample: from the low phases alone if the negative sequence is below its threshold,
/// otherwise from the angle; 10 if the positive sequence has not changed, so that there is no angle.
int category_of(const SequenceSample& sample, LowPhases low, const SequenceThresholds& thresholds, AllLow all_low);

/// Finds the category of most samples; of equally frequent ones the lowest, and 10 without any vote.
class CategoryVote {
 public:
  void add(int category);
  [[nodiscard]] int winner() const;

 private:
  int votes_[no_category] = {};
};

}  // namespace sagx
