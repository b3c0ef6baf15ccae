#include "fuzz/made_file.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <numbers>
#include <string_view>
#include <utility>

#include "readers/record.h"
#include "readers/text.h"
#include "synth/pqdif_file.h"
#include "writers/converted.h"

namespace fuzz {
namespace {

constexpr int most_name_bits = 20;  ///< a name has at most 2^20 characters

template <typename Value, std::size_t count>
Value one_of(Bytes& input, const Value (&list)[count]) {
  return list[static_cast<std::size_t>(input.below(static_cast<int>(count)))];
}

// --- the record ------------------------------------------------------------------------------------------------------

/// A change of the voltages for some time.
struct Change {
  std::size_t begin = 0;
  std::size_t end = 0;
  std::array<double, 3> factor = {1, 1, 1};
  double turn = 0;             ///< radians
  double instead = 0;          ///< replaces the samples of some phases if `replaced` is not 0
  unsigned replaced = 0;       ///< mask of phases
  bool gradual = false;        ///< the factors are reached at the end
  double frequency_shift = 0;  ///< hertz
};

Change change_of(Bytes& input, std::size_t length) {
  constexpr double odd[] = {readers::no_value, 0, 1e10, -9.9e9, 1e-300};
  Change change;
  const auto place = [&] { return length * input.number<std::uint8_t>() / 255; };
  change.begin = place();
  change.end = change.begin + place();
  for (double& factor : change.factor) factor = input.number<std::uint8_t>() / 100.0;
  change.turn = input.number<std::int8_t>() / 64.0;
  const unsigned kind = input.number<std::uint8_t>();
  change.gradual = (kind & 0x10U) != 0;
  if ((kind & 0x20U) != 0) change.frequency_shift = (kind >> 6U) - 1.5;
  if ((kind & 0xFU) == 0xF) {
    change.instead = one_of(input, odd);
    change.replaced = input.number<std::uint8_t>() & 7U;
  }
  return change;
}

std::string long_text(std::string_view pattern, int length) {
  std::string text;
  while (text.size() < static_cast<std::size_t>(length)) text += pattern;
  return text;
}

/// Returns a name as recorders write it, a hostile one, or a very long one.
std::string name_of(Bytes& input, std::size_t channel) {
  constexpr const char* families[] = {
      "U", "V", "u L", "Line 1 V", "Bus-2 U/", "BB1 Voltage ", "\xE7\x94\xB5\xE5\x8E\x8B U"};
  constexpr const char* odd[] = {"",
                                 "A",
                                 "=1+1",
                                 ";=1",
                                 "\xE2\x80\xAE",
                                 "\xD8\x9C\xE2\x80\x8B",
                                 "\x1B[31m",
                                 "<script>\"'&",
                                 "]]>",
                                 "{{samples}}",
                                 "\xFF\xFE",
                                 "Uab",
                                 "A_A_A_",
                                 "I",
                                 "3V0",
                                 "neutral"};
  constexpr const char* pairs[] = {"ab", "bc", "ca"};
  constexpr const char* numbers[] = {"1", "2", "3"};
  const int kind = input.below(16);
  const std::string family = one_of(input, families);
  if (kind == 15) {
    const std::string pattern = one_of(input, odd) + std::string("A_");
    return long_text(pattern, 1 << input.between(1, most_name_bits));
  }
  if (kind == 14) return one_of(input, odd);
  if (kind == 13) return family + pairs[channel % 3];
  if (kind == 12) return family + numbers[channel % 3];
  return family + std::string(1, "ABC"[channel % 3]);
}

struct Shape {
  double frequency = 50;
  double rate = 800;
  double volts = 230;
  std::size_t length = 0;
  std::size_t channels = 3;
  bool currents = false;  ///< the channels after the third one are the currents of the same bay
};

Shape shape_of(Bytes& input) {
  constexpr double levels[] = {230, 57.735, 11547, 400, 1, 1e-3, 63500, 1e9};
  Shape shape;
  shape.frequency = one_of(input, {50.0, 60.0, 50.0, 16.7, 10.0, 100.0, 49.3, 400.0});
  // Most records are short, because the number of runs matters more than the length of a record.
  const int most_samples = input.below(8) == 0 ? 25 : 5;
  const int whole_samples = 8 + input.below(most_samples);
  const double samples_per_cycle = whole_samples + input.below(4) / 4.0;
  shape.rate = shape.frequency * samples_per_cycle;
  shape.volts = levels[input.below(32) % 8];
  const int most_cycles = input.below(8) == 0 ? 40 : 10;
  const double cycles = 1 + input.below(most_cycles);
  shape.length = static_cast<std::size_t>(cycles * samples_per_cycle);
  constexpr std::size_t counts[] = {3, 3, 3, 3, 1, 2, 4, 6};
  const unsigned kind = input.number<std::uint8_t>();
  shape.channels = counts[kind % std::size(counts)];
  shape.currents = (kind & 0x80U) != 0;
  return shape;
}

void fill_samples(Bytes& input, const Shape& shape, readers::Record& record) {
  const double harmonic = input.below(64) / 256.0;
  const double noise = input.below(64) / 2048.0;
  const double degrees = input.number<std::uint8_t>() * 360.0 / 256;
  std::vector<Change> changes(static_cast<std::size_t>(input.below(6)));
  for (Change& change : changes) change = change_of(input, shape.length);
  std::uint32_t random = 1;
  for (std::size_t k = 0; k < record.channels.size(); k++) {
    const std::size_t phase = k % 3;
    auto& samples = record.channels[k].samples;
    samples.resize(shape.length);
    double angle = degrees * std::numbers::pi / 180 - 2 * std::numbers::pi * static_cast<double>(phase) / 3;
    for (std::size_t i = 0; i < shape.length; i++) {
      double factor = 1;
      double turn = 0;
      double frequency = shape.frequency;
      const Change* replacing = nullptr;
      for (const Change& change : changes) {
        if (i < change.begin || i >= change.end) continue;
        const double share = static_cast<double>(i - change.begin + 1) / static_cast<double>(change.end - change.begin);
        factor = change.gradual ? factor + (change.factor[phase] - factor) * share : change.factor[phase];
        turn = change.turn;
        frequency += change.frequency_shift;
        if ((change.replaced >> phase & 1U) != 0) replacing = &change;
      }
      random = random * 1664525U + 1013904223U;
      const double spread = noise * (static_cast<double>(random >> 8U) / (1U << 23U) - 1);
      const double wave = std::sin(angle + turn) + harmonic * std::sin(5 * angle) + spread;
      samples[i] = replacing != nullptr ? replacing->instead : std::numbers::sqrt2 * shape.volts * factor * wave;
      angle += 2 * std::numbers::pi * frequency / shape.rate;
    }
  }
}

void add_sections(Bytes& input, const Shape& shape, readers::Record& record) {
  const int kind = input.below(8);
  const std::size_t middle = shape.length * input.number<std::uint8_t>() / 256;
  const double gap_unit = input.below(16) == 0 ? 1e6 : 1;
  const double gap = gap_unit * input.below(200) / 10.0 / shape.frequency;
  if (kind < 6 || middle == 0) {
    record.rates = {{shape.rate, shape.length, 0, true}};
    return;
  }
  const double end = static_cast<double>(middle) / shape.rate;
  const double rate = kind == 6 ? shape.rate : shape.rate / 2;
  record.rates = {{shape.rate, middle, 0, true}, {rate, shape.length, end + gap, false}};
}

readers::Record record_of(Bytes& input) {
  constexpr const char* units[] = {"V", "V", "V", "V", "V", "kV", "mV", "A", "", "MV", "p.u.", "uV"};
  const Shape shape = shape_of(input);
  const std::string unit = one_of(input, units);
  readers::Record record;
  record.station = input.below(8) == 0 ? name_of(input, 0) : "Station";
  record.device = "Device";
  record.line_frequency = input.below(8) == 0 ? 0 : shape.frequency;
  record.start_time = "31/12/1998,23:59:59.998000";
  record.trigger_time = "31/12/1998,23:59:59.999000";
  record.channels.resize(shape.channels);
  const bool named_alike = input.below(4) > 0;
  const Bytes before_names = input;
  for (std::size_t k = 0; k < shape.channels; k++) {
    auto& channel = record.channels[k];
    if (named_alike) input = before_names;
    channel.name = name_of(input, k);
    channel.phase = k < 3 && input.below(2) == 0 ? std::string(1, "ABC"[k]) : "";
    channel.unit = unit;
    if (shape.currents && k >= 3) {
      channel.name = std::string("I") + "ABC"[k % 3];
      channel.unit = "A";
    }
    if (input.below(16) == 0) {
      channel.primary = input.number<std::int16_t>();
      channel.secondary = input.number<std::int16_t>() / 100.0;
    }
    channel.side = one_of(input, {'P', 'S', '\0'});
  }
  fill_samples(input, shape, record);
  add_sections(input, shape, record);
  return record;
}

// --- damage ----------------------------------------------------------------------------------------------------------

std::string token_of(Bytes& input) {
  constexpr std::string_view tokens[] = {"",           "0",
                                         "-1",         "1",
                                         "2",          "nan",
                                         "inf",        "1e22",
                                         "1e-22",      "1.7e308",
                                         "4294967296", "18446744073709551616",
                                         "99999999",   "2147483648",
                                         "-0.0",       "=cmd|' /C calc'!A0",
                                         "a;=1",       "\xE2\x80\xAE",
                                         "\xD8\x9C",   "\x1B[31m",
                                         "\xFF\xFE",   "<script>alert(1)</script>",
                                         "UA",         "Uab",
                                         "V",          "kV",
                                         "A",          "t_ms",
                                         "t_us",       "Vb [kV]",
                                         "#N/A",       "1991",
                                         "1999",       "2013",
                                         "ASCII",      "BINARY",
                                         "BINARY32",   "FLOAT32",
                                         "29/02/1900", "01/01/9999",
                                         "24:00:60",   "23:59:59.999999999",
                                         "+99h",       "99999",
                                         "-99999",     "1,2",
                                         "\n",         "\"",
                                         "\t",         ";"};
  const int kind = input.below(64);
  if (kind == 63) {
    const char* pattern = input.below(2) == 0 ? "A_" : "a;";
    return long_text(pattern, 1 << input.between(1, most_name_bits));
  }
  if (kind == 62) return long_text("9", input.between(1, 400));
  if (kind == 61) {
    std::string bytes;
    for (int i = 0; i < 6; i++) bytes += static_cast<char>(input.number<std::uint8_t>());
    return bytes;
  }
  if (kind == 60) return readers::number_text(input.number<double>());
  if (kind == 59) return std::to_string(input.number<std::int16_t>());
  return std::string(tokens[static_cast<std::size_t>(kind) % std::size(tokens)]);
}

struct Range {
  std::size_t begin = 0;
  std::size_t end = 0;

