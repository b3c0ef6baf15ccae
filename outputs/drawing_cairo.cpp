#include "outputs/drawing_cairo.h"

#include <cairo-pdf.h>
#include <cairo.h>

#include <cmath>
#include <memory>
#include <numbers>
#include <stdexcept>

#include "outputs/drawable.h"
#include "readers/text.h"

#ifdef DIPX_SANITIZED
// The library that finds cairo's fonts keeps its memory until the process ends, which is not a leak of dipx.
extern "C" {
__attribute__((visibility("default"))) const char* __lsan_default_suppressions();
__attribute__((visibility("default"))) const char* __lsan_default_options();
}
const char* __lsan_default_suppressions() {
  return "leak:libfontconfig";
}
const char* __lsan_default_options() {
  return "print_suppressions=0";
}
#endif

namespace outputs {

namespace {

constexpr double millimetres_per_inch = 25.4;

cairo_status_t append(void* bytes, const unsigned char* data, unsigned int length) {
  static_cast<std::string*>(bytes)->append(reinterpret_cast<const char*>(data), length);
  return CAIRO_STATUS_SUCCESS;
}

void check(cairo_status_t status) {
  if (status != CAIRO_STATUS_SUCCESS) {
    throw std::runtime_error(std::string("the figure cannot be drawn: ") + cairo_status_to_string(status));
  }
}

using Surface = std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)>;

class Canvas {
 public:
  /// `units`: those of the surface in a millimetre.
  Canvas(cairo_surface_t* surface, double units) : cairo_(cairo_create(surface), cairo_destroy) {
    cairo_scale(it(), units, units);
    cairo_set_line_join(it(), CAIRO_LINE_JOIN_ROUND);
  }

  void draw(const Drawing& drawing) {
    // The last row and column of pixels may reach beyond the drawing.
    cairo_set_source_rgb(it(), 1, 1, 1);
    cairo_paint(it());
    for (const Shape& shape : drawing.shapes) std::visit([&](const auto& one) { draw(one); }, shape);
    cairo_show_page(it());
    check(cairo_status(it()));
  }

 private:
  [[nodiscard]] cairo_t* it() const { return cairo_.get(); }

  /// Sets a colour such as "#1a1a1a".
  void set(const char* colour, double opacity) {
    const unsigned long rgb = std::stoul(colour + 1, nullptr, 16);
    const auto part = [&](unsigned shift) { return static_cast<double>((rgb >> shift) & 0xFFU) / 255; };
    cairo_set_source_rgba(it(), part(16), part(8), part(0), opacity);
  }

  /// Draws lines at 45 degrees within the current path, where the pattern of the SVG figure has them. Of the lines of
  /// that pattern only the half shows that lies within its tile.
  void hatch(const char* colour, double opacity) {
    constexpr double distance = 1.2;
    constexpr double line_width = 0.15;
    double left = 0;
    double top = 0;
    double right = 0;
    double bottom = 0;
    cairo_path_extents(it(), &left, &top, &right, &bottom);
    cairo_save(it());
    cairo_clip_preserve(it());
    cairo_new_path(it());
    // All points of a line have the same sum of their coordinates.
    const double first = std::floor((left + top) / std::numbers::sqrt2 / distance) * distance + line_width / 2;
    for (double middle = first; (middle - line_width) * std::numbers::sqrt2 < right + bottom; middle += distance) {
      const double sum = middle * std::numbers::sqrt2;
      cairo_move_to(it(), sum - top, top);
      cairo_line_to(it(), sum - bottom, bottom);
    }
    set(colour, opacity);
    cairo_set_line_width(it(), line_width);
    cairo_set_dash(it(), nullptr, 0, 0);
    cairo_stroke(it());
    cairo_restore(it());
  }

  /// Fills and strokes the current path, and ends it.
  void paint(const std::optional<Fill>& fill, const std::optional<Stroke>& stroke) {
    if (fill && fill->hatched) hatch("#b08a2e", fill->opacity);
    if (fill && !fill->hatched) {
      set(fill->colour, fill->opacity);
      cairo_fill_preserve(it());
    }
    if (stroke) {
      set(stroke->colour, stroke->opacity);
      cairo_set_line_width(it(), stroke->width);
      cairo_set_dash(it(), stroke->dash.data(), static_cast<int>(stroke->dash.size()), 0);
      cairo_stroke_preserve(it());
    }
    cairo_new_path(it());
  }

