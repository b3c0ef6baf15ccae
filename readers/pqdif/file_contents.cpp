#include "readers/pqdif/file_contents.h"

#include <fmt/format.h>
#include <zlib.h>

#include <optional>
#include <utility>

#include "readers/plausible.h"
#include "readers/pqdif/inflate.h"
#include "readers/pqdif/record_chain.h"
#include "readers/pqdif/tags.h"
#include "readers/record.h"
#include "readers/text.h"

namespace readers::pqdif {
namespace {

/// So many values take 1 GB.
constexpr std::size_t most_values = std::size_t{1} << 27;

/// All observations together may unpack to so many bytes.
constexpr std::size_t most_observations_in_file = std::size_t{1} << 30;

/// Definitions and settings take several times their size in memory; those of real files have some hundred kilobytes.
constexpr std::size_t most_definitions_in_file = std::size_t{1} << 26;

/// Returns whether bytes may be a body that is not compressed: its collection fits in.
bool is_plain_body(std::string_view bytes) {
  if (bytes.size() < 4) return false;
  std::size_t count = 0;
  for (std::size_t i = 4; i-- > 0;) count = count << 8 | static_cast<unsigned char>(bytes[i]);
  return count <= (bytes.size() - 4) / 28;
}

using Checksum = uLong (*)(uLong, const Bytef*, uInt);

std::uint32_t sum_of(Checksum checksum, std::string_view bytes) {
  uLong sum = checksum(0, nullptr, 0);
  constexpr std::size_t piece = std::size_t{1} << 30;
  for (; !bytes.empty(); bytes.remove_prefix(std::min(piece, bytes.size()))) {
    sum = checksum(sum, reinterpret_cast<const Bytef*>(bytes.data()), static_cast<uInt>(std::min(piece, bytes.size())));
  }
  return static_cast<std::uint32_t>(sum);
}

/// Returns whether a checksum is one that makers use: Adler-32 or CRC-32, of the bytes as stored or unpacked.
bool is_checksum_of(std::uint32_t stated, std::string_view stored, std::string_view unpacked) {
  return stated == sum_of(adler32, stored) || stated == sum_of(crc32, unpacked) || stated == sum_of(crc32, stored) ||
         stated == sum_of(adler32, unpacked);
}

class ContentsReader {
 public:
  ContentsReader(const std::string& file, std::string_view content, double given_rate)
      : file_(file), content_(content), given_rate_(given_rate) {}

  FileContents read() {
    RecordChain chain(content_);
    while (const auto record = chain.next()) take(*record);
    if (!chain.fault().empty()) add_damage(chain.fault());
    if (wrong_checksums_ > 0) {
      contents_.notes.push_back(fmt::format(
          "The checksum of {} is wrong; {} used nevertheless.",
          wrong_checksums_ == 1 ? first_wrong_checksum_
                                : fmt::format("{} records, first of {},", wrong_checksums_, first_wrong_checksum_),
          wrong_checksums_ == 1 ? "it is" : "they are"));
    }
    if (more_damage_ > 0) contents_.damage.push_back(fmt::format("{} more records have faults", more_damage_));
    return std::move(contents_);
  }

 private:
  void take(const StoredRecord& record) {
    if (record.kind == record_kind::container) {
      take_container(record);
    } else if (record.kind == record_kind::data_source) {
      take_source(record);
    } else if (record.kind == record_kind::settings) {
      take_settings(record);
    } else if (record.kind == record_kind::observation) {
      contents_.observation_count++;
      take_observation(record);
    } else {
      add_damage(place_of(record) + ": it is of an unknown kind and is left out");
    }
  }

  void take_container(const StoredRecord& record) {
    auto body = body_of(record, definitions_left_);
    if (!body) return;
    const Collection root = body->root();
    if (const auto version = body->vector(root, tag::version_info)) {
      if (version->is_numeric() && version->count >= 2) {
        contents_.version = number_text(version->number(0)) + "." + number_text(version->number(1));
      }
    }
    const auto style = body->count(root, tag::compression_style).value_or(0);
    const auto algorithm = body->count(root, tag::compression_algorithm).value_or(0);
    constexpr std::uint32_t per_record = 2;
    constexpr std::uint32_t zlib = 1;
    add_faults(record, *body);
    if (style != 0 && style != per_record) {
      throw ReadError(file_, place_of(record),
                      fmt::format("the compression style is {} instead of 0 (none) or 2 (each record)", style),
                      "save the file again with one of these");
    }
    if (algorithm > zlib) {
      throw ReadError(file_, place_of(record),
                      fmt::format("the compression algorithm is {} instead of 0 (none) or 1 (zlib)", algorithm),
                      "save the file again with one of these");
    }
    compressed_ = style == per_record && algorithm == zlib;
  }

