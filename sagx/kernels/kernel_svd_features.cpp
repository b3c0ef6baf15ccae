// Singular values of many small matrices of one order at once, a matrix per lane.
//
// Each lane performs the arithmetic of svdcmp for its own matrix. Where matrices need different next steps, all lanes
// compute both and each keeps only its own result. The singular vectors are omitted, because they never affect the
// values. A lane that is finished waits for the others at each value; this costs a third of the work but saves all
// bookkeeping.
#include "sagx/kernels/kernel_sets.h"
#include "sagx/kernels/lanes.h"

namespace {

/// Returns `size` with the sign of `sign_of`; zero counts as positive.
SAGX_INLINE Lanes with_sign(Lanes size, Lanes sign_of) {
  return choose(at_most(every(0), sign_of), size, -size);
}

/// Returns larger * sqrt(1 + square), both operations in double and rounded once. `square` is at most 1.
SAGX_INLINE Lanes times_root(Lanes larger, Lanes square) {
  Lanes result;
  SAGX_EACH {
    const Floats size = larger.part[p];
    const Floats rest = square.part[p];
    result.part[p] = rounded(low_half(size) * square_root(1.0 + low_half(rest)),
                             high_half(size) * square_root(1.0 + high_half(rest)));
  }
  return result;
}

#if defined(SAGX_FUSED)

/// Computes the same without double precision, and reports for each lane whether the result is certain.
///
/// The root of sum = 1 + square is taken in float. Its error, together with the rounding error of the sum, is removed
/// by one Newton step, for which an inverse root with eleven correct bits suffices. The product with `larger` is then
/// known as a float plus a small remainder, with a relative error below 2^-34; the double form has one below 2^-51. If
/// adding more than this uncertainty to the remainder and subtracting it give the same float, every number in between
/// rounds to that float, including the double form's. Otherwise (in less than one lane in a hundred), and also for
/// extreme powers of two where the remainder may be lost and for NaN, the double form must decide.
SAGX_INLINE Lanes times_root_in_float(Lanes larger, Lanes square, Mask& certain) {
  const Lanes sum = 1.0F + square;
  const Lanes lost = square - (sum - every(1.0F));
  const Lanes root = square_root(sum);
  Lanes result;
  SAGX_EACH {
    const Floats size = larger.part[p];
    const Floats r = root.part[p];
    const Floats correction = (fused(-r, r, sum.part[p]) + lost.part[p]) * (0.5F * rough_inverse_root(sum.part[p]));
    const Floats product = size * r;
    const Floats remainder = fused(size, correction, fused(size, r, -product));
    const Floats doubt = product * 0x1.8p-34F;
    const Floats above = product + (remainder + doubt);
    const Floats below = product + (remainder - doubt);
    result.part[p] = above;
    certain.part[p] =
        static_cast<Bits>(equal(above, below) & less(Floats{} + 0x1p-60F, size) & less(size, Floats{} + 0x1p60F));
  }
  return result;
}

#endif

/// Returns sqrt(a^2 + b^2), computed as in pythag. Only the lanes in `wanted` need to be correct.
SAGX_INLINE Lanes hypotenuse(Lanes a, Lanes b, [[maybe_unused]] Mask wanted) {
  const Lanes size_a = magnitude(a);
  const Lanes size_b = magnitude(b);
  const Mask a_is_larger = less(size_b, size_a);
  const Lanes larger = choose(a_is_larger, size_a, size_b);
  const Lanes ratio = choose(a_is_larger, size_b, size_a) / larger;
  const Lanes square = ratio * ratio;
#if defined(SAGX_FUSED)
  Mask certain;
  const Lanes result = times_root_in_float(larger, square, certain);
  if (__builtin_expect(!any(wanted & ~certain), 1)) return result;
#endif
  return choose(~a_is_larger & equal(size_b, every(0)), every(0), times_root(larger, square));
}

/// Returns minor / (2 h y), computed in double.
SAGX_INLINE Lanes over_twice_product(Lanes minor, Lanes h, Lanes y) {
  Lanes result;
  SAGX_EACH {
    result.part[p] = rounded(low_half(minor.part[p]) / (2.0 * low_half(h.part[p]) * low_half(y.part[p])),
                             high_half(minor.part[p]) / (2.0 * high_half(h.part[p]) * high_half(y.part[p])));
  }
  return result;
}

/// One matrix of the given order in each lane, and its bidiagonal form.
template <int order>
class Matrices {
 public:
  Lanes element[order][order];  // row, column

