#include "measure/measure.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <utility>

#include "measure/changes.h"
#include "measure/course.h"
#include "measure/cycle_track.h"
#include "measure/detector.h"
#include "measure/levels.h"
#include "measure/median.h"
#include "measure/recorded_rms.h"
#include "platform/default_environment.h"

namespace measure {

namespace {

constexpr double fewest_cycles = 2;
/// No recorder resolves as little, and ratios of much smaller voltages are not finite.
constexpr double least_volts = 1e-9;

const Waveform& checked_rms(const Waveform& waveform) {
  if (waveform.rate < fewest_rms_per_second * (1 - 1e-9)) throw TooLittle("fewer than 4 RMS values per second");
  if (waveform.length() < 2) throw TooLittle("fewer than two RMS values");
  return waveform;
}

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
  if (waveform.holds_rms) return checked_rms(waveform);
  const double samples_per_cycle = waveform.rate / waveform.line_frequency;
  // A rate that was computed from time stamps may be too low in the last digit.
  if (samples_per_cycle < fewest_samples_per_cycle * (1 - 1e-9)) {
    throw TooLittle("fewer than 8 samples per cycle");
  }
  if (static_cast<double>(waveform.length()) < fewest_cycles * samples_per_cycle * (1 - 1e-9)) {
    throw TooLittle("less than two cycles");
  }
  return waveform;
}

/// Returns the median of Urms(1/2) over the time of the usual level, or the level of the fundamental if that was not
/// measured there.
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
  const double usual = median(std::move(values));
  return level > other_level * usual ? level : usual;
}

}  // namespace

struct Screening::Parts {
  explicit Parts(const Waveform& source);
  void look_at_cycles();
  [[nodiscard]] HalfCycleRms series_of(std::size_t phase) const;
  double usual_of(const HalfCycleRms& of_phase, std::size_t phase);

  Waveform waveform;
  std::optional<CycleTrack> track;  ///< none of RMS values
  double frequency = 0;             ///< hertz; of RMS values the nominal one
  UsualLevels levels;
  Wiring wiring;
  std::vector<HalfCycleRms> series;
  PerPhase usual_v{};
  PerPhase lowest_v{};
  PerPhase highest_v{};
};

/// Follows the waveform; of RMS values nothing can be followed.
void Screening::Parts::look_at_cycles() {
  frequency = waveform.line_frequency;
  if (waveform.holds_rms) return;
  track.emplace(waveform);
  if (track->cycles() == 0) throw TooLittle("less than two cycles");
  frequency = track->frequency();
  levels = usual_levels(*track, waveform.phases.size());
  const std::size_t middle = track->cycle_at((levels.from_s + levels.to_s) / 2);
  wiring = wiring_of(track->phasors(middle), waveform.phases.size());
}

/// Urms(1/2) of a voltage, computed or recorded.
HalfCycleRms Screening::Parts::series_of(std::size_t phase) const {
  if (waveform.holds_rms) return recorded_rms(waveform, phase);
  return measure::half_cycle_rms(waveform, phase, *track, levels.fundamental_v[phase]);
}

double Screening::Parts::usual_of(const HalfCycleRms& of_phase, std::size_t phase) {
  if (!waveform.holds_rms) return usual_rms(of_phase, levels, phase, frequency);
  const auto [level, begins_low] = usual_of_recorded(of_phase);
  levels.begins_low = levels.begins_low || begins_low;
  return level;
}

Screening::Parts::Parts(const Waveform& source) : waveform(checked(source)) {
  look_at_cycles();
  double highest = 0;
  for (std::size_t phase = 0; phase < waveform.phases.size(); phase++) {
    HalfCycleRms of_phase = series_of(phase);
    double lowest = std::numeric_limits<double>::infinity();
    for (const double volts : of_phase.volts) {
      if (!std::isfinite(volts)) continue;
      lowest = std::min(lowest, volts);
      highest_v[phase] = std::max(highest_v[phase], volts);
    }
    lowest_v[phase] = std::isfinite(lowest) ? lowest : 0;
    usual_v[phase] = usual_of(of_phase, phase);
    if (usual_v[phase] < least_volts) usual_v[phase] = 0;
    highest = std::max(highest, highest_v[phase]);
    series.push_back(std::move(of_phase));
  }
  if (!(highest > 0)) throw TooLittle("not one cycle of voltage without missing samples");
  if (highest < least_volts) throw TooLittle("no voltage of as much as 1 nV");
}