  void take_source(const StoredRecord& record) {
    DataSource source;
    if (auto body = body_of(record, definitions_left_)) {
      source = read_data_source(*body);
      add_faults(record, *body);
    }
    contents_.sources.push_back(std::move(source));
  }

  void take_settings(const StoredRecord& record) {
    settings_ = {};
    if (auto body = body_of(record, definitions_left_)) {
      settings_ = read_settings(*body);
      add_faults(record, *body);
    }
    if (contents_.line_frequency == 0 && settings_.nominal_frequency > 0) take_line_frequency();
  }

  void take_line_frequency() {
    if (is_line_frequency(settings_.nominal_frequency)) {
      contents_.line_frequency = settings_.nominal_frequency;
    } else if (!frequency_ignored_) {
      frequency_ignored_ = true;
      contents_.notes.push_back(
          fmt::format("The line frequency of {} Hz that the file states is not usable and was ignored.",
                      number_text(settings_.nominal_frequency)));
    }
  }

  void take_observation(const StoredRecord& record) {
    auto body = body_of(record, observations_left_);
    if (!body) return;
    if (contents_.sources.empty()) {
      add_damage(place_of(record) + ": no data source comes before this observation to define its channels");
      return;
    }
    const Surroundings surroundings{contents_.sources.back(), settings_, given_rate_};
    FoundObservation found{read_observation(*body, surroundings, values_left_), contents_.observation_count,
                           contents_.sources.size() - 1};
    add_faults(record, *body);
    const std::string name = fmt::format("observation {}", found.number);
    if (!found.observation.waveforms.empty()) {
      contents_.observations.push_back(std::move(found));
      return;
    }
    for (const std::string& note : found.observation.notes) add_damage(fmt::format("{}: {}", name, note));
    for (const auto& [kind, channels] : found.observation.others) {
      OtherData& other = contents_.others[kind];
      if (other.count++ == 0) {
        other.first = found.observation.name.empty() ? name : fmt::format("{} '{}'", name, found.observation.name);
        if (found.observation.start) other.first += " of " + text_of(*found.observation.start);
      }
    }
  }

  /// Returns a record's body; nothing when it cannot be read. Its bytes are taken from those that are left.
  std::optional<Body> body_of(const StoredRecord& record, std::size_t& bytes_left) {
    const bool plain = is_plain_body(record.body);
    std::string bytes;
    // Some programs do not keep to what the container says, and the container itself is never compressed.
    if (plain && !(compressed_ && begins_as_zlib(record.body))) {
      if (record.body.size() > bytes_left) return refuse(record, "its file is too large");
      bytes = std::string(record.body);
    } else {
      if (!begins_as_zlib(record.body)) {
        return refuse(
            record, fmt::format("its body of {} bytes is neither a collection nor a zlib stream", record.body.size()));
      }
      Unpacked unpacked = unpack(record.body, bytes_left);
      if (!unpacked.fault.empty()) return refuse(record, unpacked.fault);
      bytes = std::move(unpacked.bytes);
    }
    bytes_left -= bytes.size();
    if (record.checksum != 0 && !is_checksum_of(record.checksum, record.body, bytes)) {
      if (wrong_checksums_++ == 0) first_wrong_checksum_ = place_of(record);
    }
    return Body(std::move(bytes));
  }

  static bool begins_as_zlib(std::string_view bytes) {
    if (bytes.size() < 2) return false;
    const unsigned first = static_cast<unsigned char>(bytes[0]);
    const unsigned second = static_cast<unsigned char>(bytes[1]);
    return (first & 0x0F) == 8 && (first << 8 | second) % 31 == 0;
  }

  std::nullopt_t refuse(const StoredRecord& record, const std::string& why) {
    add_damage(place_of(record) + ": " + why);
    return std::nullopt;
  }

  void add_faults(const StoredRecord& record, const Body& body) {
    const std::string faults = body.faults();
    if (!faults.empty()) add_damage(place_of(record) + ": " + faults);
  }

  void add_damage(const std::string& what) {
    constexpr std::size_t most = 5;
    if (contents_.damage.size() < most) {
      contents_.damage.push_back(what);
    } else {
      more_damage_++;
    }
  }

  const std::string& file_;
  std::string_view content_;
  double given_rate_;
  bool compressed_ = false;
  Settings settings_;
  ValueBudget values_left_{most_values};
  std::size_t definitions_left_ = most_definitions_in_file;
  std::size_t observations_left_ = most_observations_in_file;
  std::size_t wrong_checksums_ = 0;
  std::string first_wrong_checksum_;
  std::size_t more_damage_ = 0;
  bool frequency_ignored_ = false;  ///< a stated line frequency is not that of any network
  FileContents contents_;
};

}  // namespace

FileContents read_contents(const std::string& file, std::string_view content, double given_rate) {
  return ContentsReader(file, content, given_rate).read();
}

}  // namespace readers::pqdif
