#include "outputs/phasor_sketch.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace outputs {

namespace {

// A character is about twice as high as it is wide.
constexpr int reach_across = 14;
constexpr int reach_up = reach_across / 2;
constexpr int indent = 6;

class Canvas {
 public:
  Canvas() { rows_.fill(std::string(2 * reach_across + 1, ' ')); }

  void set(const std::complex<double>& point, char mark) {
    const long column = reach_across + std::lround(point.real() * reach_across);
    const long row = reach_up - std::lround(point.imag() * reach_up);
    if (row < 0 || row > 2 * reach_up || column < 0 || column > 2 * reach_across) return;
    rows_[static_cast<std::size_t>(row)][static_cast<std::size_t>(column)] = mark;
  }

  void line_to(const std::complex<double>& point, char mark) {
    // There is one mark for each column or each row, whichever number is larger.
    const long steps =
        std::lround(std::max({std::abs(point.real()) * reach_across, std::abs(point.imag()) * reach_up, 1.0}));
    for (long i = 0; i <= steps; i++) set(point * (static_cast<double>(i) / static_cast<double>(steps)), mark);
  }

  [[nodiscard]] std::string text() const {
    const auto drawn = [](const std::string& row) { return row.find_first_not_of(' ') != std::string::npos; };
    const auto first = std::find_if(rows_.begin(), rows_.end(), drawn);
    const auto end = std::find_if(rows_.rbegin(), rows_.rend(), drawn).base();
    std::string text;
    for (auto row = first; row < end; row++) {
      const auto last = row->find_last_not_of(' ');
      if (last != std::string::npos) text += std::string(indent, ' ') + row->substr(0, last + 1);
      text += '\n';
    }
    return text;
  }

 private:
  std::array<std::string, 2 * reach_up + 1> rows_;
};

}  // namespace

std::string phasor_sketch(const std::array<std::complex<double>, 3>& phasors) {
  Canvas canvas;
  for (const auto& phasor : phasors) canvas.line_to(phasor, '*');
  canvas.set(0, '+');
  for (std::size_t phase = 0; phase < 3; phase++) {
    canvas.set(std::polar(1.0, -2 * std::numbers::pi / 3 * static_cast<double>(phase)), "abc"[phase]);
  }
  for (std::size_t phase = 0; phase < 3; phase++) canvas.set(phasors[phase], "ABC"[phase]);
  return canvas.text();
}

}  // namespace outputs
