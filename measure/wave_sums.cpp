#include "measure/wave_sums.h"

namespace measure {

WaveSums::WaveSums(const AveragedWaves& waves) {
  up_to_.reserve(waves.length() / apart + 1);
  Sums sums;
  for (std::size_t i = 0; i < waves.length(); i++) {
    if (i % apart == 0) up_to_.push_back(sums);
    add(waves, i, sums);
  }
  if (waves.length() % apart == 0) up_to_.push_back(sums);
}

void WaveSums::add(const AveragedWaves& waves, std::size_t index, Sums& sums) {
  if (waves.is_missing(index)) return;
  const double time = (static_cast<double>(index) + 0.5) / waves.averages_per_cycle();
  const double c = waves.cosine(index);
  const double s = waves.sine(index);
  std::array<double, 2 * product_orders> wave{1, 0};
  for (std::size_t k = 2; k < wave.size(); k += 2) {
    wave[k] = wave[k - 2] * c - wave[k - 1] * s;
    wave[k + 1] = wave[k - 1] * c + wave[k - 2] * s;
  }
  for (std::size_t k = 0; k < wave.size(); k++) sums.sums_[k] += wave[k];
  double* timed = sums.at(Sums::first_timed);
  for (std::size_t k = 0; k < 2 * time_orders; k++) timed[k] += time * wave[k];
  double* twice = sums.at(Sums::first_twice);
  twice[0] += time * time;
  twice[2] += time * time * wave[4];
  twice[3] += time * time * wave[5];
  for (std::size_t phase = 0; phase < waves.phases(); phase++) {
    const double value = waves.average(phase, index);
    double* values = sums.at(Sums::of(phase));
    for (std::size_t k = 0; k < 2 * orders; k++) values[k] += value * wave[k];
    values[2 * orders] += value * time * c;
    values[2 * orders + 1] += value * time * s;
    values[2 * orders + 2] += value * value;
  }
}

WaveSums::Sums WaveSums::between(const AveragedWaves& waves, std::size_t begin, std::size_t end) const {
  Sums sums;
  const std::size_t first = (begin + apart - 1) / apart;
  const std::size_t last = end / apart;
  if (first < last) {
    for (std::size_t k = 0; k < sums.sums_.size(); k++) sums.sums_[k] = up_to_[last].sums_[k] - up_to_[first].sums_[k];
    for (std::size_t i = begin; i < first * apart; i++) add(waves, i, sums);
    for (std::size_t i = last * apart; i < end; i++) add(waves, i, sums);
  } else {
    for (std::size_t i = begin; i < end; i++) add(waves, i, sums);
  }
  sums.count_time_from(static_cast<double>(begin) / waves.averages_per_cycle());
  return sums;
}

/// Moves the time that counts from the excerpt's beginning to one that counts from `origin`.
void WaveSums::Sums::count_time_from(double origin) {
  const double* waves = at(0);
  double* timed_waves = at(first_timed);
  double* twice = at(first_twice);
  for (int k = 0; k < 4; k++) {
    const int place = k < 2 ? k : k + 2;
    twice[k] -= 2 * origin * timed_waves[place] - origin * origin * waves[place];
  }
  for (int k = 0; k < 2 * time_orders; k++) timed_waves[k] -= origin * waves[k];
  for (std::size_t phase = 0; phase < most_phases; phase++) {
    double* values = at(of(phase));
    for (int k = 0; k < 2; k++) values[2 * orders + k] -= origin * values[2 + k];
  }
}

}  // namespace measure
