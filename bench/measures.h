// All that is measured, by kind.
#pragma once

namespace bench {

void add_kernels();

/// Singular values by well-known libraries beside the kernels, where they were found when this was built.
void add_rivals();

/// Readers beside the obvious ways to take the same data in.
void add_reading();

/// The search for events and the course of one by the measuring library, beside RMS passes over the same samples.
void add_screening();

void add_whole_runs();

/// Prints what whole analyses take of the machine's memory.
void print_memory();

}  // namespace bench
