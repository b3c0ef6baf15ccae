#include "measure/partition.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "measure/moving_phasors.h"

namespace measure {

namespace {

// The basis of a piece. Longer pieces use more of it, in this order: the fundamental and a constant; the third
// harmonic; the second and the fifth; the fundamental times time.
constexpr int fundamental_columns = 3;
constexpr int third_columns = 5;
constexpr int steady_columns = 9;
constexpr int all_columns = 11;

/// Each piece costs as much as this many parameters of each phase; a linear piece costs a little more.
constexpr double steady_price = 9;
constexpr double linear_price = 11;
/// The cost of a parameter relative to the likelihood, and the weight of a sample, which is less than 1 because
/// neighbouring samples are not independent.
constexpr double parameter_weight = 1;
constexpr double usual_sample_weight = 0.5;
/// Residuals below this, in units of the usual peak, need no explanation; flicker and drift of the frequency cause
/// them.
constexpr double unexplained_floor = 0.003;
/// Harmonics are small, so a large harmonic that makes a short piece fit costs more than a border. In squares of the
/// usual peak.
constexpr double harmonic_price = 1;

constexpr double shortest_piece_cycles = 0.5;
constexpr double longest_piece_cycles = 256;

/// Thresholds for the change of the fundamental from one cycle to the next, in usual peaks, and the distance of borders
/// that are tried in steady parts.
constexpr double sudden_change = 0.015;
constexpr double notable_change = 0.01;
constexpr double slow_change = 0.004;
constexpr std::size_t steady_cycles_apart = 8;

/// Sums over the excerpt's averages up to each possible border.
struct Sums {
  static constexpr int products = steady_columns * (steady_columns + 1) / 2;
  std::array<double, products> gram{};
  std::array<double, steady_columns> by_time_cos{};  // tau cos times each column
  std::array<double, steady_columns> by_time_sin{};  // tau sin times each column
  std::array<double, 3> by_time_squared{};           // tau^2 times cos cos, cos sin, sin sin
  std::array<std::array<double, all_columns>, most_phases> right{};
  PerPhase squares{};
  double count = 0;
};

struct Left {
  PerPhase fundamental{};
  PerPhase with_third{};
  PerPhase steady{};
  PerPhase linear{};
  double count = 0;
};

class Partitioner {
 public:
  Partitioner(const Excerpt& excerpt, double scrutiny)
      : excerpt_(excerpt),
        sample_weight_(usual_sample_weight * scrutiny),
        phases_(excerpt.phases()),
        cells_per_cycle_(excerpt.averages_per_cycle() >= 16 ? 8 : 4),
        shortest_(static_cast<std::size_t>(cells_per_cycle_ * shortest_piece_cycles)) {
    make_cells();
    choose_candidates();
    add_up();
  }

  std::vector<Piece> pieces() {
    const std::size_t last = candidates_.size() - 1;
    std::vector<double> best(candidates_.size(), std::numeric_limits<double>::infinity());
    std::vector<std::size_t> from(candidates_.size(), 0);
    std::vector<bool> linear(candidates_.size(), false);
    best[0] = 0;
    const double price =
        parameter_weight * static_cast<double>(phases_) * std::log(std::max(10.0, sample_weight_ * sums_.back().count));
    std::vector<std::size_t> open = {0};
    std::size_t next = 1;
    std::vector<double> costs;
    for (std::size_t k = 1; k <= last; k++) {
      for (; next < k && candidates_[next] + shortest_ <= candidates_[k]; next++) open.push_back(next);
      costs.assign(open.size(), std::numeric_limits<double>::infinity());
      for (std::size_t j = 0; j < open.size(); j++) {
        const std::size_t i = open[j];
        if (candidates_[k] - candidates_[i] < shortest_ || !std::isfinite(best[i])) continue;
        const auto [cost, is_linear] = cost_of(i, k, price);
        costs[j] = best[i] + cost;
        if (costs[j] < best[k]) {
          best[k] = costs[j];
          from[k] = i;
          linear[k] = is_linear;
        }
      }
      // If the cost of a start exceeds the best one by more than any piece costs, it cannot be best for a later end.
      std::size_t kept = 0;
      for (std::size_t j = 0; j < open.size(); j++) {
        const std::size_t cells = candidates_[k] - candidates_[open[j]];
        const bool young = cells < 2 * shortest_ + 2;
        const bool beaten = costs[j] > best[k] + 1.1 * linear_price * price;
        const bool too_long = static_cast<double>(cells) > longest_piece_cycles * cells_per_cycle_;
        if (young || (!beaten && !too_long)) open[kept++] = open[j];
      }
      open.resize(kept);
    }
    std::vector<Piece> result;
    for (std::size_t k = last; k > 0; k = from[k]) {
      result.push_back({borders_[candidates_[from[k]]], borders_[candidates_[k]], linear[k]});
    }
    std::reverse(result.begin(), result.end());
    return result;
  }

