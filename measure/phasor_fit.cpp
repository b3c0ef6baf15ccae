#include "measure/phasor_fit.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <utility>

namespace measure {

namespace {

constexpr double longest_carry_back_cycles = 0.35;
/// After this many time constants a decaying offset is smaller than a rounding error.
constexpr double decayed_constants = 36;

/// The product of two complex numbers that are finite.
Phasor times(Phasor one, Phasor other) {
  return {one.real() * other.real() - one.imag() * other.imag(), one.real() * other.imag() + one.imag() * other.real()};
}

/// A harmonic of a fit and its place among the columns: first its cosine, then its sine, which the constant lacks.
struct Wave {
  std::size_t column = 0;
  int order = 0;
  bool timed = false;
  double kept = 1;
};

/// The fundamental, its harmonics and the constant, in the order of the columns.
class Waves {
 public:
  Waves(const FitForm& form, const std::array<double, WaveSums::orders>& attenuation) {
    add({0, 1, false, attenuation[1]});
    if (form.linear) add({0, 1, true, attenuation[1]});
    for (const int order : form.harmonics) add({0, order, false, attenuation[static_cast<std::size_t>(order)]});
    add({0, 0, false, 1});
  }

  [[nodiscard]] const Wave* begin() const { return waves_.data(); }
  [[nodiscard]] const Wave* end() const { return waves_.data() + count_; }

 private:
  void add(Wave wave) {
    wave.column = columns_;
    columns_ += wave.order == 0 ? 1 : 2;
    waves_[count_++] = wave;
  }

  std::array<Wave, WaveSums::orders + 2> waves_;
  std::size_t count_ = 0;
  std::size_t columns_ = 0;
};

/// Sums of z to the powers of 0, 1, 2 and so on, and of these powers times their exponents.
struct Series {
  Phasor plain;
  Phasor timed;

  /// `last`: z to the power of `count`, the first that is not in the sums.
  Series(Phasor z, Phasor last, double count) {
    const Phasor rest = 1.0 - z;
    const Phasor inverse = std::conj(rest) / std::norm(rest);
    plain = times(1.0 - last, inverse);
    timed = times(plain - 1.0 - (count - 1) * last, inverse);
  }
};

}  // namespace

/// Evaluates a fit at successive times. Each value is computed from the one before by a rotation and a decay.
class PhasorFit::Walk {
 public:
  Walk(const PhasorFit& fit, double from_s, double step_s) : fit_(fit) {
    c_ = std::cos(fit.omega_ * from_s);
    s_ = std::sin(fit.omega_ * from_s);
    step_c_ = std::cos(fit.omega_ * step_s);
    step_s_ = std::sin(fit.omega_ * step_s);
    since_ = (from_s - fit.start_) / fit.cycle_;
    since_step_ = step_s / fit.cycle_;
    for (const double cycles : fit.form_.decays) decay_.push_back(std::exp(-since_step_ / cycles));
    decayed_.resize(decay_.size());
    start_decays();
  }

  void step() {
    const double next = c_ * step_c_ - s_ * step_s_;
    s_ = s_ * step_c_ + c_ * step_s_;
    c_ = next;
    const bool carried_back = since_ < -longest_carry_back_cycles;
    since_ += since_step_;
    if (carried_back) {
      start_decays();
    } else {
      for (std::size_t k = 0; k < decayed_.size(); k++) decayed_[k] *= decay_[k];
    }
  }

  /// `kept`: the remaining share of each harmonic.
  [[nodiscard]] PerPhase voltage(const std::array<double, orders>& kept = unattenuated) const {
    Column row;
    double* decays = fit_.write_waves(c_, s_, since_, kept.data(), row.data());
    for (const double decayed : decayed_) *decays++ = decayed;
    return fit_.times_coefficients(row);
  }

 private:
  static constexpr std::array<double, orders> unattenuated = {1, 1, 1, 1, 1, 1, 1, 1};

  void start_decays() {
    for (std::size_t k = 0; k < decayed_.size(); k++) {
      decayed_[k] = std::exp(-std::max(since_, -longest_carry_back_cycles) / fit_.form_.decays[k]);
    }
  }

