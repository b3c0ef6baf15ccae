// accuracy_table: analyses random dips whose figures are known and prints how often each figure is right, for each kind
// of dip.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <map>
#include <random>
#include <string>

#include "tests/accuracy/dip_case.h"

namespace {

struct Tally {
  int cases = 0;
  int segments = 0, voltage = 0, boundaries = 0, category = 0, jump = 0, all = 0;

  void add(const accuracy::Hits& hits) {
    cases++;
    segments += hits.segments;
    voltage += hits.voltage;
    boundaries += hits.boundaries;
    category += hits.category;
    jump += hits.jump;
    all += hits.all();
  }
};

std::string text(const char* name, double value) {
  char result[64];
  std::snprintf(result, sizeof result, "%s %6g", name, value);
  return result;
}

/// Which figures are wrong, by how much, and the command that makes the record.
void print_miss(const accuracy::DipCase& dip, const accuracy::Hits& hits, const accuracy::Errors& errors) {
  std::printf("%s%s%s%s%s  ", hits.segments ? "." : "S", hits.voltage ? "." : "V", hits.boundaries ? "." : "B",
              hits.category ? "." : "C", hits.jump ? "." : "J");
  if (hits.segments) {
    std::printf("%5.1f %% %5.2f %5.2f cycles %5.1f degrees  ", 100 * errors.voltage, errors.boundary, errors.crossing,
                errors.jump);
  }
  std::printf("%s\n", accuracy::text_of(dip).c_str());
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app("Analyses random dips whose figures are known and prints how often each figure is right");
  int count = 600;
  unsigned seed = 1;
  bool long_dips = false;
  bool pipe = false;
  bool misses = false;
  app.add_option("COUNT", count, "Dips");
  app.add_option("SEED", seed, "Another number makes other dips");
  app.add_flag("--long", long_dips, "Dips of 500 to 2500 cycles");
  app.add_flag("--pipe", pipe, "By way of dipx synth | dipx analyse -");
  app.add_flag("--misses", misses, "List the dips of which a figure is wrong");
  CLI11_PARSE(app, argc, argv);

  std::mt19937 random(seed);
  std::map<std::string, Tally> tallies;
  for (int i = 0; i < count; i++) {
    const auto dip = long_dips ? accuracy::random_long_case(random) : accuracy::random_case(random);
    const auto analysis = pipe ? accuracy::piped_analysis_of(dip) : accuracy::analysis_of(dip);
    const auto hits = accuracy::judge(dip, analysis);
    if (misses && !hits.all()) print_miss(dip, hits, accuracy::errors_of(dip, analysis));
    tallies["all"].add(hits);
    tallies[text("rate", dip.samples_per_cycle)].add(hits);
    tallies[text("depth", dip.depth)].add(hits);
    tallies[text("cycles", dip.cycles)].add(hits);
    tallies[text("kind", static_cast<double>(dip.kind))].add(hits);
    tallies["shape " + accuracy::shape_of(dip)].add(hits);
  }
  std::printf("%-16s %6s %9s %9s %11s %9s %6s %6s\n", "", "cases", "segments", "voltage", "boundaries", "category",
              "jump", "all");
  for (const auto& [name, tally] : tallies) {
    const auto share = [cases = tally.cases](int hits) { return 100.0 * hits / cases; };
    std::printf("%-16s %6d %8.1f%% %8.1f%% %10.1f%% %8.1f%% %5.1f%% %5.1f%%\n", name.c_str(), tally.cases,
                share(tally.segments), share(tally.voltage), share(tally.boundaries), share(tally.category),
                share(tally.jump), share(tally.all));
  }
  return 0;
}
