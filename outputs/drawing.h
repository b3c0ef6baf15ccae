// A figure as a list of shapes in millimetres, which is written as SVG or drawn by cairo.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace outputs {

struct Point {
  double x = 0;
  double y = 0;
};

struct Stroke {
  const char* colour = "#1a1a1a";
  double width = 0.2;
  std::vector<double> dash = {};  ///< lengths of dashes and gaps in turn; empty for a solid line
  double opacity = 1;
};

struct Fill {
  const char* colour = "#1a1a1a";
  double opacity = 1;
  bool hatched = false;  ///< lines at 45 degrees in the colour in place of an area
};

/// Open lines, or closed ones that may be filled.
struct Lines {
  const char* kind = "";  ///< class in the SVG document, so that style sheets and tests find it; may be empty
  std::vector<std::vector<Point>> pieces = {};
  std::optional<Stroke> stroke = {};
  std::optional<Fill> fill = {};
  bool closed = false;
};

struct Box {
  const char* kind = "";
  Point corner = {};  ///< the upper left one
  double width = 0;
  double height = 0;
  std::optional<Stroke> stroke = {};
  std::optional<Fill> fill = {};
};

struct Ring {
  const char* kind = "";
  Point middle = {};
  double radius = 0;
  Stroke stroke = {};
};

enum class Anchor { begin, middle, end };

struct Words {
  Point at = {};  ///< on the base line, at the anchor
  std::string text = {};
  std::string bold_head = {};  ///< words in bold before the text
  double size = 2.5;
  Anchor anchor = Anchor::begin;
  const char* colour = "#1a1a1a";
  bool turned = false;  ///< they run from below to above
  bool halo = false;    ///< a white edge keeps them readable over lines
};

using Shape = std::variant<Lines, Box, Ring, Words>;

struct Drawing {
  double width = 0;
  double height = 0;
  std::string title = {};
  std::vector<Shape> shapes = {};  ///< later ones cover earlier ones

  template <typename OneShape>
  void add(OneShape&& shape) {
    shapes.emplace_back(std::forward<OneShape>(shape));
  }
};

}  // namespace outputs
