#include "outputs/figure_svg.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <vector>

#include "analysis/event_terms.h"
#include "analysis/quantity_text.h"
#include "outputs/dip_category_name.h"
#include "outputs/figures_text.h"
#include "outputs/markup.h"

namespace outputs {

using analysis::Analysis;
using analysis::Curves;
using analysis::Dip;
using analysis::duration_text;
using analysis::Stretch;
using analysis::volts_text;

namespace {

// Millimetres. A column of a two-column page is 84 mm wide; text at 2.5 mm is 7 point.
constexpr double width = 84;
constexpr double left = 11;
constexpr double right = width - 1.5;
constexpr double wave_top = 8.5;
constexpr double wave_bottom = 32;
constexpr double rms_top = 35;
constexpr double rms_bottom = 62;
constexpr double list_top = 71.5;
constexpr double line_height = 3.3;

// The same as in the page's light scheme; a colour-blind reader can tell them apart, and the dashes help a printer.
constexpr std::array<const char*, 3> colours = {"#0072b2", "#d9730d", "#3d3d3d"};
constexpr std::array<const char*, 3> dashes = {"none", "1.6 0.6", "0.4 0.5"};

/// Round values from `low` to `high`, five or so.
struct Ticks {
  Ticks(double low, double high) {
    const double rough = (high - low) / 5;
    const double power = std::pow(10, std::floor(std::log10(rough)));
    step = power * (rough / power < 1.5 ? 1 : rough / power < 3.5 ? 2 : rough / power < 7.5 ? 5 : 10);
    decimals = std::max(0, -static_cast<int>(std::floor(std::log10(step) + 1e-9)));
    for (double tick = std::ceil(low / step - 1e-9) * step; tick <= high + 1e-9 * step; tick += step) {
      values.push_back(std::abs(tick) < step / 2 ? 0 : tick);
    }
  }
  [[nodiscard]] std::string text(double value) const {
    return fmt::format("{}{:.{}f}", value < 0 ? "\u2212" : "", std::abs(value), decimals);
  }

  double step;
  int decimals;
  std::vector<double> values;
};

/// A linear scale from values to millimetres.
struct Scale {
  double low;
  double high;
  double at_low;
  double at_high;
  [[nodiscard]] double operator()(double value) const {
    return at_low + (value - low) / (high - low) * (at_high - at_low);
  }
};

class Figure {
 public:
  Figure(const readers::Record& record, const Analysis& analysis, const Curves& curves, const Dip* dip)
      : record_(record), analysis_(analysis), curves_(curves), dip_(dip), shown_(stretch_shown()) {
    time_ = {seconds(shown_.begin), seconds(shown_.end), left, right};
    double peak = 0;
    double highest = 0;
    for (std::size_t phase = 0; phase < 3; phase++) {
      for (std::size_t i = shown_.begin; i < shown_.end; i++) {
        peak = std::max(peak, static_cast<double>(std::abs(curves.volts[phase][i])));
        highest = std::max(highest, static_cast<double>(curves.rms[phase][i]));
      }
    }
    unit_ = peak >= 1e6 ? 1e6 : peak >= 1e3 ? 1e3 : peak >= 1 ? 1 : 1e-3;
    wave_ = {-1.05 * peak / unit_, 1.05 * peak / unit_, wave_bottom, wave_top};
    rms_ = {0, std::max(105.0, 1.03 * analysis.percent(highest)), rms_bottom, rms_top};
  }

  std::string text() {
    const std::size_t lines = (dip_ == nullptr ? 0 : 1 + dip_->segments.size()) + (between_phases() ? 1 : 0) + 1;
    const double height = list_top + line_height * static_cast<double>(lines);
    add(R"(<svg xmlns="http://www.w3.org/2000/svg" width="{0}mm" height="{1}mm" viewBox="0 0 {0} {1}")"
        R"( font-family="Helvetica, Arial, sans-serif" font-size="2.5" fill="#1a1a1a">)"
        "\n",
        width, height);
    add("<title>{}</title>\n", markup_text(record_.file));
    add("<rect width=\"{}\" height=\"{}\" fill=\"#ffffff\"/>\n", width, height);
    if (dip_ != nullptr) add_shades();
    add_axes();
    add_legend();
    for (std::size_t phase = 0; phase < 3; phase++) {
      if (dense()) {
        envelope(phase);
      } else {
        path(phase, curves_.volts[phase], 1 / unit_, wave_, "none", "wave");
      }
      path(phase, curves_.rms[phase], analysis_.percent(1), rms_, dashes[phase], "rms");
    }
    add_list();
    return text_ + "</svg>\n";
  }

