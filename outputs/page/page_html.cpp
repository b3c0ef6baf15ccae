#include "outputs/page/page_html.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <numeric>
#include <span>
#include <tuple>
#include <utility>
#include <vector>

#include "analysis/assessment.h"
#include "analysis/event_terms.h"
#include "outputs/drawable.h"
#include "outputs/figure_view.h"
#include "outputs/json.h"
#include "outputs/markup.h"
#include "outputs/page/detail.h"
#include "outputs/page/packed_integers.h"
#include "readers/voltages/bay_currents.h"

namespace outputs {

using analysis::Analysis;
using analysis::Curves;

namespace {

using Json = nlohmann::ordered_json;

/// The page holds at most so many samples of all voltages and currents together; of the rest, the highest and the
/// lowest of short blocks.
constexpr std::size_t most_samples = 450000;
/// A curve has no more blocks than this.
constexpr std::size_t most_blocks = 30000;
/// Blocks are at least this part of a cycle.
constexpr double least_block_cycles = 0.125;
/// This integer marks a missing value; no other value becomes as low.
constexpr std::int16_t missing = INT16_MIN;

/// Returns the largest magnitude of the values that are not missing.
double peak_of(std::span<const std::vector<float>> curves, const analysis::Stretch& stretch) {
  double peak = 0;
  for (const auto& curve : curves) {
    for (std::size_t i = stretch.begin; i < std::min(stretch.end, curve.size()); i++) {
      const double size = std::abs(static_cast<double>(curve[i]));
      if (std::isfinite(size)) peak = std::max(peak, size);
    }
  }
  return peak;
}

/// Turns values into integers.
class Scale {
 public:
  explicit Scale(double peak) : unit_(peak > 0 ? peak / INT16_MAX : 1) {}

  [[nodiscard]] double unit() const { return unit_; }

  [[nodiscard]] std::int16_t operator()(float value) const {
    const double size = static_cast<double>(value) / unit_;
    return std::isfinite(size) ? static_cast<std::int16_t>(std::lround(size)) : missing;
  }

