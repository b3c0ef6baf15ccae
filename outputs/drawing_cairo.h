// Draws a drawing as a PDF or PNG file by cairo, in a build that has it.
#pragma once

#include <string>

#include "outputs/drawing.h"

namespace outputs {

/// Returns a PDF document of one page as large as the drawing, with lines and letters as vectors. Throws
/// std::runtime_error if cairo fails, and Undrawable (drawable.h).
std::string pdf_of(const Drawing& drawing);

/// Returns a PNG picture of 600 pixels per inch. Throws as pdf_of.
std::string png_of(const Drawing& drawing);

}  // namespace outputs