 private:
  template <typename... Arguments>
  void add(fmt::format_string<Arguments...> format, Arguments&&... arguments) {
    fmt::format_to(std::back_inserter(text_), format, std::forward<Arguments>(arguments)...);
  }

  [[nodiscard]] double seconds(std::size_t sample) const { return analysis_.voltages.seconds_at(sample); }

  /// The dip with a part of what lies before and behind it.
  [[nodiscard]] Stretch stretch_shown() const {
    const std::size_t length = curves_.volts[0].size();
    if (dip_ == nullptr) return {0, length};
    const std::size_t end = dip_->end.value_or(length);
    const std::size_t margin =
        std::max((end - dip_->start) / 5, 3 * static_cast<std::size_t>(analysis_.voltages.samples_per_cycle));
    return {dip_->start - std::min(margin, dip_->start), std::min(end + margin, length)};
  }

  void add_shades() {
    const double begin = time_(seconds(dip_->start));
    const double end = time_(seconds(dip_->end.value_or(shown_.end)));
    for (std::size_t i = 0; i < dip_->segments.size(); i++) {
      const auto& samples = dip_->segments[i].samples;
      const double from = time_(seconds(std::max(samples.begin, shown_.begin)));
      const double to = time_(seconds(std::min(samples.end, shown_.end)));
      add("<rect class=\"segment\" x=\"{:.2f}\" y=\"{}\" width=\"{:.2f}\" height=\"{}\" fill=\"#f3e6c4\"/>\n", from,
          wave_top, std::max(to - from, 0.1), rms_bottom - wave_top);
      add("<text x=\"{:.2f}\" y=\"{}\" text-anchor=\"middle\" font-weight=\"bold\">{}</text>\n", (from + to) / 2,
          wave_top - 0.8, i + 1);
    }
    for (const double boundary : {begin, end}) {
      if (!dip_->end && boundary == end) continue;
      add("<path class=\"boundary\" d=\"M{0:.2f} {1}V{2}\" stroke=\"#777777\" stroke-width=\"0.15\" "
          "stroke-dasharray=\"0.8 0.5\"/>\n",
          boundary, wave_top, rms_bottom);
    }
  }

  void add_axes() {
    const Ticks volts(wave_.low, wave_.high);
    for (const double tick : volts.values) grid_line(wave_(tick), volts.text(tick));
    const Ticks percent(rms_.low, rms_.high);
    for (const double tick : percent.values) grid_line(rms_(tick), percent.text(tick));
    const Ticks time(time_.low, time_.high);
    for (const double tick : time.values) {
      add("<path d=\"M{0:.2f} {1}v0.9\" stroke=\"#1a1a1a\" stroke-width=\"0.15\"/>\n", time_(tick), rms_bottom);
      add("<text x=\"{:.2f}\" y=\"{}\" text-anchor=\"middle\">{}</text>\n", time_(tick), rms_bottom + 3.4,
          time.text(tick));
    }
    for (const auto& [top, bottom] : {std::pair(wave_top, wave_bottom), {rms_top, rms_bottom}}) {
      add("<rect x=\"{}\" y=\"{}\" width=\"{}\" height=\"{}\" fill=\"none\" stroke=\"#1a1a1a\" "
          "stroke-width=\"0.2\"/>\n",
          left, top, right - left, bottom - top);
    }
    axis_name((wave_top + wave_bottom) / 2, unit_ == 1e6   ? "u (MV)"
                                            : unit_ == 1e3 ? "u (kV)"
                                            : unit_ == 1   ? "u (V)"
                                                           : "u (mV)");
    axis_name((rms_top + rms_bottom) / 2, "RMS (%)");
    add("<text x=\"{}\" y=\"{}\" text-anchor=\"middle\">t (s)</text>\n", (left + right) / 2, rms_bottom + 6.6);
    const double threshold = rms_(analysis_.percent(analysis_.threshold));
    add("<path class=\"threshold\" d=\"M{} {:.2f}H{}\" stroke=\"#b00020\" stroke-width=\"0.2\" "
        "stroke-dasharray=\"1.2 0.5\"/>\n",
        left, threshold, right);
    add("<text x=\"{}\" y=\"{:.2f}\" text-anchor=\"end\" font-size=\"2\" fill=\"#b00020\">dip 90 %</text>\n",
        right - 0.6, threshold + 2);
  }

