// Compares whole analyses by the library as shipped with those by the library with plain kernels: all results must be
// bit-identical.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <random>
#include <string>

#include "synth/dip_description.h"
#include "tests/core/printed_lines.h"
#include "tests/core/working_folder.h"
#include "tests/plain/loaded_library.h"

namespace {

using tests::LoadedLibrary;

const LoadedLibrary& shipped() {
  static const LoadedLibrary library(DIPX_LIBRARY);
  return library;
}
const LoadedLibrary& plain() {
  static const LoadedLibrary library(DIPX_PLAIN_LIBRARY);
  return library;
}

/// Returns a host's record that contains the waveform.
std::unique_ptr<dipx_data_struct> host_record(const synth::DipDescription& description) {
  const auto wave = synth::record_of(synth::waveform_of(description));
  auto host = std::make_unique<dipx_data_struct>();
  float* const phases[] = {host->smp_va, host->smp_vb, host->smp_vc};
  for (std::size_t phase = 0; phase < 3; phase++) {
    for (std::size_t i = 0; i < wave.length(); i++) {
      phases[phase][i] = static_cast<float>(wave.channels[phase].samples[i]);
    }
  }
  host->smp_rate = static_cast<int>(description.rate / 50);
  host->smp_len = static_cast<int>(wave.length());
  return host;
}

class WholeRuns : public testing::Test {
 protected:
  /// Runs the analysis with both libraries and compares everything that they leave behind.
  void expect_equal(const synth::DipDescription& description) {
    const auto own = host_record(description);
    const auto other = std::make_unique<dipx_data_struct>(*own);
    tests::printed_by([&] { shipped().analyse(*own); });
    tests::printed_by([&] { plain().analyse(*other); });
    EXPECT_EQ(std::memcmp(own.get(), other.get(), sizeof *own), 0);
    EXPECT_EQ(std::memcmp(shipped().results(), plain().results(), DQ_LIST_CAPACITY * sizeof(dq_dipx_struct)), 0);
    EXPECT_EQ(std::memcmp(&shipped().whole_record(), &plain().whole_record(), sizeof(dq_dipx_rms)), 0);
    const dq_data& window = shipped().window();
    const dq_data& plain_window = plain().window();
    EXPECT_EQ(std::memcmp(window.ua, plain_window.ua, sizeof window.ua), 0);
    EXPECT_EQ(std::memcmp(window.angle_a, plain_window.angle_a, sizeof window.angle_a), 0);
    EXPECT_EQ(std::memcmp(window.feasvd_a, plain_window.feasvd_a, sizeof window.feasvd_a), 0);
    EXPECT_EQ(std::memcmp(window.feasvd_b, plain_window.feasvd_b, sizeof window.feasvd_b), 0);
    EXPECT_EQ(std::memcmp(window.feasvd_c, plain_window.feasvd_c, sizeof window.feasvd_c), 0);
    dips_ += own->evt_num;
    if (own->evt_num > 0) segments_ += own->evt_buf[0].u_min_num;
  }

  synth::DipDescription random_description(double shortest, double longest) {
    synth::DipDescription description;
    description.rate = 50.0 * std::uniform_int_distribution(32, 128)(random_);
    description.start = between(0.2, 2);
    description.phases = std::array{"A", "BC", "C-A", "ABC"}[random_() % 4];
    description.durations = {between(shortest, longest)};
    if (random_() % 2 == 0) description.durations.push_back(between(shortest, longest));
    for (std::size_t i = 0; i < description.durations.size(); i++) description.depths.push_back(between(15, 45));
    description.depths.erase(description.depths.begin());
    description.point_on_wave = between(0, 360);
    description.fall = random_() % 2 == 0 ? 0 : between(0, 0.05);
    description.recovery = random_() % 2 == 0 ? 0 : between(0, 0.2);
    description.noise = random_() % 2 == 0 ? 0 : between(0, 0.5);
    description.deviation = random_() % 4 == 0 ? between(-0.2, 0.2) : 0;
    description.seed = static_cast<unsigned>(random_());
    return description;
  }

  double between(double low, double high) { return std::uniform_real_distribution(low, high)(random_); }

  tests::WorkingFolder folder_;
  std::mt19937 random_{2};
  int dips_ = 0;
  int segments_ = 0;
};

TEST_F(WholeRuns, OfShortDipsEqualThePlainLibrarys) {
  for (int i = 0; i < 20; i++) {
    SCOPED_TRACE(i);
    expect_equal(random_description(0.02, 0.5));
  }
  EXPECT_GE(dips_, 18);
  EXPECT_GE(segments_, 18);
}

TEST_F(WholeRuns, OfLongDipsEqualThePlainLibrarys) {
  for (int i = 0; i < 8; i++) {
    SCOPED_TRACE(i);
    expect_equal(random_description(10, 24));
  }
  EXPECT_GE(dips_, 7);
  EXPECT_GE(segments_, 5);
}

TEST_F(WholeRuns, OfTheLongestShortWindowEqualThePlainLibrarys) {
  synth::DipDescription description;
  description.rate = 6400;
  description.durations = {9.82};
  description.depths = {50};
  description.noise = 0.2;
  expect_equal(description);
  EXPECT_EQ(dips_, 1);
  EXPECT_GE(segments_, 1);
}

}  // namespace
