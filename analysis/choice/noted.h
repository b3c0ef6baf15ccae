// A value together with notes for the user on how it was determined.
#pragma once

#include <string>
#include <vector>

namespace analysis {

/// Each note is one sentence.
using Notes = std::vector<std::string>;

template <typename Value>
struct Noted {
  Value value;
  Notes notes;
};

}  // namespace analysis
