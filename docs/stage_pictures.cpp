// stage_pictures RECORD FOLDER: draws the pictures for the page that explains the stages of the embedded library. They
// show the library's working records after an analysis of the whole record, which has to hold exactly one dip.
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>

#include "analysis/analyse.h"
#include "analysis/waveform.h"
#include "docs/time_panels.h"
#include "readers/open_record.h"
#include "sagx/dipx_lib.h"
#include "sagx/dq_dipx.h"
#include "sagx/signal_acquisition.h"

namespace {

using docs::phase_colours;
using docs::red;
using docs::yellow;

/// The whole record as the library has left it.
const dq_dipx_rms& searched() {
  return *dq_rms_buf;
}

/// The window of the dip.
dq_data& window() {
  return *dq_data_buf;
}

using Curve = std::function<double(int)>;

constexpr const char* green = "#1b7837";

/// Panels of curves by the number of a sample.
class Picture : public docs::TimePanels {
 public:
  /// Shows the samples from `from` to `to`; `seconds_at` gives the time of a sample.
  Picture(int from, int to, std::function<double(int)> seconds_at)
      : from_(from), to_(to), seconds_at_(std::move(seconds_at)) {}

  void panel(const std::string& title, double low, double high, const std::string& unit) {
    last_mark_ = -width;
    name_row_ = 0;
    const double step = high - low > 200 ? 100 : high - low > 90 ? 50 : high - low > 40 ? 20 : high - low > 12 ? 5 : 2;
    begin_panel(title, low, high, step, unit, "#ffffff");
  }

  /// Marks a sample with a line over the whole height of the panel.
  void mark(int sample, const std::string& name, const char* colour = "#1a1a1a") {
    add("<path d=\"M{0:.2f} {1:.1f}V{2:.1f}\" stroke=\"{3}\" stroke-width=\"0.25\" stroke-dasharray=\"0.8 0.5\"/>\n",
        x(sample), top(), bottom(), colour);
    // The names of close neighbours are placed one above the other.
    name_row_ = x(sample) - last_mark_ < 12 ? name_row_ + 1 : 0;
    last_mark_ = x(sample);
    add("<text x=\"{:.2f}\" y=\"{:.1f}\" fill=\"{}\">{}</text>\n", x(sample) + 0.6, bottom() - 1 - 3 * name_row_,
        colour, name);
  }

  void stretch(int begin, int end, const char* colour, const std::string& name = "") {
    add("<rect x=\"{:.2f}\" y=\"{:.1f}\" width=\"{:.2f}\" height=\"{}\" fill=\"{}\" fill-opacity=\"0.7\"/>\n", x(begin),
        top(), x(end) - x(begin), panel_height, colour);
    add("<text x=\"{:.2f}\" y=\"{:.1f}\" text-anchor=\"middle\" font-weight=\"bold\">{}</text>\n",
        (x(begin) + x(end)) / 2, top() + 3, name);
  }

  /// Draws a curve. If samples lie closer together than a printer's dots, only the lowest and the highest value of each
  /// step are drawn.
  void curve(const Curve& value, const char* colour, const std::string& name, double thickness = 0.25) {
    const int step = std::max(1, static_cast<int>((to_ - from_) / ((right - left) / 0.15)));
    begin_curve(colour, thickness);
    char command = 'M';
    for (int i = from_; i < to_; i += step) {
      double lowest = value(i);
      double highest = lowest;
      for (int j = i; j < std::min(i + step, to_); j++) {
        lowest = std::min(lowest, value(j));
        highest = std::max(highest, value(j));
      }
      add("{}{:.2f} {:.2f}", command, x(i), y(lowest));
      command = 'L';
      if (highest > lowest) add("L{:.2f} {:.2f}", x(i), y(highest));
    }
    end_curve(name, colour);
  }

  void dot(int sample, double value, const char* colour) {
    add("<circle cx=\"{:.2f}\" cy=\"{:.2f}\" r=\"0.7\" fill=\"{}\"/>\n", x(sample), y(value), colour);
  }

  void save(const std::string& file) {
    const double shown = seconds_at_(to_) - seconds_at_(from_);
    const double step = shown > 5 ? 2 : shown > 0.25 ? 0.05 : 0.01;
    for (double t = std::ceil(seconds_at_(from_) / step) * step; t <= seconds_at_(to_); t += step) {
      const double share = (t - seconds_at_(from_)) / (seconds_at_(to_) - seconds_at_(from_));
      time_tick(left + share * (right - left), fmt::format("{:.2f}", t));
    }
    write(file);
  }

