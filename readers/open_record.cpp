#include "readers/open_record.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <string_view>

#include "readers/comtrade/comtrade.h"
#include "readers/file_access.h"
#include "readers/table/csv.h"
#include "readers/text.h"

namespace readers {
namespace {

constexpr const char* readable =
    "supported are COMTRADE records (.cfg with .dat, or .cff) and CSV files (.csv, .tsv, .txt); standard input (-) "
    "may be .cff or CSV";

/// Says why a file of a known but unsupported kind, given by its extension, is refused and what the user can do.
struct Refusal {
  std::string_view extension;
  const char* cause;
  const char* cure;
};

constexpr Refusal refusals[] = {
    {".pqd", "PQDIF records are not supported", "convert it to a COMTRADE record or a CSV table"},
    {".pqdif", "PQDIF records are not supported", "convert it to a COMTRADE record or a CSV table"},
    {".hdr", "is the header file of a COMTRADE record, which holds only remarks", "name the .cfg file of the record"},
    {".inf", "is the information file of a COMTRADE record, which holds no samples",
     "name the .cfg file of the record"},
};

/// Returns whether a file of unknown kind may be a table: it is text, and its first line has a separator.
bool looks_like_table(std::string_view content) {
  const auto is_binary = [](char c) {
    return static_cast<unsigned char>(c) < 0x20 && c != '\t' && c != '\r' && c != '\n';
  };
  if (is_utf16(content)) return true;
  const std::string_view text = without_file_marks(content).substr(0, 4096);
  if (std::any_of(text.begin(), text.end(), is_binary)) return false;
  return text.substr(0, text.find('\n')).find_first_of(",;\t") != text.npos;
}

void note_missing_values(Record& record) {
  std::size_t missing = 0;
  std::string first;
  for (std::size_t c = 0; c < record.channels.size(); c++) {
    const Channel& channel = record.channels[c];
    for (std::size_t i = 0; i < channel.samples.size(); i++) {
      if (!std::isnan(channel.samples[i]) || missing++ > 0) continue;
      first = fmt::format("sample {} of channel {}", i + 1, c + 1);
      if (!channel.name.empty()) first += " " + cited(channel.name);
    }
  }
  if (missing == 0) return;
  record.notes.push_back(fmt::format("{} missing; the first is {}.",
                                     missing == 1 ? "1 value is" : fmt::format("{} values are", missing), first));
}

Record read_by_kind(const std::string& path, const OpenOptions& options) {
  if (path == "-") {
    const std::string content = read_standard_input();
    const std::string name = "standard input";
    return is_single_comtrade(content) ? read_single_comtrade(name, content, options)
                                       : read_csv(name, content, options);
  }

  const std::string name = inert(path);
  const std::string extension = extension_of(path);
  if (extension == ".cfg" || extension == ".dat") return read_comtrade(path, options);

  const std::string content = read_file(path);
  for (const Refusal& refusal : refusals) {
    if (extension == refusal.extension) throw ReadError(name, "", refusal.cause, refusal.cure);
  }
  if (extension == ".cff" || is_single_comtrade(content)) return read_single_comtrade(name, content, options);
  const bool table = extension == ".csv" || extension == ".tsv" || extension == ".txt" || looks_like_table(content);
  if (!table) throw ReadError(name, "", "is not a supported kind of record", readable);
  return read_csv(name, content, options);
}

}  // namespace

Record open_record(const std::string& path, const OpenOptions& options) {
  Record record = read_by_kind(path, options);
  if (record.sources.empty()) record.sources = {path == "-" ? "/dev/stdin" : path};
  note_missing_values(record);
  return record;
}

}  // namespace readers
