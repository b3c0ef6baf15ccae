#include "analysis/choice/record_voltages.h"

#include <algorithm>
#include <utility>

#include "analysis/choice/chosen_part.h"
#include "analysis/choice/line_frequency.h"

namespace analysis {

RecordVoltages::RecordVoltages(const readers::Record& record, const VoltageChoice& choice)
    : record_(record), choice_(choice), sets_(sets_for(record, choice)) {}

std::vector<std::size_t> RecordVoltages::live_sets() const {
  std::vector<std::size_t> numbers;
  for (std::size_t i = 0; i < sets_.size(); i++) {
    if (sets_[i].live) numbers.push_back(i + 1);
  }
  return numbers;
}

const VoltageSource& RecordVoltages::source(std::size_t set) {
  const auto known = sources_.find(set);
  if (known != sources_.end()) return known->second;
  VoltageChoice choice = choice_;
  choice.set = set;
  auto chosen = choose_set(record_, choice, sets_);
  const auto& channels = chosen.value.set.channels;
  auto frequency = line_frequency_of(record_, channels[0], choice.line_frequency);
  auto parts = readers::parts_without_gaps(record_, channels, longest_gap_cycles / frequency.value);
  VoltageSource source{chosen.value, frequency.value, std::move(parts), std::move(chosen.notes)};
  source.notes.insert(source.notes.end(), frequency.notes.begin(), frequency.notes.end());
  return sources_.emplace(set, std::move(source)).first->second;
}

std::optional<readers::BayCurrents> RecordVoltages::currents_of(const readers::VoltageSet& voltages) {
  if (!bays_) bays_.emplace(record_);
  auto currents = bays_->currents_of(voltages);
  if (!currents) return std::nullopt;
  const auto is_read = [&](std::size_t channel) {
    return record_.channels[channel].samples.size() == record_.length();
  };
  const readers::CurrentSet& set = currents->set;
  const bool read =
      std::all_of(set.phases.begin(), set.phases.end(), is_read) && (!set.residual || is_read(*set.residual));
  return read ? currents : std::nullopt;
}

}  // namespace analysis
