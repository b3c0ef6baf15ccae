#include "outputs/label_places.h"

#include <algorithm>
#include <cstddef>

namespace outputs {

namespace {

/// Labels that touch each other. Together they are nearest to their places where the means of both are equal.
struct Group {
  double wanted_sum = 0;  ///< of the places that the first label would have for each label to be where it is wanted
  std::size_t count = 0;

  [[nodiscard]] double first() const { return wanted_sum / static_cast<double>(count); }
};

}  // namespace

std::vector<double> places_apart(const std::vector<double>& wanted, double length, double low, double high) {
  std::vector<Group> groups;
  const auto step = [&](std::size_t labels) { return length * static_cast<double>(labels); };
  const auto first_of = [&](const Group& group) {
    const double last_first = high - step(group.count) + length / 2;
    return std::max(std::min(group.first(), last_first), low + length / 2);
  };
  for (const double place : wanted) {
    groups.push_back({place, 1});
    while (groups.size() > 1) {
      const Group& before = groups[groups.size() - 2];
      const Group& last = groups.back();
      if (first_of(before) + step(before.count) <= first_of(last)) break;
      const Group both = {before.wanted_sum + last.wanted_sum - step(before.count) * static_cast<double>(last.count),
                          before.count + last.count};
      groups.pop_back();
      groups.back() = both;
    }
  }
  std::vector<double> places;
  for (const Group& group : groups) {
    for (std::size_t i = 0; i < group.count; i++) places.push_back(first_of(group) + step(i));
  }
  return places;
}

}  // namespace outputs
