// The analysis as a WebAssembly module. A worker of the page (worker.js) writes a record's bytes and a request into its
// memory, calls it, and reads the outputs, which are those of the dipx command.
//
// All functions are for one caller and keep their results until the next call.
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <exception>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "analysis/analyse.h"
#include "analysis/choice/chosen_set.h"
#include "analysis/choice/record_voltages.h"
#include "analysis/choice/stretch.h"
#include "analysis/curves.h"
#include "analysis/own_curve.h"
#include "analysis/refusal.h"
#include "analysis/threshold_rules.h"
#include "assess/transformer.h"
#include "outputs/csv.h"
#include "outputs/json.h"
#include "outputs/page/page_html.h"
#include "readers/archive.h"
#include "readers/charset.h"
#include "readers/file_access.h"
#include "readers/open_record.h"
#include "readers/text.h"
#include "web/request.h"

namespace {

/// What the caller writes: the request, the record's file, and the .dat file of a pair.
enum Input { request, bytes, data, inputs };
/// What the caller reads.
enum Output { message, document, table, page, members, outputs_ };
/// The command's exit statuses.
enum Status { success = 0, usage = 1, unreadable = 2, refused = 3, failed = 4 };

std::array<std::string, inputs> given;
std::array<std::string, outputs_> made;

/// Returns the contents of the record that the request names.
readers::RecordContents contents_of(const web::Request& asked) {
  readers::RecordContents contents{asked.text("name"), std::move(given[bytes]), asked.text("data_name"),
                                   std::move(given[data])};
  const std::string member = asked.text("member");
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

void take_thresholds(const web::Request& asked, measure::Thresholds& thresholds) {
  thresholds.dip = asked.number("dip_threshold").value_or(thresholds.dip);
  thresholds.swell = asked.number("swell_threshold").value_or(thresholds.swell);
  thresholds.interruption = asked.number("interruption_threshold").value_or(thresholds.interruption);
  thresholds.hysteresis = asked.number("hysteresis").value_or(thresholds.hysteresis);
  thresholds.rapid_change = asked.number("rvc_threshold").value_or(thresholds.rapid_change);
  const std::string fault = analysis::fault_of(thresholds);
  if (!fault.empty()) throw web::UnusableRequest(fault);
}

/// Each curve is a file with its name and its content.
void take_curves(const web::Request& asked, std::vector<assess::Curve>& curves) {
  const auto files = asked.texts("curve_file");
  const auto contents = asked.texts("curve");
  for (std::size_t i = 0; i < std::min(files.size(), contents.size()); i++) {
    analysis::add_own_curve(curves, contents[i], std::string(files[i]));
  }
}

analysis::AnalysisOptions options_of(const web::Request& asked) {
  analysis::AnalysisOptions options;
  options.choice.channels = asked.text("channels");
  options.choice.set = asked.count_or_all("set");
  options.choice.part = asked.count_or_all("part");
  options.choice.line_to_line = asked.has("line_to_line");
  options.choice.line_frequency = asked.number("frequency").value_or(0);
  options.nominal = asked.number("nominal").value_or(0);
  const std::string kind = asked.text("nominal_kind");
  if (kind == "phase") options.nominal_kind = analysis::DeclaredKind::phase;
  if (kind == "line") options.nominal_kind = analysis::DeclaredKind::line;
  const std::string reference = asked.text("reference");
  if (reference == "declared") options.reference = measure::Reference::declared;
  if (reference == "sliding") options.reference = measure::Reference::sliding;
  if (reference == "pre-event") options.reference = measure::Reference::pre_event;
  take_thresholds(asked, options.thresholds);
  take_curves(asked, options.own_curves);
  const std::string through = asked.text("through");
  if (!through.empty()) options.through = assess::connections_of(through);
  options.library = asked.has("library");
  return options;
}

std::string charset_of(const web::Request& asked) {
  const std::string charset = asked.text("charset");
  try {
    readers::to_utf8("", charset);
  } catch (const std::invalid_argument& error) {
    throw web::UnusableRequest(error.what());
  }
  return charset;
}

readers::Record record_of(const web::Request& asked, const analysis::VoltageChoice& choice) {
  readers::OpenOptions open;
  open.sampling_rate = asked.number("rate").value_or(0);
  open.charset = charset_of(asked);
  open.digitals = true;
  open.wanted = [&](const readers::Record& record) { return analysis::channels_to_read(record, choice); };
  readers::Record record = readers::open_contents(contents_of(asked), open);
  analysis::keep_stretch(record, {asked.number("from"), asked.number("to")});
  return record;
}

/// Analyses all sets or parts. The document has a line for each of them, the table one heading, and the message a line
/// for each that cannot be analysed. If none can be, the first error is thrown.
void analyse_all(analysis::RecordVoltages& voltages, const analysis::AnalysisOptions& options, bool all_sets,
                 bool all_parts) {
  std::exception_ptr first_complaint;
  for (const auto& [set, part] : analysis::all_of(voltages, options.choice, all_sets, all_parts)) {
    analysis::AnalysisOptions one = options;
    one.choice.set = set;
    one.choice.part = part;
    try {
      const analysis::Analysis found = analysis::analyse(voltages, one);
      made[document] += outputs::json_line_of(voltages.record(), found);
      if (options.library) continue;
      const std::string rows = outputs::csv_of(voltages.record(), found);
      made[table] += made[table].empty() ? rows : rows.substr(rows.find('\n') + 1);
    } catch (const analysis::Refusal& refusal) {
      made[message] += fmt::format("{}: {}\n", analysis::name_of({all_sets ? set : 0, all_parts ? part : 0}),
                                   readers::inert(refusal.what()));
      if (!first_complaint) first_complaint = std::current_exception();
    }
  }
  if (made[document].empty() && first_complaint) std::rethrow_exception(first_complaint);
}

void analyse(const web::Request& asked) {
  const analysis::AnalysisOptions options = options_of(asked);
  const readers::Record record = record_of(asked, options.choice);
  analysis::RecordVoltages voltages(record, options.choice);
  const bool all_sets = asked.text("set") == "all";
  const bool all_parts = asked.text("part") == "all";
  if (all_sets || all_parts) return analyse_all(voltages, options, all_sets, all_parts);
  const analysis::Analysis found = analysis::analyse(voltages, options);
  made[document] = outputs::json_of(record, found);
  if (!options.library) made[table] = outputs::csv_of(record, found);
  if (asked.has("page")) made[page] = outputs::page_of(record, found, analysis::curves_of(found));
}

/// Each name ends in a zero byte, which no name has.
void list_members(const web::Request& asked) {
  if (!readers::is_zip(given[bytes])) return;
  const readers::ZipFile zip(readers::inert(asked.text("name")), given[bytes]);
  for (const std::size_t index : zip.records()) made[members] += zip.names()[index] + '\0';
}

int complain(const std::exception& error, Status status) {
  made[message] = readers::inert(error.what());
  return status;
}

/// Runs `work` and returns the status.
template <typename Work>
int guarded(Work work) {
  for (std::string& text : made) std::string().swap(text);
  try {
    work(web::Request(given[request]));
    return success;
  } catch (const analysis::UnknownChoice& error) {
    return complain(error, usage);
  } catch (const assess::NotAConnection& error) {
    return complain(error, usage);
  } catch (const analysis::CurveError& error) {
    return complain(error, usage);
  } catch (const web::UnusableRequest& error) {
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

/// Lists the records in a zip file that was written; the list of any other file is empty. Returns a status.
DIPX_EXPORT(dipx_members) int dipx_members() {
  return guarded(list_members);
}
