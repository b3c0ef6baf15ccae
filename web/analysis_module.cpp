// The analysis as a WebAssembly module. A worker of the page (worker.js) writes a record's bytes and a request into its
// memory, calls it, and reads the outputs, which are those of the dipx command.
//
// All functions are for one caller and keep their results until the next call.
#include <array>
#include <cstddef>
#include <exception>
#include <new>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "analysis/analyse.h"
#include "analysis/choice/chosen_set.h"
#include "analysis/choice/record_voltages.h"
#include "analysis/choice/stretch.h"
#include "analysis/curves.h"
#include "analysis/refusal.h"
#include "assess/transformer.h"
#include "outputs/csv.h"
#include "outputs/json.h"
#include "outputs/page/page_html.h"
#include "readers/archive.h"
#include "readers/file_access.h"
#include "readers/open_record.h"
#include "readers/text.h"
#include "readers/voltages/bay_currents.h"

namespace {

using Json = nlohmann::json;

/// What the caller writes: the request, the record's file, and the .dat file of a pair.
enum Input { request, bytes, data, inputs };
/// What the caller reads.
enum Output { message, document, table, page, members, outputs_ };
/// The command's exit statuses.
enum Status { success = 0, usage = 1, unreadable = 2, refused = 3, failed = 4 };

std::array<std::string, inputs> given;
std::array<std::string, outputs_> made;

/// Returns the contents of the record that the request names.
readers::RecordContents contents_of(const Json& asked) {
  readers::RecordContents contents{asked.at("name"), std::move(given[bytes]), asked.value("data_name", ""),
                                   std::move(given[data])};
  const std::string member = asked.value("member", "");
  if (member.empty()) return contents;
  const readers::ZipFile zip(readers::inert(contents.name), contents.bytes);
  const auto name_of = [&](std::size_t index) { return contents.name + ":" + zip.names()[index]; };
  const std::size_t index = zip.chosen(member);
  readers::RecordContents inner{name_of(index), zip.content(index), "", ""};
  if (const auto pair = readers::extension_of(member) == ".cfg" ? zip.beside(index, ".dat") : std::nullopt) {
    inner.data_name = name_of(*pair);
    inner.data = zip.content(*pair);
  }
  return inner;
}

analysis::AnalysisOptions options_of(const Json& asked) {
  analysis::AnalysisOptions options;
  options.choice.channels = asked.value("channels", "");
  options.choice.set = asked.value("set", std::size_t{0});
  options.choice.part = asked.value("part", std::size_t{0});
  options.choice.line_to_line = asked.value("line_to_line", false);
  options.choice.line_frequency = asked.value("frequency", 0.0);
  options.nominal = asked.value("nominal", 0.0);
  const std::string kind = asked.value("nominal_kind", "");
  if (kind == "phase") options.nominal_kind = analysis::DeclaredKind::phase;
  if (kind == "line") options.nominal_kind = analysis::DeclaredKind::line;
  const std::string through = asked.value("through", "");
  if (!through.empty()) options.through = assess::connections_of(through);
  options.library = asked.value("library", false);
  return options;
}

void analyse(const Json& asked) {
  const analysis::AnalysisOptions options = options_of(asked);
  readers::OpenOptions open;
  open.sampling_rate = asked.value("rate", 0.0);
  open.charset = asked.value("charset", "");
  open.digitals = true;
  open.wanted = [&](const readers::Record& record) {
    std::vector<bool> wanted = analysis::channels_to_read(record, options.choice);
    readers::want_currents(record, wanted);
    return wanted;
  };
  const readers::Record record = readers::open_contents(contents_of(asked), open);
  analysis::RecordVoltages voltages(record, options.choice);
  const analysis::Analysis found = analysis::analyse(voltages, options);
  made[document] = outputs::json_of(record, found);
  if (!options.library) made[table] = outputs::csv_of(record, found);
  if (asked.value("page", false)) made[page] = outputs::page_of(record, found, analysis::curves_of(found));
}

void list_members(const Json& asked) {
  Json names = Json::array();
  if (readers::is_zip(given[bytes])) {
    const readers::ZipFile zip(readers::inert(asked.at("name").get<std::string>()), given[bytes]);
    for (const std::size_t index : zip.records()) names.push_back(zip.names()[index]);
  }
  made[members] = names.dump();
}

int complain(const std::exception& error, Status status) {
  made[message] = readers::inert(error.what());
  return status;
}

/// Runs `work` and returns the status; the message is empty if it succeeded.
template <typename Work>
int guarded(Work work) {
  for (std::string& text : made) std::string().swap(text);
  try {
    work(Json::parse(given[request]));
    return success;
  } catch (const analysis::UnknownChoice& error) {
    return complain(error, usage);
  } catch (const assess::NotAConnection& error) {
    return complain(error, usage);
  } catch (const readers::ReadError& error) {
    return complain(error, unreadable);
  } catch (const analysis::Refusal& error) {
    return complain(error, refused);
  } catch (const std::bad_alloc&) {
    made[message] = "The record needs more memory than a page may use; analyse it with the dipx command.";
    return failed;
  } catch (const std::exception& error) {
    return complain(error, failed);
  }
}

}  // namespace

#define DIPX_EXPORT(name) extern "C" __attribute__((export_name(#name)))

/// Makes room for an input of so many bytes and returns its address.
DIPX_EXPORT(dipx_input) char* dipx_input(int which, std::size_t size) {
  given.at(static_cast<std::size_t>(which)).resize(size);
  return given.at(static_cast<std::size_t>(which)).data();
}

/// Returns the address and the size of an output.
DIPX_EXPORT(dipx_output) const char* dipx_output(int which) {
  return made.at(static_cast<std::size_t>(which)).data();
}
DIPX_EXPORT(dipx_output_size) std::size_t dipx_output_size(int which) {
  return made.at(static_cast<std::size_t>(which)).size();
}

/// Analyses the record that was written; returns a status.
DIPX_EXPORT(dipx_analyse) int dipx_analyse() {
  return guarded(analyse);
}

/// Lists the records in a zip file that was written, as JSON; the list of any other file is empty. Returns a status.
DIPX_EXPORT(dipx_members) int dipx_members() {
  return guarded(list_members);
}
