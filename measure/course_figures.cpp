#include "measure/course_figures.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "measure/cycle_rms.h"
#include "measure/dip_type.h"
#include "measure/explained.h"
#include "measure/lowest_of_six.h"

namespace measure {

namespace {

constexpr double pi = std::numbers::pi;

class CourseFigures {
 public:
  CourseFigures(const DipWaveform& wave, const FoundCourse& found)
      : wave_(wave), found_(found), supply_(wave.supply), phases_(wave.phases), excerpt_(wave.excerpt) {}

  [[nodiscard]] Course course() const {
    Course course;
    course.frequency = wave_.frequency.hertz;
    course.frequency_before = wave_.frequency.before;
    course.frequency_after = wave_.frequency.after;
    course.level_source = found_.source;
    for (std::size_t phase = 0; phase < phases_; phase++) {
      if (!found_.dead[phase]) course.before[phase] = found_.before[phase] * in_time(phase) * wave_.volts(1);
    }
    course.start_s = found_.start;
    course.end_s = found_.end;
    write_point_on_wave(course);
    std::vector<Segment> in_peaks;
    for (const Item& item : found_.items) {
      Segment segment = segment_of(item);
      in_peaks.push_back(segment);
      if (segment.measured) in_peaks.back().phasors = item.phasors;
      course.segments.push_back(segment);
    }
    write_transitions(course);
    course.explained_share = explained_share(excerpt_, with_gradual_transitions(in_peaks, course), found_.before,
                                             found_.start_s, found_.end_s.value_or(excerpt_.end_s()));
    write_slopes(course);
    if (phases_ == 3 && !supply_.between_phases && found_.angles_known && wave_.absent == PhaseFlags{}) {
      Phasors correction{};
      for (std::size_t phase = 0; phase < phases_; phase++) {
        correction[phase] = supply_.wiring.turned_phase == phase ? -in_time(phase) : in_time(phase);
      }
      course.lowest_of_six =
          lowest_of_six(excerpt_, found_.before, correction, found_.start_s, found_.end_s.value_or(excerpt_.end_s()));
    }
    return course;
  }

 private:
  /// Returns the segments in order of time, with the gradual transitions as if they were segments.
  [[nodiscard]] static std::vector<Segment> with_gradual_transitions(std::vector<Segment> segments,
                                                                     const Course& course) {
    for (const Transition& transition : course.transitions) {
      if (!transition.gradual) continue;
      Segment part;
      part.gradual = true;
      part.start_s = transition.start_s;
      part.end_s = transition.end_s;
      segments.push_back(part);
    }
    std::stable_sort(segments.begin(), segments.end(),
                     [](const Segment& one, const Segment& other) { return one.start_s < other.start_s; });
    return segments;
  }

  /// Returns the factor for a phase's phasors that corrects for samples taken later than their indices say.
  [[nodiscard]] Phasor in_time(std::size_t phase) const {
    return std::polar(1.0, -excerpt_.omega() * supply_.waveform.phases[phase].skew);
  }

  void write_slopes(Course& course) const {
    const double from = found_.start ? found_.start_s - excerpt_.cycle() : excerpt_.begin_s();
    const double to = found_.end_s ? *found_.end_s + excerpt_.cycle() : excerpt_.end_s();
    for (std::size_t phase = 0; phase < phases_; phase++) {
      const CycleRms rms(supply_.waveform, phase, wave_.frequency.hertz, from, to);
      course.steepest_change_v_per_s[phase] = rms.steepest();
    }
  }

  void write_point_on_wave(Course& course) const {
    if (!found_.start || found_.gradual_start) return;
    for (std::size_t phase = 0; phase < phases_; phase++) {
      if (found_.dead[phase]) continue;
      double degrees =
          (excerpt_.omega() * found_.start_s + std::arg(found_.before[phase] * in_time(phase)) + pi / 2) * 180 / pi;
      degrees -= 360 * std::floor(degrees / 360);
      const double angle_error = 2 * found_.before_error[phase] / std::abs(found_.before[phase]) * 180 / pi;
      course.point_on_wave_degrees[phase] =
          Figure{degrees, std::hypot(360 * wave_.frequency.hertz * found_.start->plus_minus, angle_error)};
    }
  }

  /// Returns whether samples of at least half a cycle exist; a shorter segment needs all of its samples.
  [[nodiscard]] bool is_measured(const Item& item) const {
    const std::size_t begin = excerpt_.index_at(item.start_s);
    const std::size_t end = excerpt_.index_at(item.end_s);
    std::size_t missing = 0;
    for (std::size_t i = begin; i < end; i++) missing += excerpt_.is_missing(i) ? 1 : 0;
    for (std::size_t phase = 0; phase < phases_; phase++) {
      if (!std::isfinite(std::abs(item.phasors[phase])) || !std::isfinite(item.error[phase])) return false;
    }
    return missing == 0 || static_cast<double>(end - begin - missing) >= 0.5 * excerpt_.averages_per_cycle();
  }

