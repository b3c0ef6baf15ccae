// measure_pictures RECORD FOLDER: draws the pictures for the page that explains the measuring library: of a record's
// first dip, and of a synthesised dip that recovers gradually.
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <numbers>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "docs/time_panels.h"
#include "measure/course.h"
#include "measure/detector.h"
#include "measure/half_cycle_rms.h"
#include "measure/harmonics.h"
#include "measure/instants.h"
#include "measure/moving_phasors.h"
#include "measure/partition.h"
#include "readers/open_record.h"
#include "synth/waveform.h"

namespace {

using docs::phase_colours;
using docs::red;
using docs::yellow;
using Points = std::vector<std::pair<double, double>>;  // seconds and value

constexpr std::size_t phases = 3;
constexpr std::array<const char*, phases> names = {"A", "B", "C"};
constexpr const char* blue = "#cfe3f1";

/// Panels of curves by time in seconds.
class Picture : public docs::TimePanels {
 public:
  Picture(double from_s, double to_s) : from_s_(from_s), to_s_(to_s) {}

  void panel(const std::string& title, double low, double high, double step) {
    begin_panel(title, low, high, step, "%", "none");
  }

  void mark(double seconds, const std::string& name, const char* colour) {
    if (seconds < from_s_ || seconds > to_s_) return;
    add("<path d=\"M{0:.2f} {1:.1f}V{2:.1f}\" stroke=\"{3}\" stroke-width=\"0.3\" stroke-dasharray=\"0.8 0.5\"/>\n",
        x(seconds), top(), bottom(), colour);
    add("<text x=\"{:.2f}\" y=\"{:.1f}\" fill=\"{}\">{}</text>\n", x(seconds) + 0.6, bottom() - 1, colour, name);
  }

  void stretch(double from_s, double to_s, const char* colour, const std::string& name) {
    add("<rect x=\"{:.2f}\" y=\"{:.1f}\" width=\"{:.2f}\" height=\"{}\" fill=\"{}\" fill-opacity=\"0.8\"/>\n",
        x(from_s), top(), x(to_s) - x(from_s), panel_height, colour);
    if (x(to_s) - x(from_s) < 2) return;
    add("<text x=\"{:.2f}\" y=\"{:.1f}\" text-anchor=\"middle\" font-weight=\"bold\">{}</text>\n",
        (x(from_s) + x(to_s)) / 2, top() + 3, name);
  }

  void curve(const Points& points, const char* colour, const std::string& name, double thickness = 0.25) {
    begin_curve(colour, thickness);
    char command = 'M';
    for (const auto& [seconds, value] : points) {
      if (seconds < from_s_ || seconds > to_s_) continue;
      add("{}{:.2f} {:.2f}", command, x(seconds), y(value));
      command = 'L';
    }
    end_curve(name, colour);
  }

  void dots(const Points& points, const char* colour, const std::string& name) {
    for (const auto& [seconds, value] : points) {
      if (seconds < from_s_ || seconds > to_s_) continue;
      add("<circle cx=\"{:.2f}\" cy=\"{:.2f}\" r=\"0.45\" fill=\"{}\"/>\n", x(seconds), y(value), colour);
    }
    legend(name, colour);
  }

  void save(const std::string& file) {
    const double shown = to_s_ - from_s_;
    const double step = shown > 0.25 ? 0.05 : shown > 0.06 ? 0.01 : 0.005;
    for (double t = std::ceil(from_s_ / step) * step; t <= to_s_; t += step) {
      time_tick(x(t), fmt::format("{:g}", std::round(t * 1000) / 1000));
    }
    write(file);
  }

 private:
  [[nodiscard]] double x(double seconds) const { return x_of((seconds - from_s_) / (to_s_ - from_s_)); }

  double from_s_;
  double to_s_;
};

/// The first dip of a record's first three channels, with all intermediate results.
class FirstDip {
 public:
  explicit FirstDip(readers::Record record) : record_(std::move(record)), waveform_(waveform_of(record_)) {
    for (std::size_t phase = 0; phase < phases; phase++) {
      series_[phase] = measure::half_cycle_rms(waveform_, phase, track_, levels_.fundamental_v[phase]);
    }
    measure::References references;
    references.start = levels_.fundamental_v;
    const auto events = measure::detect({series_.begin(), series_.end()}, references, {});
    const auto dip = std::find_if(events.begin(), events.end(),
                                  [](const auto& event) { return event.kind == measure::EventKind::dip; });
    if (dip == events.end()) throw std::runtime_error("the record has no dip");
    event_ = *dip;
    const measure::Wiring wiring = measure::wiring_of(track_.phasors(track_.cycle_at(levels_.from_s)), phases);
    course_ = measure::measure_course({waveform_, track_, levels_, wiring, {}}, event_);
    if (!course_.start_s || !course_.end_s) throw std::runtime_error("the dip has no beginning or no end");
  }
  FirstDip(const FirstDip&) = delete;
  FirstDip& operator=(const FirstDip&) = delete;