  /// Returns the largest singular value of each matrix; of equal values the last one, which is what the feature uses.
  Lanes largest_value() {
    bidiagonalise();
    for (int k = order - 1; k >= 0; k--) diagonalise(k);
    Lanes largest = diagonal[0];
    for (int i = 1; i < order; i++) largest = choose(at_most(largest, diagonal[i]), diagonal[i], largest);
    return largest;
  }

 private:
  /// The values that a Householder reflection leaves for the neighbouring columns or rows.
  struct Reflection {
    Lanes g;
    Lanes scale;
    Lanes h;
    Mask exists;  ///< whether the column or row was not zero
  };

  /// Reflects the entries of a column or row from `begin` on.
  template <typename Entry>
  __attribute__((always_inline)) Reflection reflect(int begin, Entry entry) {
    Reflection reflection;
    reflection.scale = every(0);
    for (int k = begin; k < order; k++) reflection.scale += magnitude(entry(k));
    reflection.exists = ~equal(reflection.scale, every(0));
    Lanes squares = every(0);
    for (int k = begin; k < order; k++) {
      entry(k) = choose(reflection.exists, entry(k) / reflection.scale, entry(k));
      squares += entry(k) * entry(k);
    }
    const Lanes f = entry(begin);
    const Lanes g = -with_sign(square_root(squares), f);
    reflection.h = f * g - squares;
    reflection.g = choose(reflection.exists, g, every(0));
    entry(begin) = choose(reflection.exists, f - g, f);
    return reflection;
  }

  void bidiagonalise() {
    Lanes beside = every(0);
    anorm = every(0);
    for (int i = 0; i < order; i++) {
      superdiagonal[i] = beside;
      const Reflection column = reflect(i, [&](int k) -> Lanes& { return element[k][i]; });
      for (int j = i + 1; j < order; j++) {
        Lanes sum = every(0);
        for (int k = i; k < order; k++) sum += element[k][i] * element[k][j];
        const Lanes factor = sum / column.h;
        for (int k = i; k < order; k++) {
          element[k][j] = choose(column.exists, element[k][j] + factor * element[k][i], element[k][j]);
        }
      }
      diagonal[i] = column.scale * column.g;
      beside = every(0);
      if (i != order - 1) beside = reflect_row(i);
      const Lanes size = magnitude(diagonal[i]) + magnitude(superdiagonal[i]);
      anorm = choose(less(size, anorm), anorm, size);
    }
  }

  /// Returns the entry right of the diagonal.
  Lanes reflect_row(int i) {
    const Reflection row = reflect(i + 1, [&](int k) -> Lanes& { return element[i][k]; });
    Lanes share[order];
    for (int k = i + 1; k < order; k++) share[k] = element[i][k] / row.h;
    for (int j = i + 1; j < order; j++) {
      Lanes sum = every(0);
      for (int k = i + 1; k < order; k++) sum += element[j][k] * element[i][k];
      for (int k = i + 1; k < order; k++) {
        element[j][k] = choose(row.exists, element[j][k] + sum * share[k], element[j][k]);
      }
    }
    return row.scale * row.g;
  }

  /// Iterates until the value at k is decoupled in every lane, at most 30 times.
  void diagonalise(int k) {
    live = ~no_lane();
    for (int iteration = 1; iteration <= 30; iteration++) {
      const Mask cancelled = split(k);
      if constexpr (order > 1) {
        if (any(cancelled)) cancel(k, cancelled);
      }
      const Mask alone = live & begins[k];
      diagonal[k] = choose(alone & less(diagonal[k], every(0)), -diagonal[k], diagonal[k]);
      live = live & ~alone;
      if (!any(live)) return;
      if constexpr (order > 1) qr_step(k);
    }
  }

  /// Returns whether a value is lost when added to the matrix's scale. Taking the sum in double and rounding it
  /// afterwards makes no difference for floats.
  __attribute__((always_inline)) Mask negligible(Lanes value) { return equal(magnitude(value) + anorm, anorm); }

  /// Finds where the block that ends at k begins. Returns the live lanes in which a negligible value above the block
  /// determines this.
  Mask split(int k) {
    Mask searching = ~no_lane();
    Mask cancelled = no_lane();
    for (int l = k; l > 0; l--) {
      const Mask beside = negligible(superdiagonal[l]);
      const Mask above = negligible(diagonal[l - 1]);
      begins[l] = searching & (beside | above);
      cancelled = cancelled | (searching & ~beside & above);
      searching = searching & ~begins[l];
    }
    begins[0] = searching;
    return cancelled & live;
  }

