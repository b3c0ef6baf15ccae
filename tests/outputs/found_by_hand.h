// Findings that are written down by hand, so that every figure of an output is known.
#pragma once

#include <cmath>
#include <complex>
#include <numbers>
#include <string>

#include "analysis/findings.h"
#include "readers/record.h"

namespace tests {

inline readers::Record a_record(const std::string& file = "record.cfg") {
  readers::Record record;
  record.file = file;
  record.format = "CSV";
  for (const char* name : {"Ua", "Ub", "Uc"}) {
    readers::Channel channel;
    channel.name = name;
    channel.unit = "V";
    record.channels.push_back(channel);
  }
  return record;
}

/// A second of three phase voltages at 50 Hz that begins ten seconds into its record, with no event.
inline analysis::Analysis nothing_found() {
  analysis::Analysis analysis;
  analysis.voltages.channels = {0, 1, 2};
  analysis.voltages.part = {32000, 35200, 3200, 10};
  analysis.voltages.line_frequency = 50;
  analysis.found.frequency = 50;
  analysis.found.reference_v = {230, 230, 230};
  analysis.usual_v = {230, 230, 230};
  analysis.lowest_rms_v = {227.7, 229, 230};
  analysis.highest_rms_v = {230, 230, 232.3};
  return analysis;
}

/// Phase A at a share of 230 V, turned by some degrees; the others as before.
inline measure::Segment segment_of_a(double start_s, double end_s, double share, double degrees) {
  measure::Segment segment;
  segment.start_s = start_s;
  segment.end_s = end_s;
  for (std::size_t phase = 0; phase < 3; phase++) {
    auto& figures = segment.phases[phase];
    const double own = phase == 0 ? share : 1;
    figures.voltage_v = {230 * own, 0.25};
    figures.share_of_before = own;
    figures.phase_jump_degrees = measure::Figure{phase == 0 ? degrees : 0, 0.5};
    figures.below_threshold = own < 0.9;
  }
  segment.sequences = measure::Sequences{200, 50, 12.5, 25.0};
  segment.type = measure::DipType{'D', {true, false, false}, std::polar(share, degrees * std::numbers::pi / 180), 1, 3};
  return segment;
}

/// A dip of phase A to 115 V, by the standard from 10.29 s to 10.53 s, on the waveform from 10.3 s to 10.5 s, in two
/// segments: 50 % turned by -20 degrees until 10.4 s, then 70 % and not turned.
inline measure::Event a_dip() {
  measure::Event dip;
  dip.start_s = 0.29;
  dip.end_s = 0.53;
  dip.extreme_v = 115;
  dip.reference_v = 230;
  dip.phases = {true, false, false};
  dip.lowest_v = {115, 229, 230};
  dip.highest_v = {230, 230, 231};
  measure::Course& course = dip.course.emplace();
  course.start_s = measure::Figure{0.3, 0.0001};
  course.end_s = measure::Figure{0.5, 0.00025};
  course.point_on_wave_degrees = {measure::Figure{90, 1.8}, measure::Figure{330, 1.8}, measure::Figure{210, 1.8}};
  course.before = {230, std::polar(230.0, -2.0943951), std::polar(230.0, 2.0943951)};
  course.frequency = 50;
  course.frequency_before = 50.01;
  course.segments = {segment_of_a(0.3, 0.4, 0.5, -20), segment_of_a(0.401, 0.5, 0.7, 0)};
  course.transitions = {{0.3, 0.3, false, {true, false, false}},
                        {0.4, 0.401, false, {true, false, false}},
                        {0.5, 0.5, false, {true, false, false}}};
  course.explained_share = 0.975;
  return dip;
}

inline analysis::Analysis one_dip_found() {
  analysis::Analysis analysis = nothing_found();
  analysis.found.events = {a_dip()};
  return analysis;
}

}  // namespace tests
