// A waveform record as read from a file: channels of scaled samples with what the file says about them.
// The reader library knows nothing of dips; programs other than the dipx command may use it as well.
#pragma once

#include <cmath>
#include <cstddef>
#include <limits>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace readers {

/// Stands for a number that is not there.
inline constexpr double no_value = std::numeric_limits<double>::quiet_NaN();

/// Whether a sample is there and a float can hold it.
inline bool fits_float(double sample) {
  return std::abs(sample) <= static_cast<double>(std::numeric_limits<float>::max());
}

/// Rates that differ by no more than this share count as one: devices that follow the line's frequency state it anew
/// all the time.
inline constexpr double same_rate = 0.01;

/// One analog channel. Text is valid UTF-8 without control characters, whatever the file held.
struct Channel {
  std::string name;
  std::string phase;            ///< the file's phase field as it stands ("A", "L1", ...); empty when there is none
  std::string unit;             ///< the file's unit as it stands ("V", "kV", "A", ...); empty when there is none
  std::vector<double> samples;  ///< in `unit`; NaN where the file marks a value as missing; empty when not asked for
  double primary = 1;           ///< transformer ratio as the file states it
  double secondary = 1;
  char side = 0;            ///< 'P' or 'S': samples are primary or secondary values; 0 when the file does not say
  bool zero_scale = false;  ///< the file's scale factor makes all values one
  double skew = 0;  ///< seconds by which the channel is sampled later than the row's time; not corrected in `samples`
};

/// A stretch of the record with one sampling rate.
struct RateSection {
  double rate = 0;      ///< samples per second; 0 when neither the file nor its time stamps tell
  std::size_t end = 0;  ///< one past the section's last sample
  double start = 0;     ///< time of its first sample, seconds from the record's first
  bool follows = true;  ///< whether it goes on where the section before ends; otherwise time is missing between them
};

struct Record {
  std::string file;                  ///< the name it was opened by; "standard input" for "-"
  std::vector<std::string> sources;  ///< the files that it was read from
  std::string format;                ///< for people: "COMTRADE 1999 BINARY", "CSV"
  std::string station;
  std::string device;
  std::string start_time;          ///< as in the file, empty when there is none
  std::string trigger_time;        ///< as in the file, empty when there is none
  std::optional<double> trigger;   ///< seconds from the first sample, when it falls into the record
  std::string time_zone;           ///< hours against UTC as in the file ("+5h30"), empty when it does not say
  double line_frequency = 0;       ///< hertz; 0 when the file does not say
  std::vector<RateSection> rates;  ///< in order; their last `end` is the record's length
  std::vector<Channel> channels;   ///< analog channels, all of the same length
  std::vector<std::string> notes;  ///< oddities a user should know of, one sentence each

  /// Samples per channel.
  [[nodiscard]] std::size_t length() const {
    if (!rates.empty()) return rates.back().end;
    return channels.empty() ? 0 : channels.front().samples.size();
  }
};

/// Input that cannot be used: says which file, where in it, what is wrong and what helps.
class ReadError : public std::runtime_error {
 public:
  ReadError(const std::string& file, const std::string& place, const std::string& cause, const std::string& cure)
      : std::runtime_error(file + ": " + (place.empty() ? "" : place + ": ") + cause +
                           (cure.empty() ? "" : "; " + cure)) {}
};

}  // namespace readers
