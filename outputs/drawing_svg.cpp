#include "outputs/drawing_svg.h"

#include <fmt/format.h>

#include <iterator>
#include <string>

#include "outputs/drawable.h"
#include "outputs/markup.h"

namespace outputs {

namespace {

class Document {
 public:
  std::string text(const Drawing& drawing) {
    add(R"(<svg xmlns="http://www.w3.org/2000/svg" width="{0}mm" height="{1:.1f}mm" viewBox="0 0 {0} {1:.1f}")"
        R"( font-family="Helvetica, Arial, sans-serif" fill="#1a1a1a">)"
        "\n<title>{2}</title>\n",
        drawing.width, drawing.height, markup_text(drawing.title));
    add("<defs><pattern id=\"hatch\" width=\"1.2\" height=\"1.2\" patternUnits=\"userSpaceOnUse\" "
        "patternTransform=\"rotate(45)\"><path d=\"M0 0V1.2\" stroke=\"#b08a2e\" stroke-width=\"0.3\"/></pattern>"
        "</defs>\n");
    for (const Shape& shape : drawing.shapes) std::visit([&](const auto& one) { draw(one); }, shape);
    return text_ + "</svg>\n";
  }

 private:
  template <typename... Arguments>
  void add(fmt::format_string<Arguments...> format, Arguments&&... arguments) {
    fmt::format_to(std::back_inserter(text_), format, std::forward<Arguments>(arguments)...);
  }

  void add_kind(const char* kind) {
    if (*kind != '\0') add(" class=\"{}\"", kind);
  }

  void add_paint(const std::optional<Fill>& fill, const std::optional<Stroke>& stroke) {
    add(" fill=\"{}\"", !fill ? "none" : fill->hatched ? "url(#hatch)" : fill->colour);
    if (fill && fill->opacity < 1) add(" fill-opacity=\"{}\"", fill->opacity);
    if (!stroke) return;
    add(" stroke=\"{}\" stroke-width=\"{}\" stroke-linejoin=\"round\"", stroke->colour, stroke->width);
    if (stroke->opacity < 1) add(" stroke-opacity=\"{}\"", stroke->opacity);
    if (!stroke->dash.empty()) add(" stroke-dasharray=\"{}\"", fmt::join(stroke->dash, " "));
  }

  void draw(const Lines& lines) {
    text_ += "<path";
    add_kind(lines.kind);
    add_paint(lines.fill, lines.stroke);
    text_ += " d=\"";
    for (const auto& piece : lines.pieces) {
      char command = 'M';
      for (const Point& point : piece) {
        add("{}{:.2f} {:.2f}", command, drawable(point.x), drawable(point.y));
        command = 'L';
      }
      if (lines.closed) text_ += 'Z';
    }
    text_ += "\"/>\n";
  }

  void draw(const Box& box) {
    text_ += "<rect";
    add_kind(box.kind);
    add(" x=\"{:.2f}\" y=\"{:.2f}\" width=\"{:.2f}\" height=\"{:.2f}\"", drawable(box.corner.x), drawable(box.corner.y),
        drawable(box.width), drawable(box.height));
    add_paint(box.fill, box.stroke);
    text_ += "/>\n";
  }

  void draw(const Ring& ring) {
    text_ += "<circle";
    add_kind(ring.kind);
    add(" cx=\"{:.2f}\" cy=\"{:.2f}\" r=\"{:.4g}\"", drawable(ring.middle.x), drawable(ring.middle.y), ring.radius);
    add_paint(std::nullopt, ring.stroke);
    text_ += "/>\n";
  }

  void draw(const Words& words) {
    const double x = drawable(words.at.x);
    const double y = drawable(words.at.y);
    if (words.turned) {
      add("<text transform=\"translate({:.2f} {:.2f}) rotate(-90)\"", x, y);
    } else {
      add("<text x=\"{:.2f}\" y=\"{:.2f}\"", x, y);
    }
    if (words.anchor != Anchor::begin) add(" text-anchor=\"{}\"", words.anchor == Anchor::end ? "end" : "middle");
    if (words.colour != std::string("#1a1a1a")) add(" fill=\"{}\"", words.colour);
    if (words.halo) text_ += " stroke=\"#ffffff\" stroke-width=\"0.5\" paint-order=\"stroke\"";
    add(" font-size=\"{:.2f}\">", words.size);
    if (!words.bold_head.empty()) add("<tspan font-weight=\"bold\">{}</tspan>", markup_text(words.bold_head));
    add("{}</text>\n", markup_text(words.text));
  }

  std::string text_;
};

}  // namespace

std::string svg_of(const Drawing& drawing) {
  return Document().text(drawing);
}

}  // namespace outputs