  void grid_line(double y, const std::string& label) {
    add("<path d=\"M{} {:.2f}H{}\" stroke=\"#dddddd\" stroke-width=\"0.1\"/>\n", left, y, right);
    add("<text x=\"{}\" y=\"{:.2f}\" text-anchor=\"end\">{}</text>\n", left - 0.8, y + 0.9, label);
  }

  void axis_name(double middle, const char* name) {
    add("<text transform=\"translate(2.6 {:.2f}) rotate(-90)\" text-anchor=\"middle\">{}</text>\n", middle, name);
  }

  void add_legend() {
    double x = left;
    for (std::size_t phase = 0; phase < 3; phase++) {
      const std::string name =
          fmt::format("{}: {}", "ABC"[phase], shortened(record_.channels[analysis_.voltages.channels[phase]].name, 14));
      add("<path d=\"M{} 3h5\" stroke=\"{}\" stroke-width=\"0.4\" stroke-dasharray=\"{}\"/>\n", x, colours[phase],
          dashes[phase]);
      add("<text x=\"{}\" y=\"3.9\" font-size=\"{:.2f}\">{}</text>\n", x + 6, size_within((right - left) / 3 - 7, name),
          markup_text(name));
      x += (right - left) / 3;
    }
  }

  /// A curve within the stretch shown. Where samples lie closer than a printer's dots, the lowest and the highest of
  /// those within each step.
  void path(std::size_t phase, const std::vector<float>& values, double factor, const Scale& scale, const char* dash,
            const char* kind) {
    constexpr double dot = 0.1;
    const auto most = static_cast<std::size_t>((right - left) / dot);
    const std::size_t count = shown_.end - shown_.begin;
    add("<path class=\"{}\" fill=\"none\" stroke=\"{}\" stroke-width=\"0.2\" stroke-linejoin=\"round\" "
        "stroke-dasharray=\"{}\" d=\"",
        kind, colours[phase], dash);
    char command = 'M';
    const auto point = [&](std::size_t i, float value) {
      add("{}{:.2f} {:.2f}", command, time_(seconds(i)), scale(factor * static_cast<double>(value)));
      command = 'L';
    };
    const std::size_t step = count <= 2 * most ? 1 : (count + most - 1) / most;
    for (std::size_t i = shown_.begin; i < shown_.end; i += step) {
      const auto first = values.begin() + static_cast<std::ptrdiff_t>(i);
      const auto [low, high] =
          std::minmax_element(first, first + static_cast<std::ptrdiff_t>(std::min(step, shown_.end - i)));
      point(i, *std::min(low, high));
      if (low != high) point(i, *std::max(low, high));
    }
    text_ += "\"/>\n";
  }

  /// Whether cycles lie so close that a phase's waveform would hide the others.
  [[nodiscard]] bool dense() const {
    constexpr double narrowest_cycle = 1;
    const double cycles = static_cast<double>(shown_.end - shown_.begin) / analysis_.voltages.samples_per_cycle;
    return (right - left) / cycles < narrowest_cycle;
  }