  void cancel(int k, Mask cancelled) {
    Lanes c = every(0);
    Lanes s = every(1);
    Mask going = no_lane();
    Mask stopped = no_lane();
    for (int i = 1; i <= k; i++) {
      going = (going | (begins[i] & cancelled)) & ~stopped;
      const Lanes f = s * superdiagonal[i];
      superdiagonal[i] = choose(going, c * superdiagonal[i], superdiagonal[i]);
      stopped = stopped | (going & negligible(f));
      going = going & ~stopped;
      const Lanes g = diagonal[i];
      const Lanes h = hypotenuse(f, g, going);
      const Lanes inverse = 1.0F / h;
      diagonal[i] = choose(going, h, g);
      c = choose(going, g * inverse, c);
      s = choose(going, -f * inverse, s);
    }
  }

  /// Returns the shift of a QR step on the blocks that begin at x, computed from their bottom 2 x 2 minors.
  __attribute__((always_inline)) Lanes shift(int k, Lanes x) {
    const Lanes y = diagonal[k - 1];
    const Lanes z = diagonal[k];
    const Lanes g = superdiagonal[k - 1];
    const Lanes h = superdiagonal[k];
    const Lanes f = over_twice_product((y - z) * (y + z) + (g - h) * (g + h), h, y);
    const Lanes root = hypotenuse(f, every(1), live);
    return ((x - z) * (x + z) + h * ((y / (f + with_sign(root, f))) - h)) / x;
  }

  /// Performs one implicit QR step on the live lanes' blocks.
  void qr_step(int k) {
    int first = 0;
    while (first < k - 1 && !any(begins[first] & live)) first++;
    Lanes x = diagonal[first];
    for (int l = first + 1; l < k; l++) x = choose(begins[l], diagonal[l], x);
    Lanes f = shift(k, x);
    Lanes c = every(1);
    Lanes s = every(1);
    Mask going = no_lane();
    for (int j = first; j < k; j++) {
      going = going | (begins[j] & live);
      Lanes y = diagonal[j + 1];
      Lanes h = s * superdiagonal[j + 1];
      Lanes g = c * superdiagonal[j + 1];
      Lanes z = hypotenuse(f, h, going);
      superdiagonal[j] = choose(going, z, superdiagonal[j]);
      Lanes cosine = f / z;
      Lanes sine = h / z;
      const Lanes turned = x * cosine + g * sine;
      g = g * cosine - x * sine;
      h = y * sine;
      y = y * cosine;
      z = hypotenuse(turned, h, going);
      diagonal[j] = choose(going, z, diagonal[j]);
      const Lanes inverse = 1.0F / z;
      const Mask vanished = equal(z, every(0));
      cosine = choose(vanished, cosine, turned * inverse);
      sine = choose(vanished, sine, h * inverse);
      f = choose(going, cosine * g + sine * y, f);
      x = choose(going, cosine * y - sine * g, x);
      c = choose(going, cosine, c);
      s = choose(going, sine, s);
    }
    for (int l = first; l < k; l++) superdiagonal[l] = choose(live & begins[l], every(0), superdiagonal[l]);
    superdiagonal[k] = choose(live, f, superdiagonal[k]);
    diagonal[k] = choose(live, x, diagonal[k]);
  }

  Lanes diagonal[order];
  Lanes superdiagonal[order];
  Lanes anorm;         // largest |diagonal| + |superdiagonal|, the scale of every test for negligible values
  Mask begins[order];  // begins[l]: the block that ends at the current k begins at l
  Mask live;           // lanes in which the current value has not converged yet
};

/// Windows of order^2 + 1 samples that begin `step` (1 to most_step) samples apart, one per lane, read sample by
/// sample. They are stored so that samples `step` apart are adjacent in memory.
constexpr int most_step = 32;
template <int order>
class Windows {
 public:
  Windows(const float* first, int step) : step_(step) {
    const int samples = (lanes - 1) * step + order * order + 1;
    for (int place = 0; place * step < samples; place++) {
      const int rest = samples - place * step;
      for (int row = 0; row < step && row < rest; row++) row_[row][place] = first[place * step + row];
    }
  }

  /// Returns the next sample of each window.
  __attribute__((always_inline)) Lanes next() {
    const Lanes samples = loaded_lanes(row_[at_row_] + at_place_);
    at_row_++;
    if (at_row_ == step_) {
      at_row_ = 0;
      at_place_++;
    }
    return samples;
  }