Screening::Screening(const Waveform& waveform)
    : parts_(platform::in_default_environment([&] { return std::make_unique<Parts>(waveform); })) {}

Screening::Screening(Screening&&) noexcept = default;
Screening& Screening::operator=(Screening&&) noexcept = default;
Screening::~Screening() = default;

double Screening::frequency() const {
  return parts_->frequency;
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

/// Performs the steps of a measurement.
struct Measuring {
  Measuring(const Screening::Parts& screened, const Options& by)
      : parts(screened), options(by), phases(screened.waveform.phases.size()) {}

  const Screening::Parts& parts;
  const Options& options;
  std::size_t phases;

  /// Returns whether thresholds refer to the declared voltage, or to a sliding reference that begins with it.
  [[nodiscard]] bool refers_to_declared() const {
    return options.reference != Reference::pre_event && options.declared_v > 0;
  }

  [[nodiscard]] PerPhase reference_at_start() const {
    PerPhase reference = parts.usual_v;
    if (refers_to_declared()) reference.fill(options.declared_v);
    return reference;
  }

  /// All phases are compared with a declared voltage, as the standard requires. A phase without voltage is left out if
  /// each phase is compared with its own level.
  [[nodiscard]] PhaseFlags left_out() const {
    return refers_to_declared() ? PhaseFlags{} : without_voltage(parts.usual_v, phases);
  }

  /// Each block has ten cycles, or twelve on lines of about 60 Hz, which is a fifth of a second.
  [[nodiscard]] References references() const {
    References references;
    references.start = reference_at_start();
    references.left_out = left_out();
    if (options.reference != Reference::sliding) return references;
    const auto half_cycles =
        std::max<std::size_t>(2, 2 * static_cast<std::size_t>(std::lround(parts.waveform.line_frequency / 5)));
    const double block_s = static_cast<double>(half_cycles) / 2 / parts.frequency;
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
    const double values_per_second = parts.waveform.holds_rms ? parts.waveform.rate : 2 * parts.waveform.line_frequency;
    const auto values_in_a_second = std::max<std::size_t>(1, static_cast<std::size_t>(std::lround(values_per_second)));
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
    return {parts.waveform, *parts.track, parts.levels, parts.wiring, declared, options.between_phases};
  }

  void check_options() const {
    if (options.reference == Reference::declared && !(options.declared_v > 0)) {
      throw std::invalid_argument("a declared reference needs a declared voltage");
    }
  }

  [[nodiscard]] Findings findings() const {
    check_options();
    Findings findings;
    findings.frequency = parts.frequency;
    findings.reference_v = reference_at_start();
    findings.begins_low = parts.levels.begins_low;
    findings.wiring = parts.wiring;
    findings.events = events(findings.reference_v);
    if (parts.waveform.holds_rms) return findings;
    const Supply measured = supply();
    double free_from_s = 0;
    for (Event& event : findings.events) {
      if (event.kind != EventKind::dip) continue;
      event.course = measure_course(measured, event, free_from_s);
      if (event.course->end_s) free_from_s = event.course->end_s->value;
    }
    findings.changes_without_event = changes_without_event(measured, findings.events);
    return findings;
  }

  static Measuring of(const Screening& screening, const Options& options) { return {*screening.parts_, options}; }
};

std::vector<Event> events_of(const Screening& screening, const Options& options) {
  return platform::in_default_environment([&] {
    const Measuring measuring = Measuring::of(screening, options);
    measuring.check_options();
    return measuring.events(measuring.reference_at_start());
  });
}

Findings measure(const Screening& screening, const Options& options) {
  return platform::in_default_environment([&] { return Measuring::of(screening, options).findings(); });
}

Findings measure(const Waveform& waveform, const Options& options) {
  return measure(Screening(waveform), options);
}

}  // namespace measure
