// library_memory A B: compares the memory that whole analyses take with two builds of the library, each in a separate
// process that holds a host's record and nothing else.
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <initializer_list>

#include "bench/silence.h"
#include "bench/whole_records.h"
#include "tests/plain/loaded_library.h"

namespace {

using bench::Run;

constexpr Run runs[] = {
    {"10 s without a dip", 500, 0, 0},
    {"10 s, one dip of 0.3 s", 500, 200, 15},
    {"500-cycle window", 520, 10, 491},
    {"60 s, one dip of 56 s", 3000, 50, 2800},
};

long page_faults() {
  rusage used{};
  getrusage(RUSAGE_SELF, &used);
  return used.ru_minflt;
}

/// Returns the largest amount of memory, in KiB, of a process in which the library analysed a record `times` times.
/// Stores the page faults of the last analysis in `faults`.
long most_memory(const char* file, const Run& run, int times, int& faults) {
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    const tests::LoadedLibrary library(file);
    auto* const record = static_cast<dipx_data_struct*>(std::calloc(1, sizeof(dipx_data_struct)));
    if (record == nullptr) _exit(255);
    bench::fill(*record, run);
    long before = page_faults();
    {
      const bench::Silence silence;
      for (int i = 0; i < times; i++) {
        before = page_faults();
        library.analyse(*record);
      }
    }
    const long own = page_faults() - before;
    _exit(static_cast<int>(own < 254 ? own : 254));
  }
  int state = 0;
  rusage used{};
  if (wait4(child, &state, 0, &used) != child || !WIFEXITED(state) || WEXITSTATUS(state) == 255) std::exit(1);
  faults = WEXITSTATUS(state);
  return used.ru_maxrss;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 1;
  for (const Run& run : runs) {
    for (const char* library : {argv[1], argv[2]}) {
      int faults = 0;
      const long host = most_memory(library, run, 0, faults);
      const long once = most_memory(library, run, 1, faults);
      const long twice = most_memory(library, run, 2, faults);
      std::printf(
          "%-24s %-8s host %ld KiB, with one analysis %ld KiB, with two %ld KiB; %d page faults in the second\n",
          run.name, library == argv[1] ? "plain" : "shipped", host, once, twice, faults);
    }
  }
}
