// dipx explain: what a code means.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace command {

void add_explain(CLI::App& app, const std::string& statuses);

}  // namespace command
