#include "outputs/csv.h"

#include <fmt/format.h>

#include <string_view>

#include "analysis/event_terms.h"
#include "outputs/dip_category_name.h"
#include "readers/text.h"

namespace outputs {

using analysis::Analysis;
using analysis::Dip;
using analysis::Obstacle;
using analysis::Segment;

namespace {

constexpr const char* heading =
    "file,start_time,voltages,dip,kind,dip_start_s,dip_end_s,duration_s,residual_percent,residual_percent_of_declared,"
    "depth_percent,en50160_cell,"
    "point_on_wave_a_deg,point_on_wave_b_deg,point_on_wave_c_deg,"
    "segment,segment_start_s,segment_end_s,category_code,category,phases_below,"
    "residual_a_v,residual_b_v,residual_c_v,residual_a_percent,residual_b_percent,residual_c_percent,"
    "residual_a_percent_of_declared,residual_b_percent_of_declared,residual_c_percent_of_declared,"
    "phase_jump_a_deg,phase_jump_b_deg,phase_jump_c_deg,unbalance_percent,not_analysed\n";

/// One row, field by field.
class Row {
 public:
  Row& text(const std::string& value) { return add(csv_field(value)); }
  Row& number(double value) { return add(fmt::format("{}", value)); }
  Row& number(std::size_t value) { return add(fmt::format("{}", value)); }
  Row& number(const std::optional<double>& value) { return value ? number(*value) : skip(1); }
  Row& numbers(const std::array<double, 3>& values) {
    for (const double value : values) number(value);
    return *this;
  }
  Row& skip(int fields) {
    for (int i = 0; i < fields; i++) add("");
    return *this;
  }
  [[nodiscard]] std::string line() const { return row_ + '\n'; }

 private:
  Row& add(std::string_view field) {
    if (!first_) row_ += ',';
    first_ = false;
    row_ += field;
    return *this;
  }
  std::string row_;
  bool first_ = true;
};

}  // namespace

std::string csv_field(const std::string& text) {
  constexpr std::string_view calculating = "=+-@";
  std::string field = readers::inert(text);
  if (!field.empty() && calculating.find(field.front()) != std::string_view::npos) field.insert(0, "'");
  if (field.find_first_of(",\"") == std::string::npos) return field;
  for (std::size_t i = field.find('"'); i != std::string::npos; i = field.find('"', i + 2)) field.insert(i, "\"");
  return '"' + field + '"';
}

std::string csv_of(const readers::Record& record, const Analysis& analysis) {
  std::string table = heading;
  const auto seconds = [&](std::size_t sample) { return analysis.voltages.seconds_at(sample); };
  for (std::size_t i = 0; i < analysis.dips.size(); i++) {
    const Dip& dip = analysis.dips[i];
    const auto terms = terms_of(dip, analysis);
    Row about;
    about.text(record.file).text(record.start_time);
    about.text(analysis.voltages.between_phases ? "line-to-line" : "phase");
    about.number(i + 1).text(kind_of(terms)).number(seconds(dip.start));
    about.number(dip.end ? std::optional(seconds(*dip.end)) : std::nullopt).number(terms.seconds);
    about.number(terms.residual_percent).number(analysis.percent_of_declared(terms.residual));
    about.number(terms.depth_percent).text(en50160_cell(terms));
    if (dip.point_on_wave) {
      about.numbers(*dip.point_on_wave);
    } else {
      about.skip(3);
    }
    if (dip.segments.empty()) {
      Row row = about;
      constexpr int fields_of_a_segment = 19;
      row.skip(fields_of_a_segment);
      table += row.text(dip.obstacle == Obstacle::none ? "" : describe(dip.obstacle).code).line();
    }
    for (std::size_t s = 0; s < dip.segments.size(); s++) {
      const Segment& segment = dip.segments[s];
      Row row = about;
      row.number(s + 1).number(seconds(segment.samples.begin)).number(seconds(segment.samples.end));
      row.number(static_cast<std::size_t>(segment.category)).text(dip_category_name(segment.category));
      row.text(phase_letters(segment.low_mask)).numbers(segment.residual);
      for (const double volts : segment.residual) row.number(analysis.percent(volts));
      for (const double volts : segment.residual) row.number(analysis.percent_of_declared(volts));
      row.numbers(segment.phase_jump);
      table += row.number(segment.unbalance).skip(1).line();
    }
  }
  return table;
}

}  // namespace outputs
