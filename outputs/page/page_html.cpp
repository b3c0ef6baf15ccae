#include "outputs/page/page_html.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <tuple>

#include "analysis/event_terms.h"
#include "outputs/figure_view.h"
#include "outputs/json.h"
#include "outputs/markup.h"

namespace outputs {

using analysis::Analysis;
using analysis::Curves;
using analysis::tolerance_curves;

namespace {

using Json = nlohmann::ordered_json;

/// Beyond this many values per phase, curves are thinned; 60 s of 60 Hz at 128 per cycle keep every sample.
constexpr std::size_t most_wave_values = 460800;
/// RMS curves are smooth over many samples.
constexpr std::size_t most_rms_values = 100000;
/// Of the worst event, where the record is thinned.
constexpr std::size_t most_detail_values = 60000;

std::string base64(const std::vector<std::uint8_t>& bytes) {
  constexpr std::string_view digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    const auto byte = [&](std::size_t k) { return i + k < bytes.size() ? unsigned{bytes[i + k]} : 0U; };
    const unsigned bits = byte(0) << 16 | byte(1) << 8 | byte(2);
    for (int digit = 0; digit < 4; digit++) text += digits[bits >> (18 - 6 * digit) & 63];
    if (i + 1 >= bytes.size()) text[text.size() - 2] = '=';
    if (i + 2 >= bytes.size()) text.back() = '=';
  }
  return text;
}

/// Largest magnitude of the values that are there.
double peak_of(const analysis::Waveform& curves, const analysis::Stretch& stretch) {
  double peak = 0;
  for (const auto& curve : curves) {
    for (std::size_t i = stretch.begin; i < std::min(stretch.end, curve.size()); i++) {
      const double size = std::abs(static_cast<double>(curve[i]));
      if (std::isfinite(size)) peak = std::max(peak, size);
    }
  }
  return peak;
}

/// A stretch of each phase's curve as 16-bit integers of a common scale: as many values as there may be at most, evenly
/// spaced. A missing value is the lowest integer, which no other one becomes.
Json packed(const analysis::Waveform& curves, std::size_t phases, const analysis::Stretch& stretch, std::size_t most) {
  const std::size_t step = std::max<std::size_t>((stretch.length() + most - 1) / most, 1);
  const double peak = peak_of(curves, stretch);
  const double scale = peak > 0 ? peak / INT16_MAX : 1;
  Json data = Json::array();
  for (std::size_t phase = 0; phase < phases; phase++) {
    std::vector<std::uint8_t> bytes;
    bytes.reserve(2 * (stretch.length() / step + 1));
    for (std::size_t i = stretch.begin; i < stretch.end; i += step) {
      const double size = static_cast<double>(curves[phase][i]) / scale;
      const auto value = static_cast<std::uint16_t>(std::isfinite(size) ? std::lround(size) : INT16_MIN);
      bytes.push_back(static_cast<std::uint8_t>(value & 0xFFU));
      bytes.push_back(static_cast<std::uint8_t>(value >> 8U));
    }
    data.push_back(base64(bytes));
  }
  return {{"first", stretch.begin}, {"step", step}, {"scale", scale}, {"data", std::move(data)}};
}

/// The event that the page opens on: the deepest dip, of equally deep ones the longest; without dips the highest swell;
/// otherwise the first event.
std::optional<std::size_t> worst_event(const Analysis& analysis) {
  const auto& events = analysis.found.events;
  const auto rank = [&](std::size_t i) {
    const auto terms = terms_of(events[i], analysis);
    const bool dip = events[i].kind == measure::EventKind::dip;
    const bool swell = events[i].kind == measure::EventKind::swell;
    return std::tuple(dip ? 2 : swell ? 1 : 0, dip ? -terms.percent : swell ? terms.percent : 0, terms.least_seconds);
  };
  std::optional<std::size_t> worst;
  for (std::size_t i = 0; i < events.size(); i++) {
    if (!worst || rank(i) > rank(*worst)) worst = i;
  }
  return worst;
}

/// The record's seconds from which to which each event is shown.
Json views_of(const Analysis& analysis, const Curves& curves) {
  Json views = Json::array();
  for (const measure::Event& event : analysis.found.events) {
    const auto shown = view_of(analysis, curves, &event).shown;
    const auto seconds = [&](std::size_t sample) {
      return analysis.voltages.record_seconds(static_cast<double>(sample) / analysis.voltages.part.rate);
    };
    views.push_back({seconds(shown.begin), seconds(shown.end)});
  }
  return views;
}

Json tolerance() {
  Json list = Json::array();
  for (const auto& curve : tolerance_curves()) {
    Json steps = Json::array();
    for (const auto& step : curve.steps) {
      steps.push_back({std::isfinite(step.seconds) ? Json(step.seconds) : Json(), step.percent});
    }
    list.push_back({{"code", curve.code}, {"name", curve.name}, {"from_s", curve.from_seconds}, {"steps", steps}});
  }
  return list;
}

/// The curves and what goes with them: all of the waveform, thinned where it is long, and the worst event in detail
/// where it would otherwise be thinned.
Json samples_of(const Analysis& analysis, const Curves& curves) {
  const std::size_t phases = analysis.voltages.phases;
  const analysis::Stretch whole = {0, curves.volts[0].size()};
  Json samples = {{"start_s", analysis.voltages.record_seconds(0)},
                  {"rate", analysis.voltages.part.rate},
                  {"count", whole.length()},
                  {"wave", packed(curves.volts, phases, whole, most_wave_values)},
                  {"rms", packed(curves.rms, phases, whole, most_rms_values)},
                  {"views", views_of(analysis, curves)},
                  {"tolerance", tolerance()}};
  const auto worst = worst_event(analysis);
  samples["worst"] = worst ? Json(*worst) : Json();
  if (worst && whole.length() > std::min(most_wave_values, most_rms_values)) {
    const auto shown = view_of(analysis, curves, &analysis.found.events[*worst]).shown;
    samples["detail"] = {{"wave", packed(curves.volts, phases, shown, most_detail_values)},
                         {"rms", packed(curves.rms, phases, shown, most_detail_values)}};
  }
  return samples;
}

/// JSON as it may appear within a script element: only strings hold a "<".
std::string inert_json(std::string json) {
  for (std::size_t at = json.find('<'); at != std::string::npos; at = json.find('<', at))
    json.replace(at, 1, "\\u003c");
  return json;
}

}  // namespace

std::string page_of(const readers::Record& record, const Analysis& analysis, const Curves& curves) {
  const std::string samples = samples_of(analysis, curves).dump();
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
