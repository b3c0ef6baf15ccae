#include "readers/pqdif/pqdif.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <optional>
#include <set>
#include <tuple>
#include <utility>
#include <vector>

#include "readers/charset.h"
#include "readers/names.h"
#include "readers/pqdif/file_contents.h"
#include "readers/pqdif/names.h"
#include "readers/pqdif/record_chain.h"
#include "readers/pqdif/tags.h"
#include "readers/text.h"

namespace readers {
namespace pqdif {
namespace {

/// The samples of all channels together may be so many, including those that a channel lacks in some sections.
constexpr std::size_t most_samples = std::size_t{1} << 27;

/// Converts the texts of a file, whose character set is guessed from all of them together.
class Texts {
 public:
  void add(const std::string& bytes) { converted_.emplace(bytes, ""); }

  /// Converts all texts, and cuts those that are longer than any name. Returns notes on the guess and on what was cut.
  std::vector<std::string> convert(const std::string& charset) {
    std::string joined;
    for (const auto& [bytes, text] : converted_) {
      joined += '\n';
      for (const char c : bytes) joined += c == '\n' ? ' ' : c;
    }
    const Utf8Text all = to_utf8(joined, charset);
    std::string_view rest = all.text;
    Names names;
    for (auto& [bytes, text] : converted_) {
      rest.remove_prefix(std::min<std::size_t>(1, rest.size()));
      const std::string_view line = rest.substr(0, rest.find('\n'));
      rest.remove_prefix(line.size());
      text = names.read(trimmed(line), "a name");
    }
    std::vector<std::string> notes = {note_on_guess(all), names.note()};
    std::erase(notes, "");
    return notes;
  }

  [[nodiscard]] const std::string& operator[](const std::string& bytes) const { return converted_.at(bytes); }

 private:
  std::map<std::string, std::string> converted_;
};

/// What makes waveforms of different observations the same channel.
struct ChannelKey {
  std::size_t source = 0;
  std::string name;  ///< bytes of the file
  std::uint32_t phase = 0;
  std::uint32_t quantity = 0;
  std::uint32_t units = 0;
  std::size_t ordinal = 0;  ///< counts from 0 the waveforms of one observation with the same description

  // Not all standard libraries compare texts in one step, so this is written out.
  friend bool operator<(const ChannelKey& one, const ChannelKey& other) {
    const auto members = [](const ChannelKey& key) {
      return std::tie(key.source, key.name, key.phase, key.quantity, key.units, key.ordinal);
    };
    return members(one) < members(other);
  }
};

/// Makes a record of what a file holds.
class Assembly {
 public:
  Assembly(const std::string& file, FileContents contents, const OpenOptions& options)
      : file_(file), contents_(std::move(contents)), options_(options) {
    record_.file = file;
  }

  Record make() {
    if (contents_.observations.empty()) refuse();
    convert_texts();
    number_instruments();
    sort_observations();
    make_keys();
    describe();
    add_sections();
    add_notes();
    fill(wanted_channels());
    return std::move(record_);
  }

 private:
  [[noreturn]] void refuse() {
    std::string others;
    for (const auto& [kind, data] : contents_.others) {
      others += fmt::format("{}{} ({}, first {})", others.empty() ? "" : ", ", kind, plural(data.count, "observation"),
                            inert(data.first));
    }
    const bool damaged = !contents_.damage.empty();
    if (damaged && others.empty()) {
      throw ReadError(file_, "", fmt::format("it holds no waveform that can be read: {}", inert(contents_.damage[0])),
                      "copy the file from the instrument again or export it anew");
    }
    throw ReadError(file_, "",
                    others.empty() ? fmt::format("it holds no waveforms in its {}",
                                                 plural(contents_.observation_count, "observation"))
                                   : fmt::format("it holds {}, but no waveforms", others) +
                                         (damaged ? ", and is damaged: " + inert(contents_.damage[0]) : ""),
                    "export the waveforms of the event from the instrument");
  }

  void convert_texts() {
    for (const DataSource& source : contents_.sources) {
      for (const auto* text : {&source.name, &source.serial_number, &source.model, &source.location, &source.time_zone})
        texts_.add(*text);
      for (const ChannelDefinition& channel : source.channels) texts_.add(channel.name);
    }
    for (const FoundObservation& found : contents_.observations) texts_.add(found.observation.name);
    for (const auto& [kind, data] : contents_.others) texts_.add(data.first);
    for (const std::string& note : texts_.convert(options_.charset)) record_.notes.push_back(note);
  }

