#include "bench/comparison.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <map>
#include <utility>
#include <vector>

namespace bench {

namespace {

/// Formats for example 1.5e-8 s as "15.0 ns".
std::string time_text(double seconds) {
  constexpr std::array<std::pair<double, const char*>, 3> units = {{{1e-3, "ms"}, {1e-6, "us"}, {1e-9, "ns"}}};
  const auto* unit = std::find_if(units.begin(), units.end() - 1, [&](const auto& u) { return seconds >= u.first; });
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%.3g %s", seconds / unit->first, unit->second);
  return text.data();
}

struct Measure {
  std::string name;
  std::vector<std::string> forms;
};

/// Returns everything that was added, in the same order.
std::vector<Measure>& measures() {
  static std::vector<Measure> all;
  return all;
}

std::string full_name(const std::string& measure, const std::string& form) {
  return measure + " | " + form;
}

/// Waits for the medians of all repetitions, then prints them measure by measure. It prints processor time, because
/// other work on the machine disturbs that least.
class Table : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context& /*context*/) override { return true; }

  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      // The benchmark states the rate in pieces per second of processor time.
      if (run.aggregate_name == "median") {
        seconds_[run.run_name.function_name] = 1 / run.counters.at("items_per_second").value;
      }
    }
  }

  void Finalize() override {
    for (const Measure& measure : measures()) {
      const auto seconds_of = [&](const std::string& form) {
        const auto found = seconds_.find(full_name(measure.name, form));
        return found == seconds_.end() ? 0 : found->second;
      };
      const double plain = seconds_of(plain_form);
      bool is_named = false;
      for (const std::string& form : measure.forms) {
        const double seconds = seconds_of(form);
        if (seconds <= 0) continue;  // this form was not requested
        if (!is_named) std::printf("%s\n", measure.name.c_str());
        is_named = true;
        std::printf("  %-16s %10s", form.c_str(), time_text(seconds).c_str());
        if (plain > 0) std::printf(" %8.1f x", plain / seconds);
        std::putchar('\n');
      }
    }
  }

 private:
  std::map<std::string, double> seconds_;  // seconds per piece, by full name
};

}  // namespace

void add(const std::string& measure, const std::string& form, std::int64_t items, std::function<void()> run) {
  if (measures().empty() || measures().back().name != measure) measures().push_back({measure, {}});
  measures().back().forms.push_back(form);
  benchmark::RegisterBenchmark(full_name(measure, form).c_str(),
                               [items, run = std::move(run)](benchmark::State& state) {
                                 for (auto _ : state) {
                                   run();
                                   benchmark::ClobberMemory();
                                 }
                                 state.SetItemsProcessed(state.iterations() * items);
                               });
}

int compare(int argc, char** argv) {
  // Forms are run in random order, so that disturbances of the machine affect all of them. Options from the user come
  // later and take precedence.
  std::vector<std::string> options = {"--benchmark_enable_random_interleaving=true", "--benchmark_repetitions=7",
                                      "--benchmark_min_time=0.1"};
  std::vector<char*> arguments = {argv[0]};
  for (std::string& option : options) arguments.push_back(option.data());
  arguments.insert(arguments.end(), argv + 1, argv + argc);
  int count = static_cast<int>(arguments.size());
  arguments.push_back(nullptr);
  benchmark::Initialize(&count, arguments.data());
  if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return 1;
  Table table;
  benchmark::RunSpecifiedBenchmarks(&table);
  benchmark::Shutdown();
  return 0;
}

}  // namespace bench
