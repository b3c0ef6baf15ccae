#include "command/selftest.h"

#include <fmt/format.h>

#include <cmath>
#include <exception>
#include <numbers>

#include "analysis/event_terms.h"

namespace command {

namespace {

constexpr double nearest_percent = 1;  // of nominal
constexpr double nearest_degrees = 2;

synth::DipDescription dip(const char* phases, std::vector<double> depths, std::vector<double> durations = {0.2}) {
  synth::DipDescription description;
  description.phases = phases;
  description.depths = std::move(depths);
  description.durations = std::move(durations);
  return description;
}

template <typename Change>
synth::DipDescription changed(synth::DipDescription description, Change change) {
  change(description);
  return description;
}

bool off(double found, double expected, double most) {
  return !(std::abs(found - expected) <= most);
}

std::string fault_of_segment(const analysis::Segment& segment, const synth::Factors& factors, int category,
                             const analysis::Analysis& analysis) {
  if (segment.category != category) return fmt::format("category {} instead of {}", segment.category, category);
  for (std::size_t phase = 0; phase < 3; phase++) {
    const double residual = analysis.percent(segment.residual[phase]);
    const double made = 100 * std::abs(factors[phase]);
    if (off(residual, made, nearest_percent)) {
      return fmt::format("{:.1f} % left of phase {} instead of {:.1f} %", residual, "ABC"[phase], made);
    }
    const double turned = std::arg(factors[phase]) * 180 / std::numbers::pi;
    // Next to nothing has no angle.
    if (made > nearest_percent && off(std::remainder(segment.phase_jump[phase] - turned, 360), 0, nearest_degrees)) {
      return fmt::format("phase {} turned by {:.1f} degrees instead of {:.1f}", "ABC"[phase], segment.phase_jump[phase],
                         turned);
    }
  }
  return {};
}

}  // namespace

const std::vector<KnownDip>& known_dips() {
  static const std::vector<KnownDip> list = {
      {"no dip", dip("ABC", {0}), {}},
      {"single-phase dip, A", dip("A", {60}), {3}},
      {"single-phase dip, B", dip("B", {40}, {0.1}), {5}},
      {"single-phase dip, C", dip("C", {80}, {0.5}), {1}},
      {"two-phase dip, B and C", dip("B-C", {40}), {0}},
      {"two-phase dip, C and A", dip("C-A", {30}), {2}},
      {"two-phase dip, A and B", dip("A-B", {45}), {4}},
      {"two-phase dip with zero sequence, B and C", dip("BC", {50}), {6}},
      {"two-phase dip with zero sequence, C and A", dip("CA", {70}), {7}},
      {"two-phase dip with zero sequence, A and B", dip("AB", {30}), {8}},
      {"three-phase dip", dip("ABC", {50}), {9}},
      {"interruption", dip("ABC", {99}), {9}},
      {"phase jump", changed(dip("A", {50}), [](auto& d) { d.jumps = {-25}; }), {3}},
      {"two steps", dip("ABC", {30, 60}, {0.4, 0.4}), {9, 9}},
      {"110 kV", changed(dip("A", {60}), [](auto& d) { d.volts = 63509; }), {3}},
      {"60 Hz, 64 samples per cycle",
       changed(dip("BC", {50}), [](auto& d) { d.frequency = 60, d.rate = 3840, d.volts = 120; }),
       {6}},
      {"noise and harmonics",
       changed(dip("ABC", {50}),
               [](auto& d) {
                 d.noise = 0.3, d.harmonics = {{5, 0.02}, {7, 0.01}};
               }),
       {9}},
      {"15 s long, 32 samples per cycle", changed(dip("A", {40}, {15}), [](auto& d) { d.rate = 1600; }), {3}},
  };
  return list;
}

std::string fault_of(const KnownDip& known, const analysis::Analysis& analysis) {
  const std::size_t dips = known.categories.empty() ? 0 : 1;
  if (analysis.dips.size() != dips) return fmt::format("{} dips instead of {}", analysis.dips.size(), dips);
  if (dips == 0) return {};
  const analysis::Dip& found = analysis.dips[0];
  if (found.obstacle != analysis::Obstacle::none)
    return std::string("not analysed: ") + describe(found.obstacle).sentence;
  const auto& made = known.description;
  const double cycle = 1 / made.frequency;
  const double start = analysis.voltages.seconds_at(found.start);
  if (off(start, made.start, cycle)) return fmt::format("it starts at {:.4f} s instead of {:.4f} s", start, made.start);
  double made_seconds = 0;
  for (const double seconds : made.durations) made_seconds += seconds;
  const double seconds = terms_of(found, analysis).seconds.value_or(0);
  if (off(seconds, made_seconds, cycle)) {
    return fmt::format("it lasts {:.4f} s instead of {:.4f} s", seconds, made_seconds);
  }
  if (found.segments.size() != known.categories.size()) {
    return fmt::format("{} segments instead of {}", found.segments.size(), known.categories.size());
  }
  const auto fault = synth::parse_fault(made.phases);
  for (std::size_t s = 0; s < found.segments.size(); s++) {
    const double jump = made.jumps.size() == 1 ? made.jumps[0] : made.jumps[s];
    const auto factors = synth::factors_of(fault, made.depths[s], jump);
    const std::string wrong = fault_of_segment(found.segments[s], factors, known.categories[s], analysis);
    if (!wrong.empty()) return fmt::format("segment {}: {}", s + 1, wrong);
  }
  return {};
}

bool self_test(const Detector& detector, const std::function<void(const std::string&)>& show) {
  bool right = true;
  for (const auto& known : known_dips()) {
    std::string fault;
    try {
      const auto record = synth::record_of(synth::waveform_of(known.description));
      fault = fault_of(known, detector(record));
    } catch (const std::exception& error) {
      fault = error.what();
    }
    right = right && fault.empty();
    show(fault.empty() ? fmt::format("ok      {}\n", known.name) : fmt::format("FAILED  {}: {}\n", known.name, fault));
  }
  return right;
}

}  // namespace command
