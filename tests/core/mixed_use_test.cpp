// Uses both interfaces of the library in any order and compares everything a host can see (globals, buffers and counts)
// with a model.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "dipx_dll.h"
#include "sagx/dq_dipx.h"
#include "sagx/signal_acquisition.h"
#include "tests/core/faults.h"
#include "tests/core/printed_lines.h"
#include "tests/core/waveforms.h"
#include "tests/core/working_folder.h"

namespace {

using tests::LevelRecord;
using tests::printed_by;

/// A record and the results of its analysis.
struct Input {
  const char* name;
  LevelRecord wave;
  int rate;
  int samples;
  bool accepted;   ///< whether rate and length pass the checks
  int boundaries;  ///< number of boundaries found in the record
};

std::vector<Input> inputs() {
  constexpr int smp = 32;
  const LevelRecord steady(smp, 60 * smp, 220);
  const LevelRecord dip = LevelRecord(smp, 60 * smp, 220).set(0, 20 * smp, 26 * smp, 100);
  const LevelRecord dips = LevelRecord(dip).set(1, 46 * smp, 48 * smp, 100);
  const LevelRecord open_end = LevelRecord(dip).set(2, 50 * smp, 60 * smp, 100);
  const LevelRecord disturbed = LevelRecord(dip).set(0, 0, smp, 100);
  return {{"steady", steady, smp, 60 * smp, true, 0},
          {"one dip", dip, smp, 60 * smp, true, 2},
          {"two dips", dips, smp, 60 * smp, true, 4},
          {"a dip and half of one", open_end, smp, 60 * smp, true, 3},
          {"disturbed at the start", disturbed, smp, 60 * smp, true, 0},
          {"rate too low", dip, 31, 60 * smp, false, 0},
          {"rate too high", dip, 129, 60 * smp, false, 0},
          {"no rate", dip, 0, 60 * smp, false, 0},
          {"too many cycles", dip, smp, 96001, false, 0},
          {"too many samples", dip, 128, DQ_RECORD_CAPACITY + 1, false, 0},
          {"less than two cycles", dip, smp, 2 * smp - 1, false, 0},
          {"no samples", dip, smp, 0, false, 0},
          {"a negative number of them", dip, smp, -5, false, 0}};
}

/// The state that a host can see, following the rules on buffers, counts and globals.
struct Model {
  bool window = false;  ///< dq_data_buf exists
  bool whole = false;   ///< dq_rms_buf exists
  int boundaries = 0;   ///< evt_num of the whole-record record
  int samples = 0;      ///< sample_input_number
  int rate = 0;         ///< sample_input_smprate
  const float* va = nullptr;

  /// Models the driver, which allocates missing records. `failing` is the allocation that fails, 0 for none.
  void analyse(const Input* input, int failing) {
    if (!window) {
      if (failing == 1) return;
      window = true;
      failing--;
    }
    if (!whole) {
      if (failing == 1) {
        window = false;
        return;
      }
      whole = true;
      boundaries = 0;
    }
    if (input != nullptr && input->accepted) boundaries = input->boundaries;
  }
};

/// The calls of a host, made both to the library and to the model.
class Host {
 public:
  void fill(const Input& input) {
    const auto count = std::min(input.wave.phases[0].size(), std::size(record_->smp_va));
    std::copy_n(input.wave.phases[0].begin(), count, record_->smp_va);
    std::copy_n(input.wave.phases[1].begin(), count, record_->smp_vb);
    std::copy_n(input.wave.phases[2].begin(), count, record_->smp_vc);
    record_->smp_rate = input.rate;
    record_->smp_len = input.samples;
  }

  void run_record(const Input& input, int failing) {
    fill(input);
    record_->evt_num = 55;
    const tests::FailingAllocation failure(failing);
    printed_ = printed_by([&] { dipx_fun(record_.get()); });
    current_ = &input;
    model_.samples = input.samples;
    model_.rate = input.rate;
    model_.va = record_->smp_va;
    model_.analyse(current_, failing);
    EXPECT_EQ(record_->evt_num, model_.whole ? model_.boundaries / 2 : 0);
    EXPECT_NE(tests::bytes_of("dipx_result.txt"), "") << "the report is written regardless of how the run ended";
  }