 private:
  int step_;
  int at_row_ = 0;
  int at_place_ = 0;
  float row_[most_step][lanes + order * order];
};

/// Fills the matrices that end at `ends`, one per lane, with differences column by column. `step` is the distance
/// between consecutive ends where nothing was left out between them.
template <int order>
void fill(Matrices<order>& matrices, const float* series, const int* ends, int step) {
  constexpr int differences = order * order;
  const auto fill_with = [&](auto difference) {
    for (int column = 0; column < order; column++) {
      for (int row = 0; row < order; row++) matrices.element[row][column] = difference(column * order + row);
    }
  };
  bool is_even = step <= most_step;
  for (int lane = 1; lane < lanes; lane++) is_even = is_even && ends[lane] == ends[0] + lane * step;
  const float* first = series + ends[0] - differences;
  if (is_even && step == 1) {
    fill_with([&](int i) { return loaded_lanes(first + i + 1) - loaded_lanes(first + i); });
  } else if (is_even) {
    Windows<order> windows(first, step);
    Lanes sample = windows.next();
    fill_with([&](int /*in turn*/) {
      const Lanes before = sample;
      sample = windows.next();
      return sample - before;
    });
  } else {
    fill_with([&](int i) {
      float difference[lanes];
      for (int lane = 0; lane < lanes; lane++) {
        const float* at = series + ends[lane] - differences + i;
        difference[lane] = at[1] - at[0];
      }
      return loaded_lanes(difference);
    });
  }
}

/// Computes the features of the matrices that end at `ends` and stores them at the given places.
template <int order>
void decompose(const float* series, int step, const int* ends, const int* places, int count, float* features) {
  Matrices<order> matrices;
  for (int done = 0; done < count; done += lanes) {
    // Surplus lanes process the last matrix again.
    int batch[lanes];
    for (int lane = 0; lane < lanes; lane++) batch[lane] = ends[done + lane < count ? done + lane : count - 1];
    fill(matrices, series, batch, step);
    float largest[lanes];
    store(matrices.largest_value(), largest);
    for (int lane = 0; lane < lanes && done + lane < count; lane++) features[places[done + lane]] = largest[lane];
  }
}

/// Returns whether a sample differs from the one before it.
bool is_change(const float* series, int i) {
  return !(series[i] - series[i - 1] == 0.0F);
}

/// Returns the first change from sample `from` on; `samples` if there is none.
int next_change(const float* series, int from, int samples) {
  int i = from;
  if (i >= samples || is_change(series, i)) return i;
  const auto all_flat = [&] {
    const Floats differences = loaded(series + i) - loaded(series + i - 1);
    return !is_any(static_cast<Bits>(~equal(differences, Floats{})));
  };
  while (i + register_lanes <= samples && all_flat()) i += register_lanes;
  while (i < samples && !is_change(series, i)) i++;
  return i;
}

/// The singular values of zero matrices are known to be 0; the other matrices are collected for decomposition.
template <int order>
void features_of_order(const float* series, int samples, int step, float* features) {
  constexpr int differences = order * order;
  constexpr int at_once = 64 * lanes;
  int ends[at_once];
  int places[at_once];
  int collected = 0;
  int last_change = 0;  // the last one among the samples up to `end`
  int coming_change = next_change(series, 1, samples);
  int place = 0;
  for (int end = differences; end < samples;) {
    if (coming_change <= end) {
      for (last_change = end; !is_change(series, last_change);) last_change--;
      coming_change = next_change(series, end + 1, samples);
    }
    if (last_change <= end - differences) {
      for (; end < coming_change && end < samples; end += step) features[place++] = 0;
      continue;
    }
    ends[collected] = end;
    places[collected++] = place++;
    end += step;
    if (collected == at_once) {
      decompose<order>(series, step, ends, places, collected, features);
      collected = 0;
    }
  }
  if (collected > 0) decompose<order>(series, step, ends, places, collected, features);
}

}  // namespace

void sagx::SAGX_SET::svd_features(const float* series, int samples, int step, int order, float* features) {
  switch (order) {
    case 1:
      return features_of_order<1>(series, samples, step, features);
    case 2:
      return features_of_order<2>(series, samples, step, features);
    case 3:
      return features_of_order<3>(series, samples, step, features);
    case 4:
      return features_of_order<4>(series, samples, step, features);
    case 5:
      return features_of_order<5>(series, samples, step, features);
    case 6:
      return features_of_order<6>(series, samples, step, features);
    case 7:
      return features_of_order<7>(series, samples, step, features);
    case 8:
      return features_of_order<8>(series, samples, step, features);
    default:
      return features_of_order<9>(series, samples, step, features);
  }
}
