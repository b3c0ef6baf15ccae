// Generates completions for shells from the option tables.
#pragma once

#include <string>

#include "command/manual/option_table.h"

namespace command::manual {

std::string bash_completion(const CommandTable& all);
std::string zsh_completion(const CommandTable& all);
std::string fish_completion(const CommandTable& all);

}  // namespace command::manual
