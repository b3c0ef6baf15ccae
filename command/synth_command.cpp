#include "command/synth_command.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <filesystem>
#include <memory>
#include <utility>

#include "command/option_range.h"
#include "command/progress.h"
#include "command/standard_output.h"
#include "command/written_files.h"
#include "platform/utf8_path.h"
#include "readers/file_access.h"
#include "readers/text.h"
#include "synth/dip_description.h"
#include "synth/pqdif_file.h"
#include "synth/record_file.h"

namespace command {

namespace {

struct Arguments {
  synth::DipDescription dip;
  std::vector<std::string> harmonics;
  std::string output = "-";
  std::string format;
  bool binary = false;
  bool no_clobber = false;
};

synth::Harmonic parse_harmonic(const std::string& text) {
  const auto fields = readers::split_fields(text, ':');
  const auto order = readers::parse_count(fields.front());
  const auto per_cent = fields.size() == 2 ? readers::parse_number(fields.back()) : std::nullopt;
  const bool possible = order && per_cent && *order >= 2 && *order <= 1000 && *per_cent >= 0 && *per_cent <= 1000;
  if (!possible) {
    throw synth::DescriptionError(fmt::format(
        "--harmonics '{}': give an order (2 to 1000) and per cent of the fundamental (0 to 1000), as in 5:4", text));
  }
  return {static_cast<int>(*order), *per_cent / 100};
}

/// Returns the requested format, or the one that follows from the output's name.
std::string format_of(const Arguments& arguments) {
  if (!arguments.format.empty()) return arguments.format;
  if (arguments.output == "-") return "csv";
  const std::string extension = readers::extension_of(arguments.output);
  for (const char* known : {"csv", "cfg", "cff", "pqd"}) {
    if (extension == std::string(".") + known) return known;
  }
  throw synth::DescriptionError(fmt::format(
      "--output '{}' does not show the format; use a name that ends in .csv, .cfg (COMTRADE, two files), .cff "
      "(COMTRADE, one file) or .pqd (PQDIF), or choose with --format",
      arguments.output));
}

/// The data file of a pair.
std::filesystem::path data_file_of(const std::string& config) {
  return platform::utf8_path(config).replace_extension(".dat");
}

void write(const Arguments& arguments, const std::string& bytes, Progress& progress) {
  progress.finish();
  if (arguments.output == "-") {
    write_standard_output(bytes);
  } else {
    write_files({{platform::utf8_path(arguments.output), bytes}}, arguments.no_clobber);
  }
}

void run(Arguments arguments) {
  const std::string format = format_of(arguments);
  if (format == "cfg" && arguments.output == "-") {
    throw synth::DescriptionError(
        "--format cfg: a COMTRADE pair is two files; name the .cfg file with --output, or choose --format cff");
  }
  if (format == "cfg" && readers::extension_of(arguments.output) != ".cfg") {
    throw synth::DescriptionError(fmt::format(
        "--output '{}': a COMTRADE pair is named by its .cfg file; use a name that ends in .cfg", arguments.output));
  }
  if (arguments.binary && format != "cfg" && format != "cff") {
    throw synth::DescriptionError(fmt::format("--binary is for COMTRADE, not for {}; add --format cff, or leave it out",
                                              format == "csv" ? "CSV" : "PQDIF"));
  }
  for (const auto& harmonic : arguments.harmonics) arguments.dip.harmonics.push_back(parse_harmonic(harmonic));

  std::vector<std::string> written;
  if (arguments.output != "-") written.push_back(arguments.output);
  if (format == "cfg") written.push_back(data_file_of(arguments.output).string());
  check_clobbering(written, arguments.no_clobber);

  Progress progress;
  progress.stage("making the record");
  const auto record = synth::record_of(synth::waveform_of(arguments.dip));
  progress.stage("writing");
  const auto data = arguments.binary ? synth::ComtradeData::binary : synth::ComtradeData::ascii;
  if (format == "csv") {
    write(arguments, synth::csv_of(record), progress);
  } else if (format == "pqd") {
    write(arguments, synth::pqdif_of(record), progress);
  } else if (format == "cff") {
    write(arguments, synth::single_comtrade_of(record, data), progress);
  } else {
    auto pair = synth::comtrade_of(record, data);
    progress.finish();
    write_files({{data_file_of(arguments.output), std::move(pair.data)},
                 {platform::utf8_path(arguments.output), std::move(pair.config)}},
                arguments.no_clobber);
  }
}

}  // namespace

void add_synth(CLI::App& app, const std::string& statuses) {
  CLI::App* synth = app.add_subcommand("synth", "Make a record with a dip whose figures are known");
  const auto arguments = std::make_shared<Arguments>();
  auto& dip = arguments->dip;
  synth->footer(
      "The record holds three phase voltages Ua, Ub, Uc in volts. For a dip of several steps, give a list\n"
      "(such as 30,60) for --duration, --depth or --jump; a single value applies to all steps.\n\n"
      "  dipx synth --depth 60 --duration 0.15 --phases A > dip.csv\n"
      "  dipx synth --start 5 --duration 8,7 --depth 30,60 --length 60 | dipx analyse -\n"
      "  dipx synth --phases B-C --depth 40 --noise 0.5 --harmonics 5:4,7:3 -o dip.cfg\n\n" +
      statuses);

  const auto seconds = between(0.0, 1e5);
  const char* what = "Dip";
  synth->add_option("--depth", dip.depths, "Depth of the lowest phase, per cent of the voltage before (50)")
      ->delimiter(',')
      ->check(between(0.0, 100.0))
      ->type_name("PERCENT[,...]")
      ->group(what);
  synth->add_option("--duration", dip.durations, "Duration of the dip or of each step (0.2)")
      ->delimiter(',')
      ->check(seconds)
      ->type_name("S[,...]")
      ->group(what);
  synth
      ->add_option("--phases", dip.phases,
                   "Phases that fall (ABC), or B-C for two whose phasors move towards each other")
      ->type_name("PHASES")
      ->group(what);
  synth->add_option("--jump", dip.jumps, "Phase jump of the dipped phases (0)")
      ->delimiter(',')
      ->check(between(-360.0, 360.0))
      ->type_name("DEGREES[,...]")
      ->group(what);
  synth->add_option("--start", dip.start, "Start of the dip (0.3)")->check(seconds)->type_name("S")->group(what);
  synth->add_option("--fall", dip.fall, "Duration of a gradual fall before the first step (0)")
      ->check(seconds)
      ->type_name("S")
      ->group(what);
  synth->add_option("--recovery", dip.recovery, "Duration of a gradual recovery after the last step (0)")
      ->check(seconds)
      ->type_name("S")
      ->group(what);
  synth->add_option("--point-on-wave", dip.point_on_wave, "Angle of phase A's sine at the start of the dip (0)")
      ->check(between(-360.0, 360.0))
      ->type_name("DEGREES")
      ->group(what);

  what = "Network";
  synth->add_option("--voltage", dip.volts, "RMS phase voltage before the dip (230)")
      ->check(between(1e-6, 1e9))
      ->type_name("V")
      ->group(what);
  synth->add_option("--frequency", dip.frequency, "Nominal frequency (50)")
      ->check(between(10.0, 100.0))
      ->type_name("HZ")
      ->group(what);
  synth->add_option("--deviation", dip.deviation, "Difference between the frequency and the nominal one (0)")
      ->check(between(-5.0, 5.0))
      ->type_name("HZ")
      ->group(what);
  synth
      ->add_option("--harmonics", arguments->harmonics, "Harmonics in all phases, per cent of the fundamental: 5:4,7:3")
      ->delimiter(',')
      ->type_name("ORDER:PERCENT[,...]")
      ->group(what);
  synth->add_option("--noise", dip.noise, "Standard deviation of noise, per cent of the voltage (0)")
      ->check(between(0.0, 100.0))
      ->type_name("PERCENT")
      ->group(what);
  synth->add_option("--seed", dip.seed, "Seed of the noise; each number makes different noise (1)")
      ->check(whole_number())
      ->type_name("N")
      ->group(what);

  what = "Record";
  synth->add_option("--rate", dip.rate, "Samples per second (128 per cycle)")
      ->check(between(100.0, 1e6))
      ->type_name("HZ")
      ->group(what);
  synth->add_option("--length", dip.length, "Length of the record (until 0.3 s after the dip)")
      ->check(between(0.001, 1e5))
      ->type_name("S")
      ->group(what);
  synth
      ->add_option("-o,--output", arguments->output,
                   "File to write: .csv, .cfg (with a .dat file next to it), .cff or .pqd; - is standard output")
      ->type_name("FILE")
      ->group(what);
  synth->add_option("--format", arguments->format, "Format, if the name does not show it (csv)")
      ->check(CLI::IsMember({"csv", "cfg", "cff", "pqd"}).description(""))
      ->type_name("csv|cfg|cff|pqd")
      ->group(what);
  synth->add_flag("--binary", arguments->binary, "COMTRADE data as 16-bit integers, not as text")->group(what);
  add_no_clobber(*synth, arguments->no_clobber)->group(what);
  synth->callback([arguments] { run(*arguments); });
}

}  // namespace command
