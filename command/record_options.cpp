#include "command/record_options.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>

#include "command/known_charset.h"
#include "command/option_range.h"
#include "command/stretch_options.h"
#include "readers/plausible.h"
#include "readers/text.h"

namespace command {

namespace {

/// Parses a number, or "all", which sets `all` and counts as 0.
std::size_t number_or_all(const std::string& text, bool& all) {
  all = text == "all";
  return all || text.empty() ? 0 : readers::parse_count(text).value_or(0);
}

CLI::Validator number_or_all_check() {
  return {[](const std::string& text) {
            const auto number = readers::parse_count(text);
            if (text == "all" || (number && *number >= 1 && *number <= 1000000000)) return std::string();
            return fmt::format("'{}' is neither a whole number from 1 on nor 'all'", text);
          },
          ""};
}

/// An empty text is refused, because it would count as no choice.
CLI::Validator not_empty() {
  return {[](const std::string& text) {
            return text.find_first_not_of(" \t") == std::string::npos ? std::string("the value is empty")
                                                                      : std::string();
          },
          ""};
}

}  // namespace

void add_record_options(CLI::App& app, RecordOptions& given, analysis::VoltageChoice& choice) {
  app.add_option("--channels", choice.channels, "One to three voltages, as channel names or numbers")
      ->check(not_empty())
      ->type_name("A,B,C");
  app.add_option("--set", given.set,
                 "Number of the voltage set, as dipx info lists them, or all (default: the set with the worst event)")
      ->check(number_or_all_check())
      ->excludes("--channels")
      ->type_name("N");
  app.add_flag("--line-to-line", choice.line_to_line,
               "Analyse voltages between phases: those that are recorded, otherwise computed from phase voltages");
  app.add_option("--part", given.part,
                 "Number of the record's part, as dipx info lists them, or all (gaps and changes of the sampling "
                 "rate divide a record into parts)")
      ->check(number_or_all_check())
      ->type_name("N");
  add_stretch_options(app, given.stretch);
  app.add_option("--rate", given.open.sampling_rate, "Samples per second; overrides the file and its time stamps")
      ->check(between(1.0, readers::highest_rate))
      ->type_name("HZ");
  app.add_option("--frequency", choice.line_frequency,
                 "Nominal line frequency (10 to 100), if the file does not say or is wrong")
      ->check(between(10.0, 100.0))
      ->type_name("HZ");
  app.add_option("--charset", given.open.charset, "Character set of the file's names, if the guess is wrong")
      ->check(known_charset())
      ->type_name("NAME");
}

AllOf take_set_and_part(const RecordOptions& given, analysis::VoltageChoice& choice) {
  AllOf all;
  choice.set = number_or_all(given.set, all.sets);
  choice.part = number_or_all(given.part, all.parts);
  return all;
}

}  // namespace command