  void draw(const Lines& lines) {
    for (const auto& piece : lines.pieces) {
      cairo_new_sub_path(it());
      for (const Point& point : piece) cairo_line_to(it(), drawable(point.x), drawable(point.y));
      if (lines.closed) cairo_close_path(it());
    }
    paint(lines.fill, lines.stroke);
  }

  void draw(const Box& box) {
    cairo_rectangle(it(), drawable(box.corner.x), drawable(box.corner.y), drawable(box.width), drawable(box.height));
    paint(box.fill, box.stroke);
  }

  void draw(const Ring& ring) {
    cairo_new_sub_path(it());
    cairo_arc(it(), drawable(ring.middle.x), drawable(ring.middle.y), ring.radius, 0, 2 * std::numbers::pi);
    paint(std::nullopt, ring.stroke);
  }

  void choose_font(bool bold, double size) {
    cairo_select_font_face(it(), "Helvetica", CAIRO_FONT_SLANT_NORMAL,
                           bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(it(), size);
  }

  double width_of(const std::string& text, bool bold, double size) {
    choose_font(bold, size);
    cairo_text_extents_t extents;
    cairo_text_extents(it(), text.c_str(), &extents);
    return extents.x_advance;
  }

  void draw(const Words& words) {
    const std::string head = readers::inert(words.bold_head);
    const std::string text = readers::inert(words.text);
    const double head_width = width_of(head, true, words.size);
    const double whole = head_width + width_of(text, false, words.size);
    const double before = words.anchor == Anchor::end ? whole : words.anchor == Anchor::middle ? whole / 2 : 0;
    cairo_save(it());
    cairo_translate(it(), drawable(words.at.x), drawable(words.at.y));
    if (words.turned) cairo_rotate(it(), -std::numbers::pi / 2);
    const auto show = [&](const std::string& part, bool bold, double x) {
      if (part.empty()) return;
      choose_font(bold, words.size);
      if (words.halo) {
        cairo_move_to(it(), x, 0);
        cairo_text_path(it(), part.c_str());
        paint(std::nullopt, Stroke{"#ffffff", 0.5});
      }
      set(words.colour, 1);
      cairo_move_to(it(), x, 0);
      cairo_show_text(it(), part.c_str());
      cairo_new_path(it());
    };
    show(head, true, -before);
    show(text, false, head_width - before);
    cairo_restore(it());
  }

  std::unique_ptr<cairo_t, decltype(&cairo_destroy)> cairo_;
};

}  // namespace

std::string pdf_of(const Drawing& drawing) {
  constexpr double points = 72 / millimetres_per_inch;
  std::string bytes;
  const Surface surface(
      cairo_pdf_surface_create_for_stream(append, &bytes, drawing.width * points, drawing.height * points),
      cairo_surface_destroy);
  // The title is the name of the record. The time of drawing is left out, so that equal figures are equal files.
  cairo_pdf_surface_set_metadata(surface.get(), CAIRO_PDF_METADATA_TITLE, readers::inert(drawing.title).c_str());
  cairo_pdf_surface_set_metadata(surface.get(), CAIRO_PDF_METADATA_CREATE_DATE, "");
  Canvas(surface.get(), points).draw(drawing);
  cairo_surface_finish(surface.get());
  check(cairo_surface_status(surface.get()));
  return bytes;
}

std::string png_of(const Drawing& drawing) {
  constexpr double pixels = 600 / millimetres_per_inch;
  const auto size = [](double millimetres) { return static_cast<int>(std::ceil(millimetres * pixels)); };
  const Surface surface(cairo_image_surface_create(CAIRO_FORMAT_RGB24, size(drawing.width), size(drawing.height)),
                        cairo_surface_destroy);
  check(cairo_surface_status(surface.get()));
  Canvas(surface.get(), pixels).draw(drawing);
  std::string bytes;
  check(cairo_surface_write_to_png_stream(surface.get(), append, &bytes));
  return bytes;
}

}  // namespace outputs