 private:
  [[nodiscard]] double x(int sample) const { return x_of(static_cast<double>(sample - from_) / (to_ - from_)); }

  int from_;
  int to_;
  std::function<double(int)> seconds_at_;
  double last_mark_ = -width;  // position of the latest mark in this panel; the next line is the row of its name
  int name_row_ = 0;
};

/// The samples of the analysed voltages at the level at which the library gets them.
analysis::Waveform library_waveform(const analysis::Analysis& analysis) {
  analysis::Waveform waveform;
  const auto& measured = analysis.measured.waveform;
  for (std::size_t phase = 0; phase < waveform.size(); phase++) {
    for (std::size_t i = 0; i < measured.length(); i++) {
      waveform[phase].push_back(static_cast<float>(measured.volts(phase, i) * analysis.library->factor));
    }
  }
  return waveform;
}

/// Runs the library on a waveform and returns the threshold of its segmentation, which it prints.
double run_library(analysis::Waveform& waveform, double samples_per_cycle) {
  const auto trace = std::tmpfile();
  std::fflush(stdout);
  const int out = dup(STDOUT_FILENO);
  dup2(fileno(trace), STDOUT_FILENO);
  sample_input_smprate = static_cast<int>(std::lround(samples_per_cycle));
  sample_input_number = static_cast<int>(waveform[0].size());
  psample_input_va = waveform[0].data();
  psample_input_vb = waveform[1].data();
  psample_input_vc = waveform[2].data();
  dq_dipx_new(nullptr);
  std::fflush(stdout);
  dup2(out, STDOUT_FILENO);
  std::rewind(trace);
  double threshold = 0;
  char line[512];
  while (std::fgets(line, sizeof line, trace) != nullptr) std::sscanf(line, "S=%lf", &threshold);
  std::fclose(trace);
  return threshold;
}

class StagePictures {
 public:
  StagePictures(const analysis::Analysis& analysis, double threshold, std::string folder)
      : analysis_(analysis), threshold_(threshold), folder_(std::move(folder)) {
    window_ = searched().T[0] - 4 * cycle();
  }

  void search() {
    const auto& record = searched();
    Picture picture(0, std::min(record.smp_num, window_ + samples() + cycle()), record_time());
    picture.panel("Samples", -200, 200, "%");
    picture.stretch(0, 2 * cycle(), "#cfe3f1", "level");
    picture.curve([&](int i) { return percent(record.va[i]); }, phase_colours[0], "A", 0.15);
    picture.curve([&](int i) { return percent(record.vb[i]); }, phase_colours[1], "B", 0.15);
    picture.curve([&](int i) { return percent(record.vc[i]); }, phase_colours[2], "C", 0.15);
    picture.panel("RMS over the cycle that ends at each sample", 0, 160, "%");
    picture.stretch(window_, window_ + samples(), yellow, "window");
    picture.level(90, red);
    picture.mark(record.T[0], "fall", red);
    picture.mark(record.T[1], "recovery", red);
    picture.curve([&](int i) { return percent(record.rmsa[i]); }, phase_colours[0], "A");
    picture.curve([&](int i) { return percent(record.rmsb[i]); }, phase_colours[1], "B");
    picture.curve([&](int i) { return percent(record.rmsc[i]); }, phase_colours[2], "C");
    picture.save(folder_ + "/search.svg");
  }

  /// Shows the transform of phase C, because the working record keeps only that of the last phase.
  void transform() {
    const auto& data = window();
    Picture picture(0, samples(), window_time());
    picture.panel("Samples of phase C", -200, 200, "%");
    picture.curve([&](int i) { return percent(data.Vc[i]); }, phase_colours[2], "", 0.2);
    picture.panel("Its d component", -250, 250, "%");
    picture.curve([&](int i) { return percent(data.upd1[i]); }, "#9ec9e2", "as transformed", 0.2);
    picture.curve([&](int i) { return percent(data.upd[i]); }, phase_colours[0], "filtered", 0.3);
    picture.panel("Its magnitude", 0, 160, "%");
    picture.curve([&](int i) { return percent(data.uc0[i]); }, "#bbbbbb", "by d and q", 0.25);
    picture.curve([&](int i) { return percent(data.uc[i]); }, phase_colours[2], "median", 0.3);
    picture.save(folder_ + "/transform.svg");
  }

