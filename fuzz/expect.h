// Ends a run with a finding.
#pragma once

#include <cstdio>
#include <string_view>

namespace fuzz {

/// Ends the run with a finding if a condition does not hold, and prints what should hold and what was found.
inline void expect_that(bool holds, const char* what, std::string_view found = {}) {
  if (holds) return;
  constexpr std::size_t most = 2000;
  std::fprintf(stderr, "finding: it does not hold that %s: %.*s\n", what,
               static_cast<int>(found.size() < most ? found.size() : most), found.data());
  __builtin_trap();
}

}  // namespace fuzz
