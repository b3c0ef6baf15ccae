#include "outputs/library_json.h"

#include "outputs/dip_category_name.h"
#include "outputs/rounding.h"

namespace outputs {

using analysis::AnalysedVoltages;
using analysis::embedded::ResultDip;
using analysis::embedded::Results;
using analysis::embedded::ResultSegment;

namespace {

using Json = nlohmann::ordered_json;

Json position(std::size_t sample, const AnalysedVoltages& voltages) {
  const double seconds = static_cast<double>(sample) / voltages.part.rate;
  return {{"sample", voltages.part.begin + sample}, {"time_s", rounded_seconds(voltages.record_seconds(seconds))}};
}

Json rounded(const std::array<double, 3>& values, double (*rounding)(double)) {
  return {rounding(values[0]), rounding(values[1]), rounding(values[2])};
}

Json segment_of(const ResultSegment& segment, const AnalysedVoltages& voltages) {
  return {{"start", position(segment.begin, voltages)},
          {"end", position(segment.end, voltages)},
          {"residual_v", rounded(segment.residual_v, rounded_volts)},
          {"phase_jump_degrees", rounded(segment.phase_jump_degrees, rounded_degrees)},
          {"phases_below_threshold", phase_letters(segment.phases_below)},
          {"category", {{"code", segment.category}, {"name", dip_category_name(segment.category)}}},
          {"unbalance_percent", rounded_percent(segment.unbalance_percent)}};
}

Json dip_of(const ResultDip& dip, const AnalysedVoltages& voltages) {
  Json json = {{"start", position(dip.begin, voltages)},
               {"end", position(dip.end, voltages)},
               {"outcome", dip.outcome},
               {"duration_s", rounded_seconds(dip.duration_s)},
               {"point_on_wave_degrees", rounded(dip.point_on_wave_degrees, rounded_degrees)},
               {"fastest_change_v_per_s", rounded(dip.fastest_change_v_per_s, rounded_volts)},
               {"segments", Json::array()}};
  for (const ResultSegment& segment : dip.segments) json["segments"].push_back(segment_of(segment, voltages));
  return json;
}

}  // namespace

Json library_json(const Results& results, const AnalysedVoltages& voltages) {
  if (!results.refusal.empty()) return {{"refusal", results.refusal}};
  Json json = {{"refusal", nullptr},
               {"factor", results.factor},
               {"nominal_v", rounded_volts(results.nominal_v)},
               {"threshold_v", rounded_volts(results.threshold_v)},
               {"unfinished_dip", results.unfinished_dip ? position(*results.unfinished_dip, voltages) : Json()},
               {"dips", Json::array()}};
  for (const ResultDip& dip : results.dips) json["dips"].push_back(dip_of(dip, voltages));
  return json;
}

}  // namespace outputs
