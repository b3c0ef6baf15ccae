#include "tests/accuracy/dip_case.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>
#include <sstream>
#include <vector>

namespace accuracy {

namespace {

using Phasor = std::complex<double>;
using Phasors = std::array<Phasor, 3>;

constexpr double nominal = 230;
constexpr double tail_cycles = 15;

Phasor turned(double degrees) {
  return std::polar(1.0, degrees * std::numbers::pi / 180);
}

/// Each phase against what it is before the dip.
Phasors ratios(const DipCase& dip, double depth) {
  const Phasor shrunk = (1 - depth) * turned(dip.jump);
  const int which = static_cast<int>(dip.kind);
  Phasors result = {1, 1, 1};
  const auto two_phases = [&](int index, Phasor first, Phasor second) {  // 0: B and C, 1: C and A, 2: A and B
    result[static_cast<std::size_t>((index + 1) % 3)] = first;
    result[static_cast<std::size_t>((index + 2) % 3)] = second;
  };
  if (dip.kind == Kind::balanced) {
    result = {shrunk, shrunk, shrunk};
  } else if (which <= static_cast<int>(Kind::single_c)) {
    result[static_cast<std::size_t>(which)] = shrunk;
  } else if (which <= static_cast<int>(Kind::two_ab)) {
    // The line voltage between the two shrinks to `line`, its middle stays: -1/2 -+ j sqrt(3)/2 line.
    const double line = std::sqrt(((1 - depth) * (1 - depth) - 0.25) / 0.75);
    const Phasor moved = Phasor(-0.5, -std::numbers::sqrt3 / 2 * line) / Phasor(-0.5, -std::numbers::sqrt3 / 2);
    two_phases(which - static_cast<int>(Kind::two_bc), moved, std::conj(moved));
  } else {
    two_phases(which - static_cast<int>(Kind::two_bc_with_zero), shrunk, shrunk);
  }
  return result;
}

/// A segment as it should be found.
struct Truth {
  double begin;  ///< cycles
  double end;
  Phasors ratio;
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

bool near_jump(double found, const Phasor& ratio) {
  const double truth = std::arg(ratio) * 180 / std::numbers::pi;
  return std::abs(std::remainder(found - truth, 360)) <= 2;
}

}  // namespace

readers::Record record_of(const DipCase& dip) {
  readers::Record record;
  record.file = "made in memory";
  record.line_frequency = 50;
  const auto parts = truths(dip);
  const double cycles = parts.back().end + tail_cycles;
  const auto length = static_cast<std::size_t>(cycles * dip.samples_per_cycle);
  record.rates = {{50.0 * dip.samples_per_cycle, length}};
  for (std::size_t phase = 0; phase < 3; phase++) {
    readers::Channel channel;
    channel.name = std::string("U") + "abc"[phase];
    channel.phase = std::string(1, "ABC"[phase]);
    channel.unit = "V";
    for (std::size_t i = 0; i < length; i++) {
      const double at = static_cast<double>(i) / dip.samples_per_cycle;
      Phasor ratio = 1;
      if (at >= dip.lead_cycles && at < parts.front().begin) {
        const double done = (at - dip.lead_cycles) / dip.fall_cycles;
        ratio = 1.0 + done * (parts.front().ratio[phase] - 1.0);
      }
      for (const auto& part : parts) {
        if (at >= part.begin && at < part.end) ratio = part.ratio[phase];
      }
      const Phasor value =
          nominal * std::numbers::sqrt2 * ratio * turned(360 * at - 120.0 * static_cast<double>(phase));
      channel.samples.push_back(value.imag());
    }
    record.channels.push_back(std::move(channel));
  }
  return record;
}

command::Analysis analysis_of(const DipCase& dip) {
  return command::analyse(record_of(dip), {});
}

Hits judge(const DipCase& dip, const command::Analysis& analysis) {
  const auto parts = truths(dip);
  Hits hits;
  hits.segments = analysis.dips.size() == 1 && analysis.dips[0].segments.size() == parts.size();
  if (!hits.segments) return hits;
  hits.residual = hits.boundaries = hits.category = hits.jump = true;
  for (std::size_t s = 0; s < parts.size(); s++) {
    const auto& segment = analysis.dips[0].segments[s];
    const auto cycle_of = [&](std::size_t sample) { return static_cast<double>(sample) / dip.samples_per_cycle; };
    const double earliest = s == 0 ? threshold_crossing(dip) : parts[s].begin;
    hits.boundaries &= cycle_of(segment.samples.begin) >= earliest - 0.5 &&
                       cycle_of(segment.samples.begin) <= parts[s].begin + 0.5 &&
                       std::abs(cycle_of(segment.samples.end) - parts[s].end) <= 0.5;
    int mask = 0;
    for (std::size_t phase = 0; phase < 3; phase++) {
      const Phasor& ratio = parts[s].ratio[phase];
      hits.residual &= std::abs(segment.residual[phase] / nominal - std::abs(ratio)) <= 0.01;
      hits.jump &= near_jump(segment.phase_jump[phase], ratio);
      if (std::abs(ratio) < 0.9) mask |= 1 << phase;
    }
    hits.category &= segment.category == code_of(dip.kind) && segment.low_mask == mask;
  }
  return hits;
}

DipCase random_case(std::mt19937& random) {
  const auto pick = [&](const std::vector<double>& values) { return values[random() % values.size()]; };
  DipCase dip;
  dip.kind = static_cast<Kind>(random() % kinds);
  const bool moves_together = dip.kind >= Kind::two_bc && dip.kind <= Kind::two_ab;
  dip.depth = pick(moves_together ? std::vector<double>{0.15, 0.2, 0.3, 0.4, 0.45}
                                  : std::vector<double>{0.15, 0.2, 0.3, 0.5, 0.7, 0.85, 0.95});
  dip.samples_per_cycle = static_cast<int>(pick({32, 64, 100, 128}));
  dip.lead_cycles = 6 + static_cast<double>(random() % 20000) / 1000;
  dip.cycles = pick({1, 2, 3, 5, 8, 10, 20, 50, 100, 400});
  const unsigned shape = random() % 4;
  if (shape == 1 && !moves_together) dip.jump = pick({-60, -30, -15, -5, 5, 15, 30, 60});
  if (shape == 2) dip.fall_cycles = pick({1, 2, 5, 10, 20});
  if (shape == 3 && dip.cycles >= 5) dip.second_depth = dip.depth > 0.3 ? dip.depth - 0.15 : dip.depth + 0.14;
  return dip;
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
