// Benchmarks that compare forms of the same work: each measure has a plain form and faster ones, and its figure is how
// many times the plain form's speed they reach.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace bench {

inline constexpr const char* plain_form = "plain";

/// Has `run`, which does `items` pieces of the work, measured as a form of `measure`.
void add(const std::string& measure, const std::string& form, std::int64_t items, std::function<void()> run);

/// Measures all that was added, in turns, and prints each form's median time per piece and how many times the plain
/// form's speed that is. Takes Google Benchmark's options. Returns main's status.
int compare(int argc, char** argv);

}  // namespace bench
