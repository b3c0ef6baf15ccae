// Three phasors drawn with letters, for a terminal.
#pragma once

#include <array>
#include <complex>
#include <string>

namespace outputs {

/// Phases A, B, C as lines from the middle to capital letters, and small letters where undisturbed phasors end.
/// `phasors` against the undisturbed magnitude; A's undisturbed phasor points to the right. Lines end in "\n".
std::string phasor_sketch(const std::array<std::complex<double>, 3>& phasors);

}  // namespace outputs
