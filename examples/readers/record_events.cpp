// Reads a COMTRADE, PQDIF or CSV record and prints the events in its first set of phase voltages.
#include <measure/measure.h>
#include <readers/open_record.h>
#include <readers/voltages/parts.h>
#include <readers/voltages/set_search.h>

#include <cstdio>
#include <exception>

static void print(const measure::Event& event, double part_start) {
  static const char* const kinds[] = {"dip", "swell", "interruption", "rapid voltage change"};
  std::printf("%s from %.4f s", kinds[static_cast<int>(event.kind)], part_start + event.start_s);
  event.end_s ? std::printf(" to %.4f s\n", part_start + *event.end_s) : std::puts(" to the end of the record");
}

int main(int argc, char** argv) {
  if (argc != 2) return std::fputs("usage: record_events FILE\n", stderr), 1;
  try {
    const readers::Record record = readers::open_record(argv[1]);
    const auto sets = readers::find_voltage_sets(record);
    if (sets.empty()) return std::fprintf(stderr, "%s: has no three phase voltages\n", argv[1]), 1;
    for (const readers::Part& part : readers::parts_without_gaps(record, sets[0].channels, 0.01)) {
      measure::Waveform waveform{{}, part.rate, record.line_frequency > 0 ? record.line_frequency : 50, sets[0].rms};
      for (const std::size_t channel : sets[0].channels) {
        const std::span samples(record.channels[channel].samples);
        const double volts_per_unit = readers::volts_per_unit(record, channel).factor;
        waveform.phases.push_back({samples.subspan(part.begin, part.length()), volts_per_unit});
      }
      for (const measure::Event& event : measure::measure(waveform, {}).events) print(event, part.start);
    }
  } catch (const std::exception& error) {
    return std::fprintf(stderr, "record_events: %s\n", error.what()), 1;
  }
}
