// Measures the speed of reading records. Text is compared with a reader that parses each number with istream >> double;
// binary data are compared with copying the bytes in memory and converting them. There are files with three channels,
// and files with a hundred of which three are wanted.
#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "bench/comparison.h"
#include "bench/measures.h"
#include "readers/comtrade/comtrade.h"
#include "readers/file_access.h"
#include "readers/table/csv.h"

namespace bench {

namespace {

constexpr std::size_t rows = 200000;
constexpr std::size_t wanted = 3;

int value(std::size_t row, std::size_t channel) {
  return static_cast<int>(
      std::lround(30000 * std::sin(0.05 * static_cast<double>(row) + 0.3 * static_cast<double>(channel))));
}

std::string cfg_of(std::size_t channels, const char* type) {
  std::string text = fmt::format("Bench,Device,1999\n{},{}A,0D\n", channels, channels);
  for (std::size_t i = 1; i <= channels; i++) {
    text += fmt::format("{},U{},A,,V,0.01,0.5,0,-32767,32767,1,1,P\n", i, i);
  }
  return fmt::format("{}50\n1\n6400,{}\n1/1/2020,0:0:0.0\n1/1/2020,0:0:0.0\n{}\n1\n", text, rows, type);
}

std::string ascii_data(std::size_t channels) {
  std::string text;
  for (std::size_t r = 0; r < rows; r++) {
    text += fmt::format("{},{}", r + 1, r * 156);
    for (std::size_t i = 0; i < channels; i++) text += fmt::format(",{}", value(r, i));
    text += "\r\n";
  }
  return text;
}

void append(std::string& bytes, std::uint32_t word, int count) {
  for (int i = 0; i < count; i++) bytes += static_cast<char>(word >> (8 * i) & 0xFFU);
}

std::string binary_data(std::size_t channels, int bytes_per_value) {
  std::string bytes;
  for (std::size_t r = 0; r < rows; r++) {
    append(bytes, static_cast<std::uint32_t>(r + 1), 4);
    append(bytes, static_cast<std::uint32_t>(r * 156), 4);
    for (std::size_t i = 0; i < channels; i++) append(bytes, static_cast<std::uint32_t>(value(r, i)), bytes_per_value);
  }
  return bytes;
}

/// The files of this run. Each is written when it is first requested.
class Files {
 public:
  Files() {
    std::string name = std::filesystem::temp_directory_path() / "dipx-bench-XXXXXX";
    if (mkdtemp(name.data()) == nullptr) std::abort();
    folder_ = name;
  }
  Files(const Files&) = delete;
  Files& operator=(const Files&) = delete;
  ~Files() {
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
  }

  /// Returns the .cfg file of a record; `type` is ASCII, BINARY or BINARY32.
  std::string record(std::size_t channels, const std::string& type) {
    const auto stem = folder_ / fmt::format("{}{}", type, channels);
    const auto cfg = stem.string() + ".cfg";
    if (!std::filesystem::exists(cfg)) {
      std::ofstream(stem.string() + ".dat", std::ios::binary)
          << (type == "ASCII" ? ascii_data(channels) : binary_data(channels, type == "BINARY" ? 2 : 4));
      std::ofstream(cfg) << cfg_of(channels, type.c_str());
    }
    return cfg;
  }

  std::string table(std::size_t channels) {
    const auto name = folder_ / fmt::format("table{}.csv", channels);
    if (!std::filesystem::exists(name)) {
      std::ofstream out(name);
      out << "t_s";
      for (std::size_t i = 0; i < channels; i++) out << ",u" << i << "_V";
      out << "\n";
      for (std::size_t r = 0; r < rows; r++) {
        out << static_cast<double>(r) / 6400;
        for (std::size_t i = 0; i < channels; i++) out << "," << 0.01 * value(r, i);
        out << "\n";
      }
    }
    return name;
  }

 private:
  std::filesystem::path folder_;
};

Files& files() {
  static Files all;
  return all;
}

std::string data_of(const std::string& cfg) {
  return cfg.substr(0, cfg.size() - 3) + "dat";
}

readers::Record read_record(const std::string& cfg) {
  readers::OpenOptions options;
  options.wanted = [](const readers::Record& record) {
    std::vector<bool> some(record.channels.size(), false);
    for (std::size_t i = 0; i < wanted; i++) some[i] = true;
    return some;
  };
  return readers::read_comtrade(cfg, options);
}

using Samples = std::vector<std::vector<double>>;

/// Reads the numbers one by one from a stream and keeps the wanted ones, which is how a reader of a few lines works.
Samples read_by_istream(const std::string& file, std::size_t channels, std::size_t head_lines) {
  std::ifstream in(file);
  std::string line;
  for (std::size_t i = 0; i < head_lines; i++) std::getline(in, line);
  Samples samples(wanted);
  const std::size_t first = head_lines == 0 ? 2 : 1;
  const std::size_t columns = channels + first;
  double number = 0;
  char comma = 0;
  for (bool good = true; good;) {
    for (std::size_t column = 0; column < columns && good; column++) {
      if (column > 0) in >> comma;
      good = static_cast<bool>(in >> number);
      if (good && column >= first && column < first + wanted) samples[column - first].push_back(0.01 * number + 0.5);
    }
  }
  return samples;
}

/// Copies the bytes of a file in memory and converts the wanted values from the copy.
template <typename Word>
Samples copy_and_convert(const std::string& bytes, std::size_t channels) {
  const std::size_t row_bytes = 8 + sizeof(Word) * channels;
  const std::vector<char> copy(bytes.begin(), bytes.end());
  Samples samples(wanted);
  for (std::size_t i = 0; i < wanted; i++) {
    samples[i].resize(rows);
    const char* at = copy.data() + 8 + sizeof(Word) * i;
    for (std::size_t r = 0; r < rows; r++, at += row_bytes) {
      Word word;
      std::memcpy(&word, at, sizeof word);
      samples[i][r] = 0.01 * word + 0.5;
    }
  }
  return samples;
}

template <typename Plain, typename Own>
void add_both(const std::string& what, Plain plain, Own own) {
  add(what + " (whole)", plain_form, 1, [=] { benchmark::DoNotOptimize(plain()); });
  add(what + " (whole)", "dipx", 1, [=] { benchmark::DoNotOptimize(own()); });
}

template <typename Word>
void add_binary(const std::string& type, std::size_t channels, const std::string& columns) {
  const std::string cfg = files().record(channels, type);
  const auto bytes = std::make_shared<const std::string>(readers::FileText(data_of(cfg)).view());
  add_both(
      type + " data, 200000 rows, " + columns + ", beside copying and converting",
      [=] { return copy_and_convert<Word>(*bytes, channels); }, [=] { return read_record(cfg); });
}

}  // namespace

void add_reading() {
  for (const std::size_t channels : {std::size_t{3}, std::size_t{100}}) {
    const std::string columns = fmt::format("3 of {} channels", channels);
    const std::string cfg = files().record(channels, "ASCII");
    add_both(
        "ASCII data, 200000 rows, " + columns + ", beside istream >> double",
        [=] { return read_by_istream(data_of(cfg), channels, 0); }, [=] { return read_record(cfg); });
    add_binary<std::int16_t>("BINARY", channels, columns);
    add_binary<std::int32_t>("BINARY32", channels, columns);
  }
  const std::string table = files().table(3);
  add_both(
      "CSV, 200000 rows, 3 channels, beside istream >> double", [=] { return read_by_istream(table, 3, 1); },
      [=] { return readers::read_csv(table, readers::FileText(table).view()); });
}

}  // namespace bench
