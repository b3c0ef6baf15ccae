#include "command/arguments.h"

namespace command {

std::vector<std::string> utf8_arguments(int argc, char** argv) {
  return {argv, argv + argc};
}

}  // namespace command
