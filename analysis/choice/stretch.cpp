#include "analysis/choice/stretch.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "analysis/choice/voltage_choice.h"
#include "readers/voltages/parts.h"

namespace analysis {

namespace {

/// The time at which the record's last part ends, in seconds.
double end_of(const readers::Record& record) {
  const auto parts = readers::parts_of(record);
  if (parts.empty()) return 0;
  const auto& last = parts.back();
  return last.start + (last.rate > 0 ? static_cast<double>(last.length()) / last.rate : 0);
}

/// Makes all samples missing that belong to no part.
void blank_outside(readers::Record& record) {
  std::vector<bool> inside(record.length(), false);
  for (const auto& part : readers::parts_of(record)) {
    std::fill(inside.begin() + static_cast<std::ptrdiff_t>(part.begin),
              inside.begin() + static_cast<std::ptrdiff_t>(part.end), true);
  }
  for (auto& channel : record.channels) {
    for (std::size_t i = 0; i < channel.samples.size(); i++) {
      if (!inside[i]) channel.samples[i] = readers::no_value;
    }
  }
}

}  // namespace

void keep_stretch(readers::Record& record, const StretchChoice& choice) {
  if (!choice.any()) return;
  const double end = end_of(record);
  record.stretch = {choice.from.value_or(0), choice.to.value_or(std::max(end, choice.from.value_or(0)))};
  if (readers::parts_of(record).empty()) {
    const std::string from = choice.from ? fmt::format(" from --from {:g} s on", *choice.from) : "";
    const std::string to = choice.to ? fmt::format("{} before --to {:g} s", choice.from ? " and" : "", *choice.to) : "";
    throw UnknownChoice(
        fmt::format("{}: there are no samples{}{}; the record lasts from 0 s to {:.4f} s", record.file, from, to, end));
  }
  blank_outside(record);
  record.notes.push_back(fmt::format("Only the stretch from {:.4f} s to {:.4f} s is used, as --from and --to state.",
                                     record.stretch->from, std::min(record.stretch->to, end)));
}

}  // namespace analysis
