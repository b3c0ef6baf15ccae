// A stretch begins within steady voltage: a cycle ahead of a fall that the one before could not follow to its end, or
// right at the last recovery. RMS values sum their own cycle only, so they are the same whatever the stretch.
#include "analysis/embedded/dip_search.h"

#include <algorithm>
#include <new>
#include <stdexcept>
#include <utility>

#include "analysis/embedded/limits.h"
#include "analysis/embedded/working_records.h"

namespace analysis::embedded {

namespace {

std::array<const float*, 3> curves() {
  return {searched().rmsa, searched().rmsb, searched().rmsc};
}

/// A dip that is as low as the RMS from `begin` to `end` has it.
FoundDip as_low_as(std::size_t begin, std::size_t end) {
  FoundDip dip;
  const auto phases = curves();
  for (std::size_t phase = 0; phase < 3; phase++) {
    dip.lowest[phase] = static_cast<double>(*std::min_element(phases[phase] + begin, phases[phase] + end));
  }
  const auto highest = [&](std::size_t i) { return std::max({phases[0][i], phases[1][i], phases[2][i]}); };
  float lowest = highest(begin);
  for (std::size_t i = begin; i < end; i++) lowest = std::min(lowest, highest(i));
  dip.lowest_of_highest = static_cast<double>(lowest);
  return dip;
}

void take_lower(FoundDip& dip, const FoundDip& other) {
  for (std::size_t phase = 0; phase < 3; phase++) dip.lowest[phase] = std::min(dip.lowest[phase], other.lowest[phase]);
  dip.lowest_of_highest = std::min(dip.lowest_of_highest, other.lowest_of_highest);
}

/// The first sample from `begin` to `end` that lies below the threshold, or not below it; `end` when there is none.
std::size_t first(bool below, std::size_t begin, std::size_t end) {
  const auto [a, b, c] = curves();
  const float threshold = searched().ut;
  std::size_t i = begin;
  while (i < end && (std::min({a[i], b[i], c[i]}) < threshold) != below) i++;
  return i;
}

class Searcher {
 public:
  Searcher(const Waveform& waveform, int samples_per_cycle, std::size_t longest_run, const StageReport& report_stage)
      : waveform_(waveform),
        cycle_(static_cast<std::size_t>(samples_per_cycle)),
        longest_run_(longest_run),
        report_stage_(report_stage) {}

  /// Goes on from the search of `stretch`, which the library has just made.
  void go_on(Stretch stretch) {
    for (;;) {
      runs_++;
      take_dips(stretch);
      const auto next = next_begin(stretch);
      if (!next) return;
      stretch = stretch_from(*next);
      load(stretch);
    }
  }

  [[nodiscard]] std::size_t runs() const { return runs_; }
  std::vector<FoundDip> dips() && { return std::move(dips_); }

 private:
  [[nodiscard]] std::size_t length() const { return waveform_[0].size(); }
  [[nodiscard]] Stretch stretch_from(std::size_t begin) const {
    return {begin, std::min(begin + longest_run_, length())};
  }

  /// Searches a stretch by the threshold of the whole waveform, which stands in the record.
  void load(const Stretch& stretch) const {
    report_stage_("searching for dips", static_cast<double>(stretch.begin) / static_cast<double>(length()));
    search_on(waveform_, stretch);
  }

  /// The dips that the stretch holds from fall to recovery, and one that the waveform ends in.
  void take_dips(const Stretch& stretch) {
    for (int i = 0; i < searched().evt_num; i += 2) {
      const auto fall = static_cast<std::size_t>(searched().T[i]);
      const bool recovered = i + 1 < searched().evt_num;
      if (!recovered && stretch.end < length()) return;
      const auto end = recovered ? static_cast<std::size_t>(searched().T[i + 1]) : stretch.length();
      FoundDip dip = as_low_as(fall, end);
      dip.start = stretch.begin + fall;
      if (recovered) dip.end = stretch.begin + end;
      add(dip, stretch);
    }
  }

  void add(const FoundDip& dip, const Stretch& stretch) {
    if (joins(dip.start)) {
      FoundDip& before = dips_.back();
      take_lower(before, as_low_as(*before.end - stretch.begin, dip.start - stretch.begin));
      take_lower(before, dip);
      before.end = dip.end;
    } else {
      dips_.push_back(dip);
    }
  }

