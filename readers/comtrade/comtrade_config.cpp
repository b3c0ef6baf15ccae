#include "readers/comtrade/comtrade_config.h"

#include <fmt/format.h>

#include <cmath>
#include <optional>

#include "readers/charset.h"
#include "readers/names.h"
#include "readers/plausible.h"
#include "readers/text.h"
#include "readers/time_stamps.h"

namespace readers {
namespace {

using Fields = std::vector<std::string_view>;

constexpr std::size_t analog_fields = 10;  // up to the value range; revision 1999 added the transformer ratio

class ConfigParser {
 public:
  ConfigParser(const std::string& file, std::string_view content) : file_(file), lines_(content) {}

  ComtradeConfig parse() {
    read_identification();
    read_channels();
    read_line_frequency();
    read_rates();
    const auto start = read_time("the time of the first sample", config_.start_time);
    const auto trigger = read_time("the time of the trigger", config_.trigger_time);
    if (start && trigger) config_.trigger = seconds_between(*start, *trigger);
    constexpr int microseconds = 6;
    if (start && start->decimals > microseconds) config_.stamp_unit = 1e-9;
    read_data_type();
    read_what_may_follow();
    if (const std::string cut = names_.note(); !cut.empty()) config_.notes.push_back(cut);
    return std::move(config_);
  }

 private:
  /// Returns the next line, which should hold `what`.
  std::string_view next_line(const std::string& what) {
    if (const auto line = lines_.next()) return *line;
    throw ReadError(file_, line_place(lines_.number() + 1), fmt::format("the file ends where {} should be", what),
                    "get the complete configuration file");
  }

  Fields next_fields(const std::string& what) { return split_fields(next_line(what), ','); }

  [[noreturn]] void refuse_line(const std::string& cause, const std::string& cure = "correct the line") const {
    throw ReadError(file_, line_place(lines_.number()), cause, cure);
  }

  void note(const std::string& sentence) {
    config_.notes.push_back(fmt::format("Line {} of the configuration file: {}", lines_.number(), sentence));
  }

  double finite_number(std::string_view field, const std::string& what) const {
    const auto value = parse_number(field);
    if (!value || !std::isfinite(*value)) refuse_line(fmt::format("{} {} is not a number", what, cited(field)));
    return *value;
  }

  void read_identification() {
    const Fields fields = next_fields("the station name");
    config_.station = names_.read(fields[0], "the station");
    if (fields.size() > 1) config_.device = names_.read(fields[1], "the device");

    const std::string_view year = fields.size() > 2 ? fields[2] : "";
    if (year.empty() || year == "1991") {
      config_.revision = "1991";
    } else if (year == "2013") {
      config_.revision = "2013";
    } else {
      config_.revision = "1999";
      if (year != "1999") note(fmt::format("revision year {} is unknown; the rules of 1999 are used.", cited(year)));
    }
  }

  /// Returns the number before the letter that ends a count of channels, as in "12A".
  std::size_t channel_count(std::string_view field, char letter) const {
    std::optional<std::size_t> count;
    if (!field.empty() && lower_case(field.substr(field.size() - 1))[0] == letter) {
      count = parse_count(field.substr(0, field.size() - 1));
    }
    if (!count) {
      refuse_line(
          fmt::format("{} is not a count of {} channels", cited(field), letter == 'a' ? "analog (A)" : "digital (D)"),
          "make sure that this is a COMTRADE configuration file with a line such as 6,4A,2D");
    }
    return *count;
  }

  void read_channels() {
    const Fields counts = next_fields("the numbers of channels");
    if (counts.size() < 3) {
      refuse_line(
          "the line should give the total, analog and digital numbers of channels but starts with " + cited(counts[0]),
          "make sure that this is a COMTRADE configuration file with a line such as 6,4A,2D");
    }
    const std::size_t analogs = channel_count(counts[1], 'a');
    config_.digitals = channel_count(counts[2], 'd');
    if (parse_count(counts[0]) != analogs + config_.digitals) {
      note(fmt::format("the total {} is not the sum of {} analog and {} digital channels, which are used.",
                       cited(counts[0]), analogs, config_.digitals));
    }
    if (analogs == 0) refuse_line("the record has no analog channels", "choose a record with voltages");

    // Channels are added as their lines are read and are never reserved by the stated count, which may exceed the lines
    // in the file.
    for (std::size_t i = 1; i <= analogs; i++) read_analog_channel("analog channel " + position(i, analogs));
    for (std::size_t i = 1; i <= config_.digitals; i++) {
      const Fields fields = next_fields("digital channel " + position(i, config_.digitals));
      config_.digital_names.push_back(fields.size() > 1 ? inert(fields[1]) : std::string());
    }
  }

