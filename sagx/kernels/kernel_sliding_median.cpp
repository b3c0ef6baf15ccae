// The median of a window that moves on sample by sample. It keeps the value of the wanted rank and the numbers of
// values below it and equal to it. A sample that leaves and one that enters change these numbers but seldom the value;
// if the value changes, the new one is the next above or below it in the window.
#include "sagx/kernels/kernel_sets.h"
#include "sagx/kernels/lanes.h"
#include "sagx/kernels/sorted_median.h"

namespace {

/// Returns the value of `values` that is nearest to `limit` on its upper (or lower) side; an infinity if there is none.
template <bool above>
float nearest(const float* values, int count, float limit) {
  const float none = above ? __builtin_inff() : -__builtin_inff();
  const auto scalar_better = [=](float value, float best) {
    return above ? value > limit && value < best : value < limit && value > best;
  };
  float best = none;
  if (count < register_lanes) {
    for (int i = 0; i < count; i++) best = scalar_better(values[i], best) ? values[i] : best;
    return best;
  }
  const Floats limits = Floats{} + limit;
  Floats bests = Floats{} + none;
  const auto look = [&](int at) {
    const Floats value = loaded(values + at);
    const Bits beyond = above ? less(limits, value) : less(value, limits);
    const Bits nearer = above ? less(value, bests) : less(bests, value);
    bests = choose(static_cast<Bits>(beyond & nearer), value, bests);
  };
  for (int i = 0; i + register_lanes <= count; i += register_lanes) look(i);
  look(count - register_lanes);  // this covers the rest and repeats some values that were already checked
  float lane[register_lanes];
  store(bests, lane);
  for (const float value : lane) best = scalar_better(value, best) ? value : best;
  return best;
}

bool is_number(float value) {
  return value == value;
}
bool is_negative_zero(float value) {
  return value == 0.0F && __builtin_signbit(value);
}

/// The state of one moving window. Ranks count from 0, and equal values keep their order in the window.
class Window {
 public:
  Window(const float* values, int length) : values_(values), length_(length), rank_((length - 1) / 2) {
    for (int i = 0; i < length; i++) enter(values[i]);
  }

  void move_on() {
    const float leaving = values_[0];
    const float entering = values_[length_];
    values_++;
    if (leaving == entering && leaving != 0.0F) return;
    leave(leaving);
    enter(entering);
  }

  float median() {
    if (odd_ones_ > 0) {  // their positions determine how the sort treats them
      found_ = false;
      return sorted_median(values_, length_);
    }
    if (!found_) start();
    settle();
    const float lower = value_ == 0.0F ? zero(rank_ - below_) : value_;
    if (length_ % 2 == 1) return lower;
    return (lower + next()) / 2.0F;
  }

 private:
  void enter(float value) { count(value, 1); }
  void leave(float value) { count(value, -1); }

  void count(float value, int change) {
    if (!is_number(value)) odd_ones_ += change;
    if (is_negative_zero(value)) negative_zeros_ += change;
    if (!found_) return;
    if (value < value_) below_ += change;
    if (value == value_) equal_ += change;
  }

  void start() {
    found_ = true;
    value_ = values_[0];
    below_ = equal_ = 0;
    for (int i = 0; i < length_; i++) {
      below_ += values_[i] < value_ ? 1 : 0;
      equal_ += values_[i] == value_ ? 1 : 0;
    }
  }

  /// Moves to the value that has the wanted rank now.
  void settle() {
    while (rank_ < below_) {
      value_ = nearest<false>(values_, length_, value_);
      equal_ = count_of(value_);
      below_ -= equal_;
    }
    while (rank_ >= below_ + equal_) {
      below_ += equal_;
      value_ = nearest<true>(values_, length_, value_);
      equal_ = count_of(value_);
    }
  }

  [[nodiscard]] int count_of(float value) const {
    int count = 0;
    for (int i = 0; i < length_; i++) count += values_[i] == value ? 1 : 0;
    return count;
  }

  /// Returns the value with the rank after the wanted one.
  [[nodiscard]] float next() const {
    if (rank_ + 1 >= below_ + equal_) {
      const float value = nearest<true>(values_, length_, value_);
      return value == 0.0F ? zero_among_all(0) : value;
    }
    return value_ == 0.0F ? zero(rank_ + 1 - below_) : value_;
  }

  /// Returns the zero at `index` among the zeros, which keep their order although zeros of either sign are equal.
  [[nodiscard]] float zero(int index) const {
    if (negative_zeros_ == 0) return 0.0F;
    return negative_zeros_ == equal_ ? -0.0F : zero_among_all(index);
  }
  [[nodiscard]] float zero_among_all(int index) const {
    for (int i = 0;; i++) {
      if (values_[i] == 0.0F && index-- == 0) return values_[i];
    }
  }

  const float* values_;
  int length_;
  int rank_;
  bool found_ = false;  // whether the following three members are valid
  float value_ = 0;
  int below_ = 0;
  int equal_ = 0;
  int odd_ones_ = 0;  // number of NaN values
  int negative_zeros_ = 0;
};

}  // namespace

void sagx::SAGX_SET::sliding_median(const float* series, int count, int length, float* medians) {
  if (count < 1) return;
  Window window(series, length);
  medians[0] = window.median();
  for (int i = 1; i < count; i++) {
    window.move_on();
    medians[i] = window.median();
  }
}
