// Certificates: what they state, how they are read again, and which differences a comparison finds.
#include "outputs/certificate/certificate.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "analysis/analyse.h"
#include "outputs/certificate/comparison.h"
#include "outputs/explain_terms.h"
#include "synth/record_file.h"
#include "synth/waveform.h"
#include "tests/outputs/found_by_hand.h"

namespace {

using nlohmann::json;
using outputs::Certificate;
using outputs::CertifiedFigure;
using outputs::CertifiedRun;

const std::string hash(64, 'a');

CertifiedRun some_run() {
  CertifiedRun run;
  run.sampling_rate = 6400;
  run.charset = "GBK";
  run.stretch.from = 0.125;
  run.options.choice.channels = "Ua,Ub,Uc";
  run.options.choice.part = 2;
  run.options.choice.line_frequency = 60;
  run.options.nominal = 230;
  run.options.nominal_kind = analysis::DeclaredKind::phase;
  run.options.reference = measure::Reference::sliding;
  run.options.thresholds.dip = 85;
  run.options.through = assess::connections_of("Dyn11,Yd1");
  assess::Curve curve;
  curve.code = "press";
  curve.name = "Press \"3\" <b>";
  curve.steps = {{0.1, 50}, {std::numeric_limits<double>::infinity(), 80}};
  run.options.own_curves.push_back(curve);
  return run;
}

Certificate by_hand() {
  auto record = tests::a_record();
  record.notes = {"One value is missing."};
  return certificate_of(record, tests::one_dip_found(), some_run(), {{"r.cfg", 100, hash}});
}

const CertifiedFigure& named(const Certificate& certificate, const std::string& name) {
  const auto found = std::find_if(certificate.figures.begin(), certificate.figures.end(),
                                  [&](const CertifiedFigure& figure) { return figure.name == name; });
  EXPECT_NE(found, certificate.figures.end()) << name;
  static const CertifiedFigure none;
  return found == certificate.figures.end() ? none : *found;
}

// --- figures ---------------------------------------------------------------------------------------------------------

TEST(CertifiedFigures, HaveValuesUnitsAndUncertainties) {
  const Certificate certificate = by_hand();
  const auto& residual = named(certificate, "event 1, residual voltage");
  EXPECT_EQ(residual.value, 115.0);
  EXPECT_EQ(residual.unit, "V");
  EXPECT_NEAR(residual.plus_minus.value(), 0.46, 1e-12) << "0.2 % of 230 V";
  const auto& voltage = named(certificate, "event 1, segment 2, voltage of A");
  EXPECT_NEAR(voltage.value.get<double>(), 161, 1e-9);
  EXPECT_EQ(voltage.plus_minus, 0.25);
  const auto& start = named(certificate, "event 1, start on the waveform");
  EXPECT_EQ(start.value, 10.3) << "in the record's time";
  EXPECT_EQ(start.plus_minus, 0.0001);
  EXPECT_EQ(named(certificate, "event 1, duration by the standard").plus_minus, 0.02) << "a cycle";
  EXPECT_EQ(named(certificate, "event 1, segment 1, type").value, "D (A)");
  EXPECT_EQ(named(certificate, "event 1, segment 1, phase jump of A").value, -20);
  EXPECT_EQ(named(certificate, "event 1, verdict by ITIC").value, "trips (below 70 %)");
}

TEST(CertifiedFigures, HaveNamesOfTheirOwnAndDefinitions) {
  std::set<std::string> names;
  for (const auto& figure : by_hand().figures) {
    EXPECT_TRUE(names.insert(figure.name).second) << figure.name;
    ASSERT_NE(outputs::text_of_term(figure.definition), nullptr) << figure.name << ": " << figure.definition;
  }
  EXPECT_GT(names.size(), 50U);
}

TEST(CertifiedFigures, IncludeThoseOfALoad) {
  synth::Waveform waveform;
  waveform.length = 6400;
  waveform.stages = {{0.4, 0.5, {0.5, 1, 1}, {0.5, 1, 1}}};
  const auto record = synth::record_of(waveform);
  CertifiedRun run;
  run.options.through = assess::connections_of("Dyn11");
  const auto analysis = analysis::analyse(record, run.options);
  const Certificate certificate = certificate_of(record, analysis, run, {{"r", 1, hash}});
  EXPECT_EQ(named(certificate, "beyond Dyn11, phase voltages, event 1, segment 1, type").value, "C (AC)");
  EXPECT_EQ(named(certificate, "beyond Dyn11, voltages between phases, event 1, type of C4.110").value, "I");
  std::set<std::string> names;
  for (const auto& figure : certificate.figures) EXPECT_TRUE(names.insert(figure.name).second) << figure.name;
}

TEST(ComparedFigures, GiveTheReasonsForTheDifference) {
  const auto list = outputs::compared_figures(tests::one_dip_found());
  ASSERT_EQ(list.size(), 4U);
  EXPECT_EQ(list[2].name, "event 1, duration");
  EXPECT_EQ(list[2].by_standard, 0.24);
  EXPECT_EQ(list[2].on_waveform, 0.2);
  EXPECT_EQ(list[2].explanation.substr(0, 70),
            "The duration by the standard is longer: it counts whole cycles of Urms");
  EXPECT_EQ(list[3].on_waveform, 115);
}

// --- documents -------------------------------------------------------------------------------------------------------

TEST(CertificateDocument, StatesEverything) {
  const json document = json::parse(certificate_json(by_hand()));
  EXPECT_EQ(document["format"], "dipx certificate");
  EXPECT_EQ(document["dipx_version"], DIPX_VERSION);
  EXPECT_EQ(document["signed_by"], nullptr);
  EXPECT_EQ(document["signature_note"].get<std::string>().substr(0, 31), "Nobody signed this certificate.");
  EXPECT_EQ(document["record"]["files"][0],
            json::parse(R"({"name": "r.cfg", "bytes": 100, "sha256": ")" + hash + "\"}"));
  EXPECT_EQ(document["parameters"]["through"], "Dyn11,Yd1");
  EXPECT_EQ(document["notes"][0], "One value is missing.");
  for (const auto& figure : document["figures"]) {
    EXPECT_TRUE(document["definitions"].contains(figure["definition"].get<std::string>())) << figure;
  }
}

