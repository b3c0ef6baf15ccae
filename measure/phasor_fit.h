// Least squares of a stretch of voltage: a fundamental, steady or changing linearly, with harmonics and decaying
// offsets.
#pragma once

#include <Eigen/Cholesky>
#include <array>
#include <initializer_list>
#include <optional>
#include <vector>

#include "measure/excerpt.h"

namespace measure {

/// The components that are fitted in addition to the fundamental and a constant.
struct FitForm {
  std::vector<int> harmonics;  ///< orders; those that the sampling rate does not carry are left out
  bool linear = false;         ///< the fundamental's phasor changes linearly
  std::vector<double> decays;  ///< offsets that decay, by their time constants in cycles

  /// Returns the components that a stretch of this many cycles can determine. `after_change`: decaying offsets follow a
  /// sudden change.
  static FitForm for_length(double cycles, bool linear, bool after_change);
};

/// Phasors are complex peak values in the excerpt's units against cos(omega t), t from the waveform's first sample.
class PhasorFit {
 public:
  PhasorFit() = default;
  /// Fits the averages from `begin` to, not including, `end`.
  PhasorFit(const Excerpt& excerpt, std::size_t begin, std::size_t end, FitForm form);

  [[nodiscard]] bool is_linear() const { return form_.linear; }
  [[nodiscard]] const FitForm& form() const { return form_; }
  [[nodiscard]] std::size_t rows() const { return rows_; }
  /// The time of the averages that were fitted.
  [[nodiscard]] double begin_s() const { return start_; }
  [[nodiscard]] double end_s() const { return end_; }
  /// The fundamental at a time; a steady one is the same at all times.
  [[nodiscard]] Phasors phasors(double seconds) const;
  /// Returns the value of the whole fit at a time. Decaying offsets are extrapolated at most a third of a cycle before
  /// the stretch.
  [[nodiscard]] PerPhase voltage(double seconds) const;
  /// The same at `count` times, `step_s` apart.
  [[nodiscard]] std::vector<PerPhase> voltages(double from_s, double step_s, std::size_t count) const;
  /// The fitted harmonic of an order; 0 when it was not fitted.
  [[nodiscard]] Phasors harmonic(int order) const;
  /// Returns the mean square residual of one average.
  [[nodiscard]] const PerPhase& residual() const { return residual_; }
  /// Returns the standard error of each component of the phasor at a time. It assumes that the noise has the size of
  /// the residual, and that it is white unless its correlation was measured.
  [[nodiscard]] PerPhase standard_error(double seconds) const;
  /// Measures the correlation between the residuals of neighbouring averages. As a first-order autoregressive process
  /// they have more power at the fundamental than white noise of the same size.
  void look_at_correlation(const Excerpt& excerpt, std::size_t begin, std::size_t end);
  /// Adds a variance that the residual does not show to each component of the phasor.
  void add_variance(const PerPhase& variance) { added_ = variance; }

 private:
  static constexpr int orders = WaveSums::orders;
  static constexpr int most_columns = 20;
  using Column = std::array<double, most_columns>;

  /// Matrices with room for all columns, so that they lie where the fit does.
  using Square = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::ColMajor, most_columns, most_columns>;
  using Values = Eigen::Matrix<double, Eigen::Dynamic, 1, Eigen::ColMajor, most_columns, 1>;

  /// The normal equations: the upper triangle of products of columns, and of columns with the values of each phase.
  struct Equations {
    std::array<Column, most_columns> gram{};
    std::array<Column, most_phases> right{};
  };
  class Walk;

  void add_waves(const WaveSums::Sums& sums, Equations& equations) const;
  void add_decays(const Excerpt& excerpt, std::size_t begin, std::size_t end, Equations& equations) const;
  void factorise(const Equations& equations);
  void solve(Column& column) const;

  /// Writes all columns but the decays; returns where these go. `kept`: what is left of each harmonic.
  double* write_waves(double c, double s, double since, const double* kept, double* row) const;
  [[nodiscard]] PerPhase times_coefficients(const Column& row) const;

  FitForm form_;
  std::size_t phases_ = 0;
  std::size_t columns_ = 0;
  std::size_t rows_ = 0;
  double omega_ = 0;
  double start_ = 0;
  double end_ = 0;
  double cycle_ = 1;
  std::array<double, orders> attenuation_{};
  std::array<Column, most_phases> coefficients_{};
  std::optional<Eigen::LDLT<Square, Eigen::Upper>> factor_;  // of the normal equations; none of a fit of nothing
  PerPhase residual_{};
  PerPhase added_{};           // to the variance of a phasor's components
  PerPhase density_{1, 1, 1};  // of the residual at the fundamental, compared with white noise
};

}  // namespace measure
