#include "readers/even_times.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

#include "readers/text.h"

namespace readers {
namespace {

constexpr std::size_t rows_per_knot = 32;
constexpr std::size_t neighbours = 8;

double seconds_per_row(const TimeKnot& from, const TimeKnot& to) {
  return (to.seconds - from.seconds) / (to.row - from.row);
}

/// Converts between rows and seconds; before the first and after the last knot their neighbours' spacing continues.
class RowClock {
 public:
  explicit RowClock(const std::vector<TimeKnot>& knots) : knots_(knots) {}

  /// Returns the row, with its fraction, at a time. Times must not decrease from call to call.
  double row_at(double seconds) {
    while (at_ + 2 < knots_.size() && knots_[at_ + 1].seconds < seconds) at_++;
    return knots_[at_].row + (seconds - knots_[at_].seconds) / seconds_per_row(knots_[at_], knots_[at_ + 1]);
  }

  [[nodiscard]] double seconds_at(double row) const {
    const auto next = std::upper_bound(knots_.begin(), knots_.end(), row,
                                       [](double value, const TimeKnot& knot) { return value < knot.row; });
    const auto after = std::clamp<std::ptrdiff_t>(next - knots_.begin(), 1, std::ssize(knots_) - 1);
    const auto at = static_cast<std::size_t>(after - 1);
    return knots_[at].seconds + (row - knots_[at].row) * seconds_per_row(knots_[at], knots_[at + 1]);
  }

 private:
  const std::vector<TimeKnot>& knots_;
  std::size_t at_ = 0;
};

/// The samples from which one is interpolated, and their weights (Lagrange's polynomial).
struct Interpolation {
  std::size_t first = 0;
  std::array<double, neighbours> weights{};
};

Interpolation interpolation_at(double row, std::size_t rows) {
  Interpolation result;
  // Written so that a row that is not a number counts as the first one.
  row = row > 0 ? std::min(row, static_cast<double>(rows - 1)) : 0;
  constexpr auto half_of_neighbours = static_cast<std::ptrdiff_t>(neighbours / 2);
  const auto last_start = static_cast<std::ptrdiff_t>(rows - neighbours);
  const auto start = std::clamp<std::ptrdiff_t>(std::lround(std::floor(row)) - half_of_neighbours + 1, 0, last_start);
  result.first = static_cast<std::size_t>(start);
  const double x = row - static_cast<double>(start);
  for (std::size_t i = 0; i < neighbours; i++) {
    double weight = 1;
    for (std::size_t k = 0; k < neighbours; k++) {
      if (k != i) weight *= (x - static_cast<double>(k)) / (static_cast<double>(i) - static_cast<double>(k));
    }
    result.weights[i] = weight;
  }
  return result;
}

double interpolated(const std::vector<double>& samples, const Interpolation& at) {
  double sum = 0;
  for (std::size_t i = 0; i < neighbours; i++) {
    // A weight of zero must not spread a missing value to its neighbours.
    if (at.weights[i] != 0) sum += at.weights[i] * samples[at.first + i];
  }
  return sum;
}

std::string rate_text(double rate) {
  return number_text(std::round(rate * 10) / 10);
}

}  // namespace

std::vector<TimeKnot> knots_of(const std::vector<double>& stamps, double unit) {
  std::vector<TimeKnot> knots;
  double row_sum = 0;
  double stamp_sum = 0;
  double count = 0;
  for (std::size_t i = 0; i < stamps.size(); i++) {
    if (std::isfinite(stamps[i])) {
      row_sum += static_cast<double>(i);
      stamp_sum += stamps[i];
      count++;
    }
    if ((i + 1) % rows_per_knot != 0 || count == 0) continue;
    knots.push_back({row_sum / count, unit * stamp_sum / count});
    row_sum = stamp_sum = count = 0;
  }
  const auto falls = [](const TimeKnot& one, const TimeKnot& next) { return !(one.seconds < next.seconds); };
  if (knots.size() < 2 || std::adjacent_find(knots.begin(), knots.end(), falls) != knots.end()) return {};
  const double start = RowClock(knots).seconds_at(0);
  for (TimeKnot& knot : knots) knot.seconds -= start;
  return knots;
}

double mean_rate(const std::vector<TimeKnot>& knots) {
  return 1 / seconds_per_row(knots.front(), knots.back());
}

bool are_uneven(const std::vector<TimeKnot>& knots, double rounding) {
  if (knots.size() < 3) return false;
  const TimeKnot& first = knots.front();
  const double step = seconds_per_row(first, knots.back());
  const double allowed = std::max(rounding, step / 2);
  return std::any_of(knots.begin(), knots.end(), [&](const TimeKnot& knot) {
    return std::abs(knot.seconds - first.seconds - step * (knot.row - first.row)) > allowed;
  });
}

void make_even(Record& record, const std::vector<TimeKnot>& knots, double rate, const std::string& cause) {
  const std::size_t rows = record.length();
  if (rows < neighbours || knots.size() < 2) return;
  RowClock clock(knots);
  const double start = clock.seconds_at(0);
  const double span = clock.seconds_at(static_cast<double>(rows - 1)) - start;
  const double last = std::floor(span * rate + 1e-6);
  if (!(last >= 0 && last <= 2 * static_cast<double>(rows))) return;  // the times are absurd
  const auto length = static_cast<std::size_t>(last) + 1;
  std::vector<std::vector<double>> even(record.channels.size());
  for (std::size_t c = 0; c < even.size(); c++) {
    if (!record.channels[c].samples.empty()) even[c].reserve(length);
  }
  for (std::size_t i = 0; i < length; i++) {
    const Interpolation at = interpolation_at(clock.row_at(start + static_cast<double>(i) / rate), rows);
    for (std::size_t c = 0; c < even.size(); c++) {
      if (!record.channels[c].samples.empty()) even[c].push_back(interpolated(record.channels[c].samples, at));
    }
  }
  double slowest = rate;
  double fastest = rate;
  for (std::size_t k = 1; k < knots.size(); k++) {
    slowest = std::min(slowest, 1 / seconds_per_row(knots[k - 1], knots[k]));
    fastest = std::max(fastest, 1 / seconds_per_row(knots[k - 1], knots[k]));
  }
  for (std::size_t c = 0; c < even.size(); c++) {
    record.channels[c].samples = std::move(even[c]);
    record.channels[c].stored_scale = 0;
  }
  for (DigitalChannel& channel : record.digitals) {
    for (DigitalChange& change : channel.changes) {
      change.time = clock.seconds_at(static_cast<double>(change.row)) - start;
      change.row = std::min(length - 1, static_cast<std::size_t>(std::lround(std::max(0.0, change.time * rate))));
    }
  }
  record.rates = {{rate, length}};
  record.notes.push_back(
      fmt::format("The {}: they give {} to {} samples per second. All times are by them; the samples were interpolated "
                  "to {} samples per second throughout.",
                  cause, rate_text(slowest), rate_text(fastest), rate_text(rate)));
}

}  // namespace readers
