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

synth::Factors ratios(const DipCase& dip, double depth) {
  return synth::factors_of(synth::parse_fault(phases_of(dip.kind)), 100 * depth, dip.jump);
}

/// What `dipx synth` is told, for a shell.
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
  add(" --point-on-wave=", {description.point_on_wave});
  add(" --jump=", description.jumps);
  add(" --duration=", description.durations);
  add(" --depth=", description.depths);
  add(" --length=", {description.length});
  return text.str();
}

/// A segment as it should be found.
struct Truth {
  double begin;  ///< cycles
  double end;
  synth::Factors ratio;
};

std::vector<Truth> truths(const DipCase& dip) {
  const double begin = dip.lead_cycles + dip.fall_cycles;
  const double end = begin + dip.cycles;
  if (dip.second_depth <= 0) return {{begin, end, ratios(dip, dip.depth)}};
  const double middle = begin + dip.cycles / 2;
  return {{begin, middle, ratios(dip, dip.depth)}, {middle, end, ratios(dip, dip.second_depth)}};
}

/// Category codes of the kinds.
int code_of(Kind kind) {
  constexpr std::array<int, kinds> codes = {3, 5, 1, 0, 2, 4, 6, 7, 8, 9};
  return codes[static_cast<std::size_t>(kind)];
}

/// Where the fall passes the dip threshold, cycles.
double threshold_crossing(const DipCase& dip) {
  return dip.lead_cycles + dip.fall_cycles * 0.1 / dip.depth;
}

/// Degrees between two angles, the short way round.
double angle_between(double a, double b) {
  return std::abs(std::remainder(a - b, 360));
}

}  // namespace

synth::DipDescription description_of(const DipCase& dip) {
  synth::DipDescription description;
  description.phases = phases_of(dip.kind);
  description.rate = 50.0 * dip.samples_per_cycle;
  description.start = dip.lead_cycles * cycle;
  description.fall = dip.fall_cycles * cycle;
  description.point_on_wave = std::fmod(360 * dip.lead_cycles, 360);  // phase A passes zero at the first sample
  description.jumps = {dip.jump};
  if (dip.second_depth > 0) {
    description.durations = {dip.cycles / 2 * cycle};
    description.depths = {100 * dip.depth, 100 * dip.second_depth};
  } else {
    description.durations = {dip.cycles * cycle};
    description.depths = {100 * dip.depth};
  }
  description.length = (dip.lead_cycles + dip.fall_cycles + dip.cycles + tail_cycles) * cycle;
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

Errors errors_of(const DipCase& dip, const nlohmann::json& analysis) {
  const auto parts = truths(dip);
  Errors errors;
  errors.segments = analysis["dips"].size() == 1 && analysis["dips"][0]["segments"].size() == parts.size();
  if (!errors.segments) return errors;
  errors.category = true;
  for (std::size_t s = 0; s < parts.size(); s++) {
    const auto& segment = analysis["dips"][0]["segments"][s];
    const auto cycle_of = [&](const char* end) { return segment[end]["time_s"].get<double>() / cycle; };
    const double earliest = s == 0 ? threshold_crossing(dip) : parts[s].begin;
    errors.boundary = std::max({errors.boundary, earliest - cycle_of("start"), cycle_of("start") - parts[s].begin,
                                std::abs(cycle_of("end") - parts[s].end)});
    int mask = 0;
    for (std::size_t phase = 0; phase < 3; phase++) {
      const auto& ratio = parts[s].ratio[phase];
      const double volts = segment["residual_voltage"][phase]["voltage_v"];
      errors.residual = std::max(errors.residual, std::abs(volts / 230 - std::abs(ratio)));
      const double degrees = segment["phase_jump"][phase]["degrees"];
      errors.jump = std::max(errors.jump, angle_between(degrees, std::arg(ratio) * 180 / std::numbers::pi));
      if (std::abs(ratio) < 0.9) mask |= 1 << phase;
    }
    errors.category &=
        segment["category"]["code"] == code_of(dip.kind) && segment["phases_below_threshold"]["mask"] == mask;
  }
  if (const auto& found = analysis["dips"][0]["point_on_wave"]; found.is_array()) {
    errors.point_on_wave = angle_between(found[0]["degrees"], description_of(dip).point_on_wave);
  }
  return errors;
}

Hits judge(const DipCase& dip, const nlohmann::json& analysis) {
  const auto errors = errors_of(dip, analysis);
  if (!errors.segments) return {};
  return {true, errors.residual <= 0.01, errors.boundary <= 0.5, errors.category, errors.jump <= 2};
}

namespace {

double pick(std::mt19937& random, const std::vector<double>& values) {
  return values[random() % values.size()];
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
  const unsigned shape = random() % 4;
  if (shape == 1 && !together) dip.jump = pick(random, {-60, -30, -15, -5, 5, 15, 30, 60});
  if (shape == 2) dip.fall_cycles = pick(random, {1, 2, 5, 10, 20});
  if (shape == 3 && dip.cycles >= 5) dip.second_depth = dip.depth > 0.3 ? dip.depth - 0.15 : dip.depth + 0.14;
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
  return dip.second_depth > 0 ? "two steps" : "plain";
}

std::string text_of(const DipCase& dip) {
  std::ostringstream text;
  text << "kind " << static_cast<int>(dip.kind) << ", depth " << dip.depth << ", jump " << dip.jump << ", cycles "
       << dip.cycles << ", fall " << dip.fall_cycles << ", second depth " << dip.second_depth << ", rate "
       << dip.samples_per_cycle << ", lead " << dip.lead_cycles;
  return text.str();
}

}  // namespace accuracy
