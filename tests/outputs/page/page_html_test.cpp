// Tests the form in which the page holds curves, and the page of a record that is too long to contain every sample.
#include "outputs/page/page_html.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <numbers>
#include <string>
#include <vector>

#include "outputs/page/packed_integers.h"

namespace {

/// Returns the content of a script element of the page.
nlohmann::json json_in(const std::string& page, const std::string& id) {
  const std::string opening = "<script id=\"" + id + "\" type=\"application/json\">";
  const auto begin = page.find(opening) + opening.size();
  return nlohmann::json::parse(page.substr(begin, page.find("</script>", begin) - begin));
}

/// Reads the bits of base64 text, most significant bit first; zeros after the end.
class Bits {
 public:
  explicit Bits(const std::string& text) {
    const std::string digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    for (const char digit : text) {
      const auto value = digits.find(digit);
      for (unsigned bit = 6; value != std::string::npos && bit-- > 0;) bits_.push_back((value >> bit & 1U) != 0);
    }
  }

  int next(int count) {
    int value = 0;
    for (; count > 0; count--, at_++) value = 2 * value + (at_ < bits_.size() && bits_[at_] ? 1 : 0);
    return value;
  }

 private:
  std::vector<bool> bits_;
  std::size_t at_ = 0;
};

/// Undoes packed_integers.
std::vector<int> unpacked(const std::string& text, std::size_t count) {
  const std::vector<std::vector<int>> predictors = {{}, {1}, {2, -1}, {3, -3, 1}};
  Bits bits(text);
  std::vector<int> values;
  int order = 0;
  int width = 0;
  while (values.size() < count) {
    if (values.size() % 256 == 0) {
      order = bits.next(2);
      width = bits.next(4);
    }
    int ones = 0;
    while (ones < 24 && bits.next(1) == 1) ones++;
    const int code = ones == 24 ? bits.next(20) : ones * (1 << width) + bits.next(width);
    int value = code % 2 == 1 ? -(code + 1) / 2 : code / 2;
    const auto& factors = predictors[static_cast<std::size_t>(order)];
    for (std::size_t k = 0; k < factors.size() && k < values.size(); k++)
      value += factors[k] * values[values.size() - 1 - k];
    values.push_back(value);
  }
  return values;
}

TEST(PackedIntegers, AreTheBitsThatTheHeaderDescribes) {
  EXPECT_EQ(outputs::packed_integers({}), "");
  // Order 0, width 0, a zero: seven zero bits.
  EXPECT_EQ(outputs::packed_integers(std::vector<std::int16_t>{0}), "AA==");
}

TEST(PackedIntegers, ComeBackForAllKindsOfCurves) {
  std::vector<std::int16_t> values;
  for (int i = 0; i < 1000; i++) values.push_back(static_cast<std::int16_t>(std::lround(32767 * std::sin(0.05 * i))));
  for (int i = 0; i < 300; i++) values.push_back(i % 2 == 0 ? INT16_MAX : INT16_MIN);
  for (int i = 0; i < 300; i++) values.push_back(i == 150 ? INT16_MIN : std::int16_t{7});
  std::uint32_t state = 1;
  for (int i = 0; i < 1000; i++) {
    state = state * 1664525U + 1013904223U;
    values.push_back(static_cast<std::int16_t>(state >> 16U));
  }
  const std::string text = outputs::packed_integers(values);
  EXPECT_EQ(unpacked(text, values.size()), std::vector<int>(values.begin(), values.end()));
}

TEST(PackedIntegers, TakeLittleTextForASine) {
  std::vector<std::int16_t> values;
  for (int i = 0; i < 12800; i++)
    values.push_back(static_cast<std::int16_t>(std::lround(32767 * std::sin(2 * std::numbers::pi * i / 128))));
  // The third difference of the sine is at most (2 pi / 128)^3 of its peak, which is 4; plain base64 takes 34 kB.
  EXPECT_LT(outputs::packed_integers(values).size(), 10000U);
}

TEST(LongPage, HoldsPeaksOfBlocksInsteadOfSamples) {
  constexpr std::size_t ten_minutes = 6400 * 600;
  readers::Record record;
  record.file = "long";
  analysis::Curves curves;
  for (const char* name : {"Ua", "Ub", "Uc"}) {
    readers::Channel channel;
    channel.name = name;
    record.channels.push_back(channel);
  }
  for (std::size_t phase = 0; phase < 3; phase++) {
    curves.volts[phase].assign(ten_minutes, 100);
    curves.rms[phase].assign(ten_minutes, 50);
    curves.volts[phase][18] = -200;
  }
  analysis::Analysis analysis;
  analysis.voltages.channels = {0, 1, 2};
  analysis.voltages.part = {.end = ten_minutes, .rate = 6400};
  analysis.voltages.line_frequency = 50;
  analysis.found.frequency = 50;
  analysis.found.reference_v = {50, 50, 50};
  const auto page = outputs::page_of(record, analysis, curves);
  EXPECT_LT(page.size(), 1000000U);
  const auto samples = json_in(page, "samples");
  EXPECT_NEAR(samples["wave"]["scale"].get<double>() * 32767, 200, 1e-9);
  EXPECT_TRUE(samples["wave"]["pieces"].empty());
  const auto& blocks = samples["wave"]["blocks"];
  EXPECT_EQ(blocks["length"], 128);
  const auto highest = unpacked(blocks["highest"][2].get<std::string>(), 30000);
  const auto lowest = unpacked(blocks["lowest"][2].get<std::string>(), 30000);
  EXPECT_EQ(highest, std::vector<int>(30000, 16384));
  EXPECT_EQ(lowest.front(), -32767);
  EXPECT_EQ(std::vector<int>(lowest.begin() + 1, lowest.end()), std::vector<int>(29999, 16384));
  EXPECT_EQ(json_in(page, "document")["record"]["file"], "long");
}

}  // namespace
