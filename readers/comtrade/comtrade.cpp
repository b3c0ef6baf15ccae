#include "readers/comtrade/comtrade.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <optional>
#include <utility>

#include "platform/utf8_path.h"
#include "readers/comtrade/comtrade_config.h"
#include "readers/comtrade/comtrade_data.h"
#include "readers/comtrade/lost_rows.h"
#include "readers/file_access.h"
#include "readers/line_rate.h"
#include "readers/plausible.h"
#include "readers/text.h"
#include "readers/time_base.h"
#include "readers/time_stamps.h"

namespace readers {
namespace {

std::string partner_of(const std::string& path, const std::string& extension) {
  if (auto partner = find_beside(path, extension)) return *std::move(partner);
  const std::string wanted = platform::utf8_path(path).replace_extension(extension).string();
  throw ReadError(inert(wanted), "",
                  "there is no such file next to " + inert(path) + " (in upper or lower case), and a record needs both",
                  "copy the record's " + extension + " file there");
}

/// Returns the record that the configuration alone describes.
Record described(const std::string& file, const ComtradeConfig& config) {
  Record record;
  record.file = file;
  record.format = "COMTRADE " + config.revision + " " + name_of(config.data_type);
  record.station = config.station;
  record.device = config.device;
  record.start_time = config.start_time;
  record.trigger_time = config.trigger_time;
  record.time_zone = config.time_zone;
  record.line_frequency = config.line_frequency;
  for (const AnalogChannel& analog : config.analogs) {
    Channel& channel = record.channels.emplace_back(analog.description);
    const bool whole = config.data_type != ComtradeConfig::DataType::float32 && std::isfinite(analog.scale);
    channel.stored_scale = whole ? analog.scale : 0;
    channel.stored_offset = analog.offset;
  }
  record.rates = config.rates;
  record.notes = config.notes;
  return record;
}

WantedData wanted_data(const Record& record, const OpenOptions& options) {
  WantedData wanted{std::vector<bool>(record.channels.size(), true), options.digitals};
  if (options.wanted) wanted.analogs = options.wanted(record);
  wanted.analogs.resize(record.channels.size(), false);
  return wanted;
}

/// Returns the digital channels, whose changes have rows but no times yet.
std::vector<DigitalChannel> digital_channels(const ComtradeConfig& config, const std::vector<DigitalStates>& digitals) {
  std::vector<DigitalChannel> channels;
  for (std::size_t i = 0; i < config.digital_names.size() && !digitals.empty(); i++) {
    DigitalChannel& channel = channels.emplace_back();
    channel.name = config.digital_names[i];
    channel.first_state = digitals.front().states[i];
    bool state = channel.first_state;
    for (const DigitalStates& now : digitals) {
      if (now.states[i] == state) continue;
      state = now.states[i];
      channel.changes.push_back({now.row, 0, state});
    }
  }
  return channels;
}

/// Returns the time in seconds from the first sample to the end of the last one.
double duration(const std::vector<RateSection>& sections) {
  const RateSection& last = sections.back();
  const std::size_t begin = sections.size() < 2 ? 0 : sections[sections.size() - 2].end;
  return last.start + (last.rate > 0 ? static_cast<double>(last.end - begin) / last.rate : 0);
}

/// Refuses rates that no recorder has, which time stamps or a given rate may lead to, and records that last too long.
void check_times(const std::string& file, const std::vector<RateSection>& sections) {
  for (const RateSection& section : sections) {
    if (section.rate <= highest_rate) continue;
    throw ReadError(file, "",
                    fmt::format("its sampling rate would be {} samples per second, more than any recorder takes (at "
                                "most {})",
                                number_text(section.rate), number_text(highest_rate)),
                    "state the actual rate in the .cfg file, and check its time stamp factor");
  }
  const double seconds = duration(sections);
  if (seconds <= longest_time) return;
  throw ReadError(file, "", fmt::format("the record would last {:.3g} s, more than a century", seconds),
                  "correct the sampling rate in the .cfg file, and check its time stamp factor");
}

/// Returns the unit of the stamps in seconds, and notes it if it is not the one that the configuration implies.
double stamp_unit(const Record& record, const ComtradeConfig& config, ComtradeData& data) {
  const double implied = config.stamp_unit;
  if (data.stamps_agree) return implied;
  const auto nanoseconds = [](double seconds) { return number_text(std::round(seconds * 1e9)) + " ns"; };
  const double fitting = unit_of_stamps(fitted_rates(config.rates, data.rows), data.stamps, implied,
                                        config.line_frequency, config.trigger);
  if (fitting != implied) {
    data.notes.push_back(fmt::format(
        "The time stamps are read in units of {} because they do not fit the record in units of {}, which the "
        "configuration implies.",
        nanoseconds(fitting), nanoseconds(implied)));
    return fitting;
  }
  if (config.rates.size() != 1 || config.rates[0].rate > 0) return implied;
  const double guess = implied * factor_of_times(record, 1 / (mean_step_of(data.stamps) * implied));
  if (guess != implied) {
    data.notes.push_back(fmt::format(
        "The time stamps are assumed to be in units of {} rather than {}, which the configuration implies, because "
        "only then do the samples show the line frequency (override with --rate).",
        nanoseconds(guess), nanoseconds(implied)));
  }
  return guess;
}

/// Returns the record's sections if its rate is that of the stamps.
std::vector<RateSection> sections_by_stamps(const ComtradeData& data, double unit, double rate) {
  if (data.stamps_agree) return {{rate, data.rows}};
  return read_time_stamps({{rate, data.rows}}, data.stamps, unit, 0).sections;
}

/// Sets the record's sections by what the configuration and the time stamps say.
void set_times(Record& record, const ComtradeConfig& config, ComtradeData& data, double given_rate) {
  const double unit = stamp_unit(record, config, data);
  if (const std::string note = drop_impossible_stamps(data.stamps, unit); !note.empty()) data.notes.push_back(note);
  for (std::size_t i = 0; i < record.channels.size(); i++) data.samples[i] = std::move(record.channels[i].samples);
  TimeTable table;
  table.sections = repair_rows(config, unit, data);
  for (std::size_t i = 0; i < record.channels.size(); i++) record.channels[i].samples = std::move(data.samples[i]);
  StampedTimes stamped;
  stamped.rate = data.contradicting_rate;
  stamped.knots = std::move(data.knots);
  if (!data.stamps_agree) {
    table = read_time_stamps(table.sections, data.stamps, unit, given_rate);
    stamped.rate = table.contradicting_rate;
    if (table.sections.size() == 1 && !table.shifted) stamped.knots = knots_of(unwrapped(data.stamps), unit);
  }
  constexpr double rounding_units = 2;
  stamped.rounding = rounding_units * unit;
  if (stamped.rate > 0) {
    stamped.stated_rate = table.contradicted_rate > 0 ? table.contradicted_rate : config.rates[0].rate;
    if (config.rates.size() == 1) stamped.sections = sections_by_stamps(data, unit, stamped.rate);
  }
  record.notes.insert(record.notes.end(), data.notes.begin(), data.notes.end());
  record.rates = std::move(table.sections);
  check_times(record.file, record.rates);
  record.digitals = digital_channels(config, data.digitals);
  record.notes.insert(record.notes.end(), table.notes.begin(), table.notes.end());
  settle_times(record, stamped, given_rate);
  check_times(record.file, record.rates);
}

/// Returns the record that a configuration and its data give together.
Record assemble(Record record, const ComtradeConfig& config, ComtradeData data, const OpenOptions& options) {
  const std::size_t declared = config.rates.back().end;
  if (declared != data.rows) {
    data.notes.push_back(
        fmt::format("The configuration declares {} samples, but the data hold {}.", declared, data.rows));
  }
  for (std::size_t i = 0; i < record.channels.size(); i++) record.channels[i].samples = std::move(data.samples[i]);
  set_times(record, config, data, options.sampling_rate);
  if (config.trigger && *config.trigger <= duration(record.rates)) record.trigger = config.trigger;
  return record;
}

// --- single files ----------------------------------------------------------------------------------------------------

/// The section of a single file that a line announces.
struct Announcement {
  std::string kind;                  ///< "cfg", "inf", "hdr" or "dat"; empty when the line announces nothing
  std::optional<std::size_t> bytes;  ///< length of the section, if it is stated
};

/// Parses a line such as "--- file type: DAT BINARY: 1024 ---", with more or fewer hyphens and with or without the
/// first colon.
Announcement announced_by(std::string_view line) {
  if (line.ends_with('\r')) line.remove_suffix(1);
  std::string text = lower_case(trimmed(line));
  if (!text.starts_with("--") || !text.ends_with("--")) return {};
  const std::size_t first = text.find_first_not_of('-');
  if (first == text.npos) return {};
  text = text.substr(first, text.find_last_not_of('-') + 1 - first);
  for (char& c : text) {
    if (c == ':' || c == '\t') c = ' ';
  }
  std::vector<std::string_view> words;
  for (const std::string_view word : split_fields(text, ' ')) {
    if (!word.empty()) words.push_back(word);
  }
  if (words.size() < 3 || words[0] != "file" || words[1] != "type") return {};
  return {std::string(words[2]), parse_count(words.back())};
}

/// The sections of a single file that are needed to read the record.
struct Sections {
  std::string_view config;
  std::string_view data;
  std::optional<std::size_t> stated_bytes;  ///< stated length of the data section
};

/// Finds the sections. The data section is the last one, so `data` holds everything after its announcement, even if a
/// length is stated.
Sections split_sections(const std::string& file, std::string_view content) {
  Sections sections;
  std::string_view rest = content;
  if (rest.starts_with("\xEF\xBB\xBF")) rest.remove_prefix(3);
  std::string kind;
  const char* section_begin = content.data();
  while (!rest.empty()) {
    const std::string_view line = rest.substr(0, rest.find('\n'));
    rest.remove_prefix(std::min(line.size() + 1, rest.size()));
    const Announcement announced = announced_by(line);
    if (announced.kind.empty()) continue;
    if (kind == "cfg") sections.config = {section_begin, static_cast<std::size_t>(line.data() - section_begin)};
    kind = announced.kind;
    section_begin = rest.data();
    if (kind == "dat") {
      sections.data = rest;
      sections.stated_bytes = announced.bytes;
      return sections;
    }
  }
  throw ReadError(file, "",
                  kind.empty() ? "has no sections (\"--- file type: CFG ---\")"
                               : "has no data section (\"--- file type: DAT ASCII ---\")",
                  "a single-file COMTRADE record holds its configuration and its data in such sections");
}

/// Returns the bytes that a base64 text encodes; nothing when it is not base64.
std::optional<std::string> base64_decoded(std::string_view text) {
  constexpr std::string_view digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::array<signed char, 256> value_of;
  value_of.fill(-1);
  for (std::size_t i = 0; i < digits.size(); i++) {
    value_of[static_cast<unsigned char>(digits[i])] = static_cast<signed char>(i);
  }
  std::string bytes;
  bytes.reserve(text.size() / 4 * 3);
  unsigned bits = 0;
  unsigned count = 0;
  bool ended = false;
  for (const char c : text) {
    if (c == '\n' || c == '\r' || c == ' ' || c == '\t' || c == '\x1A') continue;
    const signed char value = value_of[static_cast<unsigned char>(c)];
    if (c == '=') ended = true;
    if (c == '=') continue;
    if (value < 0 || ended) return std::nullopt;
    bits = bits << 6 | static_cast<unsigned>(value);
    count += 6;
    if (count >= 8) {
      count -= 8;
      bytes += static_cast<char>(bits >> count & 0xFF);
    }
  }
  return bytes;
}

}  // namespace

bool is_single_comtrade(std::string_view content) {
  const std::string_view text = without_file_marks(content);
  return !announced_by(text.substr(0, text.find('\n'))).kind.empty();
}

Record read_single_comtrade(const std::string& file, std::string_view content, const OpenOptions& options,
                            FileText* held) {
  const Sections sections = split_sections(file, content);
  const ComtradeConfig config = parse_comtrade_config(file + ", CFG section", sections.config, options.charset);
  Record record = described(file, config);
  std::string_view data = sections.data.substr(0, sections.stated_bytes.value_or(sections.data.npos));
  std::optional<std::string> decoded;
  if (config.data_type != ComtradeConfig::DataType::ascii) {
    const std::string_view whole = sections.data.substr(0, sections.data.find("\n---"));
    decoded = base64_decoded(whole);
    // The stated length may be the length of the text or of the bytes that it encodes.
    if (decoded && decoded->size() == sections.stated_bytes) {
      data = whole;
    } else {
      decoded = base64_decoded(data);
    }
  }
  std::string_view left = sections.data.substr(data.size());
  left.remove_prefix(std::min(left.find_first_not_of(" \t\r\n\x1A"), left.size()));
  if (!left.empty() && announced_by(left.substr(0, left.find('\n'))).kind.empty()) {
    record.notes.push_back(
        fmt::format("The data section continues for {} bytes past its stated length of {}; these bytes were ignored.",
                    left.size(), data.size()));
  }
  if (decoded) {
    data = *decoded;
    record.format += " (base64)";
  }
  ComtradeData rows =
      read_comtrade_data(file + ", DAT section", data, config, wanted_data(record, options), decoded ? nullptr : held);
  return assemble(std::move(record), config, std::move(rows), options);
}

Record read_comtrade_contents(const std::string& file, const ComtradeContents& contents, const OpenOptions& options) {
  const ComtradeConfig config = parse_comtrade_config(contents.config_name, contents.config, options.charset);
  Record record = described(file, config);
  ComtradeData data = read_comtrade_data(contents.data_name, contents.data, config, wanted_data(record, options));
  return assemble(std::move(record), config, std::move(data), options);
}

Record read_comtrade(const std::string& path, const OpenOptions& options) {
  const bool data_named = extension_of(path) == ".dat";
  // The named file is opened first, so that a wrong name is reported as such and not as a missing partner file. It may
  // be a pipe, which can be opened only once.
  FileStream named(path);
  const std::string config_path = data_named ? partner_of(path, ".cfg") : path;
  const FileText config_text = data_named ? FileText(config_path) : FileText(named);
  const ComtradeConfig config = parse_comtrade_config(inert(config_path), config_text.view(), options.charset);
  Record record = described(inert(path), config);
  const std::string data_path = data_named ? path : partner_of(path, ".dat");
  std::optional<FileStream> partner;
  FileStream& stream = data_named ? named : partner.emplace(data_path);
  record.sources = {config_path, data_path};
  ComtradeData data = read_comtrade_data(inert(data_path), stream, config, wanted_data(record, options));
  return assemble(std::move(record), config, std::move(data), options);
}

}  // namespace readers
