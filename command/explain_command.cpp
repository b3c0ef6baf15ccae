#include "command/explain_command.h"

#include <CLI/CLI.hpp>
#include <memory>

#include "command/standard_output.h"
#include "outputs/explain.h"

namespace command {

void add_explain(CLI::App& app, const std::string& statuses) {
  CLI::App* explain = app.add_subcommand("explain", "Tell what a code means and how it is decided");
  const auto code = std::make_shared<std::string>();
  explain->footer("Without CODE, all codes.\n\n" + statuses);
  explain->add_option("CODE", *code, "Category (0 to 10), reason or term")->type_name("");
  explain->callback([code] {
    if (code->empty()) return write_standard_output(outputs::list_of_codes());
    const auto text = outputs::explanation_of(*code);
    if (!text) throw CLI::ValidationError("'" + *code + "' is no code; dipx explain lists all");
    write_standard_output(*text);
  });
}

}  // namespace command
