// Whether text on standard output may be in colours.
#pragma once

namespace command {

/// Whether standard output wants colours: a terminal that knows them, and nobody said no (NO_COLOR).
bool terminal_colours();

}  // namespace command
