#include "command/explain_command.h"

#include <fmt/ranges.h>

#include <CLI/CLI.hpp>
#include <memory>
#include <string>
#include <vector>

#include "command/standard_output.h"
#include "command/terminal_colours.h"
#include "outputs/explain.h"
#include "outputs/figures_text.h"
#include "outputs/near_words.h"

namespace command {

namespace {

/// "'itik' is not a code; did you mean itic? Run dipx explain to list all codes".
std::string complaint_about(const std::string& code) {
  const auto near = outputs::near_codes(code);
  if (near.empty()) return "'" + code + "' is not a code; run dipx explain to list all of them";
  return "'" + code + "' is not a code; did you mean " + outputs::alternatives(near) +
         "? Run dipx explain to list all of them";
}

}  // namespace

void add_explain(CLI::App& app, const std::string& statuses) {
  CLI::App* explain = app.add_subcommand("explain", "Explain a code or a term of the results");
  const auto words = std::make_shared<std::vector<std::string>>();
  explain->footer("Without CODE, all codes and terms are listed.\n\n" + statuses);
  explain->add_option("CODE", *words, "Category (0 to 10), class, curve, verdict or term")->type_name("");
  explain->callback([words] {
    if (words->empty()) return write_standard_output(outputs::fitted(outputs::list_of_codes(), terminal_columns()));
    const std::string code = fmt::format("{}", fmt::join(*words, " "));
    const auto text = outputs::explanation_of(code);
    if (!text) throw CLI::ValidationError(complaint_about(code));
    write_standard_output(outputs::fitted(*text, terminal_columns()));
  });
}

}  // namespace command
