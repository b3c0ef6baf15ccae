// The loops in which the time goes, each compiled for several instruction sets. Private to the stages.
//
// Every form of a kernel gives the bits of its plain one, which stands under its name in tests/plain.
#pragma once

namespace sagx {

struct Kernels {
  const char* instruction_set;

  /// The SVD feature of `order` (1 to 9) at every `step`-th sample of a series from order^2 on, before `samples`:
  /// features[0], [1], ... Writes nothing when there is no such sample.
  void (*svd_features)(const float* series, int samples, int step, int order, float* features);

  /// The median of each of `count` windows of `length` values (1 to 1024), the first at `series`, each one further on.
  void (*sliding_median)(const float* series, int count, int length, float* medians);

  /// The smallest value of each of `count` windows of `width` values, the first at `padded`, each one further on. Of
  /// equal ones the last stands, and values that are no number are passed over unless they are the window's first.
  void (*sliding_minimum)(const float* padded, int count, int width, float* minima);

  /// The largest value, seen from the windows' other end: of equal ones the first stands, and values that are no number
  /// are passed over unless they are the window's last.
  void (*sliding_maximum)(const float* padded, int count, int width, float* maxima);

  /// The RMS of the `cycle` samples up to and with each of samples[cycle - 1 .. count - 1], to the same place in rms.
  /// Squares are added from the last sample back.
  void (*cycle_rms)(const float* samples, int count, int cycle, float* rms);

  /// How many of `blocks` blocks of `length` values have a standard deviation above 0.5.
  int (*restless_blocks)(const float* values, int length, int blocks);
};

/// The fastest kernels that this machine runs.
const Kernels& kernels();

/// All that it runs, the fastest at index 0; nullptr behind the last.
const Kernels* runnable_kernels(int index);

}  // namespace sagx
