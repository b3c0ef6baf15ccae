// dipx analyse --certificate and dipx verify.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/command/analyse_fixture.h"

namespace {

using nlohmann::json;
using tests::dipx;
using Record = tests::MadeRecord;

class Verify : public tests::Analysing {
 protected:
  static void certify(const std::vector<std::string>& more) {
    Record(230, 1).lower("A", 0.4, 0.6, 100).write_csv("r.csv");
    std::vector<std::string> arguments = {"analyse", "r.csv", "-q"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    const auto result = dipx(arguments);
    EXPECT_EQ(result.status, 0) << result.err;
  }
  static std::string content(const std::string& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
  }
};

TEST_F(Verify, AgreesWithTheRecord) {
  for (const char* file : {"c.json", "c.html"}) {
    certify({"--certificate", file});
    const auto result = dipx({"verify", file, "r.csv"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_NE(result.out.find("figures are equal to the digit, and so is the record\n"), std::string::npos)
        << result.out;
  }
}

TEST_F(Verify, UsesTheParametersOfTheCertificate) {
  std::ofstream("press.csv") << "# name: Press\nduration_ms,voltage_percent\n100,40\n1000,80\n";
  certify({"--certificate", "c.json", "--nominal", "225", "--dip-threshold", "85", "--curve", "press.csv", "--through",
           "Dyn11,Yzn5", "--from", "0.05", "--frequency", "50"});
  EXPECT_EQ(dipx({"verify", "c.json", "r.csv"}).status, 0);
  json document = json::parse(content("c.json"));
  document["parameters"]["dip_threshold_percent"] = 80;
  std::ofstream("c.json") << document;
  const auto result = dipx({"verify", "c.json", "r.csv"});
  EXPECT_EQ(result.status, 6);
  EXPECT_NE(result.out.find(" figures differ\n"), std::string::npos) << result.out;
}

TEST_F(Verify, NamesTheFigureThatWasChanged) {
  certify({"--certificate", "c.json"});
  json document = json::parse(content("c.json"));
  for (auto& figure : document["figures"]) {
    if (figure["name"] == "event 1, residual voltage") figure["value"] = 120.5;
  }
  std::ofstream("c.json") << document;
  const auto result = dipx({"verify", "c.json", "r.csv"});
  EXPECT_EQ(result.status, 6);
  EXPECT_NE(result.out.find("c.json: 1 of "), std::string::npos) << result.out;
  EXPECT_NE(result.out.find("  event 1, residual voltage: 120.5 ± 0.46 V in the certificate, now 100.0 ± 0.46 V, "
                            "outside the uncertainty\n"),
            std::string::npos)
      << result.out;
}

TEST_F(Verify, KnowsAnotherRecord) {
  certify({"--certificate", "c.json"});
  std::ofstream("r.csv", std::ios::app) << "\n";
  const auto result = dipx({"verify", "c.json", "r.csv"});
  EXPECT_EQ(result.status, 6);
  EXPECT_NE(result.out.find("The record is not the one of the certificate"), std::string::npos) << result.out;
  EXPECT_NE(result.out.find("figures are equal to the digit\n"), std::string::npos) << result.out;
}

TEST_F(Verify, RefusesWhatIsNotACertificate) {
  certify({"--certificate", "c.json"});
  const auto result = dipx({"verify", "r.csv", "r.csv"});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err, "dipx: r.csv: line 1: is not JSON; use a certificate as dipx analyse --certificate wrote it\n");
  EXPECT_EQ(dipx({"verify", "missing.json", "r.csv"}).status, 2);
  EXPECT_EQ(dipx({"verify", "c.json", "missing.csv"}).status, 2);
}

TEST_F(Verify, CertificatesNeedAFileAndAForm) {
  Record(230, 1).lower("A", 0.4, 0.6, 100).write_csv("record.csv");
  expect_refused({"--certificate", "c.pdf"}, 1,
                 "dipx: --certificate 'c.pdf' does not show the format; end it in .json or .html");
  expect_refused({"--certificate", "c.json", "--library"}, 1,
                 "dipx: --certificate does not cover the library's results; leave out --library");
  expect_refused({"--certificate", "c.json"}, 1,
                 "dipx: --certificate needs a record in a file, because its bytes are read a second time", "-");
  expect_refused(
      {"--certificate", "c.json", "--set", "all"}, 1,
      "dipx: --svg, --pdf, --png, --html, --report and --certificate show one set and part; choose them by number, not all");
}

}  // namespace
