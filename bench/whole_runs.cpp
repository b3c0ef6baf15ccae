// Compares whole analyses by the library as shipped with those by the library with plain kernels.
#include <fmt/format.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "bench/comparison.h"
#include "bench/measures.h"
#include "bench/silence.h"
#include "bench/whole_records.h"
#include "sagx/kernels/kernels.h"
#include "tests/plain/loaded_library.h"

namespace bench {

namespace {

constexpr Run runs[] = {
    {"500-cycle window", 520, 10, 491},
    {"10 s, one dip of 0.3 s", 500, 200, 15},
    {"3000 cycles, one dip of 400", 3000, 500, 400},
    {"3000 cycles, one dip of 2800", 3000, 50, 2800},
};

std::shared_ptr<dipx_data_struct> record_of(const Run& run) {
  auto record = std::make_shared<dipx_data_struct>();
  fill(*record, run);
  return record;
}

void add_run(const std::string& measure, const Run& run, std::int64_t items) {
  const auto record = record_of(run);
  const auto add_form = [&](const std::string& form, const char* file) {
    add(measure, form, items, [=, library = tests::LoadedLibrary(file)] {
      const Silence silence;
      library.analyse(*record);
    });
  };
  add_form(plain_form, DIPX_PLAIN_LIBRARY);
  add_form(sagx::kernels().instruction_set, DIPX_LIBRARY);
}

}  // namespace

void add_whole_runs() {
  for (const Run& run : runs) add_run(std::string("dipx_fun, ") + run.name + " (whole)", run, 1);
  for (const int seconds : {10, 20, 40, 60}) {
    const Run quiet{"", 50 * seconds, 0, 0};
    add_run(fmt::format("dipx_fun, {} s without a dip (per sample)", seconds), quiet, quiet.cycles * rate);
  }
}

void print_memory() {
  std::fflush(nullptr);
  // The processes that are measured contain nothing else, so that their memory is that of the library.
  if (std::system(DIPX_LIBRARY_MEMORY " " DIPX_PLAIN_LIBRARY " " DIPX_LIBRARY) != 0) std::abort();
}

}  // namespace bench
