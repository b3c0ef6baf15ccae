// Samples interface in a program with threads: two records are prepared at a time, and one is analysed at a time.
//
//   c++ -std=c++17 -pthread threaded_host.cpp $(pkg-config --cflags --libs dipx) -o threaded_host
//   ./threaded_host >/dev/null
#include <dipx_dll.h>
#include <sagx/dq_dipx.h>

#include <cmath>
#include <cstdio>
#include <mutex>
#include <thread>
#include <vector>

struct Waveform {
  int samples_per_cycle;
  std::vector<float> a, b, c;  // volts
};

struct Dip {
  double start, end;  // seconds
  float depth;        // volts below the level before
  std::vector<int> categories;
};

/// The library has one set of working records, so a thread holds the lock until it has copied the results.
std::vector<Dip> dips_of(const Waveform& waveform) {
  static std::mutex library;
  const std::lock_guard<std::mutex> lock(library);
  sagx_init_from_samples(waveform.a.data(), waveform.b.data(), waveform.c.data(), waveform.samples_per_cycle,
                         static_cast<int>(waveform.a.size()));
  dipx_new_pro(nullptr);
  std::vector<Dip> dips;
  const double step = 0.02 / waveform.samples_per_cycle;
  const int found = dq_rms_buf == nullptr ? 0 : dq_rms_buf->evt_num / 2;
  for (int i = 0; i < found; i++) {
    const dq_dipx_struct& result = new_dipx_buf[i];
    Dip dip{dq_rms_buf->T[2 * i] * step, dq_rms_buf->T[2 * i + 1] * step, result.ud, {}};
    dip.categories.assign(result.dipx_cata_seg, result.dipx_cata_seg + result.u_min_num);
    dips.push_back(dip);
  }
  sagx_free_all();  // returns 71 MB to the system; omit it if the next record follows at once
  return dips;
}

/// Makes two seconds at 230 V with a dip in phase A.
Waveform made(int samples_per_cycle, double depth) {
  Waveform waveform{samples_per_cycle, {}, {}, {}};
  for (int i = 0; i < 100 * samples_per_cycle; i++) {
    const double turn = 6.283185307179586 * i / samples_per_cycle;
    const bool low = i >= 20 * samples_per_cycle && i < 35 * samples_per_cycle;
    waveform.a.push_back(static_cast<float>(325.27 * (low ? 1 - depth : 1) * std::sin(turn)));
    waveform.b.push_back(static_cast<float>(325.27 * std::sin(turn - 2.0943951023931953)));
    waveform.c.push_back(static_cast<float>(325.27 * std::sin(turn + 2.0943951023931953)));
  }
  return waveform;
}

int main() {
  const double depths[] = {0.3, 0.6};
  std::vector<Dip> dips[2];
  std::thread feeders[2];
  for (int i = 0; i < 2; i++) feeders[i] = std::thread([&, i] { dips[i] = dips_of(made(64, depths[i])); });
  for (auto& feeder : feeders) feeder.join();
  for (int i = 0; i < 2; i++) {
    for (const auto& dip : dips[i]) {
      std::fprintf(stderr, "record %d: %.4f s to %.4f s, %.1f V deep, %zu segments, category %d\n", i + 1, dip.start,
                   dip.end, static_cast<double>(dip.depth), dip.categories.size(),
                   dip.categories.empty() ? 10 : dip.categories[0]);
    }
  }
  return 0;
}
