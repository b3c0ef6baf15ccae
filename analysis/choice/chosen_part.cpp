#include "analysis/choice/chosen_part.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "analysis/choice/voltage_choice.h"

namespace analysis {

namespace {

/// Returns whether the trigger lies in the part. A trigger at the record's first sample is ignored, because programs
/// without a trigger write the start time for both.
bool holds_trigger(const readers::Part& part, const readers::Record& record) {
  return part.rate > 0 && record.trigger && *record.trigger > 0 && *record.trigger >= part.start &&
         *record.trigger < part.start + static_cast<double>(part.length()) / part.rate;
}

/// Returns the RMS of a channel over single cycles, half a cycle apart. Missing values are left out, and so are cycles
/// in which more than a quarter of the values are missing.
std::vector<double> cycle_levels(const readers::Channel& channel, const readers::Part& part, double frequency) {
  std::vector<double> levels;
  const auto cycle = static_cast<std::size_t>(std::lround(part.rate / frequency));
  for (std::size_t begin = part.begin; begin + cycle <= part.end; begin += cycle / 2) {
    double sum = 0;
    std::size_t count = 0;
    for (std::size_t i = begin; i < begin + cycle; i++) {
      const double value = channel.samples[i];
      if (!readers::fits_float(value)) continue;
      sum += value * value;
      count++;
    }
    if (4 * count >= 3 * cycle) levels.push_back(std::sqrt(sum / static_cast<double>(count)));
  }
  return levels;
}

/// A part whose voltage falls below this share counts as one with a dip.
constexpr double low = 0.9;

/// Says whether a part of the record can be analysed, and how low the voltage is in it.
struct PartView {
  bool will_do = false;  ///< the part can be analysed at its rate and length
  double cycles = 0;
  bool starts_low = false;  ///< the part begins within a dip, so the voltage before the dip is not known
  double lowest = 1;        ///< the lowest one-cycle RMS of any phase, divided by that phase's usual value
};

std::vector<PartView> views_of(const readers::Record& record, const std::array<std::size_t, 3>& channels,
                               double frequency, const std::vector<readers::Part>& parts) {
  std::vector<PartView> views(parts.size());
  for (std::size_t i = 0; i < parts.size(); i++) {
    const auto& part = parts[i];
    views[i].cycles = part.rate > 0 ? static_cast<double>(part.length()) * frequency / part.rate : 0;
    views[i].will_do = part.rate >= readers::fewest_samples_per_cycle * frequency && views[i].cycles >= 2;
  }
  if (parts.size() < 2) return views;
  std::array<std::vector<std::vector<double>>, 3> levels;
  std::array<double, 3> usual{};
  for (std::size_t phase = 0; phase < 3; phase++) {
    for (std::size_t i = 0; i < parts.size(); i++) {
      auto& those = levels[phase].emplace_back();
      if (!views[i].will_do) continue;
      those = cycle_levels(record.channels[channels[phase]], parts[i], frequency);
      if (those.empty()) continue;
      auto sorted = those;
      std::sort(sorted.begin(), sorted.end());
      usual[phase] = std::max(usual[phase], sorted[sorted.size() / 2]);
    }
  }
  constexpr double noise = 0.1;
  for (std::size_t phase = 0; phase < 3; phase++) {
    if (!(usual[phase] > noise * *std::max_element(usual.begin(), usual.end()))) continue;
    for (std::size_t i = 0; i < parts.size(); i++) {
      for (const double level : levels[phase][i]) views[i].lowest = std::min(views[i].lowest, level / usual[phase]);
      if (!levels[phase][i].empty() && levels[phase][i][0] < low * usual[phase]) views[i].starts_low = true;
    }
  }
  return views;
}

/// A part among the others of its record.
struct Choice {
  std::size_t index = 0;
  PartReason reason = PartReason::longest;
};

/// Returns the part around the trigger, or the longest one that can be analysed. Parts with a dip are preferred to
/// parts without one and to parts that begin within one.
Choice best_of(const readers::Record& record, const std::vector<readers::Part>& parts,
               const std::vector<PartView>& views) {
  Choice best;
  const auto merit = [&](std::size_t i) { return std::pair(views[i].will_do, views[i].cycles); };
  for (std::size_t i = 1; i < parts.size(); i++) {
    if (merit(i) > merit(best.index)) best.index = i;
  }
  for (std::size_t i = parts.size(); i-- > 0;) {
    if (holds_trigger(parts[i], record) && views[i].will_do) best = {i, PartReason::holds_trigger};
  }
  const auto rank = [](const PartView& view) { return view.lowest < low ? view.starts_low ? 1 : 0 : 2; };
  const auto lowest = std::min_element(views.begin(), views.end(), [&](const PartView& a, const PartView& b) {
    return std::pair(rank(a), a.lowest) < std::pair(rank(b), b.lowest);
  });
  if (rank(views[best.index]) <= rank(*lowest)) return best;
  return {static_cast<std::size_t>(lowest - views.begin()), PartReason::holds_dip};
}

const char* words_for(PartReason reason) {
  switch (reason) {
    case PartReason::named:
      break;
    case PartReason::longest:
      return ", the longest";
    case PartReason::holds_trigger:
      return ", which holds the trigger";
    case PartReason::holds_dip:
      return ", which holds a dip";
  }
  return "";
}

void note_choice(const ChosenPart& chosen, Notes& notes) {
  const auto& part = chosen.part;
  const bool by_user = chosen.reason == PartReason::named;
  notes.push_back(fmt::format(
      "The record falls into {} parts by {}sampling rate and gaps; this is part {}{}{}, from {:.4f} s to {:.4f} s{}.",
      chosen.of, part.title.empty() ? "" : "observation, ", chosen.number,
      part.title.empty() ? "" : " (" + part.title + ")", words_for(chosen.reason), part.start,
      part.start + static_cast<double>(part.length()) / part.rate,
      by_user ? "" : " (--part chooses another, dipx info lists them)"));
}

/// Names the other parts that have a dip.
void note_others(std::size_t number, const std::vector<PartView>& views, Notes& notes) {
  constexpr std::size_t most = 5;
  std::string others;
  std::size_t count = 0;
  for (std::size_t i = 0; i < views.size(); i++) {
    if (i + 1 == number || !(views[i].lowest < low)) continue;
    count++;
    if (count > most) continue;
    fmt::format_to(std::back_inserter(others), "{}part {} to {:.1f} %", count == 1 ? "" : ", ", i + 1,
                   100 * views[i].lowest);
  }
  if (count == 0) return;
  if (count > most) fmt::format_to(std::back_inserter(others), " and {} more", count - most);
  notes.push_back(fmt::format("The voltage falls below 90 % of its usual level elsewhere too: {} (--part analyses {}).",
                              others, count == 1 ? "it" : "one of them"));
}

/// Rates that are nearly equal make one part, whose rate is their mean.
void note_rates(const readers::Record& record, const readers::Part& part, Notes& notes) {
  constexpr double worth_saying = 1e-4;
  double lowest = part.rate;
  double highest = part.rate;
  auto section = std::upper_bound(record.rates.begin(), record.rates.end(), part.begin,
                                  [](std::size_t sample, const readers::RateSection& at) { return sample < at.end; });
  std::size_t begin = part.begin;
  for (; section != record.rates.end() && begin < part.end; ++section) {
    if (section->rate > 0) {
      lowest = std::min(lowest, section->rate);
      highest = std::max(highest, section->rate);
    }
    begin = section->end;
  }
  if (highest - lowest <= worth_saying * lowest) return;
  notes.push_back(fmt::format(
      "The sampling rate goes from {:.6g} to {:.6g} samples per second within the part; its mean, {:.6g}, is used "
      "throughout.",
      lowest, highest, part.rate));
}

}  // namespace

Noted<ChosenPart> choose_part(const readers::Record& record, const std::array<std::size_t, 3>& channels,
                              const std::vector<readers::Part>& parts, double line_frequency, std::size_t wanted) {
  if (parts.empty()) {
    throw readers::ReadError(record.file, "", "the voltages have no values", "choose other channels or another record");
  }
  if (wanted > parts.size()) {
    throw UnknownChoice(
        fmt::format("{}: there is no part {}, only {}; dipx info lists them", record.file, wanted, parts.size()));
  }
  // The whole record is looked at only when that decides the choice.
  std::vector<PartView> views;
  if (wanted == 0) views = views_of(record, channels, line_frequency, parts);
  const auto [index, reason] = wanted > 0 ? Choice{wanted - 1, PartReason::named} : best_of(record, parts, views);
  Noted<ChosenPart> chosen{{parts[index], index + 1, parts.size(), reason}, {}};
  if (parts.size() > 1) note_choice(chosen.value, chosen.notes);
  note_others(index + 1, views, chosen.notes);
  note_rates(record, chosen.value.part, chosen.notes);
  return chosen;
}

}  // namespace analysis
