// The rules by which a dip's category follows from its phases and its symmetrical components. Private: both feature
// stages and symmetrical_components_dq decide by them.
//
// Categories: 0, 2, 4 two-phase dips of BC, CA, AB; 1, 3, 5 single-phase dips of C, A, B; 6, 7, 8 are 0, 2, 4 with a
// zero-sequence component; 9 three-phase; 10 not classified. Codes 0 to 5 are sectors of 60 degrees.
#pragma once

#include "sagx/dq_dipx.h"

namespace sagx {

inline constexpr int three_phase_category = 9;
inline constexpr int no_category = 10;

/// Phases below the threshold: how many, and which as a mask (1 = A, 2 = B, 4 = C).
struct LowPhases {
  int count;
  int mask;
};
LowPhases low_phases(float a, float b, float c, float threshold);

/// Smallest magnitudes of the negative and of the zero sequence that count, as shares of nominal and in volts.
inline constexpr double least_negative_sequence = 0.04;
inline constexpr double least_zero_sequence = 0.03;
struct SequenceThresholds {
  explicit SequenceThresholds(float nominal);
  float negative;
  float zero;
};

/// Category by the number and the mask of the low phases alone, for dips with next to no negative sequence.
int category_by_phases(LowPhases low);

/// Category by the angle of the negative sequence against the drop of the positive one. Where two sectors meet, the
/// number of low phases moves the border by 6 degrees. 10 when there is no angle.
int category_by_angle(const vec_struct& negative, const vec_struct& positive_before, const vec_struct& positive,
                      int low_count);

/// A two-phase category with its zero-sequence component, when that is above the threshold.
int with_zero_sequence(int category, float zero_sequence, float threshold);

/// One sample of a dip in symmetrical components, with the magnitudes that the caller has measured.
struct SequenceSample {
  vec_struct positive_before;
  vec_struct positive;
  vec_struct negative;
  float negative_size;
  float zero_size;
};

/// What a sample is whose phases are all low although its negative sequence counts.
enum class AllLow { by_angle, three_phase };

/// The category of one sample: by the low phases alone where the negative sequence is below its threshold, otherwise by
/// the angle; 10 where the positive sequence has not moved, so that there is no angle.
int category_of(const SequenceSample& sample, LowPhases low, const SequenceThresholds& thresholds, AllLow all_low);

/// The category that most samples have; the lowest of equals, 10 without any vote.
class CategoryVote {
 public:
  void add(int category);
  [[nodiscard]] int winner() const;

 private:
  int votes_[no_category] = {};
};

}  // namespace sagx
