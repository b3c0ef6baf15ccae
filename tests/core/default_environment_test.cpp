// Whatever floating-point environment a host has set, the library's results are those of the default one, to the last
// bit, and the host finds its environment as it left it.
#include "platform/default_environment.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "dipx_dll.h"
#include "sagx/RMS_segment_feature.h"
#include "sagx/SVD_cal.h"
#include "sagx/Vrms.h"
#include "sagx/dipx_lib.h"
#include "sagx/dq_delay.h"
#include "sagx/dq_dipx.h"
#include "sagx/dq_fft.h"
#include "sagx/dq_segment_feature.h"
#include "sagx/dq_segment_feature_multiclass.h"
#include "sagx/dqdelay_POW.h"
#include "sagx/lvbo.h"
#include "sagx/matlab_svd.h"
#include "sagx/voltagechange.h"
#include "tests/core/kernel_inputs.h"
#include "tests/core/printed_lines.h"
#include "tests/core/waveforms.h"
#include "tests/core/working_folder.h"
#include "tests/host_environment.h"

namespace {

using tests::host_environments;
using tests::HostEnvironment;
using tests::printed_by;

constexpr int smp = 64;
constexpr float denormal = std::numeric_limits<float>::denorm_min();

class DefaultEnvironment : public testing::TestWithParam<HostEnvironment> {
 protected:
  void TearDown() override {
    printed_by([] { sagx_free_all(); });
  }
  tests::WorkingFolder folder;
};

/// A sine with noise that falls to 60 % in phases A and B. Some samples are denormal, so that flushing them to zero
/// would matter, and some cycles of the dip are exact zeros.
std::unique_ptr<dipx_data_struct> record_of_dip(int cycles, int dip_cycles) {
  auto record = std::make_unique<dipx_data_struct>();
  float* const phases[] = {record->smp_va, record->smp_vb, record->smp_vc};
  for (int phase = 0; phase < 3; phase++) {
    const auto wave = tests::sine(220, smp, cycles * smp, -120.0 * phase + 13);
    for (int i = 0; i < cycles * smp; i++) {
      const bool low = phase != 2 && i >= 10 * smp + 7 && i < (10 + dip_cycles) * smp;
      const auto noise = static_cast<float>((i * 37 % 101 - 50) * 0.004);
      phases[phase][i] = (low ? 0.6F : 1.0F) * wave[static_cast<std::size_t>(i)] + noise;
    }
    phases[phase][12 * smp] = denormal;
  }
  record->smp_rate = smp;
  record->smp_len = cycles * smp;
  return record;
}

/// Takes the time that an analysis took out of a report, and pointers out of the printed lines.
std::string without_line_of_time(const std::string& report) {
  const auto first = report.find('\n', report.find('\n') + 1) + 1;
  return report.substr(0, first) + report.substr(report.find('\n', first) + 1);
}

struct Analysis {
  std::unique_ptr<dipx_data_struct> record;
  std::vector<unsigned char> results;
  std::string report;
  std::string lines_about_numbers;
};

std::string lines_with(const std::string& printed, const std::string& mark) {
  std::string kept;
  for (std::size_t at = 0; at < printed.size();) {
    const std::size_t end = std::min(printed.find('\n', at), printed.size() - 1) + 1;
    const std::string line = printed.substr(at, end - at);
    if (line.find(mark) != std::string::npos) kept += line;
    at = end;
  }
  return kept;
}

Analysis analysed_in(const HostEnvironment& environment, int cycles, int dip_cycles, bool& kept) {
  Analysis analysis;
  analysis.record = record_of_dip(cycles, dip_cycles);
  const auto printed = printed_by([&] { kept = tests::keeps(environment, [&] { dipx_fun(analysis.record.get()); }); });
  const auto* bytes = reinterpret_cast<const unsigned char*>(new_dipx_buf);
  analysis.results.assign(bytes, bytes + sizeof new_dipx_buf);
  analysis.report = without_line_of_time(tests::bytes_of("dipx_result.txt"));
  analysis.lines_about_numbers = lines_with(printed.out, "[dipx_cal_un]") + lines_with(printed.out, "S=");
  return analysis;
}

void expect_equal_analyses(const HostEnvironment& environment, int cycles, int dip_cycles) {
  bool kept = false;
  const Analysis expected = analysed_in({"Default", [] {}}, cycles, dip_cycles, kept);
  ASSERT_EQ(expected.record->evt_num, 1);
  ASSERT_GT(expected.record->evt_buf[0].u_min_num, 0);
  ASSERT_FALSE(expected.lines_about_numbers.empty());
  const Analysis analysis = analysed_in(environment, cycles, dip_cycles, kept);
  EXPECT_TRUE(kept);
  EXPECT_EQ(std::memcmp(analysis.record.get(), expected.record.get(), sizeof(dipx_data_struct)), 0);
  EXPECT_EQ(analysis.results, expected.results);
  EXPECT_EQ(analysis.report, expected.report);
  EXPECT_EQ(analysis.lines_about_numbers, expected.lines_about_numbers);
}

TEST_P(DefaultEnvironment, GivesTheResultsOfAShortWindow) {
  expect_equal_analyses(GetParam(), 40, 8);
}

TEST_P(DefaultEnvironment, GivesTheResultsOfALongWindow) {
  expect_equal_analyses(GetParam(), 560, 510);
}

using Floats = std::vector<float>;

/// Noise of some size, with denormal numbers.
Floats values(int count, float scale) {
  Floats made = tests::series(tests::kinds()[0], count, 1);
  for (float& value : made) value *= scale;
  for (std::size_t i = 3; i < made.size(); i += 7) made[i] = denormal * static_cast<float>(i);
  return made;
}

/// The working records, filled from a record with a dip as the driver would do it.
struct WorkingRecords {
  WorkingRecords() {
    const auto host = record_of_dip(30, 6);
    printed_by([&] {
      sagx_free_all();  // so that nothing of an earlier window remains
      dipx_fun(host.get());
    });
  }
  // The records exist only after the constructor has run, so that no member can refer to them.
  dq_data& window() { return *dq_data_buf; }
  dq_dipx_rms& whole() { return *dq_rms_buf; }
  dq_dipx_struct& dip() { return new_dipx_buf[0]; }
};

Floats joined(std::initializer_list<Floats> parts) {
  Floats all;
  for (const Floats& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

template <typename Value>
Floats bytes_of(const Value& value) {
  Floats bytes;
  const auto* begin = reinterpret_cast<const unsigned char*>(&value);
  for (std::size_t i = 0; i < sizeof value; i++) bytes.push_back(begin[i]);
  return bytes;
}

Floats of_window(const dq_data& window) {
  return joined({{window.ua, window.ua + 2000},
                 {window.angle_a, window.angle_a + 2000},
                 {window.u, window.u + 2000},
                 {window.upd, window.upd + 2000},
                 {window.feasvd_a, window.feasvd_a + 2000}});
}

/// Runs a stage on the working records in an environment that `in` sets and returns what it left.
using Around = std::function<void(const std::function<void()>&)>;

Floats results_of(const std::string& entry, float scale, const Around& in) {
  WorkingRecords records;
  Floats one = values(512, scale);
  Floats two(512);
  Floats three(512);
  vec_struct a{1.1F, 2.3F};
  vec_struct b{-0.7F, 0.2F};
  vec_struct c{denormal, -denormal};
  vec_struct sum{};
  std::vector<vec_struct> phasors(512);
  for (std::size_t i = 0; i < phasors.size(); i++) phasors[i] = {one[i], -one[511 - i]};
  float result = 0;
  int list[DQ_LIST_CAPACITY] = {};
  int count = 0;
  dq_data& window = records.window();
  dq_dipx_struct& dip = records.dip();
  const auto with_result = [&](const std::function<float()>& call) {
    in([&] { result = call(); });
    return Floats{result};
  };
  if (entry == "pythag") return with_result([&] { return pythag(one[0], one[1]); });
  if (entry == "median") return with_result([&] { return median(one.data(), 33); });
  if (entry == "voltagechange") return with_result([&] { return voltagechange(one.data(), 512, smp); });
  if (entry == "rms_bzc") return with_result([&] { return rms_bzc(&records.whole()); });
  if (entry == "SVD_bzc") return with_result([] { return SVD_bzc(); });
  if (entry == "dq") {
    float upd = 0;
    float upq = 0;
    in([&] { dq(1.1F, -0.3F, 0.7F, 0.0123F, 50, &upd, &upq); });
    return {upd, upq};
  }
  if (entry == "seq_cal") {
    in([&] { seq_cal(&a, &b, &c, &sum); });
    return {sum.r, sum.x};
  }
  if (entry == "seq0_cal") {
    in([&] { seq0_cal(&a, &b, &c, &sum); });
    return {sum.r, sum.x};
  }
  if (entry == "symmetrical_components_dq") {
    in([&] { count = symmetrical_components_dq(&a, &b, &c, 0.7F, 0.1F, 1.0F, 2, 3); });
    return {static_cast<float>(count)};
  }
  if (entry == "dipx_cal_un") {
    in([&] { dipx_cal_un(one.data(), one.data(), one.data(), smp, 512, &result); });
    return {result};
  }
  if (entry == "seg_check_hh") {
    in([&] { count = seg_check_hh(&records.whole(), nullptr, &dip, 1, 0); });
    return {static_cast<float>(count)};
  }
  if (entry == "Vrms_cal") {
    in([&] { Vrms_cal(two.data(), one.data(), smp, 512); });
    return two;
  }
  if (entry == "rms_seg_pro") {
    in([&] { rms_seg_pro(&records.whole()); });
    return {records.whole().rmsa, records.whole().rmsa + records.whole().smp_num};
  }
  if (entry == "DQ_FFT") {
    in([&] { DQ_FFT(phasors.data(), 512, 1, 0); });
    for (const vec_struct& phasor : phasors) two.push_back(phasor.r), two.push_back(phasor.x);
    return two;
  }
  if (entry == "dq_delay") {
    for (int i = 0; i < 512; i++) three[static_cast<std::size_t>(i)] = static_cast<float>(i * 0.02 / smp);
    Floats angle(512);
    in([&] { dq_delay(one.data(), three.data(), smp, 512, 50, two.data(), angle.data(), phasors.data()); });
    return joined({two, angle});
  }
  if (entry == "FS" || entry == "PZ" || entry == "lvbo") {
    in([&] {
      if (entry == "FS") FS(one.data(), nullptr, two.data(), 512, 17);
      if (entry == "PZ") PZ(one.data(), nullptr, two.data(), 512, 17);
      if (entry == "lvbo") lvbo(one.data(), two.data(), 512, 17);
    });
    return two;
  }
  if (entry == "svdcmp") {
    float* rows[5];
    float* vectors[5];
    for (int i = 1; i <= 4; i++) rows[i] = one.data() + 8 * i, vectors[i] = two.data() + 8 * i;
    in([&] { svdcmp(rows, 4, 4, three.data(), vectors); });
    return joined({one, two, three});
  }
  if (entry == "SVD_datapro") {
    in([&] { SVD_datapro(&window, &dip); });
    return {feasvd_buf.feasvd_redu, feasvd_buf.feasvd_redu + 1000};
  }
  if (entry == "dqdelay_POW") {
    in([&] {
      dqdelay_POW(window.ua, window.ub, window.uc, window.angle_a, window.angle_b, window.angle_c, window.t, &dip,
                  220.3F, window.num);
    });
    return {dip.POW_a, dip.POW_b, dip.POW_c};
  }
  if (entry == "print_to_txt") {
    const auto record = record_of_dip(20, 3);
    record->evt_num = 1;
    record->evt_buf[0].hold_time_dq = 0.00005F;
    in([&] { print_to_txt(record.get()); });
    Floats bytes;
    for (const char byte : without_line_of_time(tests::bytes_of("dipx_result.txt")))
      bytes.push_back(static_cast<float>(byte));
    return bytes;
  }
  if (entry == "SVDsegment_multiclass2") {
    in([&] { SVDsegment_multiclass2(&window, &dip, list, &count); });
    return joined({{list, list + count}, of_window(window)});
  }
  using Stage = void (*)(dq_data*, dq_dipx_struct*);
  for (const auto& [name, stage] : std::initializer_list<std::pair<const char*, Stage>>{
           {"SVDsegment_multiclass", SVDsegment_multiclass},
           {"SVDsegment_multiclass3", SVDsegment_multiclass3},
           {"SVDsegment_multiclass4", SVDsegment_multiclass4},
           {"RMS_segment_feature", RMS_segment_feature},
           {"dq_segment_feature", dq_segment_feature},
           {"dq_segment_feature_multiclass", dq_segment_feature_multiclass}}) {
    if (entry != name) continue;
    in([&, run = stage] { run(&window, &dip); });
    return joined({bytes_of(dip.T), bytes_of(dip.ua_min), of_window(window)});
  }
  ADD_FAILURE() << "the test does not know " << entry;
  return {};
}

testing::AssertionResult same_bits(const Floats& a, const Floats& b) {
  if (a.size() != b.size()) return testing::AssertionFailure() << "one has more results than the other";
  for (std::size_t i = 0; i < a.size(); i++) {
    if (!tests::same_bits(a[i], b[i])) return testing::AssertionFailure() << a[i] << " and " << b[i] << " at " << i;
  }
  return testing::AssertionSuccess();
}

TEST_P(DefaultEnvironment, GivesTheResultsOfEachStage) {
  for (const char* entry : {"pythag",
                            "median",
                            "voltagechange",
                            "rms_bzc",
                            "SVD_bzc",
                            "dq",
                            "seq_cal",
                            "seq0_cal",
                            "dipx_cal_un",
                            "seg_check_hh",
                            "Vrms_cal",
                            "rms_seg_pro",
                            "DQ_FFT",
                            "dq_delay",
                            "FS",
                            "PZ",
                            "lvbo",
                            "svdcmp",
                            "SVD_datapro",
                            "dqdelay_POW",
                            "print_to_txt",
                            "symmetrical_components_dq",
                            "SVDsegment_multiclass",
                            "SVDsegment_multiclass2",
                            "SVDsegment_multiclass3",
                            "SVDsegment_multiclass4",
                            "RMS_segment_feature",
                            "dq_segment_feature",
                            "dq_segment_feature_multiclass"}) {
    SCOPED_TRACE(entry);
    for (const float scale : {1.0F, 1e-38F}) {
      Floats expected;
      Floats results;
      printed_by([&] {
        expected = results_of(entry, scale, [](const auto& call) { call(); });
        results = results_of(entry, scale, [](const auto& call) { EXPECT_TRUE(tests::keeps(GetParam(), call)); });
      });
      EXPECT_TRUE(same_bits(expected, results));
    }
  }
}

TEST_P(DefaultEnvironment, IsLeftWhenAnExceptionPassesThrough) {
  bool caught = false;
  EXPECT_TRUE(tests::keeps(GetParam(), [&] {
    try {
      platform::in_default_environment([]() -> int { throw std::runtime_error("not a result"); });
    } catch (const std::runtime_error&) {
      caught = true;
    }
  }));
  EXPECT_TRUE(caught);
}

TEST_P(DefaultEnvironment, IsTheSameOneWithinItself) {
  bool is_default = false;
  EXPECT_TRUE(tests::keeps(GetParam(), [&] {
    platform::in_default_environment([&] {
      const bool outside = std::fegetround() == FE_TONEAREST && fegetexcept() == 0;
      const float half = platform::in_default_environment([] { return std::sqrt(0.25F); });
      // A third has no exact double, so it would depend on the rounding mode, and its product would be flushed to zero.
      volatile double third = 1.0;
      third = third / 3;
      volatile float small = std::numeric_limits<float>::min();
      small = small * static_cast<float>(third);
      is_default = outside && half == 0.5F && third == 0x1.5555555555555p-2 && small > 0;
    });
  }));
  EXPECT_TRUE(is_default);
}

INSTANTIATE_TEST_SUITE_P(Host, DefaultEnvironment, testing::ValuesIn(host_environments()),
                         [](const auto& tested) { return tested.param.name; });

}  // namespace
