// Calls functions that hosts may call separately: the transform and the median, which are compared with their plain
// forms, the decomposition, and the checks of boundary lists, with any content in the records. It runs in a separate
// folder, because seg_check_hh writes a log.
#include <cstdlib>
#include <memory>

#include "fuzz/bytes.h"
#include "sagx/dipx_lib.h"
#include "sagx/dq_fft.h"
#include "sagx/matlab_svd.h"
#include "tests/plain/dq_fft.h"
#include "tests/plain/median.h"
#include "tests/plain/svdcmp.h"

namespace {

using fuzz::Bytes;
using fuzz::expect;

void transform(Bytes& bytes) {
  const int kind = bytes.below(8);
  const int points = kind == 0 ? bytes.number<int>() : 1 << bytes.between(0, 13);
  const auto in_type = static_cast<short>(bytes.below(2));
  const auto out_type = static_cast<short>(bytes.below(2));
  const auto size = static_cast<short>(points);  // the transform uses only these bits of it
  const bool taken = size >= (in_type == 0 ? 2 : 4) && size <= 4096 && (size & (size - 1)) == 0;
  const std::size_t values = taken ? static_cast<std::size_t>(size) : 1;
  std::vector<vec_struct> own(values);
  bytes.fill(&own[0].r, static_cast<int>(2 * values));
  std::vector<vec_struct> expected = own;
  DQ_FFT(own.data(), points, in_type, out_type);
  if (taken) plain::DQ_FFT(expected.data(), size, in_type, out_type);
  expect(fuzz::same_bits(&own[0].r, &expected[0].r, 2 * values));
}

void find_median(Bytes& bytes) {
  const int length = bytes.mostly_between(-2, 1030);
  std::vector<float> values = bytes.series(std::clamp(length, 1, 1030));
  const std::vector<float> before = values;
  const float own = median(values.data(), length);
  const float expected = length < 1 || length > 1024 ? 0 : plain::median(before.data(), length);
  expect(fuzz::same_bits(&own, &expected, 1));
  expect(fuzz::same_bits(values.data(), before.data(), values.size()));
}

/// A matrix with row pointers and 1-based indices.
struct Matrix {
  Matrix(int rows, int columns)
      : values(static_cast<std::size_t>((rows + 1) * (columns + 1))), row(static_cast<std::size_t>(rows + 1)) {
    for (int i = 0; i <= rows; i++) row[static_cast<std::size_t>(i)] = values.data() + i * (columns + 1);
  }
  std::vector<float> values;
  std::vector<float*> row;
};

void decompose(Bytes& bytes) {
  const int rows = 1 + bytes.below(12);
  const int columns = 1 + bytes.below(12);
  Matrix own(rows, columns);
  bytes.fill(own.values.data(), static_cast<int>(own.values.size()));
  Matrix expected(rows, columns);
  expected.values = own.values;
  Matrix v(columns, columns);
  Matrix expected_v(columns, columns);
  std::vector<float> w(static_cast<std::size_t>(columns + 1));
  std::vector<float> expected_w = w;
  svdcmp(own.row.data(), rows, columns, w.data(), v.row.data());
  plain::svdcmp(expected.row.data(), rows, columns, expected_w.data(), expected_v.row.data());
  expect(fuzz::same_bits(w.data(), expected_w.data(), w.size()));
  expect(fuzz::same_bits(own.values.data(), expected.values.data(), own.values.size()));
  expect(fuzz::same_bits(v.values.data(), expected_v.values.data(), v.values.size()));
}

template <typename Record>
Record& zeroed() {
  static auto* const record = static_cast<Record*>(std::calloc(1, sizeof(Record)));
  return *record;
}

void check_lists(Bytes& bytes) {
  auto& whole = zeroed<dq_dipx_rms>();
  auto& dip = zeroed<dq_dipx_struct>();
  whole.smp_num = bytes.mostly_between(-2, 3000);
  whole.ut = bytes.value();
  dip.smprate = bytes.mostly_between(0, 130);
  dip.T_num = bytes.mostly_between(-1, DQ_LIST_CAPACITY);
  std::fill(std::begin(dip.T), std::end(dip.T), 0);
  bytes.fill_positions(dip.T, DQ_LIST_CAPACITY, 200);
  const int samples = std::clamp(whole.smp_num, 0, 3000);
  for (float* rms : {whole.rmsa, whole.rmsb, whole.rmsc}) bytes.fill(rms, samples);
  const int dips = bytes.mostly_between(0, 2);
  const int result = seg_check_hh(&whole, nullptr, &dip, dips, bytes.below(64) == 0 ? 1 : 0);
  expect(result == 0 || result == 1);

  const int count = bytes.mostly_between(-1, 33);
  int list[DQ_LIST_CAPACITY];
  std::copy(std::begin(dip.T), std::end(dip.T), list);
  expect((seg_check(list, count) == 0) ==
         (count >= 2 && count <= 32 && list[0] >= 0 && std::is_sorted(list, list + count)));
  const int smp = bytes.mostly_between(0, 130);
  const int length = bytes.mostly_between(0, 5000);
  seg_check_dgz(list, count, smp, length);
  seg_reinit90(list, smp, length);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Bytes bytes(data, size);
  constexpr void (*calls[])(Bytes&) = {transform, find_median, decompose, check_lists};
  calls[bytes.below(4)](bytes);
  return 0;
}
