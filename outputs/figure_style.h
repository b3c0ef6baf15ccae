// Sizes, colours and letters that the parts of a figure share.
#pragma once

#include <algorithm>
#include <array>
#include <string>
#include <utility>
#include <vector>

#include "outputs/drawing.h"
#include "outputs/figures_text.h"

namespace outputs::figure_style {

// Millimetres. A column of a two-column page is 84 mm wide; text at 2.5 mm is 7 point.
constexpr double width = 84;
constexpr double left = 11;
constexpr double right = width - 9.8;  // levels have their figures beside the frame
constexpr double text_size = 2.5;
constexpr double small_size = 2.1;

constexpr const char* ink = "#1a1a1a";
constexpr const char* red = "#b00020";
constexpr const char* grey = "#6e6e6e";

// These are the colours of the page's light scheme. Colour-blind readers can distinguish them, and the dashes help on
// paper.
constexpr std::array<const char*, 3> colours = {"#0072b2", "#d9730d", "#3d3d3d"};
inline const std::array<std::vector<double>, 3> dashes = {{{}, {1.6, 0.6}, {0.4, 0.5}}};

/// The greatest width of a column of text, as a share of the letters' size. The viewer chooses the font, and its
/// letters may be wide.
constexpr double column_width = 0.58;

/// The same of lines of prose, whose blanks and narrow letters make up for wide ones.
constexpr double prose_column_width = 0.55;

/// How much room a text takes at most.
inline double room_of(const std::string& text, double size) {
  return column_width * size * static_cast<double>(columns_of(text));
}

/// Returns a font size so small that the text fits its room.
inline double size_within(double room, const std::string& text, double usual = text_size) {
  return std::min(usual, room / (column_width * static_cast<double>(std::max<std::size_t>(columns_of(text), 1))));
}

inline Words words(Point at, std::string text, Anchor anchor = Anchor::begin, double size = text_size,
                   const char* colour = ink) {
  Words shown{at, std::move(text), {}, size, anchor};
  shown.colour = colour;
  return shown;
}

inline Lines line(const char* kind, Point from, Point to, Stroke stroke) {
  return {kind, {{from, to}}, std::move(stroke)};
}

}  // namespace outputs::figure_style
