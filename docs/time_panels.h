// Draws several panels, one below the other, that show the same stretch of time, for the programs that draw the
// pictures of the pages.
#pragma once

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <utility>

namespace docs {

inline constexpr std::array<const char*, 3> phase_colours = {"#0072b2", "#d9730d", "#3d3d3d"};
inline constexpr const char* red = "#b00020";
inline constexpr const char* grey = "#dddddd";
inline constexpr const char* yellow = "#f3e6c4";

class TimePanels {
 public:
  /// A horizontal line over the whole width of the panel.
  void level(double value, const char* colour, const char* dash = "1.2 0.6") {
    add("<path d=\"M{} {:.2f}H{}\" stroke=\"{}\" stroke-width=\"0.2\" stroke-dasharray=\"{}\"/>\n", left, y(value),
        right, colour, dash);
  }

 protected:
  // Millimetres.
  static constexpr double width = 150;
  static constexpr double left = 14;
  static constexpr double right = width - 3;
  static constexpr double panel_height = 26;

  template <typename... Arguments>
  void add(fmt::format_string<Arguments...> format, Arguments&&... arguments) {
    fmt::format_to(std::back_inserter(text_), format, std::forward<Arguments>(arguments)...);
  }

  /// Begins a panel below the previous one, with a grey line at each multiple of `step`.
  void begin_panel(const std::string& title, double low, double high, double step, const std::string& unit,
                   const char* background) {
    constexpr double gap = 7;
    top_ = bottom_ + gap;
    bottom_ = top_ + panel_height;
    low_ = low;
    high_ = high;
    legend_ = right;
    add("<text x=\"{}\" y=\"{:.1f}\" font-weight=\"bold\">{}</text>\n", left, top_ - 1.2, title);
    add("<rect x=\"{}\" y=\"{:.1f}\" width=\"{}\" height=\"{}\" fill=\"{}\" stroke=\"#1a1a1a\" "
        "stroke-width=\"0.2\"/>\n",
        left, top_, right - left, panel_height, background);
    for (double tick = std::ceil(low / step) * step; tick <= high; tick += step) {
      level(tick, grey, "none");
      add("<text x=\"{}\" y=\"{:.2f}\" text-anchor=\"end\">{:g}</text>\n", left - 1, y(tick) + 0.9, tick);
    }
    add("<text transform=\"translate(3.4 {:.1f}) rotate(-90)\" text-anchor=\"middle\">{}</text>\n",
        (top_ + bottom_) / 2, unit);
  }

  /// Begins a path that `end_curve` ends.
  void begin_curve(const char* colour, double thickness) {
    add("<path fill=\"none\" stroke=\"{}\" stroke-width=\"{}\" stroke-linejoin=\"round\" d=\"", colour, thickness);
  }
  void end_curve(const std::string& name, const char* colour) {
    text_ += "\"/>\n";
    legend(name, colour);
  }

  /// Names what is drawn in a colour, to the left of the names before.
  void legend(const std::string& name, const char* colour) {
    if (name.empty()) return;
    add("<text x=\"{:.1f}\" y=\"{:.1f}\" text-anchor=\"end\" fill=\"{}\">{}</text>\n", legend_, top_ - 1.2, colour,
        name);
    legend_ -= 1.5 * static_cast<double>(name.size()) + 3;
  }

  void time_tick(double at, const std::string& seconds) {
    add("<path d=\"M{:.2f} {:.1f}v1\" stroke=\"#1a1a1a\" stroke-width=\"0.2\"/>\n", at, bottom_);
    add("<text x=\"{:.2f}\" y=\"{:.1f}\" text-anchor=\"middle\">{}</text>\n", at, bottom_ + 4, seconds);
  }

  /// Writes the file. Throws std::runtime_error.
  void write(const std::string& file) {
    add("<text x=\"{:.1f}\" y=\"{:.1f}\" text-anchor=\"middle\">t (s)</text>\n", (left + right) / 2, bottom_ + 7);
    const double height = bottom_ + 9;
    std::ofstream out(file);
    out << fmt::format(
               "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"{0}mm\" height=\"{1}mm\" viewBox=\"0 0 {0} {1}\" "
               "font-family=\"Helvetica, Arial, sans-serif\" font-size=\"2.7\" fill=\"#1a1a1a\">\n<rect width=\"{0}\" "
               "height=\"{1}\" fill=\"#ffffff\"/>\n",
               width, height)
        << text_ << "</svg>\n";
    if (!out.flush()) throw std::runtime_error("cannot write " + file);
  }

  [[nodiscard]] double y(double value) const {
    return bottom_ - (std::clamp(value, low_, high_) - low_) / (high_ - low_) * panel_height;
  }
  [[nodiscard]] double top() const { return top_; }
  [[nodiscard]] double bottom() const { return bottom_; }

  /// Returns the place of a share of the time that is shown.
  static double x_of(double share) { return left + (right - left) * std::clamp(share, 0.0, 1.0); }

 private:
  std::string text_;
  double top_ = 0;
  double bottom_ = 1;
  double low_ = 0;
  double high_ = 1;
  double legend_ = right;
};

}  // namespace docs
