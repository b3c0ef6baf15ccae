#include "archive/clock_offsets.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <numeric>
#include <optional>
#include <tuple>
#include <utility>

namespace archive {

namespace {

constexpr double largest_difference_s = 60;
constexpr double same_span_s = 0.01;        // instants on a waveform are known to a few milliseconds
constexpr double agreeing_within_s = 0.04;  // a clock without a receiver for satellites jitters more than the instants
constexpr std::size_t fewest_dips = 3;

/// What the dips of two sites say of their clocks.
struct Comparison {
  std::size_t one = 0;
  std::size_t other = 0;
  double ahead_s = 0;  ///< of the other's clock
  double variance = 0;
  std::size_t dips = 0;
};

/// Sorts dips by time and drops those that a site has in two sets of voltages.
void sort_and_drop_doubles(std::vector<SeenDip>& dips) {
  std::sort(dips.begin(), dips.end(), [](const SeenDip& one, const SeenDip& other) {
    return std::tie(one.site, one.first_s, one.last_s) < std::tie(other.site, other.first_s, other.last_s);
  });
  dips.erase(std::unique(dips.begin(), dips.end(),
                         [](const SeenDip& one, const SeenDip& other) {
                           return one.site == other.site && other.first_s - one.first_s < agreeing_within_s;
                         }),
             dips.end());
  std::sort(dips.begin(), dips.end(), [](const SeenDip& one, const SeenDip& other) {
    return std::tie(one.first_s, one.site) < std::tie(other.first_s, other.site);
  });
}

/// Returns the mean of the differences that agree, if they are the most frequent ones.
std::optional<Comparison> most_frequent(std::vector<double> differences) {
  std::sort(differences.begin(), differences.end());
  struct Run {
    std::size_t begin = 0;
    std::size_t end = 0;
    [[nodiscard]] std::size_t length() const { return end - begin; }
  };
  Run best;
  bool doubtful = false;
  for (std::size_t begin = 0, end = 0; begin < differences.size(); begin++) {
    while (end < differences.size() && differences[end] - differences[begin] <= agreeing_within_s) end++;
    const Run run{begin, end};
    // Runs that overlap say the same.
    if (run.length() == best.length() && run.begin >= best.end) doubtful = true;
    if (run.length() <= best.length()) continue;
    best = run;
    doubtful = false;
  }
  if (doubtful || best.length() < fewest_dips) return std::nullopt;
  Comparison found;
  found.dips = best.length();
  const auto count = static_cast<double>(found.dips);
  for (std::size_t k = best.begin; k < best.end; k++) found.ahead_s += differences[k] / count;
  for (std::size_t k = best.begin; k < best.end; k++) {
    const double away = differences[k] - found.ahead_s;
    found.variance += away * away / (count - 1);
  }
  return found;
}

/// Compares each two sites that have dips in common; those with the most dips come first.
std::vector<Comparison> comparisons_of(const std::vector<SeenDip>& dips) {
  std::map<std::pair<std::size_t, std::size_t>, std::vector<double>> differences;
  for (std::size_t i = 0; i < dips.size(); i++) {
    for (std::size_t k = i + 1; k < dips.size() && dips[k].first_s - dips[i].first_s <= largest_difference_s; k++) {
      if (dips[i].site == dips[k].site) continue;
      const bool in_order = dips[i].site < dips[k].site;
      const SeenDip& one = in_order ? dips[i] : dips[k];
      const SeenDip& other = in_order ? dips[k] : dips[i];
      const double at_first = other.first_s - one.first_s;
      const double at_last = other.last_s - one.last_s;
      if (std::abs(at_last - at_first) > same_span_s) continue;
      differences[{one.site, other.site}].push_back((at_first + at_last) / 2);
    }
  }
  std::vector<Comparison> comparisons;
  for (auto& [pair, of_pair] : differences) {
    std::optional<Comparison> found = most_frequent(std::move(of_pair));
    if (!found) continue;
    found->one = pair.first;
    found->other = pair.second;
    comparisons.push_back(*found);
  }
  std::stable_sort(comparisons.begin(), comparisons.end(),
                   [](const Comparison& one, const Comparison& other) { return one.dips > other.dips; });
  return comparisons;
}

/// Sites and the comparisons by which one can go from each of them to all others that are connected with it.
class Connected {
 public:
  Connected(const std::vector<Comparison>& comparisons, std::size_t sites)
      : group_(sites), ways_(sites), shared_dips_(sites) {
    std::iota(group_.begin(), group_.end(), std::size_t{0});
    for (const Comparison& found : comparisons) {
      shared_dips_[found.one] += found.dips;
      shared_dips_[found.other] += found.dips;
      const std::size_t joined = group_[found.other];
      const std::size_t kept = group_[found.one];
      if (joined == kept) continue;
      std::replace(group_.begin(), group_.end(), joined, kept);
      ways_[found.one].push_back(found);
      ways_[found.other].push_back({found.other, found.one, -found.ahead_s, found.variance, found.dips});
    }
  }

  /// Returns the site of each group that shares the most dips; groups of a single site have none.
  [[nodiscard]] std::vector<std::size_t> references() const {
    std::map<std::size_t, std::size_t> best;
    for (std::size_t site = 0; site < group_.size(); site++) {
      if (ways_[site].empty()) continue;
      const auto [place, is_first] = best.try_emplace(group_[site], site);
      if (!is_first && shared_dips_[site] > shared_dips_[place->second]) place->second = site;
    }
    std::vector<std::size_t> sites;
    for (const auto& [group, site] : best) sites.push_back(site);
    return sites;
  }

  /// Calls `take` with the comparison of each site of a group with its reference.
  template <typename Take>
  void compare_with(std::size_t reference, Take take) const {
    std::vector<Comparison> waiting = {{reference, reference, 0, 0, shared_dips_[reference]}};
    std::vector<bool> known(group_.size());
    known[reference] = true;
    while (!waiting.empty()) {
      const Comparison here = waiting.back();
      waiting.pop_back();
      for (const Comparison& way : ways_[here.other]) {
        if (known[way.other]) continue;
        known[way.other] = true;
        waiting.push_back({reference, way.other, here.ahead_s + way.ahead_s, here.variance + way.variance,
                           std::min(here.dips, way.dips)});
        take(waiting.back());
      }
    }
  }

 private:
  std::vector<std::size_t> group_;
  std::vector<std::vector<Comparison>> ways_;
  std::vector<std::size_t> shared_dips_;
};

}  // namespace

std::vector<ClockOffset> clock_offsets(std::vector<SeenDip> dips, const std::vector<std::string>& sites) {
  sort_and_drop_doubles(dips);
  const Connected connected(comparisons_of(dips), sites.size());
  std::vector<ClockOffset> offsets;
  for (const std::size_t reference : connected.references()) {
    connected.compare_with(reference, [&](const Comparison& found) {
      offsets.push_back({sites[found.other], sites[reference], found.ahead_s, std::sqrt(found.variance), found.dips});
    });
  }
  std::sort(offsets.begin(), offsets.end(),
            [](const ClockOffset& one, const ClockOffset& other) { return one.site < other.site; });
  return offsets;
}

}  // namespace archive