TEST(CertificateDocument, ComesBackWithAllParameters) {
  for (const bool page : {false, true}) {
    const Certificate written = by_hand();
    const Certificate read = outputs::certificate_in(page ? certificate_page(written) : certificate_json(written));
    EXPECT_EQ(parameters_json(read.run), parameters_json(some_run()));
    EXPECT_EQ(read.run.options.own_curves[0].steps[1].seconds, std::numeric_limits<double>::infinity());
    EXPECT_FALSE(differences_of(written, read).any());
    EXPECT_EQ(read.figures.size(), written.figures.size());
  }
}

TEST(CertificatePage, NeedsNothingElseAndIsInert) {
  const std::string page = certificate_page(by_hand());
  EXPECT_EQ(page.find("http"), std::string::npos);
  EXPECT_EQ(page.find("<b>"), std::string::npos) << "the name of the curve is not markup";
  EXPECT_NE(page.find("Nobody signed this certificate."), std::string::npos);
  EXPECT_NE(page.find(hash), std::string::npos);
}

struct Damage {
  const char* name;
  void (*damage)(json&);
  const char* complaint;
};

class DamagedCertificate : public testing::TestWithParam<Damage> {};

TEST_P(DamagedCertificate, IsRefusedWithItsPlace) {
  json document = json::parse(certificate_json(by_hand()));
  GetParam().damage(document);
  try {
    outputs::certificate_in(document.dump());
    FAIL() << "it was read";
  } catch (const outputs::BadCertificate& error) {
    EXPECT_EQ(std::string(error.what()),
              std::string(GetParam().complaint) + "; use a certificate as dipx analyse --certificate wrote it");
  }
}