  void segments() {
    const auto& data = window();
    Picture picture(0, samples(), window_time());
    picture.panel("Magnitudes", 0, 160, "%");
    magnitudes(picture);
    const auto feature = [&](int i) {
      return percent(std::max({data.feasvd_a[i], data.feasvd_b[i], data.feasvd_c[i]}));
    };
    double highest = 0;
    for (int i = 0; i < samples(); i++) highest = std::max(highest, feature(i));
    picture.panel("SVD feature, the largest of the three phases", 0, 1.1 * highest, "%");
    picture.curve(feature, green, "");
    picture.level(100 * threshold_ / static_cast<double>(dip().un), red);
    for (int i = 0; i < dip().T_num; i++) picture.mark(dip().T[i] - window_, fmt::format("T{}", i), red);
    picture.save(folder_ + "/segments.svg");
  }

  void features() {
    auto& data = window();
    Picture picture(0, samples(), window_time());
    picture.panel("Magnitudes, and where each phase is lowest", 0, 160, "%");
    shade_segments(picture);
    magnitudes(picture);
    for (int s = 0; s < dip().u_min_num; s++) {
      picture.dot(dip().pos_ua_min[s], percent(dip().ua_min[s]), phase_colours[0]);
      picture.dot(dip().pos_ub_min[s], percent(dip().ub_min[s]), phase_colours[1]);
      picture.dot(dip().pos_uc_min[s], percent(dip().uc_min[s]), phase_colours[2]);
    }
    picture.panel("Angles against those before the dip", -100, 100, "°");
    const auto turned = [](float degrees) { return std::remainder(static_cast<double>(degrees), 360.0); };
    picture.curve([&](int i) { return turned(data.angle_a[i]); }, phase_colours[0], "A");
    picture.curve([&](int i) { return turned(data.angle_b[i]); }, phase_colours[1], "B");
    picture.curve([&](int i) { return turned(data.angle_c[i]); }, phase_colours[2], "C");
    picture.panel("Symmetrical components", 0, 120, "%");
    const auto size = [&](const vec_struct& phasor) { return percent(std::hypot(phasor.r, phasor.x)); };
    const auto sequence = [&](int i, bool positive) {
      vec_struct result{};
      seq_cal(&data.vec_ua[i], positive ? &data.vec_ub[i] : &data.vec_uc[i],
              positive ? &data.vec_uc[i] : &data.vec_ub[i], &result);
      return size(result);
    };
    const auto zero = [&](int i) {
      vec_struct result{};
      seq0_cal(&data.vec_ua[i], &data.vec_ub[i], &data.vec_uc[i], &result);
      return size(result);
    };
    picture.curve([&](int i) { return sequence(i, true); }, phase_colours[2], "positive");
    picture.curve([&](int i) { return sequence(i, false); }, phase_colours[1], "negative");
    picture.curve(zero, phase_colours[0], "zero");
    picture.panel("Category of each sample", 0, 10, "code");
    for (int s = 0; s < dip().u_min_num; s++) {
      picture.stretch(dip().T[2 * s + 1] - window_, dip().T[2 * s + 2] - window_, yellow,
                      fmt::format("segment {}: {}", s + 1, dip().dipx_cata_seg[s]));
    }
    picture.curve([&](int i) { return in_segment(i) ? dip().dipx_cata[i] : 0; }, green, "");
    picture.save(folder_ + "/features.svg");
  }

  void point_on_wave() {
    const auto& data = window();
    const int fall = 4 * cycle();
    Picture picture(fall - cycle(), fall + cycle() / 2, window_time());
    picture.panel("Samples", -200, 200, "%");
    picture.curve([&](int i) { return percent(data.Va[i]); }, phase_colours[0], "A");
    picture.curve([&](int i) { return percent(data.Vb[i]); }, phase_colours[1], "B");
    picture.curve([&](int i) { return percent(data.Vc[i]); }, phase_colours[2], "C");
    const int start = start_of_dip();
    picture.mark(start, "start", red);
    picture.panel("Magnitudes before the median", 0, 160, "%");
    picture.level(95, green);
    picture.level(90, red);
    picture.mark(start, "start", red);
    picture.curve([&](int i) { return percent(data.ua0[i]); }, phase_colours[0], "A");
    picture.curve([&](int i) { return percent(data.ub0[i]); }, phase_colours[1], "B");
    picture.curve([&](int i) { return percent(data.uc0[i]); }, phase_colours[2], "C");
    picture.save(folder_ + "/point_on_wave.svg");
  }

