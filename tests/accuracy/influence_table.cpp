// influence_table: what noise, harmonics, frequency and sampling rate do to the figures. The same dips, whose figures
// are known, at each level of one influence; prints a Markdown table.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "tests/accuracy/dip_case.h"

namespace {

using accuracy::DipCase;

/// One row: its name and the effect that it has on a dip's record.
struct Level {
  std::string name;
  std::function<void(synth::DipDescription&, int number)> apply;
};

std::string text(double value, const char* unit) {
  char result[64];
  std::snprintf(result, sizeof result, "%g %s", value, unit);
  return result;
}

std::vector<Level> noise() {
  std::vector<Level> levels;
  for (const double percent : {0.0, 0.1, 0.2, 0.5, 1.0, 2.0, 3.0}) {
    levels.push_back({text(percent, "%"), [=](synth::DipDescription& record, int number) {
                        record.noise = percent;
                        record.seed = static_cast<unsigned>(number) + 1;
                      }});
  }
  return levels;
}

std::vector<Level> harmonics() {
  const std::vector<std::pair<const char*, std::vector<synth::Harmonic>>> mixtures = {
      {"none", {}},
      {"5th 2 %, 7th 1 %", {{5, 0.02}, {7, 0.01}}},
      {"5th 4 %, 7th 3 %", {{5, 0.04}, {7, 0.03}}},
      {"5th 6 %, 7th 5 %, 11th 3.5 %, 13th 3 %", {{5, 0.06}, {7, 0.05}, {11, 0.035}, {13, 0.03}}},
      {"3rd 5 %", {{3, 0.05}}},
      {"2nd 2 %", {{2, 0.02}}},
  };
  std::vector<Level> levels;
  for (const auto& [name, mixture] : mixtures) {
    levels.push_back({name, [=](synth::DipDescription& record, int) { record.harmonics = mixture; }});
  }
  return levels;
}

std::vector<Level> frequency() {
  std::vector<Level> levels;
  for (const double hertz : {0.0, 0.02, 0.05, 0.1, 0.2, 0.5, 1.0}) {
    levels.push_back(
        {hertz == 0 ? "50 Hz" : "50 ± " + text(hertz, "Hz"),
         [=](synth::DipDescription& record, int number) { record.deviation = number % 2 == 0 ? hertz : -hertz; }});
  }
  return levels;
}

std::vector<Level> rate() {
  std::vector<Level> levels;
  for (const int samples : {8, 12, 16, 20, 32, 64, 100, 128, 200, 256, 512}) {
    levels.push_back(
        {std::to_string(samples), [=](synth::DipDescription& record, int) { record.rate = 50.0 * samples; }});
  }
  return levels;
}

/// Sudden dips, with or without a phase jump: without any influence all their figures are right.
std::vector<DipCase> dips(int count, double longest) {
  std::mt19937 random(1);
  std::vector<DipCase> list;
  while (list.size() < static_cast<std::size_t>(count)) {
    const auto dip = accuracy::random_case(random);
    const bool sudden = dip.fall_cycles == 0 && dip.recovery_cycles == 0;
    if (sudden && dip.later.empty() && dip.cycles <= longest) list.push_back(dip);
  }
  return list;
}

class Spread {
 public:
  void add(double value) { values_.push_back(value); }
  /// Formats the median and the limit within which nineteen of twenty errors lie.
  [[nodiscard]] std::string text(int decimals) {
    if (values_.empty()) return "-";
    std::sort(values_.begin(), values_.end());
    const auto at = [&](double share) {
      return values_[static_cast<std::size_t>(share * static_cast<double>(values_.size() - 1) + 0.5)];
    };
    char result[64];
    std::snprintf(result, sizeof result, "%.*f / %.*f", decimals, at(0.5), decimals, at(0.95));
    return result;
  }

 private:
  std::vector<double> values_;
};

void print_row(const Level& level, const std::vector<DipCase>& cases) {
  Spread voltage;
  Spread boundary;
  Spread jump;
  Spread point;
  int segments = 0;
  int categories = 0;
  int number = 0;
  for (const auto& dip : cases) {
    auto description = accuracy::description_of(dip);
    level.apply(description, number++);
    const auto errors = accuracy::errors_of(dip, accuracy::analysis_of(description));
    if (!errors.segments) continue;
    segments++;
    categories += errors.category ? 1 : 0;
    voltage.add(100 * errors.voltage);
    boundary.add(20 * errors.boundary);  // milliseconds
    jump.add(errors.jump);
    point.add(errors.point_on_wave);
  }
  const auto share = [&](int hits) { return 100.0 * hits / static_cast<double>(cases.size()); };
  std::printf("| %s | %.0f %% | %s | %s | %s | %s | %.0f %% |\n", level.name.c_str(), share(segments),
              voltage.text(2).c_str(), boundary.text(1).c_str(), jump.text(1).c_str(), point.text(0).c_str(),
              share(categories));
}

}  // namespace

int main(int argc, char** argv) {
  const std::map<std::string, std::vector<Level>> influences = {
      {"noise", noise()}, {"harmonics", harmonics()}, {"frequency", frequency()}, {"rate", rate()}};
  CLI::App app("What an influence does to the figures of dips that are known");
  std::string influence;
  int count = 60;
  app.add_option("INFLUENCE", influence, "noise, harmonics, frequency or rate")
      ->required()
      ->check(CLI::IsMember(influences));
  double longest = 100;
  app.add_option("--longest", longest, "Cycles that a dip lasts at most")->check(CLI::Range(1.0, 400.0));
  app.add_option("COUNT", count, "Dips")->check(CLI::Range(1, 100000));
  CLI11_PARSE(app, argc, argv);

  const auto cases = dips(count, longest);
  std::printf("| %s | told apart | voltage, %% | boundaries, ms | phase jump, ° | point on wave, ° | category |\n",
              influence.c_str());
  std::printf("|---|---|---|---|---|---|---|\n");
  for (const auto& level : influences.at(influence)) print_row(level, cases);
  return 0;
}