  static std::string position(std::size_t i, std::size_t count) { return fmt::format("{} of {}", i, count); }

  /// Removes the extra empty field that some programs write before the unit.
  void drop_empty_field(Fields& fields) {
    constexpr std::size_t one_too_many = 14;
    if (fields.size() != one_too_many || !fields[3].empty() || !fields[4].empty()) return;
    if (parse_number(fields[5]) || !parse_number(fields[6]) || !parse_number(fields[7])) return;
    fields.erase(fields.begin() + 4);
    if (!dropped_field_) note("an extra empty field before the unit was ignored.");
    dropped_field_ = true;
  }

  /// Returns the seconds that a field gives in microseconds; 0 for a field that gives none.
  double skew_in(std::string_view field, const std::string& what) {
    const double skew = 1e-6 * parse_number(field).value_or(0);
    if (std::abs(skew) <= longest_skew) return skew;
    note(fmt::format("the time skew {} of {} is not usable and was ignored.", cited(field), what));
    return 0;
  }

  /// Returns the number of one side of a transformer's ratio; 1 for a field that gives none.
  double ratio_in(std::string_view field, std::string_view side, const std::string& what) {
    const double number = parse_number(field).value_or(1);
    if (std::isfinite(number)) return number;
    note(fmt::format("the {} ratio {} of {} is not finite and was ignored.", side, cited(field), what));
    return 1;
  }

  void read_analog_channel(const std::string& what) {
    Fields fields = next_fields(what);
    drop_empty_field(fields);
    if (fields.size() < analog_fields) {
      refuse_line(fmt::format("{} has {} fields but needs at least {}", what, fields.size(), analog_fields));
    }
    AnalogChannel channel;
    channel.description.name = names_.read(fields[1], what);
    channel.description.phase = names_.read(fields[2], what);
    channel.description.unit = names_.read(fields[4], what);
    read_scale(fields, what, channel);
    channel.description.skew = skew_in(fields[7], what);
    if (channel.scale == 0) {
      channel.description.zero_scale = true;
      note(fmt::format("the scale factor of {} is 0, which makes all its values {}.", what,
                       number_text(channel.offset)));
    }
    channel.beyond_99999 =
        parse_number(fields[8]).value_or(0) < -missing_mark || parse_number(fields[9]).value_or(0) > missing_mark;
    if (fields.size() >= 13) {
      channel.description.primary = ratio_in(fields[10], "primary", what);
      channel.description.secondary = ratio_in(fields[11], "secondary", what);
      const std::string side = lower_case(fields[12]);
      if (side == "p") channel.description.side = 'P';
      if (side == "s") channel.description.side = 'S';
    }
    config_.analogs.push_back(std::move(channel));
  }

  /// Reads scale factor and offset. A number that is not finite, as programs write for channels that they do not use,
  /// costs only this channel: it has no values.
  void read_scale(const Fields& fields, const std::string& what, AnalogChannel& channel) {
    const auto scale = parse_number(fields[5]);
    const auto offset = parse_number(fields[6]);
    if (scale && offset && std::isfinite(*scale) && std::isfinite(*offset)) {
      channel.scale = *scale;
      channel.offset = *offset;
      return;
    }
    // Old C libraries write "1.#INF" and "-1.#IND".
    const auto is_number = [](const std::optional<double>& number, std::string_view field) {
      return number || field.find("#I") != field.npos || field.find("#QNAN") != field.npos;
    };
    if (!is_number(scale, fields[5])) {
      refuse_line(fmt::format("{}: the scale factor {} is not a number", what, cited(fields[5])));
    }
    if (!is_number(offset, fields[6])) {
      refuse_line(fmt::format("{}: the offset {} is not a number", what, cited(fields[6])));
    }
    channel.scale = no_value;
    channel.offset = 0;
    note(fmt::format("the scale factor or offset of {} is not finite ({}, {}), so the channel has no values.", what,
                     cited(fields[5]), cited(fields[6])));
  }

  void read_line_frequency() {
    const std::string_view field = trimmed(next_line("the line frequency"));
    const auto frequency = parse_number(field);
    if (frequency && is_line_frequency(*frequency)) {
      config_.line_frequency = *frequency;
    } else {
      note(fmt::format("the line frequency {} is not usable and was ignored.", cited(field)));
    }
  }

