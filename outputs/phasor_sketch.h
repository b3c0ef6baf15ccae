// Draws three phasors with letters, for a terminal.
#pragma once

#include <array>
#include <complex>
#include <string>

namespace outputs {

/// Draws phases A, B, C as lines from the middle to capital letters; small letters mark the ends of the undisturbed
/// phasors. `phasors` are relative to the undisturbed magnitude, and A's undisturbed phasor points to the right. Lines
/// end in "\n".
std::string phasor_sketch(const std::array<std::complex<double>, 3>& phasors);

}  // namespace outputs
