// dipx explain: what a code means.
#pragma once

#include <string>

namespace CLI {
class App;
}

namespace command {

void add_explain(CLI::App& app, const std::string& statuses);

}  // namespace command