  [[nodiscard]] std::size_t length() const { return end - begin; }
};

/// Returns the ranges of the lines, without their ends.
std::vector<Range> lines_of(const std::string& text, std::size_t most) {
  std::vector<Range> lines;
  for (std::size_t at = 0; at < text.size() && lines.size() < most;) {
    const std::size_t end = std::min(text.find('\n', at), text.size());
    lines.push_back({at, end});
    at = end + 1;
  }
  return lines;
}

std::vector<Range> fields_of(const std::string& text, const Range& line) {
  std::vector<Range> fields;
  std::size_t begin = line.begin;
  for (std::size_t at = line.begin; at <= line.end; at++) {
    if (at < line.end && text[at] != ',' && text[at] != '\r') continue;
    fields.push_back({begin, at});
    begin = at + 1;
  }
  return fields;
}

/// Multiplies the number in a field by a power of ten; other fields stay.
void scale_field(std::string& text, const Range& field, int exponent) {
  const auto number = readers::parse_number(text.substr(field.begin, field.length()));
  if (number) text.replace(field.begin, field.length(), readers::number_text(*number * std::pow(10.0, exponent)));
}

void damage_text(Bytes& input, std::string& text) {
  const std::size_t most_lines = input.below(4) == 0 ? 4096 : 24;  // most damage belongs into the description
  const int kind = input.below(12);
  const auto lines = lines_of(text, most_lines);
  if (lines.empty()) return;
  const Range line = lines[input.number<std::uint16_t>() % lines.size()];
  const auto fields = fields_of(text, line);
  const Range field = fields[input.number<std::uint8_t>() % fields.size()];
  switch (kind) {
    case 0:
      text.insert(line.begin, text.substr(line.begin, line.length()) + '\n');
      break;
    case 1:
      text.erase(line.begin, line.length() + 1);
      break;
    case 2:
      text.erase(line.begin);
      break;
    case 3:
      text.erase(field.begin, std::min(field.length() + 1, text.size() - field.begin));
      break;
    case 4:
      text.insert(field.begin, token_of(input) + ',');
      break;
    case 5:
    case 6:
      scale_field(text, field, input.number<std::int8_t>() / 4);
      break;
    case 7:
      text.insert(field.end, token_of(input));
      break;
    case 8:
      text.insert(line.begin, token_of(input) + '\n');
      break;
    default:
      text.replace(field.begin, field.length(), token_of(input));
  }
}

void damage_bytes(Bytes& input, std::string& bytes) {
  if (bytes.empty()) return;
  const std::size_t at = input.number<std::uint16_t>() % bytes.size();
  const int kind = input.below(8);
  const std::uint32_t value = input.number<std::uint32_t>();
  constexpr std::uint32_t odd[] = {0x7F800000U, 0xFFC00000U, 0x80000000U, 0x7FFFFFFFU, 0xFFFFFFFFU, 0, 1, 0x7F7FFFFFU};
  if (kind == 0) {
    bytes.resize(at);
  } else if (kind == 1) {
    bytes.erase(at, 1);
  } else {
    const std::uint32_t written = kind < 5 ? odd[value % std::size(odd)] : value;
    const std::size_t count = std::min<std::size_t>(kind == 2 || kind == 5 ? 1 : 4, bytes.size() - at);
    for (std::size_t i = 0; i < count; i++) bytes[at + i] = static_cast<char>(written >> 8 * i & 0xFFU);
  }
}

/// Damages a file in a few places, or not at all.
void damage(Bytes& input, std::string& content, bool text) {
  constexpr int counts[] = {0, 0, 0, 1, 1, 1, 2, 8};
  const int count = one_of(input, counts);
  for (int i = 0; i < count && input.left() > 0; i++) {
    if (input.below(16) == 0 || !text) {
      damage_bytes(input, content);
    } else {
      damage_text(input, content);
    }
  }
}

// --- the formats -----------------------------------------------------------------------------------------------------

using Files = std::vector<NamedContent>;

/// Returns the input itself as a file.
Files given_file(Bytes& input) {
  constexpr const char* names[] = {"r.cff", "r.csv", "r.pqd", "r", "r.txt", "r.zip", "r.gz", "r.cff"};
  const char* name = one_of(input, names);
  std::string content;
  while (input.left() > 0) content += static_cast<char>(input.number<std::uint8_t>());
  return {{name, content}};
}

/// A table as other programs write it: with their separators, decimal signs and forms of time.
std::string table_of(Bytes& input, const readers::Record& record) {
  const char separator = one_of(input, {',', ',', ';', '\t', ' '});
  const bool comma = separator == ';' && input.below(2) == 0;
  const int time = input.below(6);
  constexpr double time_scales[] = {1, 1e3, 1e6, 1, 1, 1};
  constexpr const char* time_names[] = {"t_s", "t_ms", "t_us", "time", "sample", ""};
  const double jitter = input.below(8) == 0 ? 0.1 : 0;
  const auto decimal = [&](std::string number) {
    if (comma) std::replace(number.begin(), number.end(), '.', ',');
    return number;
  };
  std::string text;
  if (time < 5) text += time_names[time];
  for (const auto& channel : record.channels) {
    if (!text.empty()) text += separator;
    text += channel.name;
    if (!channel.unit.empty()) text += " [" + channel.unit + "]";
  }
  if (input.below(8) == 0) text.clear();  // a table without headings
  if (!text.empty()) text += '\n';
  std::size_t section = 0;
  std::size_t begin = 0;
  for (std::size_t i = 0; i < record.length(); i++) {
    while (i >= record.rates[section].end) begin = record.rates[section++].end;
    const auto& rates = record.rates[section];
    const double shift = jitter * static_cast<double>(i % 3);
    const double seconds = rates.start + (static_cast<double>(i - begin) + shift) / rates.rate;
    std::string row;
    if (time == 4) row = std::to_string(i);
    if (time < 4) row = decimal(readers::number_text(seconds * time_scales[time]));
    for (const auto& channel : record.channels) {
      if (time < 5 || &channel != record.channels.data()) row += separator;
      const double value = channel.samples[i];
      if (!std::isnan(value)) row += decimal(readers::number_text(std::round(value * 1e4) / 1e4));
    }
    text += row + '\n';
  }
  return text;
}

synth::PqdifForm pqdif_form(Bytes& input) {
  using synth::PqdifTimes;
  constexpr std::uint8_t value_types[] = {21, 21, 22, 40, 41, 20, 31, 32};
  synth::PqdifForm form;
  form.value_type = one_of(input, value_types);
  form.scaled = form.value_type < 40;
  form.times =
      one_of(input, {PqdifTimes::increments, PqdifTimes::seconds, PqdifTimes::cycles, PqdifTimes::time_stamps});
  form.share_times = input.below(4) > 0;
  form.share_values = input.below(8) == 0;
  form.compressed = input.below(8) == 0;  // a damaged body that is compressed cannot be unpacked
  form.checksum = synth::PqdifChecksum::none;
  return form;
}

Files comtrade_files(Bytes& input, const readers::Record& record, bool single) {
  constexpr int revisions[] = {2013, 2013, 1999, 1999, 1991};
  using writers::StoredAs;
  const StoredAs type = one_of(input, {StoredAs::ascii, StoredAs::binary, StoredAs::binary32, StoredAs::float32});
  auto file = writers::converted(record, type).file;
  file.revision = one_of(input, revisions);
  if (single) {
    std::string content = writers::single_file_of(file);
    damage(input, content, true);
    return {{"r.cff", content}};
  }
  std::string config = writers::config_of(file);
  std::string data = writers::data_of(file);
  if (input.below(4) == 0) damage_bytes(input, data);
  if (type == StoredAs::ascii && input.below(2) == 0) damage_text(input, data);
  damage(input, config, true);
  return {{"r.cfg", config}, {"r.dat", data}};
}

}  // namespace

// The input is taken in an order that the language defines, so that a kept input means the same with every compiler.
std::vector<NamedContent> made_file(Bytes& input) {
  const int kind = input.below(16);
  if (kind == 0) return given_file(input);
  const readers::Record record = record_of(input);
  if (kind < 5) return comtrade_files(input, record, true);
  if (kind < 9) return comtrade_files(input, record, false);
  if (kind < 13) {
    std::string table = table_of(input, record);
    damage(input, table, true);
    return {{"r.csv", table}};
  }
  std::string content = synth::pqdif_of(record, pqdif_form(input));
  damage(input, content, false);
  return {{"r.pqd", content}};
}

}  // namespace fuzz
