// Runs many analyses in one process. Memory use and descriptors must stay constant, and each result must equal that of
// a fresh process. Two things are carried over on purpose: the count that remains after a refused input, and the
// content of the working arrays past a window, which is read by a repaired segmentation and by the point on wave of a
// dip without a start.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <numbers>
#include <random>
#include <string>
#include <string_view>

#include "dipx_dll.h"
#include "sagx/dq_dipx.h"
#include "tests/core/working_folder.h"

namespace {

constexpr int rate = 32;

/// Fills in the record with the given number: a sine with up to three dips, sometimes with noise, harmonics or a NaN;
/// one record in sixteen is refused. The first record touches as much memory as any other.
void fill(dipx_data_struct& record, unsigned number) {
  std::mt19937 random(number);
  const auto between = [&](int low, int high) {
    return low + static_cast<int>(random() % static_cast<unsigned>(high - low + 1));
  };
  std::memset(&record, 0, sizeof record);
  const int cycle = between(0, 7) == 0 ? between(33, 128) : rate;
  record.smp_rate = cycle;
  record.smp_len = between(16, 90) * cycle + between(0, cycle - 1);
  const double peak = between(60, 390) * std::numbers::sqrt2;
  const double noise = between(0, 3) == 0 ? 0.01 * between(1, 200) : 0;
  const double fifth = between(0, 3) == 0 ? 0.08 : 0;
  float* const phases[] = {record.smp_va, record.smp_vb, record.smp_vc};
  for (int phase = 0; phase < 3; phase++) {
    for (int i = 0; i < record.smp_len; i++) {
      const double angle = 2 * std::numbers::pi * (static_cast<double>(i) / cycle - phase / 3.0);
      const double off = noise * (static_cast<double>(random() % 2001) / 1000 - 1);
      phases[phase][i] = static_cast<float>(peak * (std::sin(angle) + fifth * std::sin(5 * angle)) + off);
    }
  }
  for (int dips = between(0, 3); dips > 0; dips--) {
    const int phases_low = between(1, 7);
    const int fall = between(0, record.smp_len - 1);
    const int recovery = std::min(record.smp_len, fall + between(1, 15 * cycle));
    const auto left = static_cast<float>(between(0, 95)) / 100;
    for (int phase = 0; phase < 3; phase++) {
      if ((phases_low >> phase & 1) == 0) continue;
      for (int i = fall; i < recovery; i++) phases[phase][i] *= left;
    }
  }
  if (number == 0) {
    record.smp_rate = 128;
    record.smp_len = 91 * 128;
    for (float* phase : phases) {
      for (int i = 0; i < record.smp_len; i++) phase[i] = i > 5 * 128 && i < 86 * 128 ? 50 : 220;
    }
  }
  if (between(0, 31) == 0) phases[between(0, 2)][between(0, record.smp_len - 1)] = std::nanf("");
  if (number % 16 == 15) {
    const int refused_rates[] = {31, 129, 0, -1};
    record.smp_rate = refused_rates[between(0, 3)];
  }
}

bool is_refused(unsigned number) {
  return number % 16 == 15;
}

/// Returns whether segments of a dip extend past its window, which happens because a repaired segmentation treats
/// record positions as window positions.
bool reaches_past_its_window(const dipx_event_record& event, int recovery, int cycle) {
  return event.SEG_T_num > 0 && event.SEG_T_idx[event.SEG_T_num - 1] >= recovery + 4 * cycle;
}

/// This includes the rates of change, which are measured in the first transition.
void clear_segments(dipx_event_record& event) {
  event.Voltagechange_Va = event.Voltagechange_Vb = event.Voltagechange_Vc = 0;
  for (auto* list :
       {&event.ua_min, &event.ub_min, &event.uc_min, &event.u3_min, &event.bph_max_value, &event.angle_diff_ap,
        &event.angle_diff_bp, &event.angle_diff_cp, &event.angle_diff_an, &event.angle_diff_bn, &event.angle_diff_cn}) {
    std::fill(std::begin(*list), std::end(*list), 0.0F);
  }
  for (auto* list : {&event.dipx_phasetype, &event.dipx_cata_type, &event.order_min_idx}) {
    std::fill(std::begin(*list), std::end(*list), 0);
  }
}

/// Returns whether no phase has a start to measure at. A fresh process then reports the 90 degrees that are added to 0.
bool is_without_start(const dipx_event_record& event) {
  return event.SEG_T_num > 0 && event.POW_a == 90 && event.POW_b == 90 && event.POW_c == 90;
}

struct Result {
  std::uint64_t digest;         ///< digest of the host's record and of the report without its timing
  std::uint64_t but_for_start;  ///< digest of the record without the points on wave
  bool without_start;           ///< one of the events has no start, which only a fresh process can determine
  int events;
  int past;  ///< how many of them have segments past their window
};

Result analyse(dipx_data_struct& record, unsigned number) {
  fill(record, number);
  dipx_fun(&record);
  Result result{0, 0, false, record.evt_num, 0};
  const bool refused = is_refused(number);
  if (refused) record.evt_num = 0;  // this count is all that differs after a refused input
  for (int i = 0; i < record.evt_num; i++) {
    if (!reaches_past_its_window(record.evt_buf[i], dq_rms_buf->T[2 * i + 1], record.smp_rate)) continue;
    clear_segments(record.evt_buf[i]);
    result.past++;
  }
  std::string report = tests::bytes_of("dipx_result.txt");
  const std::size_t second = report.find('\n', report.find('\n') + 1) + 1;
  report.erase(second, report.find('\n', second) + 1 - second);
  if (refused || result.past > 0) report.clear();  // the report lists the values that differ
  const std::hash<std::string_view> hash;
  const std::string_view bytes(reinterpret_cast<const char*>(&record), sizeof record);
  result.digest = hash(bytes) ^ hash(report) * 31;
  for (auto& event : record.evt_buf) {
    result.without_start = result.without_start || is_without_start(event);
    event.POW_a = event.POW_b = event.POW_c = 0;
  }
  result.but_for_start = hash(bytes);
  return result;
}

/// Memory that is shared between processes.
template <typename Value>
class Shared {
 public:
  explicit Shared(std::size_t count)
      : bytes_(count * sizeof(Value)),
        values_(static_cast<Value*>(mmap(nullptr, bytes_, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0))) {
    if (values_ == MAP_FAILED) std::abort();
  }
  Shared(const Shared&) = delete;
  Shared& operator=(const Shared&) = delete;
  ~Shared() { munmap(values_, bytes_); }
  Value& operator[](std::size_t i) const { return values_[i]; }

