#include "command/convert_command.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "analysis/choice/voltage_choice.h"
#include "analysis/load_record.h"
#include "analysis/refusal.h"
#include "assess/transformer.h"
#include "command/event_options.h"
#include "command/known_charset.h"
#include "command/option_range.h"
#include "command/output_options.h"
#include "command/standard_output.h"
#include "command/stretch_options.h"
#include "files/whole_file.h"
#include "platform/utf8_path.h"
#include "readers/file_access.h"
#include "readers/open_record.h"
#include "readers/plausible.h"
#include "readers/text.h"
#include "readers/voltages/channel_choice.h"
#include "writers/converted.h"
#include "writers/table_file.h"

namespace command {

namespace {

struct Arguments {
  std::string record;
  std::string output;
  std::string data;
  std::string channels;
  std::string through;
  readers::OpenOptions open;
  analysis::StretchChoice stretch;
};

/// Returns the data type that the user names; nothing if it is left open.
std::optional<writers::StoredAs> type_of(const std::string& data) {
  if (data == "ascii") return writers::StoredAs::ascii;
  if (data == "binary32") return writers::StoredAs::binary32;
  if (data == "float32") return writers::StoredAs::float32;
  return std::nullopt;
}

std::vector<std::size_t> chosen_channels(const readers::Record& record, const std::string& names) {
  if (!names.empty()) {
    try {
      return readers::channels_named(record, names);
    } catch (const readers::ReadError& error) {
      throw analysis::UnknownChoice(error.what());
    }
  }
  std::vector<std::size_t> all(record.channels.size());
  for (std::size_t i = 0; i < all.size(); i++) all[i] = i;
  return all;
}

/// Throws OutputClash if an output is one of the record's own files.
void check_output(const readers::Record& record, const std::filesystem::path& output) {
  for (const auto& source : record.sources) {
    if (!files::is_same_file(output, platform::utf8_path(source))) continue;
    throw OutputClash(fmt::format("--output: {} is the record itself; name another file", output.string()));
  }
}

/// Throws Refusal if sections of the record have no rate, or if a table could not hold them.
void check_rates(const readers::Record& record, bool table) {
  const bool unknown =
      std::any_of(record.rates.begin(), record.rates.end(), [](const auto& section) { return !(section.rate > 0); });
  if (unknown) {
    throw analysis::Refusal(record.file, "neither it nor its time stamps give the sampling rate",
                            "give it with --rate");
  }
  if (table && record.rates.size() > 1) {
    throw analysis::Refusal(
        record.file,
        fmt::format("it has {} parts with their own rates or times, but a table has one rate", record.rates.size()),
        "choose one part with --from and --to (dipx info lists them) and channels of one rate with --channels, or write "
        "COMTRADE");
  }
}

/// Returns the channels to write, or the voltages of a load beyond transformers. Throws UnusableOptions.
readers::Record record_to_write(const readers::Record& source, const Arguments& arguments) {
  if (arguments.through.empty()) {
    return writers::excerpt_of(source, chosen_channels(source, arguments.channels));
  }
  try {
    const auto connections = assess::connections_of(arguments.through);
    analysis::VoltageChoice choice;
    choice.channels = arguments.channels;
    return analysis::load_record_of(source, choice, connections);
  } catch (const assess::NotAConnection& error) {
    throw UnusableOptions(fmt::format("--through: {}", error.what()));
  }
}

/// Says that nothing was rounded. `which` are the values that are stored.
std::string equality(const Arguments& arguments, const char* which = "all values") {
  return fmt::format("{} are equal to those {}", which,
                     arguments.through.empty() ? "of the source" : "that were computed");
}

/// Says which channels have values that the type of the data cannot hold.
std::string loss(const readers::Record& record, const writers::Converted& converted) {
  std::string lines;
  for (std::size_t i = 0; i < converted.lost.size(); i++) {
    if (converted.lost[i] == 0) continue;
    lines +=
        fmt::format("note: {} of {} {} too large for {} and missing in the file; a table (.csv) holds all values.\n",
                    readers::plural(converted.lost[i], "value"), readers::cited(record.channels[i].name),
                    converted.lost[i] == 1 ? "is" : "are", writers::name_of(converted.file.type));
  }
  return lines;
}

/// Says how exactly the values of the channels come back.
std::string exactness(const readers::Record& record, const Arguments& arguments, const writers::Converted& converted) {
  const std::vector<double>& half_steps = converted.half_steps;
  std::string inexact;
  for (std::size_t i = 0; i < half_steps.size(); i++) {
    if (half_steps[i] == 0) continue;
    const auto& channel = record.channels[i];
    inexact += fmt::format("\n  {} within {:.2g}{}{}", channel.name, half_steps[i], channel.unit.empty() ? "" : " ",
                           channel.unit);
  }
  if (!inexact.empty()) return "values differ by at most half a step:" + inexact;
  const bool all =
      std::all_of(converted.lost.begin(), converted.lost.end(), [](std::size_t lost) { return lost == 0; });
  return equality(arguments, all ? "all values" : "all values that are stored");
}

void say(const readers::Record& record, const Arguments& arguments, const std::string& format, const std::string& exact,
         const std::string& more_notes = {}) {
  std::string text =
      fmt::format("{}: {}, {} of {}, {}\n", arguments.output, format, readers::plural(record.length(), "sample"),
                  readers::plural(record.channels.size(), "channel"), exact);
  for (const auto& note : record.notes) text += "note: " + note + '\n';
  write_standard_output(text + more_notes);
}

void write_table(const readers::Record& record, const Arguments& arguments) {
  if (!arguments.data.empty()) throw UnusableOptions("--data is for COMTRADE; leave it out for a table");
  check_rates(record, true);
  files::write_whole(platform::utf8_path(arguments.output), writers::table_of(record, 0));
  say(record, arguments, "CSV", equality(arguments));
}

void write_comtrade(const readers::Record& source, const readers::Record& record, const Arguments& arguments,
                    bool single) {
  check_rates(record, false);
  const writers::Converted converted = writers::converted(record, type_of(arguments.data));
  const std::filesystem::path output = platform::utf8_path(arguments.output);
  if (single) {
    files::write_whole(output, writers::single_file_of(converted.file));
  } else {
    auto samples = output;
    samples.replace_extension(".dat");
    check_output(source, samples);
    files::write_whole({{samples, writers::data_of(converted.file)}, {output, writers::config_of(converted.file)}});
  }
  say(record, arguments, std::string("COMTRADE 2013 ") + writers::name_of(converted.file.type),
      exactness(record, arguments, converted), loss(record, converted));
}

void run(Arguments arguments) {
  const std::string extension = readers::extension_of(arguments.output);
  if (extension != ".csv" && extension != ".cfg" && extension != ".cff") {
    throw UnusableOptions(fmt::format(
        "--output '{}' does not show the format; end it in .csv, .cfg (COMTRADE, two files) or .cff (COMTRADE, one file)",
        arguments.output));
  }
  arguments.open.digitals = true;
  auto source = readers::open_record(arguments.record, arguments.open);
  check_output(source, platform::utf8_path(arguments.output));
  apply_stretch(source, arguments.stretch);
  const auto record = record_to_write(source, arguments);
  if (extension == ".csv") {
    write_table(record, arguments);
  } else {
    write_comtrade(source, record, arguments, extension == ".cff");
  }
}

}  // namespace

void add_convert(CLI::App& app, const std::string& statuses) {
  CLI::App* convert = app.add_subcommand("convert", "Write a record, or a part of it, in another format");
  const auto arguments = std::make_shared<Arguments>();
  convert->footer(
      "The output is a table (.csv) or a COMTRADE record of revision 2013 (.cfg with a .dat file next to it,\n"
      "or .cff). Whole numbers are kept exactly; other values are kept within half a step, which is printed.\n\n" +
      statuses);
  convert->add_option("RECORD", arguments->record, "File to convert")->type_name("")->required();
  convert->add_option("-o,--output", arguments->output, "File to write: .csv, .cfg or .cff")
      ->type_name("FILE")
      ->required();
  convert
      ->add_option("--data", arguments->data,
                   "Type of COMTRADE data (default: binary32 if the source stores whole numbers, otherwise float32)")
      ->check(CLI::IsMember({"ascii", "binary32", "float32"}).description(""))
      ->type_name("ascii|binary32|float32");
  convert->add_option("--channels", arguments->channels, "Channels to write, as names or numbers (default: all)")
      ->type_name("A,B,...");
  convert
      ->add_option("--through", arguments->through,
                   "Write the voltages of a load beyond transformers with these vector groups instead of the channels")
      ->type_name("Dyn11,...");
  add_stretch_options(*convert, arguments->stretch);
  convert
      ->add_option("--rate", arguments->open.sampling_rate,
                   "Samples per second; overrides the file and its time stamps")
      ->check(between(1.0, readers::highest_rate))
      ->type_name("HZ");
  convert->add_option("--charset", arguments->open.charset, "Character set of the file's names, if the guess is wrong")
      ->check(known_charset())
      ->type_name("NAME");
  convert->callback([arguments] { run(*arguments); });
}

}  // namespace command
