// Does with a record file all that the command does: reads it, chooses the voltages, measures them and makes every
// output. Then it certifies the analysis and verifies the certificate, whole or damaged, or converts the record, or
// shows every set of voltages. The input gives the options and describes the file (made_file.h). A run that takes too
// much time or memory is a finding.
#include <sys/resource.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include "analysis/analyse.h"
#include "analysis/choice/chosen_set.h"
#include "analysis/choice/record_voltages.h"
#include "analysis/choice/stretch.h"
#include "analysis/refusal.h"
#include "fuzz/bytes.h"
#include "fuzz/expect.h"
#include "fuzz/made_file.h"
#include "fuzz/shown_analysis.h"
#include "fuzz/written_record.h"
#include "readers/open_record.h"
#include "readers/text.h"

namespace {

#if defined(DIPX_SANITIZED) || !defined(NDEBUG)
constexpr bool checked = true;
#else
constexpr bool checked = false;
#endif
/// Limits of one run, whose file has at most a few megabytes. Checks make it slower.
constexpr double most_seconds = checked ? 20 : 2;
constexpr long most_kilobytes = checked ? 600'000 : 150'000;

struct Options {
  readers::OpenOptions open;
  analysis::StretchChoice stretch;
  analysis::AnalysisOptions analysis;
  int channels = 0;  ///< how the voltages are named
};

measure::Thresholds thresholds_of(fuzz::Bytes& input) {
  measure::Thresholds thresholds;
  if (input.below(4) > 0) return thresholds;
  thresholds.dip = 1 + input.below(100);
  thresholds.swell = std::max(100.0 + input.below(200), thresholds.dip + 1);
  thresholds.interruption = input.below(static_cast<int>(thresholds.dip));
  const double most = std::min({100 - thresholds.dip, thresholds.swell - 100, 50.0});
  thresholds.hysteresis = most * input.number<std::uint8_t>() / 255;
  thresholds.rapid_change = input.below(51);
  return thresholds;
}

void take_declared(fuzz::Bytes& input, analysis::AnalysisOptions& options) {
  constexpr double levels[] = {0, 0, 0, 230, 57.735, 20e3, 1e-3, 1e7};
  constexpr analysis::DeclaredKind kinds[] = {analysis::DeclaredKind::by_level, analysis::DeclaredKind::phase,
                                              analysis::DeclaredKind::line};
  options.nominal = levels[input.below(8)];
  options.nominal_kind = kinds[input.below(3)];
  const int reference = input.below(8);
  if (reference == 1) options.reference = measure::Reference::sliding;
  if (reference == 2) options.reference = measure::Reference::pre_event;
  if (reference == 3 && options.nominal > 0) options.reference = measure::Reference::declared;
}

/// Takes options that the command line would accept.
Options options_of(fuzz::Bytes& input) {
  constexpr const char* charsets[] = {"GBK", "CP1251", "UTF-16", "SHIFT_JIS"};
  Options options;
  auto& choice = options.analysis.choice;
  const int open = input.below(16);
  if (open == 1) options.open.sampling_rate = 1 + input.number<std::uint16_t>();
  if (open == 2) options.open.sampling_rate = 1e8;
  if (open == 3) options.open.charset = charsets[input.below(4)];
  if (open == 4) options.stretch.from = input.number<std::uint16_t>() / 65536.0;
  if (open == 5 || open == 4) options.stretch.to = options.stretch.from.value_or(0) + (1 + input.below(255)) / 256.0;
  options.channels = input.below(32);
  const int set = input.below(16);
  choice.set = set < 4 ? static_cast<std::size_t>(set) : 0;
  const int part = input.below(16);
  choice.part = part < 4 ? static_cast<std::size_t>(part) : 0;
  choice.line_to_line = input.below(8) == 1;
  if (input.below(16) == 1) choice.line_frequency = 10 + input.below(91);
  take_declared(input, options.analysis);
  options.analysis.thresholds = thresholds_of(input);
  const int library = input.number<std::uint8_t>();
  options.analysis.library = library % 32 == 1;
  options.analysis.report = library == 2;
  return options;
}

/// Names voltages as a user may, by number or by name.
std::string named_channels(int kind, const readers::Record& record) {
  constexpr const char* texts[] = {
      "1,2,3", "3,2,1", "1", "2,3", "1,1,1", "4,5,6", ",,", "Ua,Ub,Uc", "99999999999999999999"};
  if (kind < static_cast<int>(std::size(texts))) return texts[kind];
  if (kind > 10) return {};
  std::string names;
  for (std::size_t i = 0; i < std::min<std::size_t>(record.channels.size(), 3); i++) {
    names += (i == 0 ? "" : ",") + record.channels[i].name;
  }
  return names;
}

void write(const std::vector<fuzz::NamedContent>& files) {
  for (const auto& file : files) {
    std::ofstream(file.name, std::ios::binary)
        .write(file.content.data(), static_cast<std::streamsize>(file.content.size()));
  }
}

/// What is done with a record besides showing it. Inputs that end before this choice get the first one.
enum class Further { certify, certify_damaged, convert, all_sets };

/// Reads the file once more with all channels, as dipx convert does.
void convert(fuzz::Bytes& input, const std::string& path, const Options& options) {
  readers::OpenOptions open = options.open;
  open.wanted = {};
  open.digitals = true;
  auto record = readers::open_record(path, open);
  analysis::keep_stretch(record, options.stretch);
  fuzz::expect_converted(input, record);
}

/// Shows the first sets and parts, as --set all and --part all do.
void show_all(analysis::RecordVoltages& voltages, const Options& options) {
  constexpr std::size_t most = 6;
  std::size_t shown = 0;
  for (const auto& [set, part] : analysis::all_of(voltages, options.analysis.choice, true, true)) {
    if (shown++ == most) return;
    analysis::AnalysisOptions one = options.analysis;
    one.choice.set = set;
    one.choice.part = part;
    try {
      fuzz::expect_shown(voltages.record(), analysis::analyse(voltages, one));
    } catch (const analysis::Refusal& error) {
      fuzz::expect_inert_lines(error.what());
    }
  }
}

/// Shows the set and part that are chosen, or those with the worst event, and does something further.
void analyse(fuzz::Bytes& input, const std::string& path, const readers::Record& record, const Options& options) {
  const auto further = static_cast<Further>(input.below(4));
  if (further == Further::convert) return convert(input, path, options);
  analysis::RecordVoltages voltages(record, options.analysis.choice);
  if (further == Further::all_sets) return show_all(voltages, options);
  const auto found = analysis::analyse(voltages, options.analysis);
  fuzz::expect_shown(record, found);
  if (options.analysis.library) return;  // no certificate covers the library's results
  const outputs::CertifiedRun run{options.open.sampling_rate, options.open.charset, options.stretch, options.analysis};
  if (further == Further::certify) {
    fuzz::expect_certified(input, path, record, found, run);
  } else {
    fuzz::expect_damaged_certificate(input, path, record, found, run);
  }
}

void run(fuzz::Bytes& input) {
  Options options = options_of(input);
  const auto files = fuzz::made_file(input);
  write(files);
  auto& choice = options.analysis.choice;
  options.open.wanted = [&](const readers::Record& record) {
    choice.channels = named_channels(options.channels, record);
    return analysis::channels_to_read(record, choice);
  };
  try {
    readers::Record record = readers::open_record(files.front().name, options.open);
    analysis::keep_stretch(record, options.stretch);
    fuzz::expect_shown_record(record);
    analyse(input, files.front().name, record, options);
  } catch (const readers::ReadError& error) {
    fuzz::expect_inert_lines(error.what());
  } catch (const analysis::Refusal& error) {
    fuzz::expect_inert_lines(error.what());
  } catch (const analysis::UnknownChoice& error) {
    // The command makes this message inert, because the user's own words may be in it.
    fuzz::expect_that(error.what()[0] != '\0', "a refusal gives its reason");
  }
}

double processor_seconds() {
  timespec time{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

long most_resident_kilobytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const double begin = processor_seconds();
  const long resident = most_resident_kilobytes();
  fuzz::Bytes input(data, size);
  run(input);
  const double seconds = processor_seconds() - begin;
  const long kilobytes = most_resident_kilobytes() - resident;
  fuzz::expect_that(seconds < most_seconds, "a run takes little time", std::to_string(seconds) + " s");
  fuzz::expect_that(kilobytes < most_kilobytes, "a run takes little memory", std::to_string(kilobytes) + " KB");
  return 0;
}
