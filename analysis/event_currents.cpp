#include "analysis/event_currents.h"

#include <algorithm>
#include <cmath>
#include <span>

namespace analysis {

namespace {

/// Samples of the analysed part, from `begin` up to, but not including, `end`.
struct Range {
  std::size_t begin = 0;
  std::size_t end = 0;
};

/// Returns the largest RMS over `cycle` samples that lie within the range and are not missing.
std::optional<double> largest_rms(std::span<const double> samples, Range range, std::size_t cycle) {
  double sum = 0;
  std::size_t missing = 0;
  std::optional<double> largest;
  for (std::size_t i = range.begin; i < range.end; i++) {
    if (std::isfinite(samples[i])) {
      sum += samples[i] * samples[i];
    } else {
      missing++;
    }
    const std::size_t length = i + 1 - range.begin;
    if (length > cycle) {
      const double oldest = samples[i - cycle];
      if (std::isfinite(oldest)) {
        sum -= oldest * oldest;
      } else {
        missing--;
      }
    }
    if (length >= cycle && missing == 0) largest = std::max(largest.value_or(0), sum);
  }
  if (!largest || !std::isfinite(*largest)) return std::nullopt;
  return std::sqrt(*largest / static_cast<double>(cycle));
}

/// The ranges of samples before and during an event.
struct Ranges {
  Range before;
  Range during;
};

class RangesOfEvents {
 public:
  RangesOfEvents(const std::vector<measure::Event>& events, const AnalysedVoltages& voltages, std::size_t cycle)
      : rate_(voltages.part.rate), length_(voltages.length()), cycle_(cycle) {
    for (const measure::Event& event : events) {
      spans_.push_back({sample_at(event.start_s), event.end_s ? sample_at(*event.end_s) : length_});
    }
  }

  /// The time before an interruption is that before the dip in which it lies.
  [[nodiscard]] Ranges of(std::size_t event) const {
    const Range& span = spans_[event];
    std::size_t start = span.begin;
    for (const Range& other : spans_) {
      if (other.begin < start && other.end > span.begin) start = other.begin;
    }
    std::size_t previous_end = 0;
    for (const Range& other : spans_) {
      if (other.end <= start) previous_end = std::max(previous_end, other.end);
    }
    return {{previous_end, start}, {span.begin, std::min(std::max(span.end, span.begin + cycle_), length_)}};
  }

 private:
  [[nodiscard]] std::size_t sample_at(double seconds) const {
    const double sample = std::clamp(std::round(seconds * rate_), 0.0, static_cast<double>(length_));
    return static_cast<std::size_t>(sample);
  }

  double rate_;
  std::size_t length_;
  std::size_t cycle_;
  std::vector<Range> spans_;
};

}  // namespace

Currents measured_currents(const readers::Record& record, const AnalysedVoltages& voltages,
                           const measure::Findings& found, const readers::BayCurrents& bay) {
  Currents currents;
  currents.bay = bay;
  const double frequency = found.frequency > 0 ? found.frequency : voltages.line_frequency;
  const double samples_per_cycle = voltages.rms ? 1 : std::round(voltages.part.rate / frequency);
  const std::size_t cycle = std::max<std::size_t>(static_cast<std::size_t>(samples_per_cycle), 1);
  const RangesOfEvents ranges(found.events, voltages, cycle);
  for (std::size_t event = 0; event < found.events.size(); event++) {
    EventCurrents& figures = currents.events.emplace_back();
    const auto [before, during] = ranges.of(event);
    for (std::size_t i = 0; i < currents.count(); i++) {
      const readers::Channel& channel = record.channels[currents.channel(i)];
      const auto samples = std::span(channel.samples).subspan(voltages.part.begin, voltages.length());
      const auto amperes = [&](Range range) {
        auto rms = largest_rms(samples, range, cycle);
        if (rms) *rms *= readers::amperes_per_unit(channel);
        return rms;
      };
      figures.before_a[i] = amperes(before);
      figures.during_a[i] = amperes(during);
    }
  }
  return currents;
}

}  // namespace analysis