 private:
  void make_cells() {
    const double step = excerpt_.averages_per_cycle() / cells_per_cycle_;
    borders_.push_back(0);
    for (std::size_t k = 1;; k++) {
      const auto border = static_cast<std::size_t>(std::lround(static_cast<double>(k) * step));
      if (border >= excerpt_.length()) break;
      borders_.push_back(border);
    }
    // A remainder of less than half a cell becomes part of the last cell.
    if (borders_.size() > 1 && static_cast<double>(excerpt_.length() - borders_.back()) < step / 2) {
      borders_.back() = excerpt_.length();
    } else {
      borders_.push_back(excerpt_.length());
    }
  }

  void add_up() {
    sums_.resize(candidates_.size());
    times_.resize(candidates_.size());
    const double per_cycle = excerpt_.averages_per_cycle();
    const auto carried = [&](int order) { return order < 0.45 * per_cycle ? 1.0 : 0.0; };
    const std::array<double, 3> use = {carried(3), carried(2), carried(5)};
    Sums sums;
    std::size_t i = 0;
    for (std::size_t k = 0; k < candidates_.size(); k++) {
      const std::size_t border = borders_[candidates_[k]];
      times_[k] = excerpt_.time_of(static_cast<double>(border)) / excerpt_.cycle();
      for (; i < border; i++) add(i, use, sums);
      sums_[k] = sums;
    }
  }

  void add(std::size_t i, const std::array<double, 3>& use, Sums& sums) const {
    if (excerpt_.is_missing(i)) return;
    const double tau = excerpt_.time_of(static_cast<double>(i)) / excerpt_.cycle();
    const double c = excerpt_.cosine(i);
    const double s = excerpt_.sine(i);
    const double c2 = c * c - s * s;
    const double s2 = 2 * c * s;
    const double c3 = c2 * c - s2 * s;
    const double s3 = s2 * c + c2 * s;
    const std::array<double, steady_columns> column = {c,
                                                       s,
                                                       1,
                                                       use[0] * c3,
                                                       use[0] * s3,
                                                       use[1] * c2,
                                                       use[1] * s2,
                                                       use[2] * (c3 * c2 - s3 * s2),
                                                       use[2] * (s3 * c2 + c3 * s2)};
    std::size_t at = 0;
    for (std::size_t u = 0; u < steady_columns; u++) {
      for (std::size_t v = u; v < steady_columns; v++) sums.gram[at++] += column[u] * column[v];
      sums.by_time_cos[u] += tau * c * column[u];
      sums.by_time_sin[u] += tau * s * column[u];
    }
    sums.by_time_squared[0] += tau * tau * c * c;
    sums.by_time_squared[1] += tau * tau * c * s;
    sums.by_time_squared[2] += tau * tau * s * s;
    for (std::size_t phase = 0; phase < phases_; phase++) {
      const double value = excerpt_.average(phase, i);
      auto& right = sums.right[phase];
      for (std::size_t u = 0; u < steady_columns; u++) right[u] += value * column[u];
      right[steady_columns] += value * tau * c;
      right[steady_columns + 1] += value * tau * s;
      sums.squares[phase] += value * value;
    }
    sums.count++;
  }

