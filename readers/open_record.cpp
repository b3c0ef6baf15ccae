#include "readers/open_record.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <string_view>
#include <utility>

#include "readers/archive.h"
#include "readers/comtrade/comtrade.h"
#include "readers/file_access.h"
#include "readers/named_origin.h"
#include "readers/pqdif/pqdif.h"
#include "readers/table/csv.h"
#include "readers/text.h"
#include "readers/voltages/impossible_values.h"

namespace readers {
namespace {

constexpr const char* standard_input = "standard input";

constexpr const char* readable =
    "supported are COMTRADE records (.cfg with .dat, or .cff), PQDIF files (.pqd, .pqdif) and CSV files (.csv, .tsv, "
    ".txt), also in zip and gzip files; standard input (-) may be .cff, PQDIF, CSV, zip or gzip";

/// Says why a file of a known but unsupported kind, given by its extension, is refused and what the user can do.
struct Refusal {
  std::string_view extension;
  const char* cause;
  const char* cure;
};

constexpr Refusal refusals[] = {
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

/// Returns whether a channel has no values from `begin` to `end`.
bool is_without_values(const Channel& channel, std::size_t begin, std::size_t end) {
  return std::all_of(channel.samples.begin() + static_cast<std::ptrdiff_t>(begin),
                     channel.samples.begin() + static_cast<std::ptrdiff_t>(end),
                     [](double sample) { return std::isnan(sample); });
}

void note_missing_values(Record& record) {
  std::size_t missing = 0;
  std::string first;
  for (std::size_t c = 0; c < record.channels.size(); c++) {
    const Channel& channel = record.channels[c];
    if (channel.samples.empty()) continue;
    std::size_t begin = 0;
    for (const RateSection& section : record.rates) {
      const std::size_t from = std::exchange(begin, section.end);
      // An observation need not have all channels, and those that it does not have are not missing.
      if (!section.title.empty() && is_without_values(channel, from, section.end)) continue;
      for (std::size_t i = from; i < section.end; i++) {
        if (!std::isnan(channel.samples[i]) || missing++ > 0) continue;
        first = fmt::format("sample {} of channel {}", i + 1, c + 1);
        if (!channel.name.empty()) first += " " + cited(channel.name);
      }
    }
  }
  if (missing == 0) return;
  record.notes.push_back(fmt::format("{} missing; the first is {}.",
                                     missing == 1 ? "1 value is" : fmt::format("{} values are", missing), first));
}

/// `held` holds the content, if it may be released as it is read.
Record read_content(const std::string& name, std::string_view content, const OpenOptions& options,
                    FileText* held = nullptr);

/// Reads the only record of a zip file, or the one that is named.
Record read_zip(const std::string& name, std::string_view content, const std::string& inner,
                const OpenOptions& options) {
  const ZipFile zip(name, content);
  const auto name_of = [&](std::size_t index) { return name + ":" + inert(zip.names()[index]); };
  const std::size_t index = zip.chosen(inner);
  const std::string extension = extension_of(zip.names()[index]);
  if (extension != ".cfg" && extension != ".dat") return read_content(name_of(index), zip.content(index), options);
  const bool data_named = extension == ".dat";
  const auto partner = zip.beside(index, data_named ? ".cfg" : ".dat");
  if (!partner) {
    throw ReadError(
        name_of(index), "",
        fmt::format("the archive holds no {} file beside it, and a record needs both", data_named ? ".cfg" : ".dat"),
        "put both files of the record into the archive");
  }
  const std::size_t config = data_named ? *partner : index;
  const std::size_t data = data_named ? index : *partner;
  return read_comtrade_contents(name_of(index),
                                {name_of(config), zip.content(config), name_of(data), zip.content(data)}, options);
}

/// Reads a record whose file is in memory; `name` is its name for messages, and its extension may give its kind.
Record read_content(const std::string& name, std::string_view content, const OpenOptions& options, FileText* held) {
  if (is_zip(content)) return read_zip(name, content, "", options);
  const std::string extension = extension_of(name);
  if (is_gzip(content)) {
    const std::string inner = extension == ".gz" ? name.substr(0, name.size() - extension.size()) : name;
    const std::string unpacked = gunzipped(name, content);
    if (held != nullptr) held->release_before(content.data() + content.size());
    if (is_gzip(unpacked) || is_zip(unpacked)) {
      throw ReadError(name, "", "holds another archive", "extract it once, and name the archive in it");
    }
    if (extension_of(inner) == ".cfg" || extension_of(inner) == ".dat") {
      throw ReadError(name, "", "holds only one of the two files of a COMTRADE record",
                      "extract both files, or put them into one .zip file");
    }
    return read_content(inner, unpacked, options);
  }
  if (extension == ".pqd" || extension == ".pqdif" || is_pqdif(content)) return read_pqdif(name, content, options);
  if (extension == ".cff" || is_single_comtrade(content)) return read_single_comtrade(name, content, options, held);
  const bool table = name == standard_input || extension == ".csv" || extension == ".tsv" || extension == ".txt" ||
                     looks_like_table(content);
  if (!table) throw ReadError(name, "", "is not a supported kind of record", readable);
  return read_csv(name, content, options, held);
}

Record read_by_kind(const std::string& path, const OpenOptions& options) {
  if (path == "-") {
    FileText text = FileText::of_standard_input();
    return read_content(standard_input, text.view(), options, &text);
  }

  const ArchivePath named = split_archive_path(path);
  const std::string name = inert(named.archive);
  const std::string extension = extension_of(named.archive);
  if (extension == ".cfg" || extension == ".dat") return read_comtrade(path, options);

  FileText text(named.archive);
  const std::string_view content = text.view();
  if (!named.inner.empty()) {
    if (is_zip(content)) return read_zip(name, content, named.inner, options);
    throw ReadError(inert(path), "", "does not exist, and " + name + " is not a zip file", "check the path");
  }
  for (const Refusal& refusal : refusals) {
    if (extension == refusal.extension) throw ReadError(name, "", refusal.cause, refusal.cure);
  }
  return read_content(name, content, options, &text);
}

/// Completes a record that was read from whatever kind of file.
void complete(Record& record) {
  take_named_origin(record, record.file);
  if (const std::string note = drop_impossible_values(record); !note.empty()) record.notes.push_back(note);
  note_missing_values(record);
}

}  // namespace

Record open_record(const std::string& path, const OpenOptions& options) {
  Record record = read_by_kind(path, options);
  if (record.sources.empty()) record.sources = {path == "-" ? "/dev/stdin" : split_archive_path(path).archive};
  complete(record);
  return record;
}

Record open_contents(RecordContents contents, const OpenOptions& options) {
  const std::string name = inert(contents.name);
  const std::string extension = extension_of(contents.name);
  const bool pair = !contents.data_name.empty();
  if (!pair && (extension == ".cfg" || extension == ".dat")) {
    throw ReadError(name, "", "is only one of the two files of a COMTRADE record",
                    "put its .cfg and its .dat file into one folder or archive");
  }
  Record record =
      pair ? read_comtrade_contents(
                 name, {name, std::move(contents.bytes), inert(contents.data_name), std::move(contents.data)}, options)
           : read_content(name, contents.bytes, options);
  complete(record);
  return record;
}

}  // namespace readers
