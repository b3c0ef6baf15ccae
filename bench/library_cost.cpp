// library_cost A B: compares the time that whole analyses take with two builds of the library. The builds are loaded
// and run in turn, A B A B, in separate processes. Only neighbouring runs are compared, so a machine that becomes
// slower does not affect the ratio.
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <numbers>
#include <vector>

#include "tests/plain/loaded_library.h"

namespace {

constexpr int rounds = 15;

/// Fills in a dip of `dip` cycles in a record of `cycles` cycles.
void fill(dipx_data_struct& record, int rate, int cycles, int dip) {
  record.smp_rate = rate;
  record.smp_len = rate * cycles;
  float* const phases[] = {record.smp_va, record.smp_vb, record.smp_vc};
  for (int phase = 0; phase < 3; phase++) {
    for (int i = 0; i < record.smp_len; i++) {
      const double angle = 2 * std::numbers::pi * (static_cast<double>(i) / rate - phase / 3.0);
      const bool low = phase != 1 && i > 10 * rate && i < (10 + dip) * rate;
      phases[phase][i] = static_cast<float>((low ? 150 : 311) * std::sin(angle));
    }
  }
}

/// Returns the processor seconds of `runs` analyses in a separate process.
double seconds(const char* library, dipx_data_struct& record, int runs) {
  static auto* const spent =
      static_cast<double*>(mmap(nullptr, sizeof(double), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
  std::fflush(nullptr);
  const pid_t process = fork();
  if (process == 0) {
    if (std::freopen("/dev/null", "w", stdout) == nullptr || chdir("/tmp") != 0) _exit(1);
    const tests::LoadedLibrary loaded(library);
    loaded.analyse(record);
    const std::clock_t begin = std::clock();
    for (int i = 0; i < runs; i++) loaded.analyse(record);
    *spent = static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC;
    _exit(0);
  }
  int state = 0;
  if (waitpid(process, &state, 0) != process || state != 0) std::exit(1);
  return *spent;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 1;
  struct Case {
    const char* name;
    int rate, cycles, dip, runs;
  };
  for (const Case& one : {Case{"60 cycles of 32 samples, dip of 10", 32, 60, 10, 60},
                          {"500 cycles of 128 samples, dip of 15", 128, 500, 15, 10},
                          {"3000 cycles of 128 samples, dip of 400", 128, 3000, 400, 2}}) {
    const auto record = std::make_unique<dipx_data_struct>();
    fill(*record, one.rate, one.cycles, one.dip);
    std::vector<double> ratios;
    double a = 0;
    for (int round = 0; round < rounds; round++) {
      const double of_a = seconds(argv[1], *record, one.runs);
      const double of_b = seconds(argv[2], *record, one.runs);
      ratios.push_back(of_b / of_a);
      a += of_a / one.runs / rounds;
    }
    std::sort(ratios.begin(), ratios.end());
    std::printf("%-40s %8.3f ms  B / A %.3f (%.3f to %.3f)\n", one.name, a * 1e3, ratios[rounds / 2], ratios.front(),
                ratios.back());
  }
}