  /// Returns the residual of a piece between two borders for each phase, for several numbers of columns of the basis.
  template <int columns>
  [[nodiscard]] Left left_of(std::size_t from, std::size_t to) const {
    const Sums& a = sums_[from];
    const Sums& b = sums_[to];
    constexpr int waves = std::min(columns, steady_columns);
    // The normal equations: the lower triangle of the products of columns, and a row for the values of each phase.
    Rows rows;
    int at = 0;
    for (int u = 0; u < waves; u++) {
      for (int v = u; v < waves; v++, at++) {
        rows[place(v)][place(u)] = b.gram[place(at)] - a.gram[place(at)];
      }
      at += steady_columns - waves;
    }
    for (std::size_t phase = 0; phase < phases_; phase++) {
      double* row = rows[place(columns) + phase].data();
      for (std::size_t k = 0; k < place(columns); k++) row[k] = b.right[phase][k] - a.right[phase][k];
    }
    if constexpr (columns == all_columns) add_time(a, b, times_[from], rows);
    for (std::size_t u = 0; u < place(columns); u++) rows[u][u] += 1e-9 * (1 + rows[u][u]);
    for (std::size_t u = fundamental_columns; u < place(waves); u++) rows[u][u] += harmonic_price;
    factorise(rows, place(columns), place(columns) + phases_);
    Left left;
    left.count = b.count - a.count;
    for (std::size_t phase = 0; phase < phases_; phase++) {
      const double* row = rows[place(columns) + phase].data();
      double rest = b.squares[phase] - a.squares[phase];
      const auto take = [&](int first, int last) {
        for (int u = first; u < std::min(last, columns); u++) rest -= row[u] * row[u];
        return std::max(0.0, rest);
      };
      left.fundamental[phase] = take(0, fundamental_columns);
      left.with_third[phase] = take(fundamental_columns, third_columns);
      left.steady[phase] = take(third_columns, steady_columns);
      left.linear[phase] = take(steady_columns, all_columns);
    }
    return left;
  }

  using Row = std::array<double, all_columns>;
  using Rows = std::array<Row, all_columns + most_phases>;

  static constexpr std::size_t place(int index) { return static_cast<std::size_t>(index); }

  /// Computes the Cholesky factors in place. The rows of values are transformed as well, which is half of the solution:
  /// the square of each resulting entry is the part that its column explains.
  static void factorise(Rows& rows, std::size_t columns, std::size_t count) {
    Row inverse;
    for (std::size_t i = 0; i < count; i++) {
      double* row = rows[i].data();
      const std::size_t end = std::min(i, columns);
      for (std::size_t j = 0; j < end; j++) {
        const double* other = rows[j].data();
        double sum = row[j];
        for (std::size_t k = 0; k < j; k++) sum -= row[k] * other[k];
        row[j] = sum * inverse[j];
      }
      if (i >= columns) continue;
      double pivot = row[i];
      for (std::size_t k = 0; k < i; k++) pivot -= row[k] * row[k];
      inverse[i] = pivot > 0 ? 1 / std::sqrt(pivot) : 0;
    }
  }

  /// The columns of the fundamental times time, which counts from the piece's beginning.
  void add_time(const Sums& a, const Sums& b, double origin, Rows& rows) const {
    Row& timed_cos = rows[steady_columns];
    Row& timed_sin = rows[steady_columns + 1];
    for (std::size_t k = 0; k < place(steady_columns); k++) {
      const double with_sin = k == 0 ? rows[1][0] : rows[k][1];
      timed_cos[k] = b.by_time_cos[k] - a.by_time_cos[k] - origin * rows[k][0];
      timed_sin[k] = b.by_time_sin[k] - a.by_time_sin[k] - origin * with_sin;
    }
    const auto squared = [&](std::size_t k, double first, double plain) {
      return b.by_time_squared[k] - a.by_time_squared[k] - 2 * origin * first + origin * origin * plain;
    };
    timed_cos[9] = squared(0, b.by_time_cos[0] - a.by_time_cos[0], rows[0][0]);
    timed_sin[9] = squared(1, b.by_time_cos[1] - a.by_time_cos[1], rows[1][0]);
    timed_sin[10] = squared(2, b.by_time_sin[1] - a.by_time_sin[1], rows[1][1]);
    for (std::size_t phase = 0; phase < phases_; phase++) {
      Row& values = rows[all_columns + phase];
      values[9] -= origin * values[0];
      values[10] -= origin * values[1];
    }
  }

