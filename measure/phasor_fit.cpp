#include "measure/phasor_fit.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace measure {

namespace {

constexpr int most_columns = 24;
constexpr double longest_carry_back_cycles = 0.35;

}  // namespace

/// The basis at one average after the other: each is the one before, turned and decayed a little further.
class PhasorFit::BasisWalk {
 public:
  BasisWalk(const PhasorFit& fit, const Excerpt& excerpt, std::size_t begin) : fit_(fit) {
    const double seconds = excerpt.time_of(static_cast<double>(begin));
    const double step_s = static_cast<double>(excerpt.block()) / excerpt.rate();
    c_ = std::cos(fit.omega_ * seconds);
    s_ = std::sin(fit.omega_ * seconds);
    step_c_ = std::cos(fit.omega_ * step_s);
    step_s_ = std::sin(fit.omega_ * step_s);
    since_ = (seconds - fit.start_) / fit.cycle_;
    since_step_ = step_s / fit.cycle_;
    for (const double cycles : fit.form_.decays) {
      decayed_.push_back(std::exp(-since_ / cycles));
      decay_.push_back(std::exp(-since_step_ / cycles));
    }
  }

  void step() {
    const double next = c_ * step_c_ - s_ * step_s_;
    s_ = s_ * step_c_ + c_ * step_s_;
    c_ = next;
    since_ += since_step_;
    for (std::size_t k = 0; k < decayed_.size(); k++) decayed_[k] *= decay_[k];
  }

  void write(double* row) const {
    row = fit_.write_waves(c_, s_, since_, fit_.attenuation_.data(), row);
    for (const double decayed : decayed_) *row++ = decayed;
  }

 private:
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
      cycle_(excerpt.cycle()) {
  constexpr double highest_order = 0.45;  // of the averages per cycle
  std::erase_if(form_.harmonics, [&](int order) { return order > highest_order * excerpt.averages_per_cycle(); });
  for (int order = 1; order < orders; order++)
    attenuation_[static_cast<std::size_t>(order)] = excerpt.attenuation(order);

  const Eigen::Index count = columns();
  Eigen::MatrixXd design(count, static_cast<Eigen::Index>(end - begin));  // a column for each average
  Eigen::MatrixXd values(static_cast<Eigen::Index>(phases_), static_cast<Eigen::Index>(end - begin));
  Eigen::Index used = 0;
  BasisWalk walk(*this, excerpt, begin);
  for (std::size_t i = begin; i < end; i++, walk.step()) {
    if (excerpt.is_missing(i)) continue;
    walk.write(&design(0, used));
    for (std::size_t phase = 0; phase < phases_; phase++) {
      values(static_cast<Eigen::Index>(phase), used) = excerpt.average(phase, i);
    }
    used++;
  }
  rows_ = static_cast<std::size_t>(used);
  const auto basis_used = design.leftCols(used);
  const auto values_used = values.leftCols(used);
  Eigen::MatrixXd gram = Eigen::MatrixXd::Zero(count, count);
  gram.selfadjointView<Eigen::Lower>().rankUpdate(basis_used);
  // Stretches too short for all columns stay solvable.
  for (Eigen::Index k = 0; k < count; k++) gram(k, k) += 1e-9 * (1 + gram(k, k));
  factor_.compute(gram);
  const Eigen::MatrixXd right = basis_used * values_used.transpose();
  coefficients_ = factor_.solve(right);
  for (std::size_t phase = 0; phase < phases_; phase++) {
    const auto p = static_cast<Eigen::Index>(phase);
    const double left = values_used.row(p).squaredNorm() - right.col(p).dot(coefficients_.col(p));
    residual_[phase] = std::max(0.0, left) / std::max(1.0, static_cast<double>(used - count));
  }
}

int PhasorFit::columns() const {
  return 2 + (form_.linear ? 2 : 0) + 2 * static_cast<int>(form_.harmonics.size()) + 1 +
         static_cast<int>(form_.decays.size());
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

Phasors PhasorFit::phasors(double seconds) const {
  Phasors result{};
  const double since = (seconds - start_) / cycle_;
  for (std::size_t phase = 0; phase < phases_; phase++) {
    const auto p = static_cast<Eigen::Index>(phase);
    result[phase] = {coefficients_(0, p), -coefficients_(1, p)};
    if (form_.linear) result[phase] += since * Phasor(coefficients_(2, p), -coefficients_(3, p));
  }
  return result;
}

PerPhase PhasorFit::voltage(double seconds) const {
  constexpr std::array<double, orders> unattenuated = {1, 1, 1, 1, 1, 1, 1, 1};
  std::array<double, most_columns> row{};
  const double since = (seconds - start_) / cycle_;
  double* decays =
      write_waves(std::cos(omega_ * seconds), std::sin(omega_ * seconds), since, unattenuated.data(), row.data());
  for (const double cycles : form_.decays) *decays++ = std::exp(-std::max(since, -longest_carry_back_cycles) / cycles);
  const Eigen::Map<const Eigen::VectorXd> basis(row.data(), columns());
  PerPhase result{};
  for (std::size_t phase = 0; phase < phases_; phase++) {
    result[phase] = basis.dot(coefficients_.col(static_cast<Eigen::Index>(phase)));
  }
  return result;
}

Phasors PhasorFit::harmonic(int order) const {
  Phasors result{};
  const auto found = std::find(form_.harmonics.begin(), form_.harmonics.end(), order);
  if (found == form_.harmonics.end()) return result;
  const auto at = static_cast<Eigen::Index>((form_.linear ? 4 : 2) + 2 * (found - form_.harmonics.begin()));
  for (std::size_t phase = 0; phase < phases_; phase++) {
    const auto p = static_cast<Eigen::Index>(phase);
    result[phase] = {coefficients_(at, p), -coefficients_(at + 1, p)};
  }
  return result;
}

PerPhase PhasorFit::standard_error(double seconds) const {
  // The phasor is a sum of coefficients; its variance is a form of their covariance.
  const double since = form_.linear ? (seconds - start_) / cycle_ : 0;
  double variance = 0;
  for (const Eigen::Index part : {0, 1}) {
    Eigen::VectorXd weights = Eigen::VectorXd::Zero(columns());
    weights(part) = 1;
    if (form_.linear) weights(part + 2) = since;
    variance += weights.dot(factor_.solve(weights));
  }
  PerPhase result{};
  for (std::size_t phase = 0; phase < phases_; phase++) {
    result[phase] = std::sqrt(std::max(0.0, variance / 2 * residual_[phase]));
  }
  return result;
}

}  // namespace measure
