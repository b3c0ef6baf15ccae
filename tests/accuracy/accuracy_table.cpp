// accuracy_table [COUNT [SEED]]: analyses COUNT random dips whose figures are known and prints how often each figure is
// right, by what the dips are like.
#include <cstdio>
#include <cstdlib>
#include <map>
#include <random>
#include <string>

#include "tests/accuracy/dip_case.h"

namespace {

struct Tally {
  int cases = 0;
  int segments = 0, residual = 0, boundaries = 0, category = 0, jump = 0, all = 0;

  void add(const accuracy::Hits& hits) {
    cases++;
    segments += hits.segments;
    residual += hits.residual;
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

}  // namespace

int main(int argc, char** argv) {
  const int count = argc > 1 ? std::atoi(argv[1]) : 600;
  const bool show_misses = std::getenv("SHOW_MISSES") != nullptr;
  std::mt19937 random(argc > 2 ? static_cast<unsigned>(std::atoi(argv[2])) : 1U);
  std::map<std::string, Tally> tallies;
  for (int i = 0; i < count; i++) {
    const accuracy::DipCase dip = accuracy::random_case(random);
    const auto hits = accuracy::judge(dip, accuracy::analysis_of(dip));
    if (show_misses && !hits.all()) {
      std::printf("%s%s%s%s%s  %s\n", hits.segments ? "." : "S", hits.residual ? "." : "R", hits.boundaries ? "." : "B",
                  hits.category ? "." : "C", hits.jump ? "." : "J", accuracy::text_of(dip).c_str());
    }
    tallies["all"].add(hits);
    tallies[text("rate", dip.samples_per_cycle)].add(hits);
    tallies[text("depth", dip.depth)].add(hits);
    tallies[text("cycles", dip.cycles)].add(hits);
    tallies[text("kind", static_cast<double>(dip.kind))].add(hits);
    tallies["shape " + accuracy::shape_of(dip)].add(hits);
  }
  std::printf("%-16s %6s %9s %9s %11s %9s %6s %6s\n", "", "cases", "segments", "residual", "boundaries", "category",
              "jump", "all");
  for (const auto& [name, tally] : tallies) {
    const auto share = [cases = tally.cases](int hits) { return 100.0 * hits / cases; };
    std::printf("%-16s %6d %8.1f%% %8.1f%% %10.1f%% %8.1f%% %5.1f%% %5.1f%%\n", name.c_str(), tally.cases,
                share(tally.segments), share(tally.residual), share(tally.boundaries), share(tally.category),
                share(tally.jump), share(tally.all));
  }
  return 0;
}
