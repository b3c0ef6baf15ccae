// Whole analyses by the library as it ships, beside the one with plain kernels.
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <memory>
#include <numbers>
#include <random>
#include <string>
#include <vector>

#include "bench/comparison.h"
#include "bench/measures.h"
#include "bench/silence.h"
#include "sagx/kernels.h"
#include "tests/plain/loaded_library.h"

namespace bench {

namespace {

constexpr int rate = 128;  // samples per cycle

struct Run {
  const char* name;
  int cycles;
  int fall;  // cycles from the start
  int dip;   // cycles; 0: none
};

constexpr Run runs[] = {
    {"500-cycle window", 520, 10, 491},
    {"10 s, one dip of 0.3 s", 500, 200, 15},
    {"3000 cycles, one dip of 400", 3000, 500, 400},
    {"3000 cycles, one dip of 2800", 3000, 50, 2800},
};

/// 220 V with a little noise; in the dip phase A falls to a half and the others to nine tenths.
void fill(dipx_data_struct& record, const Run& run) {
  std::mt19937 random(1);
  std::uniform_real_distribution noise(-0.75, 0.75);
  float* const phases[] = {record.smp_va, record.smp_vb, record.smp_vc};
  const double low[] = {0.5, 0.9, 0.9};
  for (int phase = 0; phase < 3; phase++) {
    for (int i = 0; i < run.cycles * rate; i++) {
      const bool dips = i >= run.fall * rate && i < (run.fall + run.dip) * rate;
      const double angle = 2 * std::numbers::pi * (static_cast<double>(i) / rate - phase / 3.0);
      phases[phase][i] = static_cast<float>(311.127 * (dips ? low[phase] : 1) * std::sin(angle) + noise(random));
    }
  }
  record.smp_rate = rate;
  record.smp_len = run.cycles * rate;
}

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

long page_faults() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_minflt;
}

/// What the kernel says of this process under `name`, KiB.
long resident_kilobytes(const std::string& name) {
  std::ifstream status("/proc/self/status");
  std::string word;
  long value = 0;
  while (status >> word) {
    if (word == name + ":" && status >> value) return value;
  }
  return 0;
}

/// In a process of its own, so that nothing is resident that the library did not touch.
void print_memory_of(const char* form, const char* file, const Run& run) {
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child != 0) {
    waitpid(child, nullptr, 0);
    return;
  }
  const tests::LoadedLibrary library(file);
  const auto record = record_of(run);
  const long memory = resident_kilobytes("RssAnon");
  const long code = resident_kilobytes("RssFile");
  long first = 0;
  long second = 0;
  {
    const Silence silence;
    library.analyse(*record);
    first = page_faults();
    library.analyse(*record);
    second = page_faults();
  }
  std::printf("%-30s %-10s resident: %ld KiB of memory, %ld KiB of code; %ld page faults in a second run\n", run.name,
              form, resident_kilobytes("RssAnon") - memory, resident_kilobytes("RssFile") - code, second - first);
  std::fflush(stdout);
  _exit(0);
}

}  // namespace

void add_whole_runs() {
  for (const Run& run : runs) add_run(std::string("dipx_fun, ") + run.name + " (whole)", run, 1);
  for (const int seconds : {10, 20, 40, 60}) {
    const Run quiet{"", 50 * seconds, 0, 0};
    add_run("dipx_fun, " + std::to_string(seconds) + " s without a dip (per sample)", quiet, quiet.cycles * rate);
  }
}

void print_memory() {
  for (const Run& run : runs) {
    print_memory_of(plain_form, DIPX_PLAIN_LIBRARY, run);
    print_memory_of(sagx::kernels().instruction_set, DIPX_LIBRARY, run);
  }
}

}  // namespace bench