 private:
  double unit_;
};

/// Returns the samples of a stretch as packed integers.
std::string packed_samples(const std::vector<float>& curve, const analysis::Stretch& stretch, const Scale& scale) {
  std::vector<std::int16_t> values;
  values.reserve(stretch.length());
  for (std::size_t i = stretch.begin; i < stretch.end; i++) values.push_back(scale(curve[i]));
  return packed_integers(values);
}

/// Returns the highest and the lowest value of each block of a curve as packed integers; both are missing if more than
/// a quarter of the block's values are, because a peak may be among these.
std::pair<std::string, std::string> packed_blocks(const std::vector<float>& curve, std::size_t block,
                                                  const Scale& scale) {
  std::vector<std::int16_t> highest;
  std::vector<std::int16_t> lowest;
  for (std::size_t begin = 0; begin < curve.size(); begin += block) {
    const std::size_t end = std::min(begin + block, curve.size());
    std::size_t gaps = 0;
    std::int16_t high = missing;
    std::int16_t low = INT16_MAX;
    for (std::size_t i = begin; i < end; i++) {
      const std::int16_t value = scale(curve[i]);
      gaps += value == missing;
      high = std::max(high, value);
      if (value != missing) low = std::min(low, value);
    }
    const bool known = 4 * gaps <= end - begin;
    highest.push_back(known ? high : missing);
    lowest.push_back(known ? low : missing);
  }
  return {packed_integers(highest), packed_integers(lowest)};
}

/// The parts of the curves that the page holds.
struct Held {
  std::vector<analysis::Stretch> stretches;  ///< sample by sample
  std::size_t block = 0;                     ///< length of the blocks of the rest; 0 if there is no rest
};

/// Returns curves with a common scale.
Json packed(std::span<const std::vector<float>> curves, const Held& held) {
  const Scale scale(peak_of(curves, {0, curves[0].size()}));
  Json json = {{"scale", drawable(scale.unit())}, {"pieces", Json::array()}, {"blocks", nullptr}};
  for (const analysis::Stretch& stretch : held.stretches) {
    Json data = Json::array();
    for (const auto& curve : curves) data.push_back(packed_samples(curve, stretch, scale));
    json["pieces"].push_back({{"first", stretch.begin}, {"count", stretch.length()}, {"data", std::move(data)}});
  }
  if (held.block == 0) return json;
  Json highest = Json::array();
  Json lowest = Json::array();
  for (const auto& curve : curves) {
    auto [high, low] = packed_blocks(curve, held.block, scale);
    highest.push_back(std::move(high));
    lowest.push_back(std::move(low));
  }
  json["blocks"] = {{"length", held.block}, {"highest", std::move(highest)}, {"lowest", std::move(lowest)}};
  return json;
}

/// Returns the indices of the events from the worst one, which the page shows first: dips before swells before others,
/// deeper dips and higher swells first, and longer ones first among equals.
std::vector<std::size_t> from_the_worst(const Analysis& analysis) {
  const auto& events = analysis.found.events;
  const auto rank = [&](std::size_t i) {
    const auto terms = terms_of(events[i], analysis);
    const bool dip = events[i].kind == measure::EventKind::dip;
    const bool swell = events[i].kind == measure::EventKind::swell;
    const double percent = std::isfinite(terms.percent) ? terms.percent : 100;
    return std::tuple(dip ? 2 : swell ? 1 : 0, dip ? -percent : swell ? percent : 0, terms.least_seconds);
  };
  std::vector<std::size_t> ranked(events.size());
  std::iota(ranked.begin(), ranked.end(), std::size_t{0});
  std::stable_sort(ranked.begin(), ranked.end(),
                   [&](std::size_t one, std::size_t other) { return rank(one) > rank(other); });
  return ranked;
}

/// Returns the range of the record's seconds in which each event is shown.
Json views_of(const Analysis& analysis, const Curves& curves) {
  Json views = Json::array();
  for (std::size_t i = 0; i < analysis.found.events.size(); i++) {
    const auto shown = view_of(analysis, curves, i).shown;
    const auto seconds = [&](std::size_t sample) {
      return analysis.voltages.record_seconds(static_cast<double>(sample) / analysis.voltages.part.rate);
    };
    views.push_back({drawable(seconds(shown.begin)), drawable(seconds(shown.end))});
  }
  return views;
}

Json curve_json(const assess::Curve& curve, const std::string& name, const assess::CurveSteps& of_curve) {
  Json steps = Json::array();
  for (const auto& step : of_curve) {
    steps.push_back({std::isfinite(step.seconds) ? Json(step.seconds) : Json(), step.percent});
  }
  return {{"code", curve.code},
          {"name", name},
          {"for_swells", curve.for_swells},
          {"from_s", curve.from_seconds},
          {"steps", steps}};
}

/// Returns the curves that the page draws: all that dips are judged by, and those for swells if there is a swell.
Json tolerance(const Analysis& analysis) {
  const auto& events = analysis.found.events;
  const bool swells = std::any_of(events.begin(), events.end(),
                                  [](const measure::Event& event) { return event.kind == measure::EventKind::swell; });
  Json list = Json::array();
  for (const assess::Curve& curve : analysis::tolerance_curves(analysis)) {
    if (curve.for_swells && !swells) continue;
    list.push_back(curve_json(curve, curve.name, curve.steps));
    if (!curve.three_phase_steps.empty()) {
      list.push_back(curve_json(curve, curve.name + " for three-phase dips", curve.three_phase_steps));
    }
  }
  return list;
}

/// Returns the currents over the analysed part, amperes, in the order of the document.
std::vector<std::vector<float>> currents_of(const readers::Record& record, const Analysis& analysis) {
  std::vector<std::vector<float>> curves;
  if (!analysis.currents) return curves;
  for (std::size_t i = 0; i < analysis.currents->count(); i++) {
    const readers::Channel& channel = record.channels[analysis.currents->channel(i)];
    const double factor = readers::amperes_per_unit(channel);
    std::vector<float>& curve = curves.emplace_back();
    const readers::Part& part = analysis.voltages.part;
    for (std::size_t sample = part.begin; sample < part.end; sample++) {
      const double amperes = factor * channel.samples[sample];
      curve.push_back(static_cast<float>(readers::fits_float(amperes) ? amperes : readers::no_value));
    }
  }
  return curves;
}

/// Chooses what the page holds of curves: all samples of a short record, and those round the events of a long one.
Held held_of(const Analysis& analysis, const Curves& curves, const std::vector<std::size_t>& ranked,
             std::size_t channels) {
  const std::size_t length = curves.volts[0].size();
  const std::size_t most = most_samples / channels;
  Held held = {detailed_stretches(analysis, curves, ranked, most), 0};
  if (length <= most) return held;
  const double least = std::ceil(least_block_cycles * analysis.voltages.samples_per_cycle());
  held.block = std::max(static_cast<std::size_t>(std::max(least, 1.0)), (length + most_blocks - 1) / most_blocks);
  return held;
}

/// Returns the curves and what the page needs to draw them.
Json samples_of(const readers::Record& record, const Analysis& analysis, const Curves& curves) {
  const std::size_t phases = analysis.voltages.phases;
  const auto currents = currents_of(record, analysis);
  const auto ranked = from_the_worst(analysis);
  const Held held = held_of(analysis, curves, ranked, phases + currents.size());
  Json samples = {{"start_s", drawable(analysis.voltages.record_seconds(0))},
                  {"rate", drawable(analysis.voltages.part.rate)},
                  {"count", curves.volts[0].size()},
                  {"wave", packed(std::span(curves.volts).first(phases), held)},
                  {"rms", packed(std::span(curves.rms).first(phases), held)},
                  {"views", views_of(analysis, curves)},
                  {"tolerance", tolerance(analysis)}};
  if (!currents.empty()) samples["currents"] = packed(currents, held);
  samples["worst"] = ranked.empty() ? Json() : Json(ranked.front());
  return samples;
}

/// Makes JSON safe inside a script element; only strings contain a "<".
std::string inert_json(std::string json) {
  for (std::size_t at = json.find('<'); at != std::string::npos; at = json.find('<', at))
    json.replace(at, 1, "\\u003c");
  return json;
}

}  // namespace

std::string page_of(const readers::Record& record, const Analysis& analysis, const Curves& curves) {
  const std::string samples = inert_json(samples_of(record, analysis, curves).dump());
  std::string page;
  std::size_t at = 0;
  const auto fill = [&](std::string_view mark, const std::string& text) {
    const std::size_t place = page_template.find(mark, at);
    page += page_template.substr(at, place - at);
    page += text;
    at = place + mark.size();
  };
  fill("{{title}}", markup_text(record.file));
  fill("{{document}}", inert_json(json_of(record, analysis)));
  fill("{{samples}}", samples);
  page += page_template.substr(at);
  return page;
}

}  // namespace outputs