  /// Gives data sources that describe the same instrument the same number.
  void number_instruments() {
    for (std::size_t i = 0; i < contents_.sources.size(); i++) {
      std::size_t same = 0;
      // Files repeat the data source of one instrument or have one for each; many different ones are not compared.
      constexpr std::size_t most = 100;
      while (same < i && (same >= most || !contents_.sources[same].is_same_instrument(contents_.sources[i]))) same++;
      instruments_.push_back(same);
      if (same != instruments_.front()) several_instruments_ = true;
    }
  }

  void sort_observations() {
    auto& all = contents_.observations;
    const bool timed = std::all_of(all.begin(), all.end(),
                                   [](const FoundObservation& found) { return found.observation.start.has_value(); });
    if (timed) {
      std::stable_sort(all.begin(), all.end(), [](const FoundObservation& one, const FoundObservation& other) {
        return *one.observation.start < *other.observation.start;
      });
    } else if (all.size() > 1) {
      record_.notes.emplace_back(
          "Not every observation states when it begins; those that do not are assumed to follow the one before.");
    }
  }

  void describe() {
    record_.format = contents_.version.empty() ? "PQDIF" : "PQDIF " + contents_.version;
    record_.line_frequency = contents_.line_frequency;
    const DataSource& source = contents_.sources[contents_.observations.front().source];
    const auto joined = [](const std::string& one, const char* between, const std::string& other) {
      return one.empty() || other.empty() ? one + other : one + between + other;
    };
    record_.station = joined(texts_[source.name], ", ", texts_[source.location]);
    record_.device = joined(texts_[source.model], " ", texts_[source.serial_number]);
    record_.time_zone = texts_[source.time_zone];
    for (const FoundObservation& found : contents_.observations) {
      for (std::size_t i = 0; i < found.observation.waveforms.size(); i++) add_channel(found, i);
    }
  }

  [[nodiscard]] const ChannelDefinition& definition_of(const FoundObservation& found, const Waveform& waveform) const {
    return contents_.sources[found.source].channels[waveform.definition];
  }

  /// Says which channel each waveform belongs to.
  void make_keys() {
    for (const FoundObservation& found : contents_.observations) {
      std::map<ChannelKey, std::size_t> ordinals;
      auto& keys = keys_[found.number];
      for (const Waveform& waveform : found.observation.waveforms) {
        const ChannelDefinition& definition = definition_of(found, waveform);
        ChannelKey key{instruments_[found.source], definition.name, definition.phase,
                       definition.quantity,        waveform.units,  0};
        key.ordinal = ordinals[key]++;
        keys.push_back(std::move(key));
      }
    }
  }

  void add_channel(const FoundObservation& found, std::size_t index) {
    const Waveform& waveform = found.observation.waveforms[index];
    const ChannelKey& key = keys_[found.number][index];
    const auto [place, added] = channels_.emplace(key, record_.channels.size());
    if (!added) {
      if (!waveform.zero_scale) record_.channels[place->second].zero_scale = false;
      return;
    }
    const ChannelDefinition& definition = definition_of(found, waveform);
    Channel& channel = record_.channels.emplace_back();
    channel.phase = phase_of(definition);
    channel.unit = unit_of(definition, waveform);
    channel.name = name_of(found, definition, waveform, key.ordinal, channel.phase);
    channel.zero_scale = waveform.zero_scale;
    if (waveform.primary != 1 || waveform.secondary != 1) {
      channel.side = 'P';
      channel.primary = waveform.primary;
      channel.secondary = waveform.secondary;
    }
    if (definition.quantity == quantity::voltage && waveform.nominal > 0) nominal_.insert(waveform.nominal);
  }

  /// Returns the phase; currents have that of their conductor.
  static std::string phase_of(const ChannelDefinition& definition) {
    const std::string name = phase_name(definition.phase);
    const bool conductor = definition.quantity == quantity::current && name.size() == 2 && name.back() == 'N';
    return conductor ? name.substr(0, 1) : name;
  }

  std::string unit_of(const ChannelDefinition& definition, const Waveform& waveform) {
    if (waveform.units != unit::none) return unit_name(waveform.units);
    if (definition.quantity != quantity::voltage && definition.quantity != quantity::current) return {};
    const std::string assumed = definition.quantity == quantity::voltage ? "V" : "A";
    unit_assumed_ = true;
    return assumed;
  }

