// dipx synth | dipx analyse -: the analysis of a dip that options describe.
#pragma once

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/command/dipx_command.h"

namespace tests {

using Words = std::vector<std::string>;

inline Words joined(Words first, const Words& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

/// Returns the output of `dipx synth OPTIONS | dipx analyse - MORE`, which must succeed without a message.
inline std::string piped_text(const Words& options, const Words& more = {}) {
  const auto result = piped(joined({"synth"}, options), joined({"analyse", "-"}, more));
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.err, "");
  return result.out;
}

/// The same as a JSON document.
inline nlohmann::json piped_analysis(const Words& options, const Words& more = {}) {
  return nlohmann::json::parse(piped_text(options, joined({"--json"}, more)));
}

}  // namespace tests