  void read_rates() {
    const std::string_view field = next_line("the number of sampling rates");
    const auto stated = parse_count(field);
    if (!stated) refuse_line(cited(field) + " is not a number of sampling rates");
    // If no rate is stated, the time stamps decide, and one line with the number of samples still follows.
    const std::size_t sections = *stated == 0 ? 1 : *stated;
    for (std::size_t i = 1; i <= sections; i++) {
      const std::string what = "sampling rate " + position(i, sections);
      const Fields fields = next_fields(what);
      if (fields.size() < 2) refuse_line(what + " needs a rate and the number of its last sample");
      const double rate = finite_number(fields[0], what + ":");
      if (rate < 0) refuse_line(what + " is negative");
      if (rate > highest_rate) {
        refuse_line(fmt::format("{} is {} samples per second, more than any recorder takes (at most {})", what,
                                number_text(rate), number_text(highest_rate)),
                    "correct the line, or set the rate to 0 so that the time stamps decide");
      }
      add_rate_section(rate, last_sample(fields[1], what));
    }
  }

  std::size_t last_sample(std::string_view field, const std::string& what) const {
    constexpr double most = 9007199254740992;  // 2^53, above which doubles do not represent all whole numbers
    const double last = finite_number(field, what + ": the last sample");
    if (last < 0 || last > most || last != std::floor(last)) {
      refuse_line(fmt::format("{}: the last sample {} is not a sample number", what, cited(field)));
    }
    return static_cast<std::size_t>(last);
  }

  void add_rate_section(double rate, std::size_t end) {
    const std::size_t before = config_.rates.empty() ? 0 : config_.rates.back().end;
    if (end < before) {
      refuse_line(
          fmt::format("this sampling rate ends at sample {}, but the previous one ends at sample {}", end, before),
          "correct the line; last samples are counted from the start of the record");
    }
    config_.rates.push_back({rate, end});
  }

  std::optional<WrittenTime> read_time(const std::string& what, std::string& text) {
    const Fields fields = next_fields(what);
    std::string whole;
    for (const std::string_view field : fields) {
      if (!whole.empty() && !field.empty()) whole += ' ';
      whole += field;
    }
    text = names_.read(whole, what);
    return fields.size() < 2 ? std::nullopt : parse_time(fields[0], fields[1]);
  }

  void read_data_type() {
    using Type = ComtradeConfig::DataType;
    const std::string_view field = trimmed(next_line("the type of the data file"));
    const std::string type = lower_case(field);
    for (const Type known : {Type::ascii, Type::binary, Type::binary32, Type::float32}) {
      if (type != lower_case(name_of(known))) continue;
      config_.data_type = known;
      return;
    }
    refuse_line(cited(field) + " is not a data type",
                "correct the line to the actual data type: ASCII, BINARY, BINARY32 or FLOAT32");
  }

  /// Reads the factor of the time stamps (from 1999 on) and the time zone (from 2013 on); both may be missing.
  void read_what_may_follow() {
    const auto line = lines_.next();
    if (!line || trimmed(*line).empty()) return;
    const auto factor = parse_number(*line);
    constexpr double largest_factor = 1e9;  // 1 is usual, and 1000 or its inverse occur
    if (factor && *factor >= 1 / largest_factor && *factor <= largest_factor) {
      config_.stamp_unit *= *factor;
    } else {
      note(fmt::format("the time stamp factor {} is not usable; 1 is used.", cited(*line)));
    }
    if (const auto zone = lines_.next()) config_.time_zone = names_.read(split_fields(*zone, ',')[0], "the time zone");
  }

  const std::string& file_;
  Lines lines_;
  Names names_;
  bool dropped_field_ = false;
  ComtradeConfig config_;
};

}  // namespace

const char* name_of(ComtradeConfig::DataType type) {
  switch (type) {
    case ComtradeConfig::DataType::ascii:
      return "ASCII";
    case ComtradeConfig::DataType::binary:
      return "BINARY";
    case ComtradeConfig::DataType::binary32:
      return "BINARY32";
    case ComtradeConfig::DataType::float32:
      return "FLOAT32";
  }
  return "";
}

ComtradeConfig parse_comtrade_config(const std::string& file, std::string_view content, const std::string& charset) {
  const Utf8Text text = to_utf8(content, charset);
  ComtradeConfig config = ConfigParser(file, without_file_marks(text.text)).parse();
  if (const std::string note = note_on_guess(text); !note.empty()) config.notes.push_back(note);
  return config;
}

}  // namespace readers