INSTANTIATE_TEST_SUITE_P(
    Places, DamagedCertificate,
    testing::Values(
        Damage{"Format", [](json& d) { d["format"] = "dipx analysis"; }, "format: is not \"dipx certificate\""},
        Damage{"FormatVersion", [](json& d) { d["format_version"] = 2; }, "format_version: is not 1"},
        Damage{"Version", [](json& d) { d.erase("dipx_version"); }, "dipx_version: is missing"},
        Damage{"Files", [](json& d) { d["record"]["files"] = json::array(); }, "record.files: is empty"},
        Damage{"Hash", [](json& d) { d["record"]["files"][0]["sha256"] = "12"; },
               "record.files[0].sha256: is not a SHA-256, which has 64 hexadecimal digits"},
        Damage{"Figures", [](json& d) { d["figures"] = 1; }, "figures: is not a list"},
        Damage{"FigureWithoutName", [](json& d) { d["figures"][3].erase("name"); }, "figures[3].name: is missing"},
        Damage{"FigureWithoutValue", [](json& d) { d["figures"][0].erase("value"); }, "figures[0].value: is missing"},
        Damage{"Value",
               [](json& d) {
                 d["figures"][0]["value"] = {1, 2};
               },
               "figures[0].value: is neither a number nor a text"},
        Damage{"PlusMinus", [](json& d) { d["figures"][1]["plus_minus"] = "much"; },
               "figures[1].plus_minus: is neither a number nor null"},
        Damage{"Parameters", [](json& d) { d["parameters"] = nullptr; }, "parameters: is not an object"},
        Damage{"Threshold", [](json& d) { d["parameters"]["dip_threshold_percent"] = 1000; },
               "parameters.dip_threshold_percent: is not a possible number"},
        Damage{"Frequency", [](json& d) { d["parameters"]["line_frequency_hz"] = 1e-300; },
               "parameters.line_frequency_hz: is not a possible number"},
        Damage{"Rate", [](json& d) { d["parameters"]["sampling_rate_hz"] = 0.5; },
               "parameters.sampling_rate_hz: is not a possible number"},
        Damage{"RateAsText", [](json& d) { d["parameters"]["sampling_rate_hz"] = "6400"; },
               "parameters.sampling_rate_hz: is not a number"},
        Damage{
            "Charset", [](json& d) { d["parameters"]["charset"] = "XYZZY"; },
            "parameters.charset: the character set 'XYZZY' is not known; use a name such as UTF-8, GBK or Windows-1251"},
        Damage{"Stretch", [](json& d) { d["parameters"]["to_s"] = 0.125; }, "parameters.to_s: is not after from_s"},
        Damage{"Channels", [](json& d) { d["parameters"]["channels"] = 1; }, "parameters.channels: is not a text"},
        Damage{"LineToLine", [](json& d) { d["parameters"]["line_to_line"] = 0; },
               "parameters.line_to_line: is neither true nor false"},
        Damage{"NominalKind", [](json& d) { d["parameters"]["nominal_kind"] = "x"; },
               "parameters.nominal_kind: 'x' is not a kind of voltage"},
        Damage{"DeclaredReference",
               [](json& d) {
                 d["parameters"]["nominal_v"] = 0;
                 d["parameters"]["reference"] = "declared";
               },
               "parameters.reference: is the declared voltage, but nominal_v is 0"},
        Damage{"Interruption", [](json& d) { d["parameters"]["interruption_threshold_percent"] = 90; },
               "parameters: --interruption-threshold 90 is not below --dip-threshold 85; an interruption lies within a "
               "dip"},
        Damage{"NoSteps", [](json& d) { d["parameters"]["own_curves"][0]["steps"] = json::array(); },
               "parameters.own_curves.steps: is empty"},
        Damage{
            "Transformer", [](json& d) { d["parameters"]["through"] = "Dyn"; },
            "parameters.through: 'Dyn' does not end in a clock number from 0 to 11; use a vector group such as Dyn11, "
            "Yd1, YNyn0 or Yzn5, with the winding on the monitor's side first"},
        Damage{"NoFigures", [](json& d) { d["figures"] = json::array(); }, "figures: is empty"},
        Damage{"Part", [](json& d) { d["parameters"]["part"] = 1.5; }, "parameters.part: is not a whole number"},
        Damage{"Reference", [](json& d) { d["parameters"]["reference"] = "x"; },
               "parameters.reference: 'x' is not a reference"},
        Damage{"Curve", [](json& d) { d["parameters"]["own_curves"][0]["steps"][1]["seconds"] = 0.05; },
               "parameters.own_curves.steps: its durations do not rise"}),
    [](const auto& damage) { return std::string(damage.param.name); });

