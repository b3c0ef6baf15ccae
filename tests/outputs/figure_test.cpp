// Tests dipx analyse --svg: the contents of an event's figure and their positions.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <fstream>
#include <iomanip>
#include <limits>
#include <nlohmann/json.hpp>
#include <numbers>
#include <sstream>

#include "outputs/figures_text.h"
#include "tests/command/dipx_command.h"
#include "tests/command/synth_record.h"
#include "tests/core/working_folder.h"

namespace {

using nlohmann::json;
using tests::bytes_of;
using tests::dipx;
using tests::write_csv;

struct Point {
  double x;
  double y;
};

std::size_t count(const std::string& text, const std::string& part) {
  std::size_t found = 0;
  for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) found++;
  return found;
}

/// The points of the n-th path of a class.
std::vector<Point> path(const std::string& svg, const std::string& kind, std::size_t n) {
  std::size_t at = 0;
  for (std::size_t i = 0; i <= n; i++) at = svg.find("<path class=\"" + kind + "\"", at + 1);
  const std::size_t begin = svg.find(" d=\"", at) + 4;
  std::string numbers = svg.substr(begin, svg.find('"', begin) - begin);
  std::replace_if(
      numbers.begin(), numbers.end(), [](char c) { return std::isalpha(static_cast<unsigned char>(c)) != 0; }, ' ');
  std::istringstream in(numbers);
  std::vector<Point> points;
  for (Point point{}; in >> point.x >> point.y;) points.push_back(point);
  return points;
}

// The frame, in millimetres.
constexpr double frame_left = 11;
constexpr double frame_right = 74.2;
constexpr double rms_height = 27;

/// Returns the seconds that a figure shows: an event and its course, with a fifth of it or a number of cycles on either
/// side.
struct Shown {
  double from;
  double to;
  [[nodiscard]] double across(double seconds) const {
    return frame_left + (seconds - from) / (to - from) * (frame_right - frame_left);
  }
};

/// What is shown of a document's event that lies within its record, margins and all.
Shown shown_of(const json& document, double margin_cycles = 3) {
  const auto& event = document["events"][0];
  const json none;
  const json& course = event.contains("course") ? event["course"] : none;
  double from = event["start"]["time_s"];
  double to = event["end"]["time_s"];
  if (!course.is_null()) {
    from = std::min(from, course["start_s"].get<double>());
    to = std::max(to, course["end_s"].get<double>());
  }
  const double line_frequency = document["record"]["line_frequency_hz"];
  const double margin = std::max((to - from) / 5, margin_cycles / line_frequency);
  return {from - margin, to + margin};
}

/// Returns the value of an attribute of the n-th element of a class.
double attribute(const std::string& svg, const std::string& element, const std::string& name, std::size_t n = 0) {
  std::size_t at = 0;
  for (std::size_t i = 0; i <= n; i++) at = svg.find(element, at + 1);
  const std::size_t begin = svg.find(" " + name + "=\"", at) + name.size() + 3;
  return std::stod(svg.substr(begin));
}

/// The frame of a panel from above, millimetres.
struct Panel {
  double top;
  double bottom;
};

Panel panel(const std::string& svg, const std::string& name) {
  const std::string frame = "<rect class=\"frame " + name + "\"";
  const double top = attribute(svg, frame, "y");
  return {top, top + attribute(svg, frame, "height")};
}

/// The millimetres of a level in the RMS panel that begins at zero.
double up(const std::string& svg, double percent, double highest_percent) {
  const auto [top, bottom] = panel(svg, "rms");
  return bottom - percent / highest_percent * (bottom - top);
}

/// Whether the figures within the paths and shapes are all finite.
void expect_finite(const std::string& svg) {
  for (const char* odd : {"nan", "inf", "NaN", "Infinity"}) EXPECT_EQ(svg.find(odd), std::string::npos) << odd;
}

class Figure : public testing::Test {
 protected:
  /// The figure of a record's first event, and the record's document in `document`.
  std::string figure(const synth::DipDescription& dip, const std::vector<std::string>& more = {}) {
    write_csv(dip, "record.csv");
    return figure_of_file("record.csv", more);
  }

