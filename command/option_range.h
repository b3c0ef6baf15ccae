// A range that an option's figure must lie in, without a mark of it in the help: the option's own text says it.
#pragma once

#include <CLI/CLI.hpp>

namespace command {

inline CLI::Validator between(double lowest, double highest) {
  return CLI::Range(lowest, highest).description("");
}

}  // namespace command