  [[nodiscard]] double likelihood(const PerPhase& left, double count) const {
    double product = 1;
    for (std::size_t phase = 0; phase < phases_; phase++) {
      product *= left[phase] / count + unexplained_floor * unexplained_floor;
    }
    return sample_weight_ * count * std::log(product);
  }

  [[nodiscard]] std::pair<double, bool> cost_of(std::size_t from, std::size_t to, double price) const {
    const double cycles = static_cast<double>(candidates_[to] - candidates_[from]) / cells_per_cycle_;
    if (sums_[to].count <= sums_[from].count) return {steady_price * price, false};
    if (cycles < 0.95) {
      const Left left = left_of<third_columns>(from, to);
      const PerPhase& rest = cycles < 0.7 ? left.fundamental : left.with_third;
      return {likelihood(rest, left.count) + steady_price * price, false};
    }
    if (cycles < 1.2) {
      const Left left = left_of<steady_columns>(from, to);
      return {likelihood(left.steady, left.count) + steady_price * price, false};
    }
    const Left left = left_of<all_columns>(from, to);
    const double steady = likelihood(left.steady, left.count) + steady_price * price;
    const double linear = likelihood(left.linear, left.count) + linear_price * price;
    return linear < steady ? std::pair(linear, true) : std::pair(steady, false);
  }

  /// Where the fundamental over the cycle before differs from the one over the cycle after, borders are looked for
  /// closely; where it changes slowly, now and then.
  void choose_candidates() {
    const std::vector<double> change = changes();
    const std::size_t last = borders_.size() - 1;
    std::vector<bool> chosen(borders_.size(), false);
    const auto per_cycle = static_cast<std::size_t>(cells_per_cycle_);
    const std::size_t reach = per_cycle / 4;
    for (std::size_t k = 0; k <= last; k++) {
      const std::size_t low = k - std::min(k, reach);
      const std::size_t high = std::min(last, k + reach);
      const double highest = *std::max_element(change.begin() + static_cast<std::ptrdiff_t>(low),
                                               change.begin() + static_cast<std::ptrdiff_t>(high) + 1);
      if (change[k] > sudden_change && change[k] >= highest) {
        for (std::size_t near = low; near <= high; near++) chosen[near] = true;
      }
      const std::size_t apart = change[k] > notable_change ? per_cycle / 4
                                : change[k] > slow_change  ? per_cycle
                                                           : steady_cycles_apart * per_cycle;
      if (k % apart == 0) chosen[k] = true;
    }
    chosen[0] = chosen[last] = true;
    for (std::size_t k = 0; k <= last; k++) {
      if (chosen[k]) candidates_.push_back(k);
    }
  }

  /// At each border between cells, by how much the fundamental of the cycle after differs from that of the cycle
  /// before.
  [[nodiscard]] std::vector<double> changes() const {
    const MovingPhasors moving(excerpt_);
    std::vector<double> result(borders_.size(), 0);
    for (std::size_t k = 0; k < borders_.size(); k++) {
      if (borders_[k] < moving.window() || borders_[k] + moving.window() > excerpt_.length()) {
        result[k] = 2 * notable_change;
        continue;
      }
      const auto before = moving.at(borders_[k] - moving.window());
      const auto after = moving.at(borders_[k]);
      if (!before || !after) {
        // Within a gap of the samples no border can be found, but there may be one at its ends.
        result[k] = before || after ? 2 * notable_change : 0;
        continue;
      }
      for (std::size_t phase = 0; phase < phases_; phase++) {
        result[k] = std::max(result[k], std::abs((*after)[phase] - (*before)[phase]));
      }
    }
    return result;
  }

  const Excerpt& excerpt_;
  double sample_weight_;
  std::size_t phases_;
  int cells_per_cycle_;
  std::size_t shortest_;                 // cells
  std::vector<std::size_t> borders_;     // averages
  std::vector<std::size_t> candidates_;  // cells at whose borders a piece may begin
  std::vector<double> times_;            // of these borders, cycles
  std::vector<Sums> sums_;               // up to these borders
};

}  // namespace

std::vector<Piece> partition(const Excerpt& excerpt, double scrutiny) {
  return Partitioner(excerpt, scrutiny).pieces();
}

}  // namespace measure
