#include "command/selftest.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <exception>
#include <numbers>
#include <optional>

#include "measure/findings.h"
#include "readers/text.h"

namespace command {

namespace {

constexpr double nearest_percent = 1;  // of nominal
constexpr double nearest_degrees = 2;
constexpr double next_to_nothing = 0.05;  // of nominal

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

double degrees_of(const synth::Phasor& factor) {
  return std::arg(factor) * 180 / std::numbers::pi;
}

std::string fault_of_voltages(const std::array<double, 3>& volts, const synth::Factors& factors, double nominal) {
  for (std::size_t phase = 0; phase < 3; phase++) {
    const double found = 100 * volts[phase] / nominal;
    const double made = 100 * std::abs(factors[phase]);
    if (off(found, made, nearest_percent)) {
      return fmt::format("{:.1f} % left of phase {} instead of {:.1f} %", found, "ABC"[phase], made);
    }
  }
  return {};
}

std::string fault_of_segment(const measure::Segment& segment, const synth::Factors& factors, int category,
                             double nominal) {
  const int found = segment.type ? segment.type->category : -1;
  if (found != category) return fmt::format("category {} instead of {}", found, category);
  std::array<double, 3> volts{};
  for (std::size_t phase = 0; phase < 3; phase++) volts[phase] = segment.phases[phase].voltage_v.value;
  std::string fault = fault_of_voltages(volts, factors, nominal);
  if (!fault.empty()) return fault;
  for (std::size_t phase = 0; phase < 3; phase++) {
    if (std::abs(factors[phase]) < next_to_nothing) continue;  // such a small voltage has no angle
    const auto& jump = segment.phases[phase].phase_jump_degrees;
    const double turned = degrees_of(factors[phase]);
    if (!jump) return fmt::format("phase {} has no phase jump", "ABC"[phase]);
    if (off(std::remainder(jump->value - turned, 360), 0, nearest_degrees)) {
      return fmt::format("phase {} turned by {:.1f} degrees instead of {:.1f}", "ABC"[phase], jump -> value, turned);
    }
  }
  return {};
}

/// Returns the factors of each step.
std::vector<synth::Factors> factors_of(const synth::DipDescription& made) {
  std::vector<synth::Factors> steps;
  const auto phases = readers::split_fields(made.phases, ',');
  const auto entry = [](const std::vector<double>& list, std::size_t step) {
    return list.size() == 1 ? list[0] : list[step];
  };
  for (std::size_t step = 0; step < std::max(made.depths.size(), phases.size()); step++) {
    const auto fault = synth::parse_fault(std::string(phases.size() == 1 ? phases[0] : phases[step]));
    steps.push_back(synth::factors_of(fault, entry(made.depths, step), entry(made.jumps, step)));
  }
  return steps;
}

double lowest_of(const synth::Factors& factors) {
  return std::min({std::abs(factors[0]), std::abs(factors[1]), std::abs(factors[2])});
}

/// The instants at which a dip begins and ends on the waveform. If it begins or ends gradually, the instant is the
/// crossing of 90 % on a straight line between 1 and `lowest`.
struct Instants {
  double start_s = 0;
  double end_s = 0;
};

Instants instants_of(const synth::DipDescription& made) {
  constexpr double threshold = 0.9;
  const auto steps = factors_of(made);
  const auto share = [&](const synth::Factors& factors) { return (1 - threshold) / (1 - lowest_of(factors)); };
  Instants instants;
  instants.start_s = made.start + made.fall * share(steps.front());
  instants.end_s = made.start + made.fall;
  for (std::size_t step = 0; step < steps.size(); step++) {
    instants.end_s += made.durations.size() == 1 ? made.durations[0] : made.durations[step];
  }
  instants.end_s += made.recovery * (1 - share(steps.back()));
  return instants;
}

std::string fault_of_instant(const char* what, const std::optional<measure::Figure>& found, double made, double most) {
  if (found && !off(found->value, made, most)) return {};
  return fmt::format("it {} at {} instead of {:.4f} s", what, found ? fmt::format("{:.4f} s", found->value) : "no time",
                     made);
}

std::string fault_of_course(const KnownDip& known, const measure::Course& course) {
  const auto& made = known.description;
  const double cycle = 1 / made.frequency;
  const Instants instants = instants_of(made);
  std::string fault = fault_of_instant("starts", course.start_s, instants.start_s, cycle / (made.fall > 0 ? 2 : 4));
  if (fault.empty()) {
    fault = fault_of_instant("ends", course.end_s, instants.end_s, cycle / (made.recovery > 0 ? 2 : 4));
  }
  if (!fault.empty()) return fault;
  if (course.segments.size() != known.categories.size()) {
    return fmt::format("{} segments instead of {}", course.segments.size(), known.categories.size());
  }
  const auto factors = factors_of(made);
  for (std::size_t s = 0; s < course.segments.size(); s++) {
    fault = fault_of_segment(course.segments[s], factors[s], known.categories[s], made.volts);
    if (!fault.empty()) return fmt::format("segment {}: {}", s + 1, fault);
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
      {"8 samples per cycle", changed(dip("BC", {50}), [](auto& d) { d.rate = 400; }), {6}, false},
      {"evolving: one phase, two, three", dip("A,AB,ABC", {50, 55, 65}, {0.1, 0.1, 0.2}), {3, 8, 9}, false},
      {"evolving: shallower", dip("ABC,A", {70, 30}, {0.1, 0.15}), {9, 3}, false},
      {"slow fall", changed(dip("ABC", {50}, {0.3}), [](auto& d) { d.fall = 0.2; }), {9}, false},
      {"slow recovery", changed(dip("ABC", {60}, {0.2}), [](auto& d) { d.recovery = 0.3; }), {9}, false},
      {"49.6 Hz", changed(dip("A", {60}, {1}), [](auto& d) { d.deviation = -0.4; }), {3}, false},
      {"shallow", dip("ABC", {12}), {9}, false},
  };
  return list;
}

std::string fault_of(const KnownDip& known, const analysis::Analysis& analysis) {
  const std::size_t made = known.categories.empty() ? 0 : 1;
  std::vector<const measure::Event*> dips;
  for (const auto& event : analysis.found.events) {
    if (event.kind == measure::EventKind::dip) dips.push_back(&event);
  }
  if (dips.size() != made) return fmt::format("{} dips instead of {}", dips.size(), made);
  if (made == 0) return {};
  if (!dips[0]->course) return "the dip has no course";
  return fault_of_course(known, *dips[0]->course);
}

std::string library_fault_of(const KnownDip& known, const analysis::Analysis& analysis) {
  if (!known.for_library) return {};
  if (!analysis.library) return "the library was not asked";
  const auto& results = *analysis.library;
  if (!results.refusal.empty()) return results.refusal;
  const std::size_t made = known.categories.empty() ? 0 : 1;
  if (results.dips.size() != made) return fmt::format("{} dips instead of {}", results.dips.size(), made);
  if (made == 0) return {};
  const auto& dip = results.dips[0];
  const auto& description = known.description;
  const double rate = description.rate > 0 ? description.rate : 128 * description.frequency;
  const double cycle = 1 / description.frequency;
  const Instants instants = instants_of(description);
  if (off(static_cast<double>(dip.begin) / rate, instants.start_s, cycle)) return "it starts at another time";
  if (off(static_cast<double>(dip.end) / rate, instants.end_s, cycle)) return "it ends at another time";
  if (dip.segments.size() != known.categories.size()) {
    return fmt::format("{} segments instead of {} ({})", dip.segments.size(), known.categories.size(), dip.outcome);
  }
  const auto factors = factors_of(description);
  for (std::size_t s = 0; s < dip.segments.size(); s++) {
    const auto& segment = dip.segments[s];
    if (segment.category != known.categories[s]) {
      return fmt::format("segment {}: category {} instead of {}", s + 1, segment.category, known.categories[s]);
    }
    const std::string fault = fault_of_voltages(segment.residual_v, factors[s], description.volts);
    if (!fault.empty()) return fmt::format("segment {}: {}", s + 1, fault);
  }
  return {};
}

bool self_test(const Detector& detector, const std::function<void(const std::string&)>& show) {
  bool right = true;
  for (const auto& known : known_dips()) {
    std::string fault;
    try {
      const auto record = synth::record_of(synth::waveform_of(known.description));
      const analysis::Analysis analysis = detector(record);
      fault = fault_of(known, analysis);
      if (fault.empty()) {
        const std::string of_library = library_fault_of(known, analysis);
        if (!of_library.empty()) fault = "the embedded library: " + of_library;
      }
    } catch (const std::exception& error) {
      fault = error.what();
    }
    right = right && fault.empty();
    show(fault.empty() ? fmt::format("ok      {}\n", known.name) : fmt::format("FAILED  {}: {}\n", known.name, fault));
  }
  return right;
}

}  // namespace command
