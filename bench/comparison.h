// Benchmarks that compare forms of the same work. Each measure has a plain form and faster ones, and reports how many
// times as fast as the plain form each of them is.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace bench {

inline constexpr const char* plain_form = "plain";

/// Adds `run`, which performs `items` pieces of the work, as a form of `measure`.
void add(const std::string& measure, const std::string& form, std::int64_t items, std::function<void()> run);

/// Runs all forms that were added, interleaved, and prints each form's median time per piece and its speed relative to
/// the plain form. Accepts Google Benchmark's options. Returns the exit status for main.
int compare(int argc, char** argv);

}  // namespace bench