  /// Draws the waveform and the pieces into which it is divided.
  void pieces(const std::string& file) const {
    const measure::Excerpt excerpt = excerpt_round();
    measure::Excerpt quiet = excerpt;
    measure::remove_harmonics(quiet, track_, start_s() - 0.1 * cycle());
    const auto found = measure::partition(quiet);
    Picture picture(start_s() - 4 * cycle(), end_s() + 5 * cycle());
    picture.panel("Samples, in per cent of the usual peak, and the pieces: steady yellow, linear blue", -160, 160, 80);
    shade(picture, excerpt, found);
    for (std::size_t phase = 0; phase < phases; phase++)
      picture.curve(samples(excerpt, phase), phase_colours[phase], "", 0.2);
    picture.panel("Fundamental of the cycle round each time", 0, 140, 20);
    shade(picture, excerpt, found);
    for (std::size_t phase = phases; phase-- > 0;)
      picture.curve(magnitudes(excerpt, phase), phase_colours[phase], names[phase]);
    picture.save(file);
  }

  /// Draws the differences between the samples and the courses before and after the start.
  void instant(const std::string& file) const {
    const measure::Excerpt excerpt = excerpt_round();
    const auto fit = [&](double from_s, double to_s, bool after_change) {
      const std::size_t begin = excerpt.index_at(from_s);
      const std::size_t end = excerpt.index_at(to_s);
      const double cycles = static_cast<double>(end - begin) / excerpt.averages_per_cycle();
      return measure::PhasorFit(excerpt, begin, end, measure::FitForm::for_length(cycles, false, after_change));
    };
    const auto before = fit(start_s() - 4 * cycle(), start_s() - 0.15 * cycle(), false);
    const auto after = fit(start_s() + 0.05 * cycle(), start_s() + 3 * cycle(), true);
    const auto pinned =
        measure::pin_down(excerpt, before, after, start_s() - 0.5 * cycle(), start_s() + 0.4 * cycle(), false);
    Picture picture(start_s() - cycle(), start_s() + cycle());
    const auto panel = [&](const std::string& title, double height, const measure::PhasorFit* course) {
      picture.panel(title, -height, height, height / 2);
      for (std::size_t phase = phases; phase-- > 0;) {
        Points points;
        for (std::size_t i = excerpt.first(); i < excerpt.end(); i++) {
          const double seconds = excerpt.time_of_sample(static_cast<double>(i));
          if (seconds < start_s() - cycle() || seconds > start_s() + cycle()) continue;
          const double expected = course == nullptr ? 0 : course->voltage(seconds)[phase];
          points.emplace_back(seconds, 100 * (excerpt.value(phase, i) - expected));
        }
        picture.curve(points, phase_colours[phase], names[phase]);
      }
      picture.mark(pinned.first_s, "instant", red);
    };
    panel("Samples, in per cent of the usual peak", 160, nullptr);
    panel("What the course before leaves of them", 160, &before);
    panel("What the course after leaves of them", 160, &after);
    picture.save(file);
  }

  /// Draws the values of Urms(1/2) together with the voltages of the segments.
  void segments(const std::string& file) const {
    Picture picture(start_s() - 4 * cycle(), end_s() + 5 * cycle());
    picture.panel("Urms(1/2) in the middle of each window, and the segments with their voltages", 0, 160, 20);
    for (std::size_t k = 0; k < course_.segments.size(); k++) {
      const auto& segment = course_.segments[k];
      picture.stretch(segment.start_s, segment.end_s.value_or(end_s()), yellow, fmt::format("{}", k + 1));
    }
    picture.level(90, red);
    for (std::size_t phase = phases; phase-- > 0;) {
      picture.dots(half_cycle_values(phase), phase_colours[phase], names[phase]);
      for (const auto& segment : course_.segments) {
        const double percent = 100 * segment.phases[phase].share_of_before;
        picture.curve({{segment.start_s, percent}, {segment.end_s.value_or(end_s()), percent}}, phase_colours[phase],
                      "", 0.5);
      }
    }
    picture.mark(start_s(), "start", red);
    picture.mark(end_s(), "end", red);
    picture.save(file);
  }

