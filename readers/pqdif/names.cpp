#include "readers/pqdif/names.h"

#include <array>

#include "readers/pqdif/tags.h"

namespace readers::pqdif {
namespace {

struct Name {
  Guid id;
  const char* text;
};

constexpr std::array kinds = {
    Name{quantity_type::waveform, "waveforms"},
    Name{quantity_type::value_log, "trends"},
    Name{quantity_type::phasor, "phasors"},
    Name{quantity_type::response, "frequency responses"},
    Name{quantity_type::flash, "lightning strokes"},
    Name{quantity_type::histogram, "histograms"},
    Name{quantity_type::histogram_3d, "histograms"},
    Name{quantity_type::probability, "probability distributions"},
    Name{quantity_type::xy, "tables of x and y"},
    Name{quantity_type::xyz, "tables of x, y and z"},
    Name{quantity_type::magnitude_duration, "tables of magnitude and duration"},
    Name{quantity_type::magnitude_duration_time, "tables of magnitude and duration"},
    Name{quantity_type::magnitude_duration_count, "tables of magnitude and duration"},
};

constexpr std::array categories = {
    Name{guid("67f6af90-f753-11cf-9d89-0080c72e70a3"), "transient"},
    Name{guid("dd56ef60-7edd-11d2-b30a-00609789d193"), "impulsive transient"},
    Name{guid("dd56ef61-7edd-11d2-b30a-00609789d193"), "impulsive transient of nanoseconds"},
    Name{guid("dd56ef63-7edd-11d2-b30a-00609789d193"), "impulsive transient of microseconds"},
    Name{guid("dd56ef64-7edd-11d2-b30a-00609789d193"), "impulsive transient of milliseconds"},
    Name{guid("dd56ef65-7edd-11d2-b30a-00609789d193"), "oscillatory transient"},
    Name{guid("dd56ef66-7edd-11d2-b30a-00609789d193"), "oscillatory transient of low frequency"},
    Name{guid("dd56ef67-7edd-11d2-b30a-00609789d193"), "oscillatory transient of medium frequency"},
    Name{guid("dd56ef68-7edd-11d2-b30a-00609789d193"), "oscillatory transient of high frequency"},
    Name{guid("67f6af91-f753-11cf-9d89-0080c72e70a3"), "short-duration RMS variation"},
    Name{guid("dd56ef69-7edd-11d2-b30a-00609789d193"), "instantaneous RMS variation"},
    Name{guid("dd56ef6a-7edd-11d2-b30a-00609789d193"), "instantaneous sag"},
    Name{guid("dd56ef6b-7edd-11d2-b30a-00609789d193"), "instantaneous swell"},
    Name{guid("dd56ef6c-7edd-11d2-b30a-00609789d193"), "momentary RMS variation"},
    Name{guid("dd56ef6d-7edd-11d2-b30a-00609789d193"), "momentary interruption"},
    Name{guid("dd56ef6e-7edd-11d2-b30a-00609789d193"), "momentary sag"},
    Name{guid("dd56ef6f-7edd-11d2-b30a-00609789d193"), "momentary swell"},
    Name{guid("dd56ef70-7edd-11d2-b30a-00609789d193"), "temporary RMS variation"},
    Name{guid("dd56ef71-7edd-11d2-b30a-00609789d193"), "temporary interruption"},
    Name{guid("dd56ef72-7edd-11d2-b30a-00609789d193"), "temporary sag"},
    Name{guid("dd56ef73-7edd-11d2-b30a-00609789d193"), "temporary swell"},
    Name{guid("67f6af92-f753-11cf-9d89-0080c72e70a3"), "long-duration RMS variation"},
    Name{guid("dd56ef74-7edd-11d2-b30a-00609789d193"), "sustained interruption"},
    Name{guid("dd56ef75-7edd-11d2-b30a-00609789d193"), "undervoltage"},
    Name{guid("dd56ef76-7edd-11d2-b30a-00609789d193"), "overvoltage"},
    Name{guid("dd56ef77-7edd-11d2-b30a-00609789d193"), "unbalance"},
    Name{guid("dd56ef7e-7edd-11d2-b30a-00609789d193"), "frequency variation"},
    Name{guid("67f6af93-f753-11cf-9d89-0080c72e70a3"), "flicker"},
    Name{guid("67f6af94-f753-11cf-9d89-0080c72e70a3"), "waveform distortion"},
    Name{guid("dd56ef78-7edd-11d2-b30a-00609789d193"), "DC component"},
    Name{guid("dd56ef79-7edd-11d2-b30a-00609789d193"), "harmonics"},
    Name{guid("dd56ef7a-7edd-11d2-b30a-00609789d193"), "interharmonics"},
    Name{guid("67f6af95-f753-11cf-9d89-0080c72e70a3"), "notching"},
    Name{guid("67f6af96-f753-11cf-9d89-0080c72e70a3"), "noise"},
};

template <typename Names>
std::string find(const Names& names, const Guid& id, const char* otherwise) {
  for (const Name& name : names) {
    if (name.id == id) return name.text;
  }
  return otherwise;
}

template <typename Texts>
std::string text_at(const Texts& texts, std::uint32_t index) {
  return index < texts.size() ? texts[index] : "";
}

}  // namespace

std::string unit_name(std::uint32_t unit) {
  constexpr std::array units = {"",     "",        "s",     "cycles", "",         "",    "V",   "A",   "VA",  "W",
                                "var",  "ohm",     "S",     "V/A",    "J",        "Hz",  "°C",  "deg", "dB",  "%",
                                "p.u.", "samples", "varh",  "Wh",     "VAh",      "m/s", "mph", "bar", "Pa",  "N",
                                "Nm",   "rpm",     "rad/s", "m",      "Wb-turns", "T",   "Wb",  "V/V", "A/A", "A/V"};
  return text_at(units, unit);
}

std::string phase_name(std::uint32_t phase) {
  constexpr std::array phases = {"",
                                 "AN",
                                 "BN",
                                 "CN",
                                 "NG",
                                 "AB",
                                 "BC",
                                 "CA",
                                 "residual",
                                 "net",
                                 "positive sequence",
                                 "negative sequence",
                                 "zero sequence",
                                 "total",
                                 "mean of AN, BN, CN",
                                 "mean of AB, BC, CA",
                                 "worst",
                                 "DC+",
                                 "DC-"};
  return text_at(phases, phase);
}

std::string kind_name(const Guid& quantity_type) {
  return find(kinds, quantity_type, "data of an unknown kind");
}

std::string category_name(const Guid& category) {
  return find(categories, category, "");
}

}  // namespace readers::pqdif
