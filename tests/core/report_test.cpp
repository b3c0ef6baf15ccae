#include <gtest/gtest.h>
#include <iconv.h>

#include <algorithm>
#include <memory>

#include "dipx_dll.h"
#include "sagx/report_lines.h"
#include "tests/core/faults.h"
#include "tests/core/printed_lines.h"
#include "tests/core/waveforms.h"
#include "tests/core/working_folder.h"

namespace {

/// Returns the bytes that a text editor would save for a text in GBK.
std::string gbk_of(std::string text) {
  const iconv_t converter = iconv_open("GBK", "UTF-8");
  EXPECT_NE(converter, iconv_t(-1));
  std::string result(text.size(), '\0');
  char* from = text.data();
  char* to = result.data();
  std::size_t left = text.size();
  std::size_t room = result.size();
  EXPECT_NE(iconv(converter, &from, &left, &to, &room), static_cast<std::size_t>(-1));
  iconv_close(converter);
  result.resize(result.size() - room);
  return result;
}

class Report : public testing::Test {
 protected:
  std::string report() {
    const auto printed = tests::printed_by([&] { print_to_txt(record.get()); });
    EXPECT_EQ(printed.out + printed.err, "");
    const std::string bytes = tests::bytes_of("dipx_result.txt");
    EXPECT_EQ(std::count(bytes.begin(), bytes.end(), '\n'), sagx::report_lines(*record));
    return bytes;
  }

