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

constexpr const char* separator = " | ";

/// 1.5e-8 s as "15.0 ns".
std::string time_text(double seconds) {
  constexpr std::array<std::pair<double, const char*>, 3> units = {{{1e-3, "ms"}, {1e-6, "us"}, {1e-9, "ns"}}};
  const auto* unit = std::find_if(units.begin(), units.end() - 1, [&](const auto& u) { return seconds >= u.first; });
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%.3g %s", seconds / unit->first, unit->second);
  return text.data();
}

/// Waits for the medians of all repetitions, then prints them measure by measure. Processor time, which other work on
/// the machine disturbs least.
class Table : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context& /*context*/) override { return true; }

  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.error_occurred) std::fprintf(stderr, "%s: %s\n", run.benchmark_name().c_str(), run.error_message.c_str());
      if (run.aggregate_name == "median") note(run);
    }
  }

  void Finalize() override {
    std::size_t widest = 0;
    for (const Measure& measure : measures_) {
      for (const auto& [form, seconds] : measure.forms) widest = std::max(widest, form.size());
    }
    for (const Measure& measure : measures_) {
      std::printf("%s\n", measure.name.c_str());
      const auto plain = std::find_if(measure.forms.begin(), measure.forms.end(),
                                      [](const auto& form) { return form.first == plain_form; });
      for (const auto& [form, seconds] : measure.forms) {
        std::printf("  %-*s %10s", static_cast<int>(widest), form.c_str(), time_text(seconds).c_str());
        if (plain != measure.forms.end()) std::printf(" %8.1f x", plain->second / seconds);
        std::putchar('\n');
      }
    }
  }

 private:
  struct Measure {
    std::string name;
    std::vector<std::pair<std::string, double>> forms;  // seconds per piece
  };

  void note(const Run& run) {
    const std::string name = run.run_name.function_name;
    const std::size_t at = name.find(separator);
    const std::string measure = name.substr(0, at);
    auto known = std::find_if(measures_.begin(), measures_.end(), [&](const Measure& m) { return m.name == measure; });
    if (known == measures_.end()) known = measures_.insert(measures_.end(), {measure, {}});
    // The rate in pieces per second of processor time, as the benchmark has it.
    const double rate = run.counters.at("items_per_second").value;
    known->forms.emplace_back(name.substr(at + std::string(separator).size()), 1 / rate);
  }

  std::vector<Measure> measures_;
};

}  // namespace

void add(const std::string& measure, const std::string& form, std::int64_t items, std::function<void()> run) {
  benchmark::RegisterBenchmark((measure + separator + form).c_str(),
                               [items, run = std::move(run)](benchmark::State& state) {
                                 for (auto _ : state) {
                                   run();
                                   benchmark::ClobberMemory();
                                 }
                                 state.SetItemsProcessed(state.iterations() * items);
                               });
}

int compare(int argc, char** argv) {
  // Forms take turns in random order, so that what disturbs the machine meets all of them. What the user says comes
  // later and holds.
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