  [[nodiscard]] Segment segment_of(const Item& item) const {
    Segment segment;
    segment.start_s = item.start_s;
    if (!item.goes_on) segment.end_s = item.end_s;
    segment.gradual = item.gradual;
    segment.measured = is_measured(item);
    if (!segment.measured) return segment;
    for (std::size_t phase = 0; phase < phases_; phase++) {
      segment.phasors[phase] = item.phasors[phase] * in_time(phase) * wave_.volts(1);
      write_phase(item, phase, segment.phases[phase]);
    }
    if (phases_ == 3 && wave_.absent == PhaseFlags{}) {
      segment.sequences = sequences_of(segment.phasors, supply_.wiring);
      if (found_.angles_known && found_.dead == PhaseFlags{}) write_type(item, segment);
    }
    return segment;
  }

  /// Returns the share by which the low pass of a recorder, which is made for the sampling rate, may have changed the
  /// fundamental. One of second order that halves the power at 0.4 of that rate takes half as much away.
  [[nodiscard]] double unknown_gain() const {
    constexpr double corner = 0.4;
    return std::pow(1 / (corner * excerpt_.rate() * excerpt_.cycle()), 4);
  }

  void write_phase(const Item& item, std::size_t phase, SegmentPhase& figures) const {
    if (wave_.absent[phase]) {
      // Nothing is known of this voltage except that it is one of this supply.
      figures.measured = false;
      figures.voltage_v = {0, wave_.volts(1)};
      return;
    }
    const double length = (item.end_s - item.start_s) * wave_.frequency.hertz;
    constexpr double flicker_cycles = 6;
    const double sway = found_.flicker * (item.gradual ? 1 : std::min(1.0, flicker_cycles / length));
    const double magnitude = std::abs(item.phasors[phase]);
    figures.voltage_v = {wave_.volts(magnitude), wave_.volts(std::hypot(2 * item.error[phase], 2 * sway * magnitude,
                                                                        unknown_gain() * magnitude))};
    const CycleRms rms(supply_.waveform, phase, wave_.frequency.hertz, item.start_s, item.end_s);
    if (const auto range = rms.range()) {
      figures.lowest_rms_v = range->lowest_v;
      figures.highest_rms_v = range->highest_v;
    }
    if (found_.dead[phase]) return;
    figures.share_of_before = magnitude / std::abs(found_.before[phase]);
    figures.below_threshold = figures.share_of_before < threshold;
    if (figures.share_of_before < next_to_nothing || !found_.angles_known) return;
    const double drift =
        wave_.frequency.plus_minus * std::abs(item.start_s + item.end_s - 2 * found_.before_s) / 2 * 360;
    const double angle_error =
        std::hypot(item.error[phase] / magnitude, found_.before_error[phase] / std::abs(found_.before[phase]));
    figures.phase_jump_degrees = Figure{std::arg(item.phasors[phase] / found_.before[phase]) * 180 / pi,
                                        std::hypot(2 * angle_error * 180 / pi, drift)};
  }

  void write_type(const Item& item, Segment& segment) const {
    Phasors now{};
    Phasors before{};
    for (std::size_t phase = 0; phase < phases_; phase++) {
      now[phase] = item.phasors[phase] * in_time(phase);
      before[phase] = found_.before[phase] * in_time(phase);
    }
    segment.type = type_of(now, before, supply_.wiring);
  }

  void write_transitions(Course& course) const {
    const auto add = [&](double start_s, double end_s, bool gradual, const Phasors& one, const Phasors& other) {
      Transition transition{start_s, end_s, gradual, {}};
      for (std::size_t phase = 0; phase < phases_; phase++) {
        transition.phases[phase] = std::abs(one[phase] - other[phase]) > same_voltage;
      }
      course.transitions.push_back(transition);
    };
    if (found_.items.empty()) {
      if (!course.start_s || !course.end_s) return;
      add(found_.start_s, *found_.end_s, found_.gradual_start, found_.before, found_.before);
      course.transitions.back().phases = found_.changed;
      return;
    }
    if (course.start_s)
      add(found_.start_s, found_.items.front().start_s, found_.gradual_start, found_.before,
          found_.items.front().phasors);
    for (std::size_t k = 0; k + 1 < found_.items.size(); k++) {
      const double lasts = found_.items[k + 1].start_s - found_.items[k].end_s;
      add(found_.items[k].end_s, found_.items[k + 1].start_s, lasts > excerpt_.cycle(), found_.items[k].phasors,
          found_.items[k + 1].phasors);
    }
    if (found_.end_s)
      add(std::min(found_.items.back().end_s, *found_.end_s), *found_.end_s, found_.gradual_end,
          found_.items.back().phasors, found_.before);
  }

  const DipWaveform& wave_;
  const FoundCourse& found_;
  const Supply& supply_;
  std::size_t phases_;
  const Excerpt& excerpt_;
};

}  // namespace

Course figures_of(const DipWaveform& wave, const FoundCourse& found) {
  return CourseFigures(wave, found).course();
}

}  // namespace measure
