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

}  // namespace

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

  Record record;
  record.file = inert(path);
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
    record.notes.push_back("The configuration file declares " + std::to_string(declared) +
                           " samples, the data file holds " + std::to_string(record.length()) + ".");
  }
  record.rates = fitted_rates(config.rates, record.length());
  return record;
}

}  // namespace readers