  [[nodiscard]] std::string name_of(const FoundObservation& found, const ChannelDefinition& definition,
                                    const Waveform& waveform, std::size_t ordinal, const std::string& phase) const {
    std::string name = texts_[definition.name];
    if (name.empty()) {
      const char* quantity = definition.quantity == quantity::voltage   ? "Voltage"
                             : definition.quantity == quantity::current ? "Current"
                                                                        : "Channel";
      name = fmt::format("{} {}", quantity, phase.empty() ? std::to_string(waveform.definition + 1) : phase);
    }
    if (ordinal > 0) name += fmt::format(" ({})", ordinal + 1);
    const std::string& instrument = texts_[contents_.sources[found.source].name];
    return several_instruments_ && !instrument.empty() ? instrument + ": " + name : name;
  }

  /// Returns the indices of an observation's time bases, those of voltages first.
  [[nodiscard]] std::vector<std::size_t> bases_in_order(const FoundObservation& found) const {
    std::vector<bool> has_voltage(found.observation.bases.size(), false);
    for (const Waveform& waveform : found.observation.waveforms) {
      if (definition_of(found, waveform).quantity == quantity::voltage) has_voltage[waveform.base] = true;
    }
    std::vector<std::size_t> order(has_voltage.size());
    for (std::size_t i = 0; i < order.size(); i++) order[i] = i;
    std::stable_partition(order.begin(), order.end(), [&](std::size_t base) { return has_voltage[base]; });
    return order;
  }

  [[nodiscard]] std::string title_of(const FoundObservation& found) const {
    const Observation& observation = found.observation;
    std::string title = fmt::format("observation {}", found.number);
    const std::string& name = texts_[observation.name];
    if (!name.empty()) title += " " + cited(name);
    if (!observation.category.empty()) title += ", " + observation.category;
    return title;
  }

  void add_sections() {
    std::optional<Moment> begin;  // of the record
    double next = 0;              // seconds from there to the end of the section before
    std::optional<double> first;  // seconds of the first sample
    for (const FoundObservation& found : contents_.observations) {
      const Observation& observation = found.observation;
      if (!begin && observation.start) begin = observation.start;
      const double start = observation.start ? seconds_between(*begin, *observation.start) : next;
      auto& places = places_.emplace_back(observation.bases.size());
      for (const std::size_t index : bases_in_order(found)) {
        const TimeBase& base = observation.bases[index];
        places[index] = record_.length();
        if (!first) first = start + base.first;
        for (const RateSection& section : base.sections) {
          RateSection added = section;
          const std::size_t length = section.end - (&section == &base.sections.front() ? 0 : (&section - 1)->end);
          added.start = start + base.first + section.start - *first;
          added.end = places[index] + section.end;
          added.title = title_of(found);
          next = added.start + (section.rate > 0 ? static_cast<double>(length) / section.rate : 0);
          record_.rates.push_back(std::move(added));
        }
      }
    }
    if (begin) set_times(*begin, *first);
  }

  /// Sets the record's start, and its trigger if there is only one observation.
  void set_times(Moment begin, double first) {
    const Moment start = begin + std::llround(first * 1e6);
    record_.start_time = text_of(start);
    if (contents_.observations.size() != 1) return;
    const auto triggered = contents_.observations.front().observation.triggered;
    if (!triggered) return;
    record_.trigger_time = text_of(*triggered);
    const double seconds = seconds_between(start, *triggered);
    const RateSection& last = record_.rates.back();
    const std::size_t last_begin = record_.rates.size() < 2 ? 0 : record_.rates[record_.rates.size() - 2].end;
    const double end = last.start + (last.rate > 0 ? static_cast<double>(last.end - last_begin) / last.rate : 0);
    if (seconds >= 0 && seconds <= end) record_.trigger = seconds;
  }

  void add_notes() {
    auto& notes = record_.notes;
    for (const std::string& damage : contents_.damage) notes.push_back(inert("The file is damaged: " + damage + "."));
    notes.insert(notes.end(), contents_.notes.begin(), contents_.notes.end());
    for (const auto& [kind, data] : contents_.others) {
      notes.push_back(fmt::format("{} of the file {} {}, which are not waveforms, and {} left out; the first is {}.",
                                  plural(data.count, "observation"), data.count == 1 ? "holds" : "hold", kind,
                                  data.count == 1 ? "is" : "are", texts_[data.first]));
    }
    std::map<std::string, std::size_t> kinds;  // number of observations that hold them beside waveforms
    for (const FoundObservation& found : contents_.observations) {
      for (const auto& [kind, channels] : found.observation.others) kinds[kind]++;
    }
    for (const auto& [kind, count] : kinds) {
      notes.push_back(fmt::format("{} with waveforms {} {} as well, which are left out.", plural(count, "observation"),
                                  count == 1 ? "holds" : "hold", kind));
    }
    if (unit_assumed_) notes.emplace_back("Channels without a unit are assumed to be in V or A, as what they measure.");
    if (nominal_.size() == 1) {
      notes.push_back(fmt::format(
          "The file states a nominal voltage of {} V, which is not used, as such statements are often wrong.",
          number_text(std::round(*nominal_.begin() * 10) / 10)));
    }
    add_notes_of_observations();
  }

