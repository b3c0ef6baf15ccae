#include "assess/transformer.h"

#include <cmath>
#include <cstddef>
#include <numbers>
#include <optional>

namespace assess {

namespace {

constexpr const char* forms =
    "use a vector group such as Dyn11, Yd1, YNyn0 or Yzn5, with the winding on the monitor's side first";

enum class Kind { delta, star, zigzag };

struct Winding {
  Kind kind = Kind::delta;
  bool neutral = false;
};

std::string quoted(std::string_view text) {
  return "'" + std::string(text) + "'";
}

/// Takes a winding from the beginning of a text, in the letters D, Y, Z and N of one case. Returns nothing for another
/// letter.
std::optional<Winding> take_winding(std::string_view& rest, std::string_view letters) {
  const std::size_t kind = rest.empty() ? std::string_view::npos : letters.substr(0, 3).find(rest.front());
  if (kind == std::string_view::npos) return std::nullopt;
  rest.remove_prefix(1);
  Winding winding;
  winding.kind = kind == 0 ? Kind::delta : kind == 1 ? Kind::star : Kind::zigzag;
  if (!rest.empty() && rest.front() == letters[3]) {
    winding.neutral = true;
    rest.remove_prefix(1);
  }
  return winding;
}

/// Parses "0" to "11".
std::optional<int> clock_in(std::string_view digits) {
  if (digits.size() == 1 && digits[0] >= '0' && digits[0] <= '9') return digits[0] - '0';
  if (digits == "10") return 10;
  if (digits == "11") return 11;
  return std::nullopt;
}

/// A star shifts the phases by 30 degrees against a delta or a zigzag winding, so that the clock number is then odd.
void check_clock(std::string_view text, const Winding& first, const Winding& second, int clock) {
  const bool odd = (first.kind == Kind::star) != (second.kind == Kind::star);
  if ((clock % 2 == 1) == odd) return;
  throw NotAConnection(quoted(text) + " does not exist, because the clock number of these windings is " +
                       (odd ? "odd" : "even") + "; check it on the transformer's rating plate");
}

void check_neutral(std::string_view text, const Winding& winding) {
  if (winding.kind != Kind::delta || !winding.neutral) return;
  throw NotAConnection(quoted(text) + " does not exist, because a delta winding has no neutral; leave out the N");
}

std::string_view trimmed(std::string_view text) {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  return text;
}

/// Returns the cosine of a multiple of 30 degrees, exactly where it is rational.
double cosine_of_hours(int hours) {
  constexpr double root = std::numbers::sqrt3 / 2;
  constexpr std::array<double, 12> cosines = {1, root, 0.5, 0, -0.5, -root, -1, -root, -0.5, 0, 0.5, root};
  return cosines[static_cast<std::size_t>((hours % 12 + 12) % 12)];
}

/// Returns the factor of the zero sequence: 0 unless it passes, and negative if the clock number exchanges the ends of
/// the windings, as 2, 6 and 10 do.
double zero_factor(const std::vector<Connection>& connections) {
  double factor = 1;
  for (const Connection& connection : connections) {
    factor *= !connection.passes_zero ? 0 : connection.clock % 4 == 0 ? 1 : -1;
  }
  return factor;
}

/// The product of the rows of one map with the columns of another, which is applied first.
VoltageMap after(const VoltageMap& map, const VoltageMap& first) {
  VoltageMap product{};
  for (std::size_t i = 0; i < 3; i++) {
    for (std::size_t j = 0; j < 3; j++) {
      for (std::size_t k = 0; k < 3; k++) product[i][j] += map[i][k] * first[k][j];
    }
  }
  return product;
}

/// The map from phases to phases. A voltage that lags by some hours is a sum of the three phases by the cosines of the
/// angles between it and each of them.
VoltageMap map_of(const std::vector<Connection>& connections) {
  int clock = 0;
  for (const Connection& connection : connections) clock += connection.clock;
  const double zero = zero_factor(connections);
  VoltageMap map{};
  for (int i = 0; i < 3; i++) {
    for (int j = 0; j < 3; j++) {
      map[static_cast<std::size_t>(i)][static_cast<std::size_t>(j)] =
          2.0 / 3 * cosine_of_hours(clock - 4 * (j - i)) + zero / 3;
    }
  }
  return map;
}

/// The map from measured voltages to phase voltages at the monitor. Those of voltages between phases lack the zero
/// sequence: A = (AB - CA) / 3.
VoltageMap map_from(const Monitor& monitor) {
  VoltageMap map = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
  if (monitor.between_phases) map = {{{1.0 / 3, 0, -1.0 / 3}, {-1.0 / 3, 1.0 / 3, 0}, {0, -1.0 / 3, 1.0 / 3}}};
  if (monitor.wiring.turned_phase) {
    for (auto& row : map) row[*monitor.wiring.turned_phase] *= -1;
  }
  return map;
}

}  // namespace

Connection connection_of(std::string_view vector_group) {
  std::string_view rest = vector_group;
  const auto first = take_winding(rest, "DYZN");
  const auto second = first ? take_winding(rest, "dyzn") : std::nullopt;
  if (!second) throw NotAConnection(quoted(vector_group) + " is not a vector group; " + forms);
  check_neutral(vector_group, *first);
  check_neutral(vector_group, *second);
  const auto clock = clock_in(rest);
  if (!clock) {
    throw NotAConnection(quoted(vector_group) + " does not end in a clock number from 0 to 11; " + forms);
  }
  check_clock(vector_group, *first, *second, *clock);
  const auto earthed_star = [](const Winding& winding) { return winding.kind == Kind::star && winding.neutral; };
  return {std::string(vector_group), *clock, earthed_star(*first) && earthed_star(*second)};
}

std::vector<Connection> connections_of(std::string_view vector_groups) {
  std::vector<Connection> connections;
  for (;;) {
    const std::size_t comma = vector_groups.find(',');
    connections.push_back(connection_of(trimmed(vector_groups.substr(0, comma))));
    if (comma == std::string_view::npos) return connections;
    vector_groups.remove_prefix(comma + 1);
  }
}

std::string names_of(const std::vector<Connection>& connections) {
  std::string names;
  for (const Connection& connection : connections) names += (names.empty() ? "" : ",") + connection.name;
  return names;
}

bool pass_zero(const std::vector<Connection>& connections) {
  return zero_factor(connections) != 0;
}

VoltageMap map_to_phases(const std::vector<Connection>& connections, const Monitor& monitor) {
  return after(map_of(connections), map_from(monitor));
}

VoltageMap map_to_lines(const std::vector<Connection>& connections, const Monitor& monitor) {
  constexpr VoltageMap differences = {{{1, -1, 0}, {0, 1, -1}, {-1, 0, 1}}};
  return after(differences, map_to_phases(connections, monitor));
}

}  // namespace assess
