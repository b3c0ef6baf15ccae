#include "measure/measure.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numbers>
#include <string>
#include <utility>

#include "measure/changes.h"
#include "measure/course.h"
#include "measure/cycle_track.h"
#include "measure/detector.h"
#include "measure/levels.h"

namespace measure {

namespace {

constexpr double fewest_samples_per_cycle = 8;
constexpr double fewest_cycles = 2;

const Waveform& checked(const Waveform& waveform) {
  if (waveform.phases.empty() || waveform.phases.size() > most_phases) {
    throw std::invalid_argument("a waveform has one to three voltages");
  }
  for (const Phase& phase : waveform.phases) {
    if (phase.samples.size() != waveform.length()) {
      throw std::invalid_argument("the voltages of a waveform have one length");
    }
  }
  if (!(waveform.rate > 0) || !(waveform.line_frequency > 0)) {
    throw std::invalid_argument("the sampling rate and the line frequency of a waveform are positive");
  }
  const double samples_per_cycle = waveform.rate / waveform.line_frequency;
  // A rate that is read from time stamps may fall short by the last digit.
  if (samples_per_cycle < fewest_samples_per_cycle * (1 - 1e-9)) {
    throw TooLittle("fewer than 8 samples per cycle");
  }
  if (static_cast<double>(waveform.length()) < fewest_cycles * samples_per_cycle * (1 - 1e-9)) {
    throw TooLittle("less than two cycles");
  }
  return waveform;
}

/// The middle one of the values within the time by which the usual level was told; the level of the fundamental where
/// that was taken from elsewhere.
double usual_rms(const HalfCycleRms& series, const UsualLevels& levels, std::size_t phase, double frequency) {
  constexpr double longest_cycles = 25;
  constexpr double other_level = 1.05;
  const double level = levels.fundamental_v[phase];
  const double to = std::min(levels.to_s, levels.from_s + longest_cycles / frequency);
  std::vector<double> values;
  for (std::size_t k = 0; k < series.size() && series.start_s[k] < to; k++) {
    const bool within =
        series.start_s[k] >= levels.from_s - 0.01 / frequency && series.end_s[k] <= to + 0.51 / frequency;
    if (within && std::isfinite(series.volts[k])) values.push_back(series.volts[k]);
  }
  if (values.empty()) return level;
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return level > other_level * *middle ? level : *middle;
}

}  // namespace

struct Screening::Parts {
  explicit Parts(const Waveform& source) : waveform(source), track(waveform) {}

  Waveform waveform;
  CycleTrack track;
  UsualLevels levels;
  Wiring wiring;
  std::vector<HalfCycleRms> series;
  PerPhase usual_v{};
  PerPhase lowest_v{};
  PerPhase highest_v{};
};

Screening::Screening(const Waveform& waveform) : parts_(std::make_unique<Parts>(checked(waveform))) {
  Parts& parts = *parts_;
  const std::size_t phases = waveform.phases.size();
  if (parts.track.cycles() == 0) throw TooLittle("less than two cycles");
  parts.levels = usual_levels(parts.track, phases);
  double highest = 0;
  for (std::size_t phase = 0; phase < phases; phase++) {
    HalfCycleRms series = measure::half_cycle_rms(waveform, phase, parts.track, parts.levels.fundamental_v[phase]);
    double lowest_v = std::numeric_limits<double>::infinity();
    for (const double volts : series.volts) {
      if (!std::isfinite(volts)) continue;
      lowest_v = std::min(lowest_v, volts);
      parts.highest_v[phase] = std::max(parts.highest_v[phase], volts);
    }
    parts.lowest_v[phase] = std::isfinite(lowest_v) ? lowest_v : 0;
    parts.usual_v[phase] = usual_rms(series, parts.levels, phase, parts.track.frequency());
    highest = std::max(highest, parts.highest_v[phase]);
    parts.series.push_back(std::move(series));
  }
  if (!(highest > 0)) throw TooLittle("not one cycle of voltage without missing samples");
  const std::size_t middle = parts.track.cycle_at((parts.levels.from_s + parts.levels.to_s) / 2);
  parts.wiring = wiring_of(parts.track.phasors(middle), phases);
}

Screening::Screening(Screening&&) noexcept = default;
Screening& Screening::operator=(Screening&&) noexcept = default;
Screening::~Screening() = default;

double Screening::frequency() const {
  return parts_->track.frequency();
}

const PerPhase& Screening::usual_rms_v() const {
  return parts_->usual_v;
}

const PerPhase& Screening::lowest_rms_v() const {
  return parts_->lowest_v;
}

const PerPhase& Screening::highest_rms_v() const {
  return parts_->highest_v;
}

const Wiring& Screening::wiring() const {
  return parts_->wiring;
}

const HalfCycleRms& Screening::half_cycle_rms(std::size_t phase) const {
  return parts_->series[phase];
}

/// Goes through the steps of a measurement.
struct Measuring {
  Measuring(const Screening::Parts& screened, const Options& by)
      : parts(screened), options(by), phases(screened.waveform.phases.size()) {}

