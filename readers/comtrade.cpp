#include "readers/comtrade.h"

#include <algorithm>
#include <filesystem>
#include <utility>

#include "readers/comtrade_config.h"
#include "readers/comtrade_data.h"
#include "readers/file_access.h"
#include "readers/text.h"

namespace readers {
namespace {

std::string partner_of(const std::string& path, const std::string& extension) {
  if (auto partner = find_beside(path, extension)) return *std::move(partner);
  const std::string wanted = std::filesystem::path(path).replace_extension(extension).string();
  throw ReadError(
      inert(wanted), "",
      "there is no such file beside " + inert(path) + ", in capital or small letters, and a record needs both",
      "put the " + extension + " file of the record there");
}

/// Makes the sections end where the data do.
std::vector<RateSection> fitted_rates(const std::vector<RateSection>& declared, std::size_t length) {
  std::vector<RateSection> rates;
  for (const RateSection& section : declared) {
    const std::size_t start = rates.empty() ? 0 : rates.back().end;
    const std::size_t end = std::min(section.end, length);
    if (end > start) rates.push_back({section.rate, end});
  }
  if (rates.empty()) rates.push_back({declared.back().rate, length});
  rates.back().end = length;
  return rates;
}

/// The record that a configuration and its data make.
Record assemble(std::string file, ComtradeConfig config, ComtradeData data) {
  Record record;
  record.file = std::move(file);
  const bool ascii = config.data_type == ComtradeConfig::DataType::kAscii;
  record.format = "COMTRADE " + config.revision + (ascii ? " ASCII" : " BINARY");
  record.station = std::move(config.station);
  record.device = std::move(config.device);
  record.start_time = std::move(config.start_time);
  record.trigger_time = std::move(config.trigger_time);
  record.line_frequency = config.line_frequency;
  for (std::size_t i = 0; i < config.analogs.size(); ++i) {
    record.channels.push_back(std::move(config.analogs[i].description));
    record.channels.back().samples = std::move(data.samples[i]);
  }
  record.notes = std::move(config.notes);
  record.notes.insert(record.notes.end(), data.notes.begin(), data.notes.end());

  const std::size_t declared = config.rates.back().end;
  if (declared != record.length()) {
    record.notes.push_back("The configuration declares " + std::to_string(declared) + " samples, the data hold " +
                           std::to_string(record.length()) + ".");
  }
  record.rates = fitted_rates(config.rates, record.length());
  return record;
}

/// The kind that a line announces as the next section of a single file ("cfg", "dat ascii", ...); empty for other
/// lines.
std::string section_kind(std::string_view line) {
  if (line.ends_with('\r')) line.remove_suffix(1);
  const std::string text = lower_case(trimmed(line));
  constexpr std::string_view opening = "--- file type:";
  constexpr std::string_view closing = "---";
  if (!text.starts_with(opening) || !text.ends_with(closing) || text.size() < opening.size() + closing.size())
    return {};
  return std::string(
      trimmed(std::string_view(text).substr(opening.size(), text.size() - opening.size() - closing.size())));
}

/// What a single file holds of a record.
struct Sections {
  std::string_view config;
  std::string_view data;
};

/// The data section is the last one: whatever follows its announcement belongs to it.
Sections split_sections(const std::string& file, std::string_view content) {
  Sections sections;
  std::string_view rest = content;
  if (rest.starts_with("\xEF\xBB\xBF")) rest.remove_prefix(3);
  std::string kind;
  const char* section_begin = content.data();
  while (!rest.empty()) {
    const std::string_view line = rest.substr(0, rest.find('\n'));
    rest.remove_prefix(std::min(line.size() + 1, rest.size()));
    const std::string announced = section_kind(line);
    if (announced.empty()) continue;
    if (kind == "cfg") sections.config = {section_begin, static_cast<std::size_t>(line.data() - section_begin)};
    kind = announced;
    section_begin = rest.data();
    if (kind.starts_with("dat")) {
      sections.data = rest;
      return sections;
    }
  }
  throw ReadError(file, "",
                  kind.empty() ? "has no sections (\"--- file type: CFG ---\")"
                               : "has no data section (\"--- file type: DAT ASCII ---\")",
                  "a single-file COMTRADE record holds its configuration and its data in such sections");
}

}  // namespace

bool is_single_comtrade(std::string_view content) {
  const std::string_view text = without_file_marks(content);
  return !section_kind(text.substr(0, text.find('\n'))).empty();
}

Record read_single_comtrade(const std::string& file, std::string_view content) {
  const Sections sections = split_sections(file, content);
  ComtradeConfig config = parse_comtrade_config(file + ", CFG section", sections.config);
  ComtradeData data = read_comtrade_data(file + ", DAT section", sections.data, config);
  return assemble(file, std::move(config), std::move(data));
}

Record read_comtrade(const std::string& path) {
  const bool data_named = extension_of(path) == ".dat";
  // The named file comes first: a wrong name should be reported as such, not as a missing partner.
  std::string named_content = read_file(path);
  const std::string config_path = data_named ? partner_of(path, ".cfg") : path;
  const std::string config_name = inert(config_path);
  ComtradeConfig config = parse_comtrade_config(config_name, data_named ? read_file(config_path) : named_content);

  const std::string data_path = data_named ? path : partner_of(path, ".dat");
  const std::string content = data_named ? std::move(named_content) : read_file(data_path);
  ComtradeData data = read_comtrade_data(inert(data_path), content, config);

  return assemble(inert(path), std::move(config), std::move(data));
}

}  // namespace readers