  /// Where the next stretch begins; nothing when there is none.
  std::optional<std::size_t> next_begin(const Stretch& stretch) {
    const int crossings = searched().evt_num;
    if (crossings % 2 != 0) {
      if (stretch.end == length()) return std::nullopt;
      const std::size_t fall = stretch.begin + static_cast<std::size_t>(searched().T[crossings - 1]);
      const std::size_t begin = joins(fall) ? std::min(fall - cycle_, at_last_recovery()) : fall - cycle_;
      return begin > stretch.begin ? begin : follow(fall, stretch);
    }
    if (crossings > 0 && falls_again(static_cast<std::size_t>(searched().T[crossings - 1]), stretch)) {
      return at_last_recovery();  // the run ended with its last crossing
    }
    if (stretch.end == length()) return std::nullopt;
    const std::size_t at_end = stretch.end - cycle_;
    return joins(stretch.end) ? std::min(at_end, at_last_recovery()) : at_end;
  }

  /// Whether a fall here would be part of the last dip.
  [[nodiscard]] bool joins(std::size_t fall) const {
    return !dips_.empty() && fall < *dips_.back().end + joining_cycles * cycle_;
  }

  /// Begins such that the first RMS value is that at the recovery.
  [[nodiscard]] std::size_t at_last_recovery() const { return *dips_.back().end - cycle_ + 1; }

  static bool falls_again(std::size_t behind, const Stretch& stretch) {
    return first(true, behind + 1, stretch.length()) < stretch.length();
  }

  /// Follows a dip that fills a stretch, to its recovery. Returns where the search goes on behind it.
  std::optional<std::size_t> follow(std::size_t fall, Stretch stretch) {
    FoundDip begun = as_low_as(fall - stretch.begin, stretch.length());
    begun.start = fall;
    add(begun, stretch);
    FoundDip& dip = dips_.back();
    while (!dip.end && stretch.end < length()) {
      stretch = stretch_from(stretch.end - cycle_ + 1);
      load(stretch);
      runs_++;
      // What lies before the first whole cycle is no RMS of its own.
      const std::size_t recovery = first(false, cycle_ - 1, stretch.length());
      if (recovery < stretch.length()) dip.end = stretch.begin + recovery;
      if (recovery > cycle_ - 1) take_lower(dip, as_low_as(cycle_ - 1, recovery));
    }
    if (!dip.end) return std::nullopt;
    return at_last_recovery();
  }

  const Waveform& waveform_;
  std::size_t cycle_;
  std::size_t longest_run_;
  const StageReport& report_stage_;
  std::size_t runs_ = 0;
  std::vector<FoundDip> dips_;
};

SearchEnd end_of(sagx::RunOutcome outcome) {
  switch (outcome) {
    case sagx::RunOutcome::searched:
      return SearchEnd::searched;
    case sagx::RunOutcome::too_few_samples:
      return SearchEnd::too_short;
    case sagx::RunOutcome::disturbed_start:
      return SearchEnd::disturbed_start;
    case sagx::RunOutcome::no_memory:
      throw std::bad_alloc();
    case sagx::RunOutcome::rate_out_of_range:
    case sagx::RunOutcome::too_many_samples:
    case sagx::RunOutcome::too_many_cycles:
    case sagx::RunOutcome::not_run:
    case sagx::RunOutcome::no_samples:
    case sagx::RunOutcome::analysed:
      break;
  }
  throw std::logic_error("the analysis ended without a reason");
}

}  // namespace

DipSearch search_dips(Waveform& waveform, int samples_per_cycle, std::size_t longest_run,
                      const StageReport& report_stage) {
  report_stage("searching for dips", 0);
  DipSearch search;
  const Stretch beginning{0, std::min(waveform[0].size(), longest_run)};
  search.end = end_of(embedded::search(waveform, samples_per_cycle, beginning));
  if (search.end != SearchEnd::searched) return search;
  search.nominal = static_cast<double>(searched().un);
  search.threshold = static_cast<double>(searched().ut);
  Searcher searcher(waveform, samples_per_cycle, longest_run, report_stage);
  searcher.go_on(beginning);
  search.runs = searcher.runs();
  search.dips = std::move(searcher).dips();
  return search;
}

}  // namespace analysis::embedded