  const Screening::Parts& parts;
  const Options& options;
  std::size_t phases;

  [[nodiscard]] PerPhase reference_at_start() const {
    PerPhase reference = parts.usual_v;
    const bool declared = options.reference != Reference::pre_event && options.declared_v > 0;
    if (declared) reference.fill(options.declared_v);
    return reference;
  }

  /// By a declared voltage each phase takes part, as the standard has it; by its own level one without any does not.
  [[nodiscard]] PhaseFlags left_out() const {
    const bool declared = options.reference != Reference::pre_event && options.declared_v > 0;
    return declared ? PhaseFlags{} : without_voltage(parts.usual_v, phases);
  }

  /// Blocks of ten cycles, of twelve on lines of about 60 Hz: a fifth of a second.
  [[nodiscard]] References references() const {
    References references;
    references.start = reference_at_start();
    references.left_out = left_out();
    if (options.reference != Reference::sliding) return references;
    const auto half_cycles = 2 * static_cast<std::size_t>(std::lround(parts.waveform.line_frequency / 5));
    const double block_s = static_cast<double>(half_cycles) / 2 / parts.track.frequency();
    const double length_s = static_cast<double>(parts.waveform.length()) / parts.waveform.rate;
    for (double end_s = block_s; end_s <= length_s; end_s += block_s) references.block_end_s.push_back(end_s);
    for (std::size_t phase = 0; phase < phases; phase++) {
      references.block_rms[phase] = block_rms(parts.series[phase], references.block_end_s, block_s);
    }
    return references;
  }

  /// RMS over each block, of the values whose windows end within it.
  static std::vector<double> block_rms(const HalfCycleRms& series, const std::vector<double>& ends_s, double block_s) {
    std::vector<double> result;
    std::size_t k = 0;
    for (const double end_s : ends_s) {
      double squares = 0;
      double count = 0;
      for (; k < series.size() && series.end_s[k] <= end_s; k++) {
        if (series.end_s[k] <= end_s - block_s) continue;
        squares += series.volts[k] * series.volts[k];
        count++;
      }
      result.push_back(std::sqrt(squares / count));  // not a number where values are missing, or there are none
    }
    return result;
  }

  [[nodiscard]] std::vector<Event> events(const PerPhase& reference) const {
    std::vector<Event> events = detect(parts.series, references(), options.thresholds);
    const double changes_refer_to =
        options.declared_v > 0 ? options.declared_v : *std::max_element(reference.begin(), reference.end());
    const auto values_in_a_second = 2 * static_cast<std::size_t>(std::lround(parts.waveform.line_frequency));
    for (Event& change : detect_rapid_changes(parts.series, changes_refer_to, reference, options.thresholds,
                                              values_in_a_second, left_out())) {
      events.push_back(std::move(change));
    }
    std::stable_sort(events.begin(), events.end(),
                     [](const Event& one, const Event& other) { return one.start_s < other.start_s; });
    return events;
  }

  [[nodiscard]] Supply supply() const {
    const std::optional<double> declared = options.declared_v > 0 ? std::optional(options.declared_v) : std::nullopt;
    return {parts.waveform, parts.track, parts.levels, parts.wiring, declared, options.between_phases};
  }

  void check_options() const {
    if (options.reference == Reference::declared && !(options.declared_v > 0)) {
      throw std::invalid_argument("a declared reference needs a declared voltage");
    }
  }

  [[nodiscard]] Findings findings() const {
    check_options();
    Findings findings;
    findings.frequency = parts.track.frequency();
    findings.reference_v = reference_at_start();
    findings.begins_low = parts.levels.begins_low;
    findings.wiring = parts.wiring;
    findings.events = events(findings.reference_v);
    const Supply measured = supply();
    for (Event& event : findings.events) {
      if (event.kind == EventKind::dip) event.course = measure_course(measured, event);
    }
    findings.changes_without_event = changes_without_event(measured, findings.events);
    return findings;
  }

  static Measuring of(const Screening& screening, const Options& options) { return {*screening.parts_, options}; }
};

std::vector<Event> events_of(const Screening& screening, const Options& options) {
  const Measuring measuring = Measuring::of(screening, options);
  measuring.check_options();
  return measuring.events(measuring.reference_at_start());
}

Findings measure(const Screening& screening, const Options& options) {
  return Measuring::of(screening, options).findings();
}

Findings measure(const Waveform& waveform, const Options& options) {
  return measure(Screening(waveform), options);
}

}  // namespace measure