  /// Passes at most as many samples as the host has; the host is responsible for this number.
  void set_up_buffers(const Input& input, int failing) {
    const auto& phases = input.wave.phases;
    ASSERT_LE(input.samples, input.wave.samples());
    const tests::FailingAllocation failure(failing);
    printed_ = printed_by([&] {
      sagx_init_from_samples(phases[0].data(), phases[1].data(), phases[2].data(), input.rate, input.samples);
    });
    if (input.rate < 1 || input.samples < 1) return;
    current_ = &input;
    model_.samples = input.samples;
    model_.rate = input.rate;
    model_.va = phases[0].data();
    model_.window = model_.whole = failing == 0;
    model_.boundaries = 0;
  }

  void refuse_null_samples() {
    printed_ = printed_by([&] { sagx_init_from_samples(nullptr, record_->smp_vb, record_->smp_vc, 32, 640); });
  }

  void run_buffers(int failing) {
    const tests::FailingAllocation failure(failing);
    printed_ = printed_by([] { dipx_new_pro(nullptr); });
    model_.analyse(current_, failing);
  }

  void free_all() {
    printed_ = printed_by([] { sagx_free_all(); });
    model_ = Model();
    current_ = nullptr;
  }

  void run_null() {
    printed_ = printed_by([] { dipx_fun(nullptr); });
    EXPECT_EQ(printed_.out, "");
  }

  void clear() {
    printed_ = printed_by([] { clear_segdid_buf(dq_data_buf); });
    EXPECT_EQ(printed_.out + printed_.err, "");
  }

  void compare() const {
    EXPECT_EQ(dq_data_buf != nullptr, model_.window);
    EXPECT_EQ(dq_rms_buf != nullptr, model_.whole);
    if (dq_rms_buf != nullptr) {
      EXPECT_EQ(dq_rms_buf->evt_num, model_.boundaries);
    }
    EXPECT_EQ(sample_input_number, model_.samples);
    EXPECT_EQ(sample_input_smprate, model_.rate);
    EXPECT_EQ(psample_input_va, model_.va);
    EXPECT_EQ(psample_input_vb == nullptr, model_.va == nullptr);
    EXPECT_EQ(psample_input_vc == nullptr, model_.va == nullptr);
  }

 private:
  Model model_;
  const Input* current_ = nullptr;  ///< the input to which the globals point
  std::unique_ptr<dipx_data_struct> record_ = std::make_unique<dipx_data_struct>();
  tests::Printed printed_;
};

class MixedUse : public testing::TestWithParam<unsigned> {
 protected:
  void TearDown() override {
    printed_by([] { sagx_free_all(); });
  }
  tests::WorkingFolder folder;
};

TEST_P(MixedUse, LeavesTheDocumentedStateForAnyOrderOfCalls) {
  printed_by([] { sagx_free_all(); });
  const auto all = inputs();
  std::mt19937 random(GetParam());
  const auto below = [&](std::size_t count) {
    return std::uniform_int_distribution<std::size_t>(0, count - 1)(random);
  };
  Host host;
  std::string calls;
  for (int call = 0; call < 60 && !HasFailure(); call++) {
    const Input& input = all[below(all.size())];
    const int failing = below(5) == 0 ? 1 + static_cast<int>(below(2)) : 0;
    const std::string with =
        std::string("(") + input.name + (failing == 0 ? "" : fmt::format(", allocation {} fails", failing)) + ") ";
    switch (below(10)) {
      case 0:
      case 1:
      case 2:
        host.run_record(input, failing);
        calls += "record" + with;
        break;
      case 3:
      case 4:
        if (input.samples > input.wave.samples()) continue;
        host.set_up_buffers(input, failing);
        calls += "buffers" + with;
        break;
      case 5:
      case 6:
        host.run_buffers(failing);
        calls += "run" + with;
        break;
      case 7:
        host.free_all();
        calls += "free ";
        break;
      case 8:
        host.refuse_null_samples();
        calls += "null samples ";
        break;
      default:
        host.run_null();
        host.clear();
        calls += "null record, clear ";
    }
    host.compare();
  }
  if (HasFailure()) ADD_FAILURE() << calls;
}

INSTANTIATE_TEST_SUITE_P(Seeds, MixedUse, testing::Range(1U, 41U));

}  // namespace