 private:
  std::size_t bytes_;
  Value* values_;
};

/// Returns the resident memory in KiB, exact to a page; the figures in statm are less exact.
long resident_kilobytes() {
  std::ifstream file("/proc/self/smaps_rollup");
  for (std::string word; file >> word;) {
    long kilobytes = 0;
    if (word == "Rss:" && file >> kilobytes) return kilobytes;
  }
  std::abort();
}

int open_descriptors() {
  return static_cast<int>(std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}));
}

/// Runs `action` in a separate process that prints nothing, and returns whether that process finished.
template <typename Action>
bool in_own_process(Action action) {
  std::fflush(nullptr);
  const pid_t process = fork();
  if (process == 0) {
    if (std::freopen("/dev/null", "w", stdout) == nullptr || std::freopen("/dev/null", "w", stderr) == nullptr)
      _exit(1);
    action();
    _exit(0);
  }
  int state = 0;
  return process > 0 && waitpid(process, &state, 0) == process && WIFEXITED(state) && WEXITSTATUS(state) == 0;
}

/// Memory and descriptors that the long process had in use.
struct Use {
  long kilobytes;
  int descriptors;
};

/// The test's own process never calls the library, so every process that it starts is a fresh one.
void soak(unsigned analyses) {
  const tests::WorkingFolder folder;
  const auto record = std::make_unique<dipx_data_struct>();
  const Shared<Result> all(analyses);
  const Shared<Use> used(2);
  ASSERT_TRUE(in_own_process([&] {
    // The memory of the test itself, including that needed for measuring, is touched before the first measurement.
    for (unsigned i = 0; i < analyses; i++) all[i] = {};
    // The same holds for the results, whose pages take up memory once a dip has been written to them.
    std::memset(new_dipx_buf, 1, sizeof new_dipx_buf);
    used[0] = used[1] = {resident_kilobytes(), open_descriptors()};
    for (unsigned i = 0; i < analyses; i++) {
      all[i] = analyse(*record, i);
      if (i == analyses / 4) used[0] = {resident_kilobytes(), open_descriptors()};
    }
    used[1] = {resident_kilobytes(), open_descriptors()};
  }));
#ifndef DIPX_SANITIZED  // the sanitizer keeps freed memory; its own leak check covers that case
  EXPECT_LE(used[1].kilobytes, used[0].kilobytes + 128);
#endif
  EXPECT_EQ(used[1].descriptors, used[0].descriptors);

  const Shared<Result> fresh(analyses);
  constexpr unsigned starters = 2;
  pid_t started[starters];
  for (unsigned s = 0; s < starters; s++) {
    started[s] = fork();
    if (started[s] != 0) continue;
    const tests::WorkingFolder own_folder;
    bool ended = true;
    for (unsigned i = s; i < analyses; i += starters) {
      ended = in_own_process([&] { fresh[i] = analyse(*record, i); }) && ended;
    }
    std::filesystem::current_path("/");
    std::filesystem::remove_all(own_folder.path());
    _exit(ended ? 0 : 1);
  }
  for (const pid_t starter : started) {
    int state = 0;
    ASSERT_EQ(waitpid(starter, &state, 0), starter);
    ASSERT_EQ(state, 0) << "a fresh process did not finish";
  }

  unsigned with_events = 0;
  unsigned past = 0;
  unsigned without_start = 0;
  int accepted_before = 0;
  for (unsigned i = 0; i < analyses; i++) {
    ASSERT_EQ(all[i].but_for_start, fresh[i].but_for_start) << i;
    if (fresh[i].without_start) {
      without_start++;
    } else {
      ASSERT_EQ(all[i].digest, fresh[i].digest) << i;
    }
    if (is_refused(i)) {
      ASSERT_EQ(fresh[i].events, 0) << i;
      ASSERT_EQ(all[i].events, accepted_before) << i;
    } else {
      ASSERT_EQ(all[i].events, fresh[i].events) << i;
      accepted_before = fresh[i].events;
    }
    ASSERT_EQ(all[i].past, fresh[i].past) << i;
    with_events += fresh[i].events > 0 ? 1 : 0;
    past += fresh[i].past > 0 ? 1 : 0;
  }
  EXPECT_GT(with_events, analyses / 4) << "too few records contained dips";
  EXPECT_LT(past, analyses / 20) << "too many segments were left out of the comparison";
  EXPECT_LT(without_start, analyses / 20) << "too many points on wave were left out of the comparison";
  std::printf("%u with dips; %u with segments past their window, %u without a start\n", with_events, past,
              without_start);
  std::printf("%ld KB resident after a quarter, %ld KB at the end; %d and %d descriptors\n", used[0].kilobytes,
              used[1].kilobytes, used[0].descriptors, used[1].descriptors);
}

TEST(Soak, OfTwoHundredAnalysesKeepsMemoryAndEachResultFree) {
  soak(200);
}

TEST(LongSoak, OfTwentyThousandAnalysesKeepsMemoryAndEachResultFree) {
  soak(20000);
}

}  // namespace