  /// Adds each note once, with the first observation that it is about.
  void add_notes_of_observations() {
    struct Noted {
      std::string note;
      std::size_t first;
      std::size_t count;
    };
    std::vector<Noted> all;
    std::map<std::string, std::size_t> places;
    for (const FoundObservation& found : contents_.observations) {
      for (const std::string& note : found.observation.notes) {
        const auto [place, added] = places.emplace(note, all.size());
        if (added) all.push_back({note, found.number, 0});
        all[place->second].count++;
      }
    }
    constexpr std::size_t most = 20;
    for (std::size_t i = 0; i < std::min(most, all.size()); i++) {
      record_.notes.push_back(
          inert(fmt::format("Observation {}: {}{}.", all[i].first, all[i].note,
                            all[i].count == 1 ? "" : fmt::format("; so it is in {} observations", all[i].count))));
    }
    if (all.size() > most)
      record_.notes.push_back(fmt::format("There are {} more notes on observations.", all.size() - most));
  }

  std::vector<bool> wanted_channels() const {
    std::vector<bool> wanted(record_.channels.size(), true);
    if (options_.wanted) wanted = options_.wanted(record_);
    wanted.resize(record_.channels.size(), false);
    const auto count = static_cast<std::size_t>(std::count(wanted.begin(), wanted.end(), true));
    const std::size_t length = record_.length();
    if (count > 0 && length > most_samples / count) {
      throw ReadError(file_, "",
                      fmt::format("its {} have {} samples of {} channels, more than can be read at once",
                                  plural(contents_.observations.size(), "observation"), length, count),
                      "split it into files with fewer observations");
    }
    return wanted;
  }

  void fill(const std::vector<bool>& wanted) {
    const std::size_t length = record_.length();
    for (std::size_t i = 0; i < wanted.size(); i++) {
      if (wanted[i]) record_.channels[i].samples.assign(length, no_value);
    }
    for (std::size_t i = 0; i < contents_.observations.size(); i++) {
      FoundObservation& found = contents_.observations[i];
      for (std::size_t w = 0; w < found.observation.waveforms.size(); w++) {
        Waveform& waveform = found.observation.waveforms[w];
        const std::size_t channel = channels_.at(keys_[found.number][w]);
        std::vector<double>& samples = record_.channels[channel].samples;
        const auto values = std::exchange(waveform.values, {});
        if (!wanted[channel]) continue;
        std::copy(values.begin(), values.end(),
                  samples.begin() + static_cast<std::ptrdiff_t>(places_[i][waveform.base]));
      }
    }
  }

  const std::string& file_;
  FileContents contents_;
  const OpenOptions& options_;
  Texts texts_;
  std::vector<std::size_t> instruments_;                 ///< for each data source
  std::map<std::size_t, std::vector<ChannelKey>> keys_;  ///< of the waveforms of each observation, by its number
  std::map<ChannelKey, std::size_t> channels_;           ///< indices into the record's channels
  std::vector<std::vector<std::size_t>> places_;         ///< first sample of each time base of each observation
  std::set<double> nominal_;                             ///< nominal voltages
  bool several_instruments_ = false;
  bool unit_assumed_ = false;
  Record record_;
};

}  // namespace
}  // namespace pqdif

bool is_pqdif(std::string_view content) {
  return pqdif::begins_with_signature(content);
}

Record read_pqdif(const std::string& file, std::string_view content, const OpenOptions& options) {
  if (!is_pqdif(content)) {
    throw ReadError(
        file, "byte 0",
        content.empty() ? "the file is empty" : "the file does not begin with the signature of a PQDIF record",
        "check that it is a PQDIF file and complete");
  }
  return pqdif::Assembly(file, pqdif::read_contents(file, content, options.sampling_rate), options).make();
}

}  // namespace readers
