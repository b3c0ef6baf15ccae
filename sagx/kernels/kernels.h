// The loops that take most of the time, each compiled for several instruction sets. Private to the stages.
//
// Every form of a kernel gives the same bits as its plain form, which has the same name in tests/plain.
#pragma once

namespace sagx {

struct Kernels {
  const char* instruction_set;

  /// Computes the SVD feature of `order` (1 to 9) at every `step`-th sample of a series from order^2 up to `samples`,
  /// and stores it in features[0], [1], ... Writes nothing if there is no such sample.
  void (*svd_features)(const float* series, int samples, int step, int order, float* features);

  /// Computes the median of each of `count` windows of `length` values (1 to 1024). The first window starts at
  /// `series`, and each following one starts one value later.
  void (*sliding_median)(const float* series, int count, int length, float* medians);

  /// Computes the smallest value of each of `count` windows of `width` values. The first window starts at `padded`, and
  /// each following one starts one value later. Of equal values the last is kept, and NaN is ignored unless it is the
  /// window's first value.
  void (*sliding_minimum)(const float* padded, int count, int width, float* minima);

  /// Computes the largest values, scanning each window from its other end: of equal values the first is kept, and NaN
  /// is ignored unless it is the window's last value.
  void (*sliding_maximum)(const float* padded, int count, int width, float* maxima);

  /// Computes the RMS of the `cycle` samples that end at each of samples[cycle - 1 .. count - 1], and stores it at the
  /// same index in rms. Squares are added from the last sample backwards.
  void (*cycle_rms)(const float* samples, int count, int cycle, float* rms);

  /// Counts how many of `blocks` blocks of `length` values have a standard deviation above 0.5.
  int (*restless_blocks)(const float* values, int length, int blocks);
};

/// Returns the fastest kernels that this machine can run.
const Kernels& kernels();

/// Returns one of the kernel sets that this machine can run, the fastest at index 0; nullptr after the last one.
const Kernels* runnable_kernels(int index);

}  // namespace sagx
