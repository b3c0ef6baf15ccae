#include "readers/voltages/parts.h"

#include <algorithm>
#include <cmath>

namespace readers {
namespace {

/// Returns at which positions of a part one of the channels has no value.
std::vector<bool> holes_in(const Record& record, const std::array<std::size_t, 3>& channels, const Part& part) {
  std::vector<bool> holes(part.length(), false);
  for (const std::size_t channel : channels) {
    const std::vector<double>& samples = record.channels[channel].samples;
    if (samples.empty()) continue;
    for (std::size_t i = 0; i < holes.size(); i++) {
      if (!fits_float(samples[part.begin + i])) holes[i] = true;
    }
  }
  return holes;
}

/// Returns the slope at one end of a gap, per sample, from the three existing values next to it; `away` points away
/// from the gap.
double slope(const std::vector<float>& values, std::ptrdiff_t at, std::ptrdiff_t away, std::ptrdiff_t first,
             std::ptrdiff_t last) {
  const auto value = [&](std::ptrdiff_t i) { return static_cast<double>(values[static_cast<std::size_t>(i)]); };
  const auto sign = static_cast<double>(-away);
  if (at + away < first || at + away > last) return 0;
  if (at + 2 * away < first || at + 2 * away > last) return sign * (value(at) - value(at + away));
  return sign * (1.5 * value(at) - 2 * value(at + away) + 0.5 * value(at + 2 * away));
}

/// Returns what of the parts is within a stretch. A part without a rate has no times, so all of it is kept.
std::vector<Part> within(const std::vector<Part>& parts, const Stretch& stretch) {
  constexpr double rounding = 1e-6;  // of a sample, so that a time that was written for a sample includes it
  std::vector<Part> kept;
  for (Part part : parts) {
    if (part.rate > 0) {
      const auto first_from = [&](double seconds) {
        const double samples = std::ceil((seconds - part.start) * part.rate - rounding);
        return part.begin + static_cast<std::size_t>(std::clamp(samples, 0.0, static_cast<double>(part.length())));
      };
      const std::size_t begin = first_from(stretch.from);
      const std::size_t end = first_from(stretch.to);
      part.start += static_cast<double>(begin - part.begin) / part.rate;
      part.begin = begin;
      part.end = end;
    }
    if (part.begin < part.end) kept.push_back(part);
  }
  return kept;
}

}  // namespace

std::vector<Part> parts_of(const Record& record) {
  std::vector<Part> parts;
  double seconds = 0;  // duration of the last part
  std::size_t begin = 0;
  for (const RateSection& section : record.rates) {
    const double length = static_cast<double>(section.end - begin);
    Part* last = parts.empty() ? nullptr : &parts.back();
    const bool joins = last != nullptr && section.follows && section.rate > 0 && last->rate > 0 &&
                       std::abs(section.rate - last->rate) <= same_rate * last->rate;
    if (joins) {
      last->end = section.end;
      seconds += length / section.rate;
      // Equal rates are kept unchanged to the last bit.
      if (section.rate != last->rate) last->rate = static_cast<double>(last->length()) / seconds;
    } else if (section.end > begin) {
      parts.push_back({begin, section.end, section.rate, section.start, section.title});
      seconds = section.rate > 0 ? length / section.rate : 0;
    }
    begin = section.end;
  }
  return record.stretch ? within(parts, *record.stretch) : parts;
}

std::vector<Part> parts_without_gaps(const Record& record, const std::array<std::size_t, 3>& channels,
                                     double longest_gap) {
  std::vector<Part> parts;
  for (const Part& part : parts_of(record)) {
    const std::vector<bool> holes = holes_in(record, channels, part);
    // A file may state an absurdly high rate.
    const double most_wanted = std::min(longest_gap * part.rate + 1e-9, static_cast<double>(holes.size()));
    const auto most = static_cast<std::size_t>(most_wanted > 0 ? most_wanted : 0);
    const auto add = [&](std::size_t from, std::size_t to) {
      const double start = part.start + (part.rate > 0 ? static_cast<double>(from) / part.rate : 0);
      if (to > from) parts.push_back({part.begin + from, part.begin + to, part.rate, start, part.title});
    };
    std::size_t from = 0;
    while (from < holes.size() && holes[from]) from++;
    std::size_t last = from;  // one past the last existing value
    for (std::size_t i = from; i < holes.size(); i++) {
      if (holes[i]) continue;
      if (i - last > most) {
        add(from, last);
        from = i;
      }
      last = i + 1;
    }
    add(from, last);
  }
  return parts;
}

BridgedSamples bridged(std::span<const double> samples, double factor) {
  BridgedSamples result;
  std::vector<float>& values = result.values;
  values.resize(samples.size(), 0);
  std::vector<std::ptrdiff_t> there;  // pairs of the last value before a gap and the first value after it
  std::ptrdiff_t before = -1;
  const auto length = static_cast<std::ptrdiff_t>(samples.size());
  for (std::ptrdiff_t i = 0; i < length; i++) {
    const double value = samples[static_cast<std::size_t>(i)] * factor;
    if (!fits_float(value)) continue;
    values[static_cast<std::size_t>(i)] = static_cast<float>(value);
    if (i > before + 1) {
      there.push_back(before);
      there.push_back(i);
    }
    before = i;
  }
  if (before + 1 < length) {
    there.push_back(before);
    there.push_back(length);
  }

  std::ptrdiff_t first_there = 0;  // start of the values that may be used for the slope before a gap
  for (std::size_t g = 0; g < there.size(); g += 2) {
    const std::ptrdiff_t left = there[g];
    const std::ptrdiff_t right = there[g + 1];
    const std::ptrdiff_t next_gap = g + 2 < there.size() ? there[g + 2] : length - 1;
    const auto gap = static_cast<std::size_t>(right - left - 1);
    if (result.bridged == 0) result.first = static_cast<std::size_t>(left + 1);
    result.bridged += gap;
    result.longest_gap = std::max(result.longest_gap, gap);
    const auto value = [&](std::ptrdiff_t i) { return static_cast<double>(values[static_cast<std::size_t>(i)]); };
    const double span = static_cast<double>(right - left);
    for (std::ptrdiff_t i = left + 1; i < right; i++) {
      double made_up = 0;
      if (left < 0 || right == length) {
        made_up = left >= 0 ? value(left) : right < length ? value(right) : 0;
      } else {
        const double t = static_cast<double>(i - left) / span;
        const double u = 1 - t;
        made_up = u * u * (1 + 2 * t) * value(left) + t * t * (1 + 2 * u) * value(right) +
                  t * u * span *
                      (u * slope(values, left, -1, first_there, left) - t * slope(values, right, 1, right, next_gap));
      }
      values[static_cast<std::size_t>(i)] = static_cast<float>(made_up);
    }
    first_there = right;
  }
  return result;
}

}  // namespace readers
