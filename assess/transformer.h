// The connections of transformers, and what they make of three voltages.
#pragma once

#include <array>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "measure/findings.h"
#include "measure/wiring.h"

namespace assess {

/// The connection of a three-phase transformer with two windings, as its vector group states it (IEC 60076-1, clause on
/// connection and phase displacement symbols). The first winding is the one towards the monitor.
struct Connection {
  std::string name;          ///< "Dyn11"
  int clock = 0;             ///< the second winding's voltages lag by this many times 30 degrees, 0 to 11
  bool passes_zero = false;  ///< the zero sequence reaches the second winding: both are stars with a neutral
};

/// A text that is not a vector group. The message is a sentence without a full stop that contains a remedy.
class NotAConnection : public std::invalid_argument {
 public:
  using std::invalid_argument::invalid_argument;
};

/// Parses a vector group: a first winding D, Y, YN, Z or ZN, a second one d, y, yn, z or zn, and a clock number from 0
/// to 11. Throws NotAConnection for another form, for a delta with a neutral, and for a clock number that the windings
/// cannot have: it is odd if exactly one of them is a star, and otherwise even.
Connection connection_of(std::string_view vector_group);

/// Parses vector groups that are separated by commas, in the order from the monitor to the load. Throws as
/// `connection_of` does.
std::vector<Connection> connections_of(std::string_view vector_groups);

/// Returns the vector groups, separated by commas.
std::string names_of(const std::vector<Connection>& connections);

/// Whether the zero sequence passes all transformers.
bool pass_zero(const std::vector<Connection>& connections);

/// The voltages at a load as sums of the measured ones: row i has the factors for the load's voltage i. All factors are
/// real, so that they apply to samples as well as to phasors.
using VoltageMap = std::array<std::array<double, 3>, 3>;

/// How the measured voltages are connected.
struct Monitor {
  bool between_phases = false;  ///< they are AB, BC and CA instead of A, B and C
  measure::Wiring wiring;       ///< a turned phase is turned back; the order of the phases does not matter
};

/// Returns the map from the measured voltages to phase voltages or to voltages between phases after a series of ideal
/// transformers. Their ratios are 1, so that a balanced phase voltage keeps its size. Transformers keep the size of the
/// positive and the negative sequence and turn them by 30 degrees for each hour of the clock number, backwards and
/// forwards; the zero sequence passes or vanishes. Voltages between phases have no zero sequence.
/// Source: M. H. J. Bollen, Understanding Power Quality Problems (IEEE Press, 2000), section 4.4.
VoltageMap map_to_phases(const std::vector<Connection>& connections, const Monitor& monitor);
VoltageMap map_to_lines(const std::vector<Connection>& connections, const Monitor& monitor);

/// Returns the sums for three values.
template <typename Value>
std::array<Value, 3> mapped(const VoltageMap& map, const std::array<Value, 3>& values) {
  std::array<Value, 3> result{};
  for (std::size_t i = 0; i < 3; i++) {
    result[i] = map[i][0] * values[0] + map[i][1] * values[1] + map[i][2] * values[2];
  }
  return result;
}

}  // namespace assess
