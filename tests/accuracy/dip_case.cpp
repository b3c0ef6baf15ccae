#include "tests/accuracy/dip_case.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <numbers>
#include <sstream>
#include <stdexcept>
#include <vector>

#include "analysis/analyse.h"
#include "outputs/json.h"
#include "synth/waveform.h"

namespace accuracy {

namespace {

constexpr double cycle = 0.02;  // seconds
constexpr double tail_cycles = 15;

bool moves_together(Kind kind) {
  return kind >= Kind::two_bc && kind <= Kind::two_ab;
}

const char* phases_of(Kind kind) {
  constexpr std::array<const char*, kinds> phases = {"A", "B", "C", "B-C", "C-A", "A-B", "BC", "CA", "AB", "ABC"};
  return phases[static_cast<std::size_t>(kind)];
}

std::vector<Step> steps_of(const DipCase& dip) {
  std::vector<Step> steps = {{dip.kind, dip.depth}};
  steps.insert(steps.end(), dip.later.begin(), dip.later.end());
  return steps;
}

/// Returns the options of `dipx synth` for a shell.
std::string arguments_of(const synth::DipDescription& description) {
  std::ostringstream text;
  text.precision(17);
  const auto add = [&](const char* option, const std::vector<double>& values) {
    for (std::size_t i = 0; i < values.size(); i++) text << (i == 0 ? option : ",") << values[i];
  };
  text << " --phases=" << description.phases;
  add(" --rate=", {description.rate});
  add(" --start=", {description.start});
  add(" --fall=", {description.fall});
  add(" --recovery=", {description.recovery});
  add(" --point-on-wave=", {description.point_on_wave});
  add(" --jump=", description.jumps);
  add(" --duration=", description.durations);
  add(" --depth=", description.depths);
  add(" --length=", {description.length});
  return text.str();
}

/// An expected segment.
struct Truth {
  double begin;  ///< cycles
  double end;
  Kind kind;
  synth::Factors ratio;
};

std::vector<Truth> truths(const DipCase& dip) {
  const auto steps = steps_of(dip);
  const double each = dip.cycles / static_cast<double>(steps.size());
  double begin = dip.lead_cycles + dip.fall_cycles;
  std::vector<Truth> parts;
  for (const Step& step : steps) {
    const auto fault = synth::parse_fault(phases_of(step.kind));
    parts.push_back({begin, begin + each, step.kind, synth::factors_of(fault, 100 * step.depth, dip.jump)});
    begin += each;
  }
  return parts;
}

/// Category codes of the kinds.
int code_of(Kind kind) {
  constexpr std::array<int, kinds> codes = {3, 5, 1, 0, 2, 4, 6, 7, 8, 9};
  return codes[static_cast<std::size_t>(kind)];
}

/// Returns the share of a straight line from 1 to the factors that lies before the first phase passes 90 %. The
/// magnitude along the line to f is |1 + t (f - 1)|, so t solves |f - 1|^2 t^2 + 2 Re(f - 1) t + 1 - 0.9^2 = 0.
double share_above_threshold(const synth::Factors& factors) {
  constexpr double threshold = 0.9;
  double first = 1;
  for (const auto& factor : factors) {
    if (std::abs(factor) >= threshold) continue;
    const double a = std::norm(factor - 1.0);
    const double b = factor.real() - 1;
    first = std::min(first, (-b - std::sqrt(b * b - a * (1 - threshold * threshold))) / a);
  }
  return first;
}

/// Returns the smaller angle between two directions in degrees.
double angle_between(double a, double b) {
  return std::abs(std::remainder(a - b, 360));
}

}  // namespace

synth::DipDescription description_of(const DipCase& dip) {
  synth::DipDescription description;
  const auto steps = steps_of(dip);
  description.phases.clear();
  description.depths.clear();
  for (const Step& step : steps) {
    if (!description.phases.empty()) description.phases += ',';
    description.phases += phases_of(step.kind);
    description.depths.push_back(100 * step.depth);
  }
  description.rate = 50.0 * dip.samples_per_cycle;
  description.start = dip.lead_cycles * cycle;
  description.fall = dip.fall_cycles * cycle;
  description.recovery = dip.recovery_cycles * cycle;
  description.point_on_wave = std::fmod(360 * dip.lead_cycles, 360);  // phase A passes zero at the first sample
  description.jumps = {dip.jump};
  description.durations = {dip.cycles / static_cast<double>(steps.size()) * cycle};
  description.length = (dip.lead_cycles + dip.fall_cycles + dip.cycles + dip.recovery_cycles + tail_cycles) * cycle;
  return description;
}

nlohmann::json analysis_of(const DipCase& dip) {
  return analysis_of(description_of(dip));
}

nlohmann::json analysis_of(const synth::DipDescription& description) {
  const auto record = synth::record_of(synth::waveform_of(description));
  return nlohmann::json::parse(outputs::json_of(record, analysis::analyse(record, {})));
}

nlohmann::json piped_analysis_of(const DipCase& dip) {
  const std::string pipe =
      DIPX_COMMAND " synth" + arguments_of(description_of(dip)) + " | " DIPX_COMMAND " analyse --json -";
  std::FILE* output = popen(pipe.c_str(), "r");
  if (output == nullptr) throw std::runtime_error("cannot run " + pipe);
  std::string text;
  std::array<char, 65536> block{};
  while (const std::size_t count = std::fread(block.data(), 1, block.size(), output)) text.append(block.data(), count);
  if (pclose(output) != 0) throw std::runtime_error("failed: " + pipe);
  return nlohmann::json::parse(text);
}

namespace {

/// The dips among an analysis's events.
std::vector<nlohmann::json> dips_of(const nlohmann::json& analysis) {
  std::vector<nlohmann::json> dips;
  for (const auto& event : analysis["events"]) {
    if (event["kind"] == "dip") dips.push_back(event);
  }
  return dips;
}

/// Returns the error of a time of the document in cycles; if the time is missing, the result exceeds any limit.
double cycles_off(const nlohmann::json& seconds, double cycles) {
  return seconds.is_number() ? std::abs(seconds.get<double>() / cycle - cycles) : 1e9;
}

void add_ends(const DipCase& dip, const std::vector<Truth>& parts, const nlohmann::json& course, Errors& errors) {
  if (dip.fall_cycles > 0) {
    const double crossing = dip.lead_cycles + dip.fall_cycles * share_above_threshold(parts.front().ratio);
    errors.crossing = std::max(errors.crossing, cycles_off(course["start_s"], crossing));
  } else {
    errors.boundary = std::max(errors.boundary, cycles_off(course["start_s"], parts.front().begin));
  }
  if (dip.recovery_cycles > 0) {
    const double crossing = parts.back().end + dip.recovery_cycles * (1 - share_above_threshold(parts.back().ratio));
    errors.crossing = std::max(errors.crossing, cycles_off(course["end_s"], crossing));
  } else {
    errors.boundary = std::max(errors.boundary, cycles_off(course["end_s"], parts.back().end));
  }
}

/// Voltages, phase jumps, category and phases of one segment.
void add_segment(const Truth& truth, const nlohmann::json& segment, Errors& errors) {
  constexpr double has_no_angle = 0.05 + 1e-9;
  std::string below;
  for (std::size_t phase = 0; phase < 3; phase++) {
    const auto& ratio = truth.ratio[phase];
    const double volts = segment["voltage"][phase]["voltage_v"];
    errors.voltage = std::max(errors.voltage, std::abs(volts / 230 - std::abs(ratio)));
    if (std::abs(ratio) < 0.9) below += "ABC"[phase];
    if (std::abs(ratio) <= has_no_angle) continue;
    const auto& degrees = segment["phase_jump"][phase]["degrees"];
    const double turned = std::arg(ratio) * 180 / std::numbers::pi;
    errors.jump = std::max(errors.jump, degrees.is_number() ? angle_between(degrees, turned) : 180);
  }
  const auto& category = segment["category"];
  errors.category &= category.is_object() && category["code"] == code_of(truth.kind);
  errors.category &= segment["below_threshold"] == below;
}

}  // namespace

Errors errors_of(const DipCase& dip, const nlohmann::json& analysis) {
  const auto parts = truths(dip);
  const auto dips = dips_of(analysis);
  Errors errors;
  errors.segments =
      dips.size() == 1 && dips[0]["course"].is_object() && dips[0]["course"]["segments"].size() == parts.size();
  if (!errors.segments) return errors;
  const auto& course = dips[0]["course"];
  errors.category = true;
  add_ends(dip, parts, course, errors);
  for (std::size_t s = 0; s < parts.size(); s++) {
    const auto& segment = course["segments"][s];
    if (!segment["measured"]) return {};
    if (s > 0) errors.boundary = std::max(errors.boundary, cycles_off(segment["start_s"], parts[s].begin));
    if (s + 1 < parts.size()) errors.boundary = std::max(errors.boundary, cycles_off(segment["end_s"], parts[s].end));
    add_segment(parts[s], segment, errors);
  }
  if (dip.fall_cycles == 0) {
    const auto& found = course["point_on_wave"];
    const bool there = found.is_array() && found[0]["degrees"].is_number();
    errors.point_on_wave = there ? angle_between(found[0]["degrees"], description_of(dip).point_on_wave) : 180;
  }
  return errors;
}

Hits judge(const DipCase& dip, const nlohmann::json& analysis) {
  const auto errors = errors_of(dip, analysis);
  if (!errors.segments) return {};
  return {true, errors.voltage <= 0.01, errors.boundary <= 0.25 && errors.crossing <= 0.5, errors.category,
          errors.jump <= 2};
}

namespace {

double pick(std::mt19937& random, const std::vector<double>& values) {
  return values[random() % values.size()];
}

/// One phase, two, three, or the same backwards; with two steps one of them is left out.
std::vector<Step> evolving_steps(std::mt19937& random, std::size_t count) {
  // Phase x and the pair of x and the next one: A and AB, B and BC, C and CA.
  constexpr std::array<Kind, 3> ones = {Kind::single_a, Kind::single_b, Kind::single_c};
  constexpr std::array<Kind, 3> twos = {Kind::two_ab_with_zero, Kind::two_bc_with_zero, Kind::two_ca_with_zero};
  const std::size_t first = random() % 3;
  const std::vector<double> depths = {0.2, 0.3, 0.5, 0.7, 0.85};
  std::vector<Step> steps;
  for (const Kind kind : {ones[first], twos[first], Kind::balanced}) steps.push_back({kind, pick(random, depths)});
  if (random() % 2 == 0) std::reverse(steps.begin(), steps.end());
  if (count < steps.size()) steps.erase(steps.begin() + static_cast<std::ptrdiff_t>(random() % 3));
  return steps;
}

void make_evolving(std::mt19937& random, DipCase& dip) {
  auto steps = evolving_steps(random, dip.cycles < 8 ? 2 : 3);
  dip.kind = steps.front().kind;
  dip.depth = steps.front().depth;
  dip.later.assign(steps.begin() + 1, steps.end());
}

DipCase random_case_of(std::mt19937& random, const std::vector<double>& durations) {
  DipCase dip;
  dip.kind = static_cast<Kind>(random() % kinds);
  const bool together = moves_together(dip.kind);
  dip.depth = pick(random, together ? std::vector<double>{0.15, 0.2, 0.3, 0.4, 0.45}
                                    : std::vector<double>{0.15, 0.2, 0.3, 0.5, 0.7, 0.85, 0.95});
  dip.samples_per_cycle = static_cast<int>(pick(random, {32, 64, 100, 128}));
  dip.lead_cycles = 6 + static_cast<double>(random() % 20000) / 1000;
  dip.cycles = pick(random, durations);
  const auto shape = random() % 6;
  if (shape == 1 && !together) dip.jump = pick(random, {-60, -30, -15, -5, 5, 15, 30, 60});
  if (shape == 2) dip.fall_cycles = pick(random, {1, 2, 5, 10, 20});
  if (shape == 3) dip.recovery_cycles = pick(random, {1, 2, 5, 10, 20});
  if (shape == 4 && dip.cycles >= 5) dip.later = {{dip.kind, dip.depth > 0.3 ? dip.depth - 0.15 : dip.depth + 0.14}};
  if (shape == 5 && dip.cycles >= 5) make_evolving(random, dip);
  return dip;
}

}  // namespace

DipCase random_case(std::mt19937& random) {
  return random_case_of(random, {1, 2, 3, 5, 8, 10, 20, 50, 100, 400});
}

DipCase random_long_case(std::mt19937& random) {
  return random_case_of(random, {500, 600, 750, 1000, 1500, 2500});
}

std::string shape_of(const DipCase& dip) {
  if (dip.jump != 0) return "jump";
  if (dip.fall_cycles > 0) return "ramp";
  if (dip.recovery_cycles > 0) return "recovery";
  if (dip.later.empty()) return "plain";
  return dip.later[0].kind == dip.kind ? "two steps" : "evolving";
}

std::string text_of(const DipCase& dip) {
  return "dipx synth" + arguments_of(description_of(dip)) + " (" + shape_of(dip) + ")";
}

}  // namespace accuracy
