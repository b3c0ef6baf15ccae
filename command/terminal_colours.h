// Decides whether text on standard output may have colours, and how wide it may be.
#pragma once

#include <cstddef>

namespace command {

/// Returns whether standard output is a terminal that supports colours and the user has not refused them (NO_COLOR).
bool terminal_colours();

/// Returns the number of columns of the terminal that standard output is; 0 if it is not a terminal or its width is not
/// known.
std::size_t terminal_columns();

}  // namespace command
