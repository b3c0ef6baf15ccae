// Reads a CSV file of time and three phase voltages, and prints its events and the segments of its dips.
//
//   cmake -S examples/measure -B build/measure_host && cmake --build build/measure_host
//   build/measure_host/measure_host FILE.csv
#include <measure/measure.h>

#include <array>
#include <cstdio>
#include <exception>
#include <vector>

static constexpr std::array<const char*, 4> kinds = {"dip", "swell", "interruption", "rapid voltage change"};

static void print(const measure::Event& event) {
  std::printf("%s from %.4f s", kinds.at(static_cast<std::size_t>(event.kind)), event.start_s);
  event.end_s ? std::printf(" to %.4f s", *event.end_s) : std::printf(" on");
  if (event.kind != measure::EventKind::rapid_voltage_change) std::printf(", extreme %.2f kV", event.extreme_v / 1000);
  std::puts("");
  if (!event.course) return;
  for (const measure::Segment& segment : event.course->segments) {
    std::printf("  segment from %.4f s, type %c:", segment.start_s, segment.type ? segment.type->letter : '?');
    for (const measure::SegmentPhase& phase : segment.phases) {
      std::printf(" %.2f ± %.2f kV", phase.voltage_v.value / 1000, phase.voltage_v.plus_minus / 1000);
    }
    std::puts("");
  }
}

int main(int argc, char** argv) {
  std::FILE* file = argc == 2 ? std::fopen(argv[1], "r") : nullptr;
  if (file == nullptr) return std::fputs("usage: measure_host FILE.csv\n", stderr), 1;
  std::array<std::vector<double>, 4> columns;  // time and phases A, B, C
  char line[256];
  while (std::fgets(line, sizeof line, file) != nullptr) {
    double t = 0, a = 0, b = 0, c = 0;
    if (std::sscanf(line, "%lf,%lf,%lf,%lf", &t, &a, &b, &c) != 4) continue;  // the heading
    columns[0].push_back(t), columns[1].push_back(a), columns[2].push_back(b), columns[3].push_back(c);
  }
  std::fclose(file);
  const std::vector<double>& times = columns[0];
  if (times.size() < 2) return std::fputs("measure_host: the file has no samples\n", stderr), 1;
  const double rate = static_cast<double>(times.size() - 1) / (times.back() - times.front());
  // The library reads the samples in place and does not copy them.
  const measure::Waveform waveform{{{columns[1]}, {columns[2]}, {columns[3]}}, rate, 50};
  try {
    for (const measure::Event& event : measure::measure(waveform, {}).events) print(event);
  } catch (const std::exception& error) {
    return std::fprintf(stderr, "measure_host: %s\n", error.what()), 1;
  }
  return 0;
}
