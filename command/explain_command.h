// `dipx explain`: explains codes and terms.
#pragma once

#include <string>

namespace CLI {
class App;
}

namespace command {

void add_explain(CLI::App& app, const std::string& statuses);

}  // namespace command
