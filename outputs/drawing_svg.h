// Writes a drawing as an SVG document.
#pragma once

#include <string>

#include "outputs/drawing.h"

namespace outputs {

/// Returns the document. Throws Undrawable (drawable.h) for a coordinate that viewers would refuse.
std::string svg_of(const Drawing& drawing);

}  // namespace outputs