  const PhasorFit& fit_;
  double c_;
  double s_;
  double step_c_;
  double step_s_;
  double since_;
  double since_step_;
  std::vector<double> decayed_;
  std::vector<double> decay_;
};

FitForm FitForm::for_length(double cycles, bool linear, bool after_change) {
  FitForm form;
  if (cycles > 1.5) {
    form.harmonics = {2, 3, 4, 5, 7};
  } else if (cycles > 0.95) {
    form.harmonics = {3, 5, 7};
  } else if (cycles > 0.7) {
    form.harmonics = {3, 5};
  }
  form.linear = linear && cycles > 1.05;
  if (after_change && cycles > 1.3) form.decays.push_back(0.6);
  if (after_change && cycles > 3) form.decays.push_back(2.25);
  return form;
}

PhasorFit::PhasorFit(const Excerpt& excerpt, std::size_t begin, std::size_t end, FitForm form)
    : form_(std::move(form)),
      phases_(excerpt.phases()),
      omega_(excerpt.omega()),
      start_(excerpt.start_of(begin)),
      end_(excerpt.start_of(end)),
      cycle_(excerpt.cycle()) {
  constexpr double highest_order = 0.45;  // of the averages per cycle
  std::erase_if(form_.harmonics, [&](int order) { return order > highest_order * excerpt.averages_per_cycle(); });
  columns_ = (form_.linear ? 4 : 2) + 2 * form_.harmonics.size() + 1 + form_.decays.size();
  for (std::size_t order = 1; order < orders; order++) {
    attenuation_[order] = excerpt.attenuation(static_cast<int>(order));
  }
  const WaveSums::Sums sums = excerpt.sums_between(begin, end);
  rows_ = static_cast<std::size_t>(std::lround(sums.count()));
  Equations equations;
  add_waves(sums, equations);
  if (!form_.decays.empty()) add_decays(excerpt, begin, end, equations);
  // A small term keeps the equations solvable if a stretch is too short for all columns.
  for (std::size_t k = 0; k < columns_; k++) equations.gram[k][k] += 1e-9 * (1 + equations.gram[k][k]);
  factorise(equations);
  for (std::size_t phase = 0; phase < phases_; phase++) {
    coefficients_[phase] = equations.right[phase];
    solve(coefficients_[phase]);
    double left = sums.squares(phase);
    for (std::size_t k = 0; k < columns_; k++) left -= equations.right[phase][k] * coefficients_[phase][k];
    residual_[phase] = std::max(0.0, left) / std::max(1.0, static_cast<double>(rows_) - static_cast<double>(columns_));
  }
}

void PhasorFit::add_waves(const WaveSums::Sums& sums, Equations& equations) const {
  const Waves waves(form_, attenuation_);
  for (const Wave& one : waves) {
    for (const Wave* other = &one; other != waves.end(); other++) {
      const auto sum = [&](int order) {
        if (one.timed && other->timed) return sums.timed_twice(order);
        return one.timed || other->timed ? sums.timed(order) : sums.wave(order);
      };
      const int apart = other->order - one.order;
      const double* high = sum(one.order + other->order);
      const double* low = sum(std::abs(apart));
      const double low_sine = apart < 0 ? -low[1] : low[1];
      const double half = one.kept * other->kept / 2;
      auto& cosine_row = equations.gram[one.column];
      cosine_row[other->column] = half * (low[0] + high[0]);
      if (other->order > 0) cosine_row[other->column + 1] = half * (high[1] + low_sine);
      if (one.order == 0) continue;
      auto& sine_row = equations.gram[one.column + 1];
      if (other != &one) sine_row[other->column] = half * (high[1] - low_sine);
      if (other->order > 0) sine_row[other->column + 1] = half * (low[0] - high[0]);
    }
    for (std::size_t phase = 0; phase < phases_; phase++) {
      const double* value = one.timed ? sums.timed_value(phase) : sums.value(phase, one.order);
      equations.right[phase][one.column] = one.kept * value[0];
      if (one.order > 0) equations.right[phase][one.column + 1] = one.kept * value[1];
    }
  }
}

/// Sums of decaying waves are geometric series. The terms of missing averages are subtracted again.
void PhasorFit::add_decays(const Excerpt& excerpt, std::size_t begin, std::size_t end, Equations& equations) const {
  const Waves waves(form_, attenuation_);
  const std::size_t decays = form_.decays.size();
  const std::size_t first = columns_ - decays;
  const auto count = static_cast<double>(end - begin);
  const double step = 1 / excerpt.averages_per_cycle();
  const double turn = omega_ * static_cast<double>(excerpt.block()) / excerpt.rate();
  const Phasor to_begin = std::polar(1.0, omega_ * excerpt.time_of(static_cast<double>(begin)));
  const Phasor to_next = std::polar(1.0, turn);
  const Phasor to_end = std::polar(1.0, turn * count);
  for (std::size_t k = 0; k < decays; k++) {
    const double per_step = step / form_.decays[k];
    const double half_step = std::exp(-per_step / 2);
    const Phasor decay = half_step * half_step;
    const Phasor decay_to_end = std::exp(-per_step * count);
    std::array<Phasor, orders> turned{half_step};
    std::array<Phasor, orders> ratio{decay};
    std::array<Phasor, orders> last{decay_to_end};
    for (std::size_t order = 1; order < orders; order++) {
      turned[order] = times(turned[order - 1], to_begin);
      ratio[order] = times(ratio[order - 1], to_next);
      last[order] = times(last[order - 1], to_end);
    }
    for (const Wave& wave : waves) {
      const auto order = static_cast<std::size_t>(wave.order);
      const Series series(ratio[order], last[order], count);
      const Phasor sum = wave.timed ? step * (series.timed + 0.5 * series.plain) : series.plain;
      const Phasor product = wave.kept * times(turned[order], sum);
      equations.gram[wave.column][first + k] = product.real();
      if (wave.order > 0) equations.gram[wave.column + 1][first + k] = product.imag();
    }
    for (std::size_t j = k; j < decays; j++) {
      const double both = step / form_.decays[k] + step / form_.decays[j];
      equations.gram[first + k][first + j] = std::exp(-both / 2) * std::expm1(-both * count) / std::expm1(-both);
    }
    const double lasts = decayed_constants * form_.decays[k] / step;
    const std::size_t to = lasts < count ? begin + static_cast<std::size_t>(lasts) : end;
    double decayed = half_step;
    for (std::size_t i = begin; i < to; i++, decayed *= decay.real()) {
      if (excerpt.is_missing(i)) continue;
      for (std::size_t phase = 0; phase < phases_; phase++) {
        equations.right[phase][first + k] += decayed * excerpt.average(phase, i);
      }
    }
  }
  if (rows_ == end - begin) return;
  for (std::size_t i = begin; i < end; i++) {
    if (!excerpt.is_missing(i)) continue;
    const double seconds = excerpt.time_of(static_cast<double>(i));
    const double since = (seconds - start_) / cycle_;
    Column row{};
    double* at =
        write_waves(std::cos(omega_ * seconds), std::sin(omega_ * seconds), since, attenuation_.data(), row.data());
    for (const double cycles : form_.decays) *at++ = std::exp(-since / cycles);
    for (std::size_t u = 0; u < columns_; u++) {
      for (std::size_t v = std::max(u, first); v < columns_; v++) equations.gram[u][v] -= row[u] * row[v];
    }
  }
}

/// Factorises with pivots, so that a column that depends on the others is left out.
void PhasorFit::factorise(const Equations& equations) {
  using All = Eigen::Matrix<double, most_columns, most_columns, Eigen::RowMajor>;
  const Eigen::Map<const All> gram(equations.gram.front().data());
  const auto columns = static_cast<Eigen::Index>(columns_);
  factor_.emplace(gram.topLeftCorner(columns, columns));
}

void PhasorFit::solve(Column& column) const {
  if (!factor_) return;
  Eigen::Map<Values> values(column.data(), static_cast<Eigen::Index>(columns_));
  values = factor_->solve(values).eval();
}

double* PhasorFit::write_waves(double c, double s, double since, const double* kept, double* row) const {
  *row++ = kept[1] * c;
  *row++ = kept[1] * s;
  if (form_.linear) {
    *row++ = kept[1] * since * c;
    *row++ = kept[1] * since * s;
  }
  double ch = c;
  double sh = s;
  int order = 1;
  for (const int wanted : form_.harmonics) {
    for (; order < wanted; order++) {
      const double next = ch * c - sh * s;
      sh = sh * c + ch * s;
      ch = next;
    }
    *row++ = kept[order] * ch;
    *row++ = kept[order] * sh;
  }
  *row++ = 1;
  return row;
}

PerPhase PhasorFit::times_coefficients(const Column& row) const {
  PerPhase result{};
  for (std::size_t phase = 0; phase < phases_; phase++) {
    double sum = 0;
    for (std::size_t k = 0; k < columns_; k++) sum += row[k] * coefficients_[phase][k];
    result[phase] = sum;
  }
  return result;
}

Phasors PhasorFit::phasors(double seconds) const {
  Phasors result{};
  const double since = (seconds - start_) / cycle_;
  for (std::size_t phase = 0; phase < phases_; phase++) {
    const Column& column = coefficients_[phase];
    result[phase] = {column[0], -column[1]};
    if (form_.linear) result[phase] += since * Phasor(column[2], -column[3]);
  }
  return result;
}

PerPhase PhasorFit::voltage(double seconds) const {
  return Walk(*this, seconds, 0).voltage();
}

std::vector<PerPhase> PhasorFit::voltages(double from_s, double step_s, std::size_t count) const {
  std::vector<PerPhase> result(count);
  Walk walk(*this, from_s, step_s);
  for (PerPhase& voltage : result) {
    voltage = walk.voltage();
    walk.step();
  }
  return result;
}

Phasors PhasorFit::harmonic(int order) const {
  Phasors result{};
  const auto found = std::find(form_.harmonics.begin(), form_.harmonics.end(), order);
  if (found == form_.harmonics.end()) return result;
  const auto at = static_cast<std::size_t>((form_.linear ? 4 : 2) + 2 * (found - form_.harmonics.begin()));
  for (std::size_t phase = 0; phase < phases_; phase++) {
    result[phase] = {coefficients_[phase][at], -coefficients_[phase][at + 1]};
  }
  return result;
}

PerPhase PhasorFit::standard_error(double seconds) const {
  // The phasor is a sum of coefficients; its variance is a form of their covariance.
  const double since = form_.linear ? (seconds - start_) / cycle_ : 0;
  double variance = 0;
  for (const std::size_t part : {std::size_t{0}, std::size_t{1}}) {
    Column weights{};
    weights[part] = 1;
    if (form_.linear) weights[part + 2] = since;
    Column solved = weights;
    solve(solved);
    for (std::size_t k = 0; k < columns_; k++) variance += weights[k] * solved[k];
  }
  PerPhase result{};
  for (std::size_t phase = 0; phase < phases_; phase++) {
    result[phase] = std::sqrt(std::max(0.0, variance / 2 * residual_[phase] * density_[phase]) + added_[phase]);
  }
  return result;
}

void PhasorFit::look_at_correlation(const Excerpt& excerpt, std::size_t begin, std::size_t end) {
  constexpr double strongest = 0.9;
  const double step_s = static_cast<double>(excerpt.block()) / excerpt.rate();
  Walk walk(*this, excerpt.time_of(static_cast<double>(begin)), step_s);
  PerPhase previous{};
  PerPhase squares{};
  PerPhase products{};
  for (std::size_t i = begin; i < end; i++, walk.step()) {
    if (excerpt.is_missing(i)) {
      previous = {};
      continue;
    }
    const PerPhase expected = walk.voltage(attenuation_);
    for (std::size_t phase = 0; phase < phases_; phase++) {
      const double left = excerpt.average(phase, i) - expected[phase];
      squares[phase] += left * left;
      products[phase] += left * previous[phase];
      previous[phase] = left;
    }
  }
  const double turn_c = std::cos(omega_ * step_s);
  for (std::size_t phase = 0; phase < phases_; phase++) {
    if (!(squares[phase] > 0)) continue;
    const double r = std::clamp(products[phase] / squares[phase], 0.0, strongest);
    density_[phase] = std::max(1.0, (1 - r * r) / (1 - 2 * r * turn_c + r * r));
  }
}

}  // namespace measure
