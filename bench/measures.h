// All measurements, by kind.
#pragma once

namespace bench {

void add_kernels();

/// Compares singular values by well-known libraries with the kernels, for those libraries that were found when this was
/// built.
void add_rivals();

/// Compares the readers with the obvious ways to read the same data.
void add_reading();

/// Compares the search for events and the measurement of one course by the measuring library with RMS passes over the
/// same samples.
void add_screening();

void add_whole_runs();

/// Compares ways of setting the default floating-point environment at each entry into the library.
void add_entry();

/// Prints how much memory whole analyses take.
void print_memory();

}  // namespace bench