  std::string figure_of_file(const std::string& file, const std::vector<std::string>& more = {}) {
    std::vector<std::string> arguments = {"analyse", file, "--json", "--svg", "figure.svg"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    const auto result = dipx(arguments);
    EXPECT_EQ(result.status, 0) << result.err;
    document = json::parse(result.out);
    const auto svg = bytes_of("figure.svg");
    expect_finite(svg);
    return svg;
  }

  tests::WorkingFolder folder;
  json document;
};

synth::DipDescription one_dip() {
  synth::DipDescription dip;
  dip.phases = "B";
  dip.start = 0.5;
  dip.durations = {0.5};
  dip.depths = {60};
  return dip;
}

/// A record of 6400 samples per second whose voltages are sines of 230 V times a factor of phase and time, left out
/// where that is not a number.
template <typename Factor>
void write_record(const std::string& file, double length_s, std::size_t phases, Factor factor) {
  std::ofstream out(file);
  out << "t_s";
  for (std::size_t phase = 0; phase < phases; phase++)
    out << ",U"
        << "abc"[phase];
  out << '\n' << std::setprecision(9);
  for (int i = 0; i < 6400 * length_s; i++) {
    const double t = i / 6400.0;
    out << t;
    for (std::size_t phase = 0; phase < phases; phase++) {
      const double share = factor(phase, t);
      const double angle = 2 * std::numbers::pi * (50 * t - static_cast<double>(phase) / 3);
      out << ',';
      if (std::isfinite(share)) out << share * 230 * std::numbers::sqrt2 * std::sin(angle);
    }
    out << '\n';
  }
}

TEST_F(Figure, IsOneColumnWide) {
  const auto svg = figure(one_dip());
  EXPECT_TRUE(svg.starts_with("<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"84mm\" ")) << svg.substr(0, 200);
}

TEST_F(Figure, DrawsCurvesStepsTransitionsAndTheThreshold) {
  const auto svg = figure(one_dip());
  EXPECT_EQ(count(svg, "<path class=\"wave\""), 3U);
  EXPECT_EQ(count(svg, "<path class=\"rms\""), 3U);
  EXPECT_EQ(count(svg, "<path class=\"threshold\""), 1U);
  EXPECT_EQ(count(svg, ">90 %<"), 1U);
  EXPECT_EQ(count(svg, ">Thresholds</tspan>: dip 90 %<"), 1U);
  EXPECT_EQ(count(svg, "<path class=\"boundary\""), 2U);
  EXPECT_EQ(count(svg, "<rect class=\"segment\""), 1U);
  EXPECT_EQ(count(svg, "<path class=\"step\""), 3U);
  EXPECT_EQ(count(svg, "<path class=\"transition abrupt\""), 2U);
  EXPECT_EQ(count(svg, "transition gradual"), 0U);
  EXPECT_EQ(count(svg, "<circle class=\"point-on-wave\""), 3U);
}

/// Compares the drawing of a record's one dip of B to 40 % with the times of its document.
void expect_one_time_axis(const std::string& svg, const json& document) {
  const Shown shown = shown_of(document);
  const auto& event = document["events"][0];
  const auto& course = event["course"];
  // A sample is less than a tenth of a printer's dot here; two roundings to 0.01 mm are added.
  constexpr double near = 0.03;
  EXPECT_NEAR(path(svg, "boundary", 0)[0].x, shown.across(event["start"]["time_s"]), near);
  EXPECT_NEAR(path(svg, "boundary", 1)[0].x, shown.across(event["end"]["time_s"]), near);
  EXPECT_NEAR(path(svg, "transition abrupt", 0)[0].x, shown.across(course["start_s"]), near);
  const auto& segment = course["segments"][0];
  EXPECT_NEAR(attribute(svg, "<rect class=\"segment\"", "x"), shown.across(segment["start_s"]), near);
  EXPECT_NEAR(attribute(svg, "<circle class=\"point-on-wave\"", "cx"), shown.across(course["start_s"]), near);
  // B's step is at 40 % from the segment's beginning to its end.
  EXPECT_NEAR(path(svg, "step", 1)[0].x, shown.across(segment["start_s"]), near);
  EXPECT_NEAR(path(svg, "step", 1)[0].y, up(svg, 40, 105), 0.02);
  // B's one-cycle RMS passes the threshold within the cycle after the course begins, and after it ends.
  const auto rms = path(svg, "rms", 1);
  const auto below = [&](const Point& point) { return point.y > up(svg, 90, 105); };
  const auto first = std::find_if(rms.begin(), rms.end(), below);
  const auto last = std::find_if(rms.rbegin(), rms.rend(), below);
  ASSERT_NE(first, rms.end());
  EXPECT_GT(first->x, shown.across(course["start_s"]));
  EXPECT_LT(first->x, shown.across(course["start_s"].get<double>() + 0.02));
  EXPECT_GT(last->x, shown.across(course["end_s"]));
  EXPECT_LT(last->x, shown.across(course["end_s"].get<double>() + 0.02));
  const auto lowest = std::max_element(rms.begin(), rms.end(), [](auto a, auto b) { return a.y < b.y; });
  EXPECT_NEAR(lowest->y, up(svg, 40, 105), 0.02);
  // The curve begins and ends at the frame.
  EXPECT_NEAR(rms.front().x, frame_left, 0.01);
  EXPECT_NEAR(rms.back().x, frame_right, 0.2);
}

TEST_F(Figure, PutsBoundsSegmentsAndCurvesOnOneTimeAxis) {
  const auto svg = figure(one_dip());
  EXPECT_NEAR(document["events"][0]["course"]["start_s"], 0.5, 1e-3);
  expect_one_time_axis(svg, document);
}

TEST_F(Figure, PutsCurvesOfAnyRateAtTheirTimes) {
  auto dip = one_dip();
  dip.rate = 5120;
  const auto svg = figure(dip);
  EXPECT_NEAR(document["events"][0]["course"]["start_s"], 0.5, 1e-3);
  expect_one_time_axis(svg, document);
}

TEST_F(Figure, PutsAPartAtItsTimes) {
  ASSERT_EQ(
      dipx({"synth", "--phases", "B", "--start", "0.5", "--duration", "0.5", "--depth", "60", "-o", "part.cfg"}).status,
      0);
  std::istringstream whole(bytes_of("part.dat"));
  std::ofstream part("part.dat");
  // A tenth of a second is missing, but the numbers of the rows continue.
  int number = 1;
  int row = 0;
  for (std::string line; std::getline(whole, line); row++) {
    if (row < 640 || row >= 1280) part << number++ << line.substr(line.find(',')) << '\n';
  }
  part.close();
  const auto svg = figure_of_file("part.cfg");
  EXPECT_EQ(document["record"]["part"]["number"], 2);
  EXPECT_NEAR(document["events"][0]["course"]["start_s"], 0.5, 1e-3);
  expect_one_time_axis(svg, document);
}

TEST_F(Figure, ShowsPerCentOfTheReference) {
  const auto svg = figure(one_dip(), {"--nominal", "220"});
  EXPECT_NE(svg.find(">Dip</tspan> of B: residual voltage 92.00 V (41.8 %), "), std::string::npos);
  EXPECT_NE(svg.find(">% of the declared voltage, 220.0 V<"), std::string::npos);
  EXPECT_NE(svg.find(">Thresholds</tspan>: dip 90 %<"), std::string::npos);
  // The panel reaches 3 % further than the highest voltage, 230 V.
  EXPECT_NEAR(path(svg, "threshold", 0)[0].y, up(svg, 90, 1.03 * 230 / 2.2), 0.05);
}

TEST_F(Figure, ShowsPerCentOfTheDeclaredVoltageInAdditionToAnotherReference) {
  const auto svg = figure(one_dip(), {"--nominal", "200", "--reference", "pre-event"});
  EXPECT_NE(svg.find(">Dip</tspan> of B: residual voltage 92.00 V (40.0 %, 46.0 % of declared),"), std::string::npos);
}

TEST_F(Figure, DrawsTheThresholdThatWasGiven) {
  const auto svg = figure(one_dip(), {"--dip-threshold", "80"});
  EXPECT_NE(svg.find(">Thresholds</tspan>: dip 80 %<"), std::string::npos);
  EXPECT_NEAR(path(svg, "threshold", 0)[0].y, up(svg, 80, 105), 0.02);
}

TEST_F(Figure, StatesThatVoltagesAreBetweenPhases) {
  write_csv(one_dip(), "phases.csv");
  auto bytes = bytes_of("phases.csv");
  bytes.replace(bytes.find("Ua_V,Ub_V,Uc_V"), 14, "Uab_V,Ubc_V,Uca_V");
  std::ofstream("lines.csv") << bytes;
  EXPECT_EQ(dipx({"analyse", "lines.csv", "--line-to-line", "--svg", "figure.svg"}).status, 0);
  const auto svg = bytes_of("figure.svg");
  EXPECT_NE(svg.find(">The voltages are those between phases.<"), std::string::npos);
  EXPECT_NE(svg.find(">BC: Ubc<"), std::string::npos) << "the legend";
  EXPECT_NE(svg.find(">Dip</tspan> of BC: residual voltage 92.00 V (40.0 %), "), std::string::npos);
}

TEST_F(Figure, ListsTheDipAndItsSegments) {
  synth::DipDescription dip = one_dip();
  dip.depths = {60, 30};
  const auto svg = figure(dip);
  EXPECT_NE(svg.find(">Dip</tspan> of B: residual voltage 92.00 V (40.0 %), 1.0"), std::string::npos)
      << svg.substr(svg.size() - 600);
  EXPECT_NE(svg.find(">Segment 1</tspan>: type B (B): A\u00A0100.0 %, B\u00A040.0 %, C\u00A0100.0 %<"),
            std::string::npos);
  EXPECT_NE(svg.find(">Segment 2</tspan>: type B (B): A\u00A0100.0 %, B\u00A070.0 %, C\u00A0100.0 %<"),
            std::string::npos);
}

TEST_F(Figure, NamesThePointOnWave) {
  auto dip = one_dip();
  dip.point_on_wave = 30;
  const auto svg = figure(dip);
  // C lags A by 240 degrees, B by 120.
  const auto& angles = document["events"][0]["course"]["point_on_wave"];
  EXPECT_NEAR(angles[0]["degrees"], 30, angles[0]["degrees_plus_minus"]);
  const auto shown = outputs::angle_text(measure::Figure{angles[0]["degrees"], angles[0]["degrees_plus_minus"]});
  EXPECT_NE(svg.find(">Point on wave</tspan>: A\u00A0" + shown + ", "), std::string::npos) << shown;
}

TEST_F(Figure, HatchesGradualSegmentsAndTransitions) {
  auto dip = one_dip();
  dip.recovery = 0.5;
  dip.length = 3;
  const auto svg = figure(dip);
  const auto& course = document["events"][0]["course"];
  const auto& transitions = course["transitions"];
  std::size_t gradual = 0;
  for (const auto& transition : transitions) gradual += transition["gradual"] ? 1 : 0;
  for (const auto& segment : course["segments"]) gradual += segment["gradual"] ? 1 : 0;
  EXPECT_GE(gradual, 1U) << "half a second of recovery";
  EXPECT_EQ(count(svg, "fill=\"url(#hatch)\""), gradual);
  EXPECT_EQ(count(svg, "<path class=\"transition abrupt\""),
            static_cast<std::size_t>(std::count_if(transitions.begin(), transitions.end(),
                                                   [](const json& transition) { return !transition["gradual"]; })));
}

TEST_F(Figure, BreaksLinesBelowItThatAreWiderThanTheColumn) {
  const auto svg = figure(one_dip(), {"--nominal", "200", "--reference", "pre-event"});
  EXPECT_NE(svg.find(">Dip</tspan> of B: residual voltage 92.00 V (40.0 %, 46.0 % of declared),"), std::string::npos);
  std::size_t lines = 0;
  for (auto at = svg.find("font-size=\"2.10\">"); at != svg.npos; at = svg.find("font-size=\"2.10\">", at + 1)) {
    std::string line = svg.substr(at + 17, svg.find("</text>", at) - at - 17);
    for (const std::string tag : {"<tspan font-weight=\"bold\">", "</tspan>"}) {
      if (const auto found = line.find(tag); found != line.npos) line.erase(found, tag.size());
    }
    // A letter is 0.55 of its size wide; 80 mm are there.
    EXPECT_LE(static_cast<double>(outputs::columns_of(line)) * 0.55 * 2.1, 80) << line;
    lines++;
  }
  EXPECT_GE(lines, 6U);
}

TEST_F(Figure, DrawsAnEnvelopeWhereCyclesLieTooClose) {
  synth::DipDescription dip = one_dip();
  dip.durations = {12};
  dip.rate = 3200;
  const auto svg = figure(dip);
  EXPECT_LT(svg.size(), 150000U);
  // From 0 V in the middle of the panel, the peaks reach out by 1/1.05 of its half, and B's by 40 % of that.
  const auto [top, bottom] = panel(svg, "wave");
  const auto wave = path(svg, "wave", 1);
  const auto middle = wave[wave.size() / 4];
  EXPECT_NEAR(middle.y, (top + bottom) / 2 - 0.4 * (bottom - top) / 2 / 1.05, 0.1);
}

TEST_F(Figure, ShowsASwellWithItsThreshold) {
  write_record("swell.csv", 1.5, 3,
               [](std::size_t phase, double t) { return phase == 0 && t > 0.5 && t < 0.8 ? 1.2 : 1; });
  const auto svg = figure_of_file("swell.csv");
  EXPECT_EQ(document["events"][0]["kind"], "swell");
  EXPECT_NE(svg.find(">Swell</tspan> of A: highest voltage 276.0 V (120.0 %), "), std::string::npos);
  EXPECT_EQ(count(svg, ">Thresholds</tspan>: swell 110 %<"), 1U);
  EXPECT_EQ(count(svg, "<rect class=\"segment\""), 0U);
  const Shown shown = shown_of(document);
  EXPECT_NEAR(path(svg, "boundary", 0)[0].x, shown.across(document["events"][0]["start"]["time_s"]), 0.03);
  // The threshold lies midway between the voltages before and within.
  const auto rms = path(svg, "rms", 0);
  const auto [high, low] =
      std::minmax_element(rms.begin(), rms.end(), [](const Point& a, const Point& b) { return a.y < b.y; });
  EXPECT_NEAR(path(svg, "threshold", 0)[0].y, (high->y + low->y) / 2, 0.05);
  EXPECT_GT(low->y - high->y, rms_height / 2) << "a fifth of the voltage is more than half of the panel";
}

TEST_F(Figure, ShowsAnInterruptionWithItsThreshold) {
  write_record("out.csv", 1.5, 3, [](std::size_t, double t) { return t > 0.5 && t < 0.8 ? 0.01 : 1; });
  figure_of_file("out.csv");
  const auto& events = document["events"];
  const auto at =
      std::find_if(events.begin(), events.end(), [](const json& event) { return event["kind"] == "interruption"; });
  ASSERT_NE(at, events.end());
  const auto svg = figure_of_file("out.csv", {"--event", std::to_string(at - events.begin() + 1)});
  EXPECT_NE(svg.find(" interruption</tspan> of ABC: residual voltage 2.300 V (1.0 %),"), std::string::npos);
  EXPECT_EQ(count(svg, ">Thresholds</tspan>: dip 90 %, interruption 5 %<"), 1U);
  EXPECT_NEAR(path(svg, "threshold", 0)[0].y, up(svg, 90, 105), 0.02);
  EXPECT_NEAR(path(svg, "threshold", 1)[0].y, up(svg, 5, 105), 0.02);
}

TEST_F(Figure, ShowsARapidChangeBetweenItsThresholds) {
  write_record("rapid.csv", 5, 3, [](std::size_t, double t) { return t > 2.5 ? 0.955 : 1; });
  const auto svg = figure_of_file("rapid.csv");
  EXPECT_EQ(document["events"][0]["kind"], "rapid_voltage_change");
  EXPECT_EQ(count(svg, "<path class=\"threshold\""), 2U);
  EXPECT_NE(svg.find(">+3 %<"), std::string::npos);
  // The lines are 3 % above and below the voltage before, and the voltage after is 4.5 % below it.
  const auto rms = path(svg, "rms", 0);
  const double before = rms.front().y;
  const double per_percent = (rms.back().y - before) / 4.5;
  EXPECT_NEAR(path(svg, "threshold", 0)[0].y, before - 3 * per_percent, 0.05);
  EXPECT_NEAR(path(svg, "threshold", 1)[0].y, before + 3 * per_percent, 0.05);
}

TEST_F(Figure, ShowsFewerThanThreeVoltages) {
  for (const std::size_t phases : {1U, 2U}) {
    write_record("few.csv", 1.5, phases,
                 [](std::size_t phase, double t) { return phase == 0 && t > 0.5 && t < 0.8 ? 0.6 : 1; });
    const auto svg = figure_of_file("few.csv", {"--channels", phases == 1 ? "1" : "1,2"});
    EXPECT_EQ(count(svg, "<path class=\"wave\""), phases);
    EXPECT_EQ(count(svg, "<path class=\"rms\""), phases);
    EXPECT_EQ(count(svg, "<path class=\"step\""), phases);
    EXPECT_NE(svg.find(">Dip</tspan> of Ua: residual voltage 138.0 V (60.0 %), "), std::string::npos) << svg;
  }
}

TEST_F(Figure, BreaksCurvesWhereSamplesAreMissing) {
  const double missing = std::numeric_limits<double>::quiet_NaN();
  const auto with_gap = [&](double dip_end) {
    return [=](std::size_t phase, double t) {
      if (phase == 0 && t > 0.58 && t < 0.64) return missing;
      return phase == 0 && t > 0.5 && t < dip_end ? 0.6 : 1;
    };
  };
  // A whole waveform, and one so long that it is drawn as an envelope.
  for (const double dip_end : {0.8, 4.8}) {
    write_record("gap.csv", dip_end + 1, 3, with_gap(dip_end));
    const auto svg = figure_of_file("gap.csv");
    const auto pieces = [&](const std::string& kind, std::size_t n) {
      std::size_t at = 0;
      for (std::size_t i = 0; i <= n; i++) at = svg.find("<path class=\"" + kind + "\"", at + 1);
      const std::size_t begin = svg.find(" d=\"", at) + 4;
      return count(svg.substr(begin, svg.find('"', begin) - begin), "M");
    };
    const std::size_t edges = dip_end > 4 ? 2 : 1;
    EXPECT_EQ(pieces("wave", 0), 2 * edges) << dip_end;
    EXPECT_EQ(pieces("wave", 1), edges) << dip_end;
    EXPECT_EQ(pieces("rms", 0), 2U) << dip_end;
    EXPECT_EQ(pieces("rms", 1), 1U) << dip_end;
  }
}

/// The left and right ends of all bars of events, millimetres.
std::vector<std::pair<double, double>> bars(const std::string& svg) {
  std::vector<std::pair<double, double>> ends;
  const std::string bar = "<rect class=\"event\"";
  for (std::size_t n = 0; n < count(svg, bar); n++) {
    const double left = attribute(svg, bar, "x", n);
    ends.emplace_back(left, left + attribute(svg, bar, "width", n));
  }
  return ends;
}

TEST_F(Figure, ShowsEventsAtTheSameTimeWithTheirBarsThresholdsAndLines) {
  write_record("both.csv", 1.5, 3, [](std::size_t phase, double t) {
    if (t < 0.5 || t > 0.8) return 1.0;
    return phase == 0 ? 0.5 : phase == 1 ? 1.2 : 1.0;
  });
  const auto svg = figure_of_file("both.csv");
  ASSERT_EQ(document["events"].size(), 2U);
  const Shown shown = shown_of(document);
  const auto found = bars(svg);
  ASSERT_EQ(found.size(), 2U);
  for (std::size_t i = 0; i < 2; i++) {
    EXPECT_NEAR(found[i].first, shown.across(document["events"][i]["start"]["time_s"]), 0.03) << i;
    EXPECT_NEAR(found[i].second, shown.across(document["events"][i]["end"]["time_s"]), 0.03) << i;
  }
  EXPECT_NE(attribute(svg, "<rect class=\"event\"", "y", 0), attribute(svg, "<rect class=\"event\"", "y", 1));
  EXPECT_EQ(count(svg, "<path class=\"threshold\""), 2U);
  EXPECT_EQ(count(svg, ">Thresholds</tspan>: swell 110 %, dip 90 %<"), 1U);
  EXPECT_EQ(count(svg, ">Event 1, dip</tspan> of A: residual voltage 115.0 V (50.0 %), "), 1U);
  EXPECT_EQ(count(svg, ">Event 2, swell</tspan> of B: highest voltage 276.0 V (120.0 %), "), 1U);
  EXPECT_EQ(count(svg, "<path class=\"overview\""), 0U) << "all events are in view";
}

TEST_F(Figure, ShowsEventsAwayFromTheOneInViewAboveIt) {
  write_record("two.csv", 4, 3, [](std::size_t phase, double t) {
    return phase == 0 && ((t > 0.5 && t < 0.6) || (t > 3 && t < 3.2)) ? 0.5 : 1.0;
  });
  const auto svg = figure_of_file("two.csv");
  ASSERT_EQ(document["events"].size(), 2U);
  EXPECT_EQ(count(svg, "<path class=\"overview\""), 3U);
  // The overview shows four seconds, and the window in it those of the first event.
  const Shown whole = {0, 4};
  const Shown shown = shown_of(document);
  EXPECT_NEAR(attribute(svg, "<rect class=\"window\"", "x"), whole.across(shown.from), 0.03);
  EXPECT_NEAR(attribute(svg, "<rect class=\"window\"", "width"), whole.across(shown.to) - whole.across(shown.from),
              0.05);
  // The bar in view comes first in the drawing order of panels, after the two of the overview.
  const auto found = bars(svg);
  ASSERT_EQ(found.size(), 3U);
  for (std::size_t i = 0; i < 2; i++) {
    EXPECT_NEAR(found[i].first, whole.across(document["events"][i]["start"]["time_s"]), 0.03) << i;
    EXPECT_NEAR(found[i].second, whole.across(document["events"][i]["end"]["time_s"]), 0.03) << i;
  }
  EXPECT_NEAR(found[2].first, shown.across(document["events"][0]["start"]["time_s"]), 0.03);
}

TEST_F(Figure, MarksTheResidualVoltageOnlyAtTheLowestUrms) {
  const auto svg = figure(one_dip());
  EXPECT_EQ(count(svg, "residual voltage"), 1U);
  EXPECT_EQ(count(svg, "Residual voltage"), 1U) << "what it is";
  ASSERT_EQ(count(svg, "<path class=\"extreme\""), 1U);
  EXPECT_NEAR(path(svg, "extreme", 0)[0].y, up(svg, 40, 105), 0.02);
  EXPECT_EQ(count(svg, ">40.0 %<"), 1U) << "beside the frame";
}

TEST_F(Figure, RefersEachVoltageToItsOwnLevelWithoutAnEvent) {
  write_record("steady.csv", 1, 3, [](std::size_t phase, double) { return phase == 0 ? 1.0 : 0.8; });
  const auto svg = figure_of_file("steady.csv");
  ASSERT_TRUE(document["events"].empty());
  for (std::size_t phase = 0; phase < 3; phase++) {
    for (const Point& point : path(svg, "rms", phase)) ASSERT_NEAR(point.y, up(svg, 100, 105), 0.02) << phase;
  }
  EXPECT_NE(svg.find(">% of the pre-event voltage: A\u00A0230.0 V, B\u00A0184.0 V, C\u00A0184.0 V<"),
            std::string::npos);
}

TEST_F(Figure, DrawsThePhasorsOfEachSegment) {
  synth::DipDescription dip = one_dip();
  dip.depths = {60, 30};
  const auto svg = figure(dip);
  EXPECT_EQ(count(svg, "<path class=\"phasor\""), 6U);
  EXPECT_EQ(count(svg, "<path class=\"phasor before\""), 6U);
  // A points to the right and is not changed; B lags by 120 degrees, which is downwards to the left, at 40 and 70 %.
  const auto a = path(svg, "phasor", 0);
  ASSERT_EQ(a.size(), 2U);
  const double full = a[1].x - a[0].x;
  EXPECT_GT(full, 5);
  EXPECT_NEAR(a[1].y, a[0].y, 0.02);
  for (const auto& [n, share] : {std::pair(1, 0.4), {4, 0.7}}) {
    const auto b = path(svg, "phasor", static_cast<std::size_t>(n));
    EXPECT_NEAR(b[1].x - b[0].x, -share * full / 2, 0.05) << n;
    EXPECT_NEAR(b[1].y - b[0].y, share * full * std::numbers::sqrt3 / 2, 0.05) << n;
  }
  EXPECT_EQ(count(svg, ">segment 1<"), 1U);
  EXPECT_EQ(count(svg, ">segment 2<"), 1U);
}

TEST_F(Figure, ShowsTheEventThatIsNamed) {
  write_csv(one_dip(), "record.csv");
  const auto none = dipx({"analyse", "record.csv", "--svg", "figure.svg", "--event", "2"});
  EXPECT_EQ(none.status, 1);
  EXPECT_EQ(none.out, "");
  EXPECT_EQ(none.err, "dipx: there is no event 2 to draw; the record holds 1\n");
  EXPECT_FALSE(std::filesystem::exists("figure.svg"));
  EXPECT_EQ(dipx({"analyse", "record.csv", "--event", "1"}).status, 1) << "--event is for --svg";
}

TEST_F(Figure, ShowsTheWholeRecordIfThereIsNoEvent) {
  synth::DipDescription flat = one_dip();
  flat.depths = {0};
  const auto svg = figure(flat);
  EXPECT_EQ(count(svg, "<path class=\"boundary\""), 0U);
  EXPECT_EQ(path(svg, "rms", 0).front().x, frame_left);
  EXPECT_NEAR(path(svg, "rms", 0).back().x, frame_right, 0.1) << "a printer's dot";
}

TEST_F(Figure, ContainsTextFromAFileOnlyAsText) {
  write_csv(one_dip(), "plain.csv");
  auto bytes = bytes_of("plain.csv");
  bytes.replace(bytes.find("Ua"), 2, "<script>U&</>");
  std::ofstream("record.csv") << bytes;
  EXPECT_EQ(dipx({"analyse", "record.csv", "--channels", "1,2,3", "--svg", "figure.svg"}).status, 0);
  const auto svg = bytes_of("figure.svg");
  EXPECT_EQ(svg.find("<script"), std::string::npos);
  EXPECT_NE(svg.find("&lt;script&gt;U&amp;&lt;/&gt;"), std::string::npos);
}

TEST_F(Figure, IsWrittenWholeOrNotAtAll) {
  write_csv(one_dip(), "record.csv");
  std::ofstream("figure.svg") << "old";
  EXPECT_EQ(dipx({"analyse", "record.csv", "--svg", "figure.svg", "--report", "no-such-folder/report.txt"}).status, 4);
  EXPECT_EQ(bytes_of("figure.svg"), "old");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator("."), {}), 2) << "no draft remains";
}

}  // namespace
