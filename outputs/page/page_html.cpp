#include "outputs/page/page_html.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <nlohmann/json.hpp>

#include "analysis/event_terms.h"
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

/// Three curves as 16-bit integers of a common scale, every `step`-th value.
Json packed(const std::array<std::vector<float>, 3>& curves, std::size_t most) {
  const std::size_t step = std::max<std::size_t>((curves[0].size() + most - 1) / most, 1);
  double peak = 0;
  for (const auto& curve : curves) {
    for (const float value : curve) peak = std::max(peak, static_cast<double>(std::abs(value)));
  }
  const double scale = peak > 0 ? peak / INT16_MAX : 1;
  Json data = Json::array();
  for (const auto& curve : curves) {
    std::vector<std::uint8_t> bytes;
    bytes.reserve(2 * (curve.size() / step + 1));
    for (std::size_t i = 0; i < curve.size(); i += step) {
      const auto value = static_cast<std::uint16_t>(std::lround(static_cast<double>(curve[i]) / scale));
      bytes.push_back(static_cast<std::uint8_t>(value & 0xFFU));
      bytes.push_back(static_cast<std::uint8_t>(value >> 8U));
    }
    data.push_back(base64(bytes));
  }
  return {{"step", step}, {"scale", scale}, {"data", std::move(data)}};
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

/// JSON as it may stand within a script element: only strings hold a "<".
std::string inert_json(std::string json) {
  for (std::size_t at = json.find('<'); at != std::string::npos; at = json.find('<', at))
    json.replace(at, 1, "\\u003c");
  return json;
}

}  // namespace

std::string page_of(const readers::Record& record, const Analysis& analysis, const Curves& curves) {
  const Json samples = {{"start_s", analysis.voltages.start},
                        {"count", curves.volts[0].size()},
                        {"wave", packed(curves.volts, most_wave_values)},
                        {"rms", packed(curves.rms, most_rms_values)},
                        {"tolerance", tolerance()}};
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
  fill("{{samples}}", samples.dump());
  page += page_template.substr(at);
  return page;
}

}  // namespace outputs