  /// Shows a long window, of which only the features of the RMS curves and positions are kept.
  void long_window() {
    const auto& data = window();
    const int window = searched().T[1] - searched().T[0] + 8 * cycle();
    Picture picture(0, window, window_time());
    picture.panel("RMS, its boundaries (Trms) and those of the waveform (T)", 0, 160, "%");
    for (int s = 0; s < dip().min_num; s++) {
      picture.stretch(dip().T[2 * s + 1] - window_, dip().T[2 * s + 2] - window_, yellow, fmt::format("{}", s + 1));
    }
    picture.curve([&](int i) { return percent(data.rms_ua[i]); }, phase_colours[0], "A");
    picture.curve([&](int i) { return percent(data.rms_ub[i]); }, phase_colours[1], "B");
    picture.curve([&](int i) { return percent(data.rms_uc[i]); }, phase_colours[2], "C");
    for (int i = 0; i < dip().Trms_num; i++) picture.mark(dip().Trms[i] - window_, "", red);
    for (int s = 0; s < dip().min_num; s++) {
      picture.dot(dip().order_min[s] - window_, percent(dip().u3_min[s]), red);
    }
    picture.save(folder_ + "/long_window.svg");
  }

  [[nodiscard]] bool is_long() const { return dip().Trms_num > 0; }

 private:
  [[nodiscard]] const dq_dipx_struct& dip() const { return new_dipx_buf[0]; }
  [[nodiscard]] int cycle() const { return searched().smprate; }
  [[nodiscard]] int samples() const { return static_cast<int>(window().num); }
  [[nodiscard]] double percent(float volts) const { return 100 * static_cast<double>(volts / dip().un); }
  [[nodiscard]] double seconds_at(int sample) const {
    return analysis_.voltages.record_seconds(sample / analysis_.voltages.part.rate);
  }
  [[nodiscard]] std::function<double(int)> record_time() const {
    return [this](int i) { return seconds_at(i); };
  }
  [[nodiscard]] std::function<double(int)> window_time() const {
    return [this](int i) { return seconds_at(window_ + i); };
  }
  [[nodiscard]] bool in_segment(int i) const {
    for (int s = 0; s < dip().u_min_num; s++) {
      if (i + window_ >= dip().T[2 * s + 1] && i + window_ <= dip().T[2 * s + 2]) return true;
    }
    return false;
  }

  void shade_segments(Picture& picture) const {
    for (int s = 0; s < dip().u_min_num; s++) {
      picture.stretch(dip().T[2 * s + 1] - window_, dip().T[2 * s + 2] - window_, yellow, fmt::format("{}", s + 1));
    }
  }

  void magnitudes(Picture& picture) const {
    const auto& data = window();
    picture.level(90, red);
    picture.curve([&](int i) { return percent(data.ua[i]); }, phase_colours[0], "A");
    picture.curve([&](int i) { return percent(data.ub[i]); }, phase_colours[1], "B");
    picture.curve([&](int i) { return percent(data.uc[i]); }, phase_colours[2], "C");
  }

  /// The sample at which the library read the point on wave.
  [[nodiscard]] int start_of_dip() const {
    const auto& data = window();
    int start = samples();
    for (const float* magnitude : {data.ua0, data.ub0, data.uc0}) {
      const auto low = std::find_if(magnitude, magnitude + samples(), [&](float u) { return u <= 0.9F * dip().un; });
      for (auto i = low; low != magnitude + samples() && i > magnitude; i--) {
        if (*i < 0.95F * dip().un) continue;
        start = std::min(start, static_cast<int>(i - magnitude));
        break;
      }
    }
    return start;
  }

  const analysis::Analysis& analysis_;
  double threshold_;
  std::string folder_;
  int window_ = 0;  // first sample of the window in the record
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fputs("usage: stage_pictures RECORD FOLDER\n", stderr);
    return 1;
  }
  try {
    std::filesystem::create_directories(argv[2]);
    const auto record = readers::open_record(argv[1]);
    analysis::AnalysisOptions options;
    options.library = true;
    const auto analysis = analysis::analyse(record, options);
    if (analysis.library->dips.size() != 1) throw std::runtime_error("the record does not hold exactly one dip");
    auto waveform = library_waveform(analysis);
    const double threshold = run_library(waveform, analysis.voltages.samples_per_cycle());
    StagePictures pictures(analysis, threshold, argv[2]);
    if (pictures.is_long()) {
      pictures.long_window();
      return 0;
    }
    pictures.search();
    pictures.transform();
    pictures.segments();
    pictures.features();
    pictures.point_on_wave();
  } catch (const std::exception& error) {
    std::fprintf(stderr, "stage_pictures: %s\n", error.what());
    return 1;
  }
  return 0;
}
