// A value with what the user should know of how it came about.
#pragma once

#include <string>
#include <vector>

namespace analysis {

/// One sentence each.
using Notes = std::vector<std::string>;

template <typename Value>
struct Noted {
  Value value;
  Notes notes;
};

}  // namespace analysis