  /// Highest and lowest value of each cycle.
  void envelope(std::size_t phase) {
    const std::vector<float>& volts = curves_.volts[phase];
    const auto most = static_cast<std::size_t>((right - left) / 0.2);
    const std::size_t step =
        std::max(static_cast<std::size_t>(analysis_.voltages.samples_per_cycle), (shown_.end - shown_.begin) / most);
    std::string above;
    std::string below;
    const auto point = [&](double x, float low, float high) {
      above += fmt::format("{}{:.2f} {:.2f}", above.empty() ? "" : "L", x, wave_(static_cast<double>(high) / unit_));
      below.insert(
          0, fmt::format("{:.2f} {:.2f}{}", x, wave_(static_cast<double>(low) / unit_), below.empty() ? "" : "L"));
    };
    for (std::size_t i = shown_.begin; i < shown_.end; i += step) {
      const std::size_t end = std::min(i + step, shown_.end);
      // A last piece shorter than the others would lack its peaks.
      const std::size_t begin = end - std::min(step, end - shown_.begin);
      const auto [low, high] = std::minmax_element(volts.begin() + static_cast<std::ptrdiff_t>(begin),
                                                   volts.begin() + static_cast<std::ptrdiff_t>(end));
      if (i == shown_.begin) point(left, *low, *high);
      point(time_((seconds(begin) + seconds(end)) / 2), *low, *high);
      if (end == shown_.end) point(right, *low, *high);
    }
    add("<path fill=\"{}\" fill-opacity=\"0.12\" d=\"M{}L{}Z\"/>\n", colours[phase], above, below);
    add("<path class=\"wave\" fill=\"none\" stroke=\"{}\" stroke-width=\"0.25\" d=\"M{}M{}\"/>\n", colours[phase],
        above, below);
  }

  /// Of a voltage: "92.00 V (40.0 %)", "92.00 V (40.0 %, 39.1 % of declared)".
  [[nodiscard]] std::string level_text(double volts) const {
    const auto declared = analysis_.percent_of_declared(volts);
    return fmt::format("{} ({:.1f} %{})", volts_text(volts), analysis_.percent(volts),
                       declared ? fmt::format(", {:.1f} % of declared", *declared) : "");
  }

  /// A text's size, so small that the width does: which font there is is for the viewer to choose, one of wide letters
  /// perhaps.
  static double size_within(double room, const std::string& text) {
    constexpr double column = 0.58;  // of the size
    return std::min(2.5, room / (column * static_cast<double>(columns_of(text))));
  }

  [[nodiscard]] bool between_phases() const { return analysis_.voltages.between_phases; }

  /// What stands beneath: the dip, then its segments by the numbers over them, and what voltages these are.
  void add_list() {
    double y = list_top;
    const auto line = [&](const std::string& number, const std::string& text) {
      const double size = size_within(width - 4, number + text);
      add("<text x=\"2\" y=\"{:.2f}\" font-size=\"{:.2f}\"><tspan font-weight=\"bold\">{}</tspan>{}</text>\n", y, size,
          number, markup_text(text));
      y += line_height;
    };
    if (dip_ != nullptr) list_dip(line);
    const auto& channel = record_.channels[analysis_.voltages.channels[0]];
    line("", fmt::format("% of the pre-event voltage, {}{}{}", volts_text(analysis_.pre_event_voltage),
                         is_of_transformer(channel) ? "; " : "", is_of_transformer(channel) ? side_text(channel) : ""));
    if (between_phases()) line("", "Voltages between phases: A, B, C stand for AB, BC, CA");
  }

  template <typename Line>
  void list_dip(Line line) const {
    const auto terms = terms_of(*dip_, analysis_);
    line(terms.interruption ? "Interruption" : "Dip",
         fmt::format(": residual voltage {}, {}", level_text(terms.residual),
                     terms.seconds ? duration_text(*terms.seconds) : "not recovered"));
    for (std::size_t i = 0; i < dip_->segments.size(); i++) {
      const auto& segment = dip_->segments[i];
      const double lowest = *std::min_element(segment.residual.begin(), segment.residual.end());
      line(fmt::format("{}", i + 1),
           fmt::format("\u2003{}: {}", dip_category_name(segment.category), level_text(lowest)));
    }
  }

  const readers::Record& record_;
  const Analysis& analysis_;
  const Curves& curves_;
  const Dip* dip_;
  Stretch shown_;
  Scale time_{};
  Scale wave_{};
  Scale rms_{};
  double unit_ = 1;
  std::string text_;
};

}  // namespace

std::string figure_of(const readers::Record& record, const Analysis& analysis, const Curves& curves, std::size_t dip) {
  return Figure(record, analysis, curves, analysis.dips.empty() ? nullptr : &analysis.dips.at(dip)).text();
}

}  // namespace outputs
