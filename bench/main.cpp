#include "bench/comparison.h"
#include "bench/measures.h"
#include "tests/core/working_folder.h"

int main(int argc, char** argv) {
  const tests::WorkingFolder folder;  // for the reports that the analyses write
  bench::add_kernels();
  bench::add_rivals();
  bench::add_whole_runs();
  const int status = bench::compare(argc, argv);
  if (status == 0) bench::print_memory();
  return status;
}
