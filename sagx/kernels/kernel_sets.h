// The kernels of each instruction set, from which one set is chosen. SAGX_SET names the set for which a source is
// compiled. Private.
#pragma once

#include "sagx/kernels/kernels.h"

#define SAGX_DECLARE_SET(set)                                                                                    \
  namespace sagx::set {                                                                                          \
  void svd_features(const float* series, int samples, int step, int order, float* features);                     \
  void sliding_median(const float* series, int count, int length, float* medians);                               \
  void sliding_minimum(const float* padded, int count, int width, float* minima);                                \
  void sliding_maximum(const float* padded, int count, int width, float* maxima);                                \
  void cycle_rms(const float* samples, int count, int cycle, float* rms);                                        \
  int restless_blocks(const float* values, int length, int blocks);                                              \
  inline constexpr Kernels table = {#set,      svd_features,   sliding_median, sliding_minimum, sliding_maximum, \
                                    cycle_rms, restless_blocks};                                                 \
  }

SAGX_DECLARE_SET(baseline)
#if defined(__x86_64__)
SAGX_DECLARE_SET(avx2)
SAGX_DECLARE_SET(avx512)
#endif

#undef SAGX_DECLARE_SET