TEST(DamagedCertificates, NameTheLineThatIsNotJson) {
  const std::string text = certificate_json(by_hand());
  try {
    outputs::certificate_in(text.substr(0, text.find("\"parameters\"")));
    FAIL() << "it was read";
  } catch (const outputs::BadCertificate& error) {
    EXPECT_EQ(std::string(error.what()).substr(0, 5), "line ");
  }
  EXPECT_THROW(outputs::certificate_in(""), outputs::BadCertificate);
  EXPECT_THROW(outputs::certificate_in("[]"), outputs::BadCertificate);
  EXPECT_THROW(outputs::certificate_in("{\"format\": 1e999}"), outputs::BadCertificate);
}

// --- comparisons -----------------------------------------------------------------------------------------------------

Certificate with(const std::string& name, const outputs::CertifiedFigure& figure) {
  Certificate certificate = by_hand();
  for (auto& one : certificate.figures) {
    if (one.name == name) one = figure;
  }
  return certificate;
}

TEST(Verification, FindsTheSmallestDifference) {
  const Certificate certificate = by_hand();
  EXPECT_FALSE(differences_of(certificate, certificate).any());
  const std::string name = "event 1, segment 1, voltage of A";
  CertifiedFigure changed = named(certificate, name);
  changed.value = 115.001;
  auto lines = differences_of(certificate, with(name, changed)).figures;
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_EQ(lines[0], name + ": 115.0 ± 0.25 V in the certificate, now 115.001 ± 0.25 V, within the uncertainty");
  changed.value = 115.3;
  lines = differences_of(certificate, with(name, changed)).figures;
  EXPECT_EQ(lines.at(0), name + ": 115.0 ± 0.25 V in the certificate, now 115.3 ± 0.25 V, outside the uncertainty");
  changed = named(certificate, name);
  changed.plus_minus = 0.26;
  EXPECT_EQ(differences_of(certificate, with(name, changed)).figures.size(), 1U);
}

TEST(Verification, ListsFiguresThatAreMissingOrNew) {
  const Certificate certificate = by_hand();
  Certificate fewer = certificate;
  fewer.figures.pop_back();
  const std::string name = certificate.figures.back().name;
  EXPECT_EQ(differences_of(certificate, fewer).figures.at(0).substr(0, name.size()), name);
  EXPECT_NE(differences_of(certificate, fewer).figures.at(0).find("now missing"), std::string::npos);
  EXPECT_NE(differences_of(fewer, certificate).figures.at(0).find("not in the certificate"), std::string::npos);
}

TEST(Verification, KnowsARecordByItsContentOnly) {
  const Certificate certificate = by_hand();
  Certificate renamed = certificate;
  renamed.files[0].name = "other.cfg";
  EXPECT_FALSE(differences_of(certificate, renamed).any());
  Certificate other = certificate;
  other.files[0].sha256[0] = 'b';
  EXPECT_TRUE(differences_of(certificate, other).other_record);
  EXPECT_NE(verification_text("c.json", certificate, other).find("not the one of the certificate"), std::string::npos);
}

TEST(Verification, NamesBothVersions) {
  Certificate certificate = by_hand();
  certificate.version = "0.9.0";
  EXPECT_EQ(verification_text("c.json", certificate, by_hand()).substr(0, 35), "The certificate is of dipx 0.9.0; t");
  EXPECT_FALSE(differences_of(certificate, by_hand()).any()) << "another version may agree";
}

}  // namespace