  tests::WorkingFolder folder;
  std::unique_ptr<dipx_data_struct> record = std::make_unique<dipx_data_struct>();
};

TEST_F(Report, OfNoEventsIsTheFiveHeaderLines) {
  const auto wave = tests::sine(311.127 / std::numbers::sqrt2, 128, 128);
  std::copy(wave.begin(), wave.end(), record->smp_va);
  std::fill_n(record->smp_vb, 128, 57.5F);
  std::fill_n(record->smp_vc, 128, -100.0F);
  record->smp_rate = 128;
  record->smp_len = 64000;
  dipx_fun_use_time = 42;
  EXPECT_EQ(report(), gbk_of("波形采样速率 = 128\r\n"
                             "波形数据个数 = 64000\r\n"
                             "事件分析耗时 = 42ms\r\n"
                             "事件前ua=220.0000 ub=57.5000 uc=100.0000\r\n"
                             "暂降事件个数 = 0\r\n"));
}

TEST_F(Report, IsWrittenAsBytesSoThatNoSystemChangesTheEndsOfLines) {
  report();
  EXPECT_STREQ(tests::mode_of_last_file(), "wb");
}

TEST_F(Report, OfASkippedEventHoldsNoSegments) {
  record->smp_rate = 32;
  record->evt_num = 1;
  dipx_fun_use_time = 0;
  EXPECT_EQ(report(), gbk_of("波形采样速率 = 32\r\n"
                             "波形数据个数 = 0\r\n"
                             "事件分析耗时 = 0ms\r\n"
                             "事件前ua=0.0000 ub=0.0000 uc=0.0000\r\n"
                             "暂降事件个数 = 1\r\n"
                             "事件1信息:\r\n"
                             "    持续时间=0.0000ms\r\n"
                             "    A相波形起始点=0.0000度\r\n"
                             "    B相波形起始点=0.0000度\r\n"
                             "    C相波形起始点=0.0000度\r\n"
                             "    A相电压变化率=0.0000\r\n"
                             "    B相电压变化率=0.0000\r\n"
                             "    C相电压变化率=0.0000\r\n"));
}

TEST_F(Report, GroupsTheLinesOfAnEventByKind) {
  record->smp_rate = 32;
  record->evt_num = 2;
  dipx_fun_use_time = -1;
  auto& event = record->evt_buf[1];
  event.u_min_num = 2;
  event.SEG_T_num = 3;
  event.SEG_RMS_T_num = 1;
  event.hold_time_dq = 0.31254F;
  for (int j = 0; j < 2; j++) {
    const auto s = static_cast<float>(j);
    event.ua_min[j] = 10.5F + s;
    event.ub_min[j] = 20.5F + s;
    event.uc_min[j] = 30.5F + s;
    event.dipx_phasetype[j] = 1 + j;
    event.dipx_cata_type[j] = 8 + j;
    event.bph_max_value[j] = 0.1256F + s;
    event.angle_diff_ap[j] = 1.5F + s;
    event.angle_diff_bp[j] = 2.5F + s;
    event.angle_diff_cp[j] = 3.5F + s;
    event.angle_diff_an[j] = -1.5F - s;
    event.angle_diff_bn[j] = -2.5F - s;
    event.angle_diff_cn[j] = -3.5F - s;
  }
  for (int j = 0; j < 3; j++) event.SEG_T_idx[j] = 1000 + j;
  event.SEG_RMS_T_idx[0] = 7;
  event.POW_a = 90;
  event.POW_b = 330;
  event.POW_c = 210;
  event.Voltagechange_Va = 0.5F;
  event.Voltagechange_Vb = 0.25F;
  event.Voltagechange_Vc = 0.125F;
  const std::string all = report();
  const std::string expected = gbk_of(
      "事件2信息:\r\n"
      "    A相电压特征值1=10.5000\r\n"
      "    B相电压特征值1=20.5000\r\n"
      "    C相电压特征值1=30.5000\r\n"
      "    A相电压特征值2=11.5000\r\n"
      "    B相电压特征值2=21.5000\r\n"
      "    C相电压特征值2=31.5000\r\n"
      "    持续时间=0.3125ms\r\n"
      "    暂降相别1=1\r\n"
      "    暂降类型1=8\r\n"
      "    暂降相别2=2\r\n"
      "    暂降类型2=9\r\n"
      "    电压不平衡1=0.126\r\n"
      "    电压不平衡2=1.126\r\n"
      "    A相正相位跳变1=1.5000\r\n"
      "    B相正相位跳变1=2.5000\r\n"
      "    C相正相位跳变1=3.5000\r\n"
      "    A相负相位跳变1=-1.5000\r\n"
      "    B相负相位跳变1=-2.5000\r\n"
      "    C相负相位跳变1=-3.5000\r\n"
      "    A相正相位跳变2=2.5000\r\n"
      "    B相正相位跳变2=3.5000\r\n"
      "    C相正相位跳变2=4.5000\r\n"
      "    A相负相位跳变2=-2.5000\r\n"
      "    B相负相位跳变2=-3.5000\r\n"
      "    C相负相位跳变2=-4.5000\r\n"
      "    分段1位置=1000\r\n"
      "    分段2位置=1001\r\n"
      "    分段3位置=1002\r\n"
      "    有效值分段1位置=7\r\n"
      "    A相波形起始点=90.0000度\r\n"
      "    B相波形起始点=330.0000度\r\n"
      "    C相波形起始点=210.0000度\r\n"
      "    A相电压变化率=0.5000\r\n"
      "    B相电压变化率=0.2500\r\n"
      "    C相电压变化率=0.1250\r\n");
  EXPECT_TRUE(all.ends_with(expected)) << all;
  EXPECT_NE(all.find(gbk_of("事件分析耗时 = -1ms\r\n")), std::string::npos);
}

TEST_F(Report, IsWrittenAnewEachTime) {
  record->smp_rate = 32;
  record->evt_num = 3;
  const auto longer = report().size();
  record->evt_num = 0;
  EXPECT_LT(report().size(), longer);
}

TEST_F(Report, OfARefusedRateShowsTheQuotient) {
  record->smp_rate = 0;
  EXPECT_NE(report().find("ua=-nan ub=-nan uc=-nan\r\n"), std::string::npos);
  record->smp_rate = -5;
  EXPECT_NE(report().find("ua=-0.0000 ub=-0.0000 uc=-0.0000\r\n"), std::string::npos);
}

TEST_F(Report, SumsTheFirstCycleInFloat) {
  // 4096^2 is 2^24, so the ones added after it are lost; a double sum would give 2048.0002.
  record->smp_va[0] = 4096;
  record->smp_va[1] = record->smp_va[2] = record->smp_va[3] = 1;
  record->smp_rate = 4;
  EXPECT_NE(report().find("ua=2048.0000 ub="), std::string::npos);
}

TEST_F(Report, OfARateBeyondTheArraySumsTheAvailableSamples) {
  std::fill(std::begin(record->smp_va), std::end(record->smp_va), 2.0F);  // the squares add up to 3072000
  record->smp_rate = 3072000;
  EXPECT_NE(report().find("ua=1.0000 ub=0.0000 uc=0.0000\r\n"), std::string::npos);
}

TEST_F(Report, EndsWithTheListsWhenCountsPointBeyond) {
  record->smp_rate = 32;
  record->evt_num = 40;
  record->evt_buf[31].SEG_T_num = 300;
  record->evt_buf[0].u_min_num = 1 << 30;
  record->evt_buf[1].u_min_num = -1;
  const auto all = report();
  EXPECT_NE(all.find(gbk_of("暂降事件个数 = 40\r\n")), std::string::npos);
  EXPECT_NE(all.find(gbk_of("事件32信息")), std::string::npos);
  EXPECT_EQ(all.find(gbk_of("事件33信息")), std::string::npos);
  EXPECT_NE(all.find(gbk_of("    暂降相别256=0\r\n")), std::string::npos);
  EXPECT_EQ(all.find(gbk_of("    暂降相别257=")), std::string::npos);
  EXPECT_NE(all.find(gbk_of("    分段256位置=0\r\n")), std::string::npos);
  EXPECT_EQ(all.find(gbk_of("    分段257位置=")), std::string::npos);
}

TEST_F(Report, IsLeftOutSilentlyWhereItCannotBeWritten) {
  std::filesystem::create_directory("dipx_result.txt");
  const auto printed = tests::printed_by([&] { print_to_txt(record.get()); });
  EXPECT_EQ(printed.out + printed.err, "");
  EXPECT_TRUE(std::filesystem::is_directory("dipx_result.txt"));
}

}  // namespace
