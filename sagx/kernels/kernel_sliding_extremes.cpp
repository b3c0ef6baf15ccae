// The smallest or largest value of a window that moves on sample by sample. Windows of two, four, eight ... values are
// each made from two windows of half the width; the wanted width is covered by two such windows that overlap.
#include "sagx/kernels/kernel_sets.h"
#include "sagx/kernels/lanes.h"

namespace {

constexpr int tile = 1024;            // positions processed together, so that they fit into the fastest cache
constexpr int most_width = tile / 2;  // far more than the width of any structuring element

/// Selects the extreme of two neighbouring windows. Ties go to the right for minima and to the left for maxima, which
/// follows the order in which the windows are scanned.
struct Minimum {
  static constexpr float neutral = __builtin_inff();
  SAGX_INLINE Lanes of(Lanes left, Lanes right) { return choose(at_most(right, left), right, left); }
  /// The position where the scan of a window starts; a NaN there is kept.
  static int begin(int /*width*/) { return 0; }
};
struct Maximum {
  static constexpr float neutral = -__builtin_inff();
  SAGX_INLINE Lanes of(Lanes left, Lanes right) { return choose(at_most(right, left), left, right); }
  static int begin(int width) { return width - 1; }
};

/// Sets buffer[i] to the extreme of buffer[i] and buffer[i + ahead], for at least `count` positions.
template <typename Extreme>
void combine(float* buffer, int count, int ahead) {
  for (int i = 0; i < count; i += lanes) {
    store(Extreme::of(loaded_lanes(buffer + i), loaded_lanes(buffer + i + ahead)), buffer + i);
  }
}

template <typename Extreme>
void slide(const float* padded, int count, int width, float* extremes) {
  // This leaves room for the positions after a tile that its last windows and lanes reach.
  static constexpr int room = tile + most_width + 2 * lanes;
  float buffer[room];
  for (int done = 0; done < count; done += tile) {
    const int positions = count - done < tile ? count - done : tile;
    const int values = positions + width - 1;
    for (int i = 0; i < values; i++) {
      const float value = padded[done + i];
      buffer[i] = value == value ? value : Extreme::neutral;
    }
    for (int i = values; i < values + 2 * lanes; i++) buffer[i] = Extreme::neutral;
    int span = 1;
    for (; 2 * span <= width; span *= 2) combine<Extreme>(buffer, values - span, span);
    if (span < width) combine<Extreme>(buffer, positions, width - span);
    const float* first = padded + done + Extreme::begin(width);
    for (int i = 0; i < positions; i++) extremes[done + i] = first[i] == first[i] ? buffer[i] : first[i];
  }
}

}  // namespace

void sagx::SAGX_SET::sliding_minimum(const float* padded, int count, int width, float* minima) {
  slide<Minimum>(padded, count, width, minima);
}

void sagx::SAGX_SET::sliding_maximum(const float* padded, int count, int width, float* maxima) {
  slide<Maximum>(padded, count, width, maxima);
}
