#include "bench/comparison.h"
#include "bench/measures.h"
#include "tests/core/working_folder.h"

int main(int argc, char** argv) {
  const tests::WorkingFolder folder;  // holds the reports that the analyses write
  bench::print_memory();              // runs before anything else is loaded
  bench::add_kernels();
  bench::add_rivals();
  bench::add_reading();
  bench::add_screening();
  bench::add_whole_runs();
  bench::add_entry();
  return bench::compare(argc, argv);
}