  /// Draws a gradual recovery and its crossing of the threshold.
  void recovery(const std::string& file) const {
    const measure::Excerpt excerpt = excerpt_round();
    Picture picture(start_s() - 4 * cycle(), end_s() + 8 * cycle());
    picture.panel("Samples, in per cent of the usual peak", -120, 120, 60);
    for (std::size_t phase = 0; phase < phases; phase++)
      picture.curve(samples(excerpt, phase), phase_colours[phase], "", 0.2);
    picture.panel("Urms(1/2) in the middle of each window, and the gradual segment", 40, 110, 10);
    for (const auto& segment : course_.segments) {
      if (segment.gradual) picture.stretch(segment.start_s, segment.end_s.value_or(end_s()), yellow, "gradual");
    }
    picture.level(90, red);
    for (std::size_t phase = phases; phase-- > 0;) {
      picture.dots(half_cycle_values(phase), phase_colours[phase], names[phase]);
    }
    picture.mark(start_s(), "start", red);
    picture.mark(end_s(), "end: 90 %", red);
    picture.save(file);
  }

 private:
  static measure::Waveform waveform_of(const readers::Record& record) {
    measure::Waveform waveform;
    waveform.rate = record.rates.at(0).rate;
    waveform.line_frequency = record.line_frequency;
    for (std::size_t phase = 0; phase < phases; phase++) waveform.phases.push_back({record.channels.at(phase).samples});
    return waveform;
  }

  [[nodiscard]] double start_s() const { return course_.start_s->value; }
  [[nodiscard]] double end_s() const { return course_.end_s->value; }
  [[nodiscard]] double cycle() const { return 1 / course_.frequency; }

  [[nodiscard]] measure::Excerpt excerpt_round() const {
    double peak = 0;
    for (std::size_t phase = 0; phase < phases; phase++) {
      peak += levels_.fundamental_v[phase] * std::numbers::sqrt2 / static_cast<double>(phases);
    }
    const auto first = static_cast<std::size_t>(std::max(0.0, start_s() - 25 * cycle()) * waveform_.rate);
    const auto end = static_cast<std::size_t>((end_s() + 15 * cycle()) * waveform_.rate);
    return {waveform_, first, end, peak, course_.frequency};
  }

  static void shade(Picture& picture, const measure::Excerpt& excerpt, const std::vector<measure::Piece>& pieces) {
    for (const measure::Piece& piece : pieces) {
      const double from = excerpt.start_of(piece.begin);
      picture.stretch(from, excerpt.start_of(piece.end), piece.linear ? blue : yellow, "");
      picture.mark(from, "", red);
    }
  }

  static Points samples(const measure::Excerpt& excerpt, std::size_t phase) {
    Points points;
    for (std::size_t i = excerpt.first(); i < excerpt.end(); i++) {
      points.emplace_back(excerpt.time_of_sample(static_cast<double>(i)), 100 * excerpt.value(phase, i));
    }
    return points;
  }

  static Points magnitudes(const measure::Excerpt& excerpt, std::size_t phase) {
    const measure::MovingPhasors moving(excerpt);
    Points points;
    for (std::size_t begin = 0; begin + moving.window() <= excerpt.length(); begin++) {
      if (const auto found = moving.at(begin)) {
        points.emplace_back(moving.time_of(begin), 100 * std::abs((*found)[phase]));
      }
    }
    return points;
  }

  [[nodiscard]] Points half_cycle_values(std::size_t phase) const {
    const measure::HalfCycleRms& rms = series_[phase];
    Points points;
    for (std::size_t k = 0; k < rms.size(); k++) {
      points.emplace_back((rms.start_s[k] + rms.end_s[k]) / 2, 100 * rms.volts[k] / levels_.fundamental_v[phase]);
    }
    return points;
  }

  readers::Record record_;
  measure::Waveform waveform_;
  measure::CycleTrack track_{waveform_};
  measure::UsualLevels levels_ = measure::usual_levels(track_, phases);
  std::array<measure::HalfCycleRms, phases> series_;
  measure::Event event_;
  measure::Course course_;
};

/// A dip in which all phases fall to a half and recover over 0.4 s.
readers::Record recovering() {
  synth::Waveform waveform;
  waveform.length = 9600;
  waveform.degrees = 30;
  waveform.noise = 0.5;
  waveform.stages = {{0.5, 0.9, {0.5, 0.5, 0.5}, synth::undisturbed}};
  return synth::record_of(waveform);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fputs("usage: measure_pictures RECORD FOLDER\n", stderr);
    return 1;
  }
  try {
    const std::string folder = argv[2];
    std::filesystem::create_directories(folder);
    const FirstDip dip(readers::open_record(argv[1]));
    dip.pieces(folder + "/pieces.svg");
    dip.instant(folder + "/instant.svg");
    dip.segments(folder + "/measured_segments.svg");
    const FirstDip gradual(recovering());
    gradual.recovery(folder + "/recovery.svg");
  } catch (const std::exception& error) {
    std::fprintf(stderr, "measure_pictures: %s\n", error.what());
    return 1;
  }
  return 0;
}
