// A waveform record as read from a file: channels of scaled samples together with the file's description of them. The
// reader library knows nothing about dips, so programs other than the dipx command may use it as well.
#pragma once

#include <cmath>
#include <cstddef>
#include <limits>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace readers {

/// Marks a number that is missing.
inline constexpr double no_value = std::numeric_limits<double>::quiet_NaN();

/// Returns whether a sample has a value that a float can hold.
inline bool fits_float(double sample) {
  return std::abs(sample) <= static_cast<double>(std::numeric_limits<float>::max());
}

/// Sampling rates that differ by no more than this fraction count as equal, because devices that follow the line
/// frequency keep restating their rate.
inline constexpr double same_rate = 0.01;

/// One analog channel. Its text is valid UTF-8 without control characters, whatever the file contained.
struct Channel {
  std::string name;             ///< as in the file
  std::string phase;            ///< the file's phase field, unchanged ("A", "L1", ...); empty when there is none
  std::string unit;             ///< the file's unit, unchanged ("V", "kV", "A", ...); empty when there is none
  std::vector<double> samples;  ///< in `unit`; NaN for values marked as missing; empty when they were not asked for
  double primary = 1;           ///< transformer ratio as the file states it
  double secondary = 1;         ///< of the same ratio
  char side = 0;                ///< 'P' or 'S': samples are primary or secondary values; 0 when the file does not say
  bool zero_scale = false;      ///< the file's scale factor is 0, so all values are equal
  /// The file stores whole numbers, of which the samples are `stored_scale` times plus `stored_offset`; 0: it does not,
  /// or the samples are no longer those of the file.
  double stored_scale = 0;
  double stored_offset = 0;  ///< in `unit`
  /// Seconds by which the channel is sampled later than the row's time; `samples` are not corrected for it.
  double skew = 0;
};

/// A change of a digital channel.
struct DigitalChange {
  std::size_t row = 0;  ///< the first row with the new state
  double time = 0;      ///< of this row, in seconds from the record's first sample
  bool state = false;   ///< the new state
};

/// A channel of states, such as the position of a circuit breaker. Its name is text as that of a Channel.
struct DigitalChannel {
  std::string name;                    ///< as in the file
  bool first_state = false;            ///< in the first row
  std::vector<DigitalChange> changes;  ///< in order of time
};

/// A section of the record with one sampling rate.
struct RateSection {
  double rate = 0;      ///< samples per second; 0 when neither the file nor its time stamps give it
  std::size_t end = 0;  ///< one past the section's last sample
  double start = 0;     ///< time of its first sample in seconds from the record's first sample
  bool follows = true;  ///< whether it starts where the previous section ends; otherwise time is missing between them
  std::string title = {};  ///< what the file says of the section, for display; empty when it says nothing
};

/// A time interval in seconds from the record's first sample; a sample exactly at `to` is no longer part of it.
struct Stretch {
  double from = 0;  ///< its first moment
  double to = 0;    ///< its end
};

/// What a file holds: samples, their times and what the file says of them.
struct Record {
  std::string file;                  ///< the name it was opened by; "standard input" for "-"
  std::vector<std::string> sources;  ///< the files that it was read from
  std::string format;                ///< for display: "COMTRADE 1999 BINARY", "CSV"
  std::string station;               ///< as in the file, empty when there is none
  std::string device;                ///< as in the file, empty when there is none
  std::string start_time;            ///< as in the file, empty when there is none
  std::string trigger_time;          ///< as in the file, empty when there is none
  std::optional<double> trigger;     ///< seconds from the first sample, if the trigger is within the record
  std::string time_zone;             ///< offset from UTC as written in the file ("+5h30"); empty when it is not stated
  double line_frequency = 0;         ///< hertz; 0 when the file does not say
  std::vector<RateSection> rates;    ///< in order; their last `end` is the record's length
  std::vector<Channel> channels;     ///< analog channels, all of the same length
  std::vector<DigitalChannel> digitals;  ///< in the order of the file
  std::optional<Stretch> stretch;        ///< the only samples that are used, if the user chose a stretch
  std::vector<std::string> notes;        ///< peculiarities that a user should know about, one sentence each

  /// Returns the number of samples per channel.
  [[nodiscard]] std::size_t length() const {
    if (!rates.empty()) return rates.back().end;
    return channels.empty() ? 0 : channels.front().samples.size();
  }
};

/// Reports input that cannot be used. The message says which file it is, where in the file the fault is, what is wrong
/// and what the user can do.
class ReadError : public std::runtime_error {
 public:
  /// `place` is where in the file the fault is, and `cure` what the user can do; both may be empty.
  ReadError(const std::string& file, const std::string& place, const std::string& cause, const std::string& cure)
      : std::runtime_error(file + ": " + (place.empty() ? "" : place + ": ") + cause +
                           (cure.empty() ? "" : "; " + cure)) {}
};

}  // namespace readers
