// Tests the counts of a report, which can be worked out by hand from the events.
#include "archive/report.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <sstream>

#include "archive/clock_seconds.h"
#include "archive/open_store.h"
#include "archive/report_html.h"
#include "archive/report_scatter.h"
#include "archive/report_text.h"
#include "archive/store_error.h"
#include "tests/core/working_folder.h"

namespace {

using archive::Row;
using archive::Value;

struct MadeEvent {
  std::string site;
  std::string kind;
  std::string clock;
  double percent;
  double seconds;
  std::string type = {};
  bool segment = false;  ///< whether it has a segment from its start to its end
};

/// Returns the place of a column.
std::size_t place_of(const archive::Table& table, const std::string& name) {
  for (std::size_t i = 0; i < table.columns.size(); i++) {
    if (name == table.columns[i].name) return i;
  }
  throw std::logic_error(name);
}

class ReportTest : public testing::Test {
 protected:
  /// Fills a store with one record for each event.
  static void fill(const std::vector<MadeEvent>& events, const std::string& parameters = "p",
                   const std::string& last_used = "2024-06-01T00:00:00Z") {
    const auto store = archive::open_store("a.db", archive::StoreUse::write);
    archive::StoredUnit unit;
    unit.tables = {{&archive::parameters_table(), {{parameters, std::string("1"), std::string("options"), last_used}}}};
    archive::TableRows analyses{&archive::analyses_table(), {}};
    archive::TableRows rows{&archive::events_table(), {}};
    archive::TableRows segments{&archive::segments_table(), {}};
    for (std::size_t i = 0; i < events.size(); i++) {
      const std::string key = fmt::format("{} {:03}", parameters, i);
      Row analysis(archive::analyses_table().columns.size());
      const auto set = [](Row& row, const archive::Table& table, const char* column, Value value) {
        row[place_of(table, column)] = std::move(value);
      };
      const auto& of_analyses = archive::analyses_table();
      set(analysis, of_analyses, "analysis", key);
      set(analysis, of_analyses, "sha256", key);
      set(analysis, of_analyses, "parameters", parameters);
      set(analysis, of_analyses, "version", std::string("1"));
      set(analysis, of_analyses, "outcome", std::string("analysed"));
      set(analysis, of_analyses, "file", fmt::format("file {}", i));
      set(analysis, of_analyses, "site", events[i].site);
      set(analysis, of_analyses, "start_clock", archive::text(events[i].clock));
      analyses.rows.push_back(std::move(analysis));
      const auto& of_events = archive::events_table();
      Row event(of_events.columns.size());
      set(event, of_events, "analysis", key);
      for (const char* number : {"part", "set_number", "number"}) set(event, of_events, number, archive::whole(1));
      set(event, of_events, "kind", events[i].kind);
      set(event, of_events, "start_s", 1.5);
      set(event, of_events, "start_clock", archive::text(events[i].clock));
      set(event, of_events, "extreme_percent", events[i].percent);
      set(event, of_events, "duration_s", events[i].seconds);
      set(event, of_events, "recorded_s", events[i].seconds);
      set(event, of_events, "cycle_s", 0.02);
      set(event, of_events, "type", archive::text(events[i].type));
      rows.rows.push_back(std::move(event));
      if (!events[i].segment) continue;
      const auto& of_segments = archive::segments_table();
      Row segment(of_segments.columns.size());
      set(segment, of_segments, "analysis", key);
      for (const char* number : {"part", "set_number", "event", "number"}) {
        set(segment, of_segments, number, archive::whole(1));
      }
      set(segment, of_segments, "start_s", 1.5);
      set(segment, of_segments, "end_s", 1.5 + events[i].seconds);
      segments.rows.push_back(std::move(segment));
    }
    unit.tables.push_back(std::move(analyses));
    unit.tables.push_back(std::move(rows));
    unit.tables.push_back(std::move(segments));
    store->write({unit});
  }
  static archive::Report report(const archive::ReportOptions& options = {}) {
    return archive::report_of(*archive::open_store("a.db", archive::StoreUse::read), options);
  }

  tests::WorkingFolder folder;
};

TEST_F(ReportTest, CountsEventsInTheTablesOfTheStandards) {
  fill({{"North", "dip", "2024-01-01T10:00:00.000000", 85, 0.15, "A"},
        {"North", "dip", "2024-01-02T10:00:00.000000", 45, 0.3, "C"},
        {"North", "dip", "2024-02-03T10:00:00.000000", 2, 2, ""},
        {"South", "dip", "2024-02-03T10:00:30.000000", 65, 0.06, "A"},
        {"South", "swell", "2024-02-04T10:00:00.000000", 125, 1, ""},
        {"South", "interruption", "2024-02-05T10:00:00.000000", 1, 30, ""}});
  const auto counted = report();
  EXPECT_EQ(counted.from, "2024-01-01");
  EXPECT_EQ(counted.to, "2024-02-05");
  ASSERT_EQ(counted.sites.size(), 2U);
  const auto& north = counted.sites[0];
  EXPECT_EQ(north.site, "North");
  EXPECT_EQ(north.records, 3U);
  EXPECT_EQ(north.en50160_dips, (std::map<std::string, std::size_t>{{"A1", 1}, {"C2", 1}, {"X4", 1}}));
  EXPECT_EQ(north.unipede, (std::map<std::string, std::size_t>{{"10 to 30 % for 100 to 500 ms", 1},
                                                               {"30 to 60 % for 100 to 500 ms", 1},
                                                               {"60 to 100 % for 1 to 3 s", 1}}));
  EXPECT_EQ(north.months, (std::map<std::string, std::size_t>{{"2024-01", 2}, {"2024-02", 1}}));
  EXPECT_EQ(north.types, (std::map<std::string, std::size_t>{{"A", 1}, {"C", 1}, {"unknown", 1}}));
  // Of 85, 45 and 2 %, three are below 90 %, two below 70 % and 50 %, and one below 10 %.
  const std::array<std::size_t, 4> below = {3, 2, 2, 1};
  for (std::size_t i = 0; i < below.size(); i++) EXPECT_EQ(north.sarfi[i].dips, below[i]);
  const auto& south = counted.sites[1];
  EXPECT_EQ(south.en50160_dips, (std::map<std::string, std::size_t>{{"C1", 1}}));
  EXPECT_EQ(south.en50160_swells, (std::map<std::string, std::size_t>{{"S2", 1}}));
  EXPECT_EQ(south.interruption_s, (std::vector<std::optional<double>>{30.0}));
  EXPECT_EQ(counted.all.dips, 4U);
  EXPECT_EQ(counted.all.sarfi[1].dips, 3U);
  ASSERT_EQ(counted.worst.size(), 4U);
  EXPECT_EQ(counted.worst[0].file, "file 2");
  EXPECT_EQ(counted.worst[3].file, "file 0");
}

TEST_F(ReportTest, CountsEventsOfASiteWithinTheWindowAsOne) {
  // 59 s after the first event is within its minute; 60 s begins another one, whatever came between.
  fill({{"North", "dip", "2024-01-01T23:59:30.000000", 80, 0.1, ""},
        {"North", "dip", "2024-01-02T00:00:29.000000", 30, 0.1, ""},
        {"North", "dip", "2024-01-02T00:00:30.000000", 50, 0.1, ""},
        {"North", "swell", "2024-01-01T23:59:31.000000", 115, 0.1, ""},
        {"South", "dip", "2024-01-01T23:59:31.000000", 60, 0.1, ""}});
  const auto counted = report();
  EXPECT_EQ(counted.all.dips, 3U);
  EXPECT_EQ(counted.all.swells, 1U);
  EXPECT_EQ(counted.sites[0].dips, 2U);
  ASSERT_EQ(counted.worst.size(), 3U);
  EXPECT_EQ(counted.worst[0].terms.percent, 30);
  EXPECT_EQ(counted.worst[0].merged, 2U);
  archive::ReportOptions options;
  options.window_s = 0;
  EXPECT_EQ(report(options).all.dips, 4U);
  options.window_s = 3600;
  EXPECT_EQ(report(options).all.dips, 2U);
}

TEST_F(ReportTest, ComparesTimesOfDifferentZones) {
  fill({{"North", "dip", "2024-01-01T12:00:00.000000+05:30", 80, 0.1, ""},
        {"North", "dip", "2024-01-01T06:30:20.000000+00:00", 70, 0.1, ""},
        {"North", "dip", "2024-01-01T12:00:20.000000+00:00", 60, 0.1, ""}});
  EXPECT_EQ(report().all.dips, 2U);
  EXPECT_EQ(archive::clock_seconds("1970-01-02T00:00:01.5"), 86401.5);
  EXPECT_EQ(archive::clock_seconds("2024-01-01T00:00:00-01:00"), *archive::clock_seconds("2024-01-01T01:00:00"));
  EXPECT_EQ(archive::clock_seconds("2023-02-29T00:00:00"), std::nullopt);
  EXPECT_EQ(archive::clock_seconds(""), std::nullopt);
  EXPECT_EQ(archive::clock_seconds("2024-01-01T00:00:nan"), std::nullopt);
  EXPECT_EQ(archive::clock_seconds("2024-01-01T00:00:inf"), std::nullopt);
}

TEST_F(ReportTest, KeepsToThePeriod) {
  fill({{"North", "dip", "2024-01-01T00:00:00.000000", 80, 0.1, ""},
        {"North", "dip", "2024-01-31T23:59:59.000000", 70, 0.1, ""},
        {"North", "dip", "2024-02-01T00:00:00.000000", 60, 0.1, ""},
        {"North", "dip", "", 50, 0.1, ""}});
  archive::ReportOptions options;
  options.window_s = 0;  // two of them are a second apart
  EXPECT_EQ(report(options).all.dips, 4U);
  options.from = "2024-01-01";
  options.to = "2024-01-31";
  const auto january = report(options);
  EXPECT_EQ(january.all.dips, 2U);
  EXPECT_EQ(january.all.records, 2U);
  EXPECT_EQ(january.undated, 1U);
}

TEST_F(ReportTest, CountsTheResultsOfTheParametersThatWereUsedLast) {
  fill({{"North", "dip", "2024-01-01T00:00:00.000000", 80, 0.1, ""}}, "p", "2024-06-01T00:00:00Z");
  fill({{"North", "dip", "2024-01-01T00:00:00.000000", 80, 0.1, ""},
        {"North", "dip", "2024-01-03T00:00:00.000000", 80, 0.1, ""}},
       "q", "2024-06-02T00:00:00Z");
  EXPECT_EQ(report().parameters, "q");
  EXPECT_EQ(report().all.dips, 2U);
  EXPECT_EQ(report().others, 1U);
  archive::ReportOptions options;
  options.parameters = "p";
  EXPECT_EQ(report(options).all.dips, 1U);
  options.parameters = "none";
  EXPECT_THROW(report(options), archive::StoreError);
}

TEST_F(ReportTest, IsWrittenAsTextAndAsJson) {
  fill({{"North", "dip", "2024-01-01T10:00:00.000000", 85, 0.15, "A"},
        {"South", "dip", "2024-01-01T10:00:00.000000", 45, 0.15, "A"}});
  const std::string text = archive::report_text(report());
  EXPECT_TRUE(text.starts_with("Events from 2024-01-01 to 2024-01-01, dipx 1\n")) << text;
  EXPECT_NE(text.find("SARFI-90 1.00, SARFI-70 0.50, SARFI-50 0.50, SARFI-10 0.00"), std::string::npos) << text;
  EXPECT_NE(text.find("\n  80 to 90 %                      1          0          0          0          0\n"),
            std::string::npos)
      << text;
  const auto json = nlohmann::json::parse(archive::report_json(report()));
  EXPECT_EQ(json["all"]["en50160_dips"], (nlohmann::json{{"A1", 1}, {"C1", 1}}));
  EXPECT_EQ(json["sarfi_per_site"]["70"], 0.5);
  EXPECT_EQ(json["sites"][1]["site"], "South");
  EXPECT_EQ(json["worst_dips"][0]["percent"], 45);
}

TEST_F(ReportTest, CountsDipsBelowTheCurves) {
  // ITIC: down to 0 % for 20 ms, 70 % for 0.5 s, 80 % for 10 s, 90 % without an end. SEMI F47: 50 % from 50 ms for
  // 0.2 s, 70 % for 0.5 s, 80 % for 1 s.
  fill({{"North", "dip", "2024-01-01T00:00:00.000000", 69, 0.1, ""},      // below ITIC only
        {"North", "dip", "2024-01-02T00:00:00.000000", 49, 0.1, ""},      // below both
        {"North", "dip", "2024-01-03T00:00:00.000000", 10, 0.02, ""},     // above ITIC, shorter than SEMI F47
        {"North", "dip", "2024-01-04T00:00:00.000000", 85, 20, ""},       // below ITIC, longer than SEMI F47
        {"North", "dip", "2024-01-05T00:00:00.000000", 75, 0.8, ""},      // below both
        {"North", "swell", "2024-01-06T00:00:00.000000", 60, 0.8, ""}});  // not a dip
  EXPECT_EQ(report().sites.at(0).below_itic, 4U);
  EXPECT_EQ(report().sites.at(0).below_semi, 2U);
  const auto json = nlohmann::json::parse(archive::report_json(report()));
  EXPECT_EQ(json["sarfi_per_site"]["itic"], 4);
  EXPECT_EQ(json["all"]["dips_below_semi_f47"], 2);
}

TEST_F(ReportTest, CombinesDipsOfSeveralSitesIntoOneOfTheNetwork) {
  fill({{"North", "dip", "2024-01-01T00:00:00.000000", 80, 0.1, ""},
        {"South", "dip", "2024-01-01T00:00:00.400000", 30, 0.2, ""},
        {"West", "dip", "2024-01-01T00:00:00.999000", 70, 0.3, ""},
        {"West", "dip", "2024-01-01T00:02:00.000000", 70, 0.1, ""},  // alone
        {"North", "dip", "2024-01-01T00:04:00.000000", 60, 0.1, ""},
        {"South", "dip", "2024-01-01T00:04:01.000000", 50, 0.1, ""},  // a second later is too late
        {"South", "dip", "", 50, 0.1, ""}});
  const auto counted = report();
  EXPECT_EQ(counted.all.dips, 7U);
  EXPECT_EQ(counted.network_dips, 5U);
  ASSERT_EQ(counted.network.size(), 1U);
  EXPECT_EQ(counted.network[0].deepest.site, "South");
  EXPECT_EQ(counted.network[0].sites, (std::vector<std::string>{"North", "South", "West"}));
  EXPECT_EQ(counted.network[0].longest_s, 0.3);
  archive::ReportOptions options;
  options.network_window_s = 1.5;
  EXPECT_EQ(report(options).network_dips, 4U);
  options.network_window_s = 0;
  EXPECT_EQ(report(options).network_dips, 7U);
  const std::string text = archive::report_text(counted);
  EXPECT_NE(text.find("Dips that begin within 1 s at several sites are one in the network: 5 dips\n"),
            std::string::npos)
      << text;
}

TEST_F(ReportTest, CorrectsClocksThatDifferBeforeItCombinesDips) {
  // The clock of South is 5 s ahead, as three dips of equal lengths say. A fourth one has no segment.
  fill({{"North", "dip", "2024-01-01T00:00:00.000000", 80, 0.1, "", true},
        {"South", "dip", "2024-01-01T00:00:05.000000", 60, 0.1, "", true},
        {"North", "dip", "2024-01-02T00:00:00.000000", 80, 0.2, "", true},
        {"South", "dip", "2024-01-02T00:00:05.000000", 60, 0.2, "", true},
        {"North", "dip", "2024-01-03T00:00:00.000000", 80, 0.3, "", true},
        {"South", "dip", "2024-01-03T00:00:05.000000", 60, 0.3, "", true},
        {"North", "dip", "2024-01-04T00:00:00.000000", 80, 0.3, ""},
        {"South", "dip", "2024-01-04T00:00:05.500000", 60, 0.4, ""}});
  const auto counted = report();
  ASSERT_EQ(counted.clocks.size(), 1U);
  EXPECT_EQ(counted.clocks[0].site, "South");
  EXPECT_EQ(counted.network_dips, 4U);
  EXPECT_EQ(counted.network.size(), 4U);
  const std::string line = "South: 5.000 s ahead of the clock of North, by 3 dips (standard deviation 0.000 s)";
  EXPECT_NE(archive::report_text(counted).find("  " + line + "\n"), std::string::npos);
  EXPECT_NE(archive::report_html(counted, [](const std::string&) { return std::string(); }).find(line),
            std::string::npos);
  const auto json = nlohmann::json::parse(archive::report_json(counted));
  EXPECT_EQ(json["clocks"][0]["ahead_s"], 5);
  EXPECT_EQ(json["clocks"][0]["reference_site"], "North");
  archive::ReportOptions options;
  options.clocks_as_recorded = true;
  EXPECT_TRUE(report(options).clocks.empty());
  EXPECT_EQ(report(options).network_dips, 8U);
  options.clocks_as_recorded = false;
  options.from = "2024-01-04";  // the other days still tell of the clocks
  EXPECT_EQ(report(options).network_dips, 1U);
}

TEST_F(ReportTest, TakesTheFirstEventOfAWindowForTheNetwork) {
  // At North the deeper one of two dips that count as one comes later; South has seen the first one.
  fill({{"North", "dip", "2024-01-01T00:00:00.000000", 80, 0.1, ""},
        {"North", "dip", "2024-01-01T00:00:30.000000", 40, 0.1, ""},
        {"South", "dip", "2024-01-01T00:00:00.100000", 60, 0.1, ""}});
  EXPECT_EQ(report().network_dips, 1U);
  ASSERT_EQ(report().network.size(), 1U);
  EXPECT_EQ(report().network[0].deepest.terms.percent, 40);
}

TEST_F(ReportTest, CountsInterruptionsByTheirDuration) {
  fill({{"North", "interruption", "2024-01-01T00:00:00.000000", 1, 1, ""},
        {"North", "interruption", "2024-01-02T00:00:00.000000", 1, 1.001, ""},
        {"North", "interruption", "2024-01-03T00:00:00.000000", 1, 180, ""},
        {"North", "interruption", "2024-01-04T00:00:00.000000", 1, 181, ""},
        {"North", "interruption", "2024-01-05T00:00:00.000000", 1, 60, ""}});
  using Counts = std::vector<std::pair<std::string, std::size_t>>;
  EXPECT_EQ(archive::interruptions_by_duration(report().all),
            (Counts{{"to 1 s", 1}, {"1 s to 1 min", 2}, {"1 to 3 min", 1}, {"longer than 3 min", 1}, {"unknown", 0}}));
  EXPECT_NE(archive::report_text(report()).find(
                "Interruptions last      to 1 s: 1, 1 s to 1 min: 2, 1 to 3 min: 1, longer than 3 min: 1\n"),
            std::string::npos);
}

TEST_F(ReportTest, ListsTheHighestSwells) {
  fill({{"North", "swell", "2024-01-01T00:00:00.000000", 115, 1, ""},
        {"North", "swell", "2024-01-02T00:00:00.000000", 130, 1, ""}});
  ASSERT_EQ(report().worst_swells.size(), 2U);
  EXPECT_EQ(report().worst_swells[0].terms.percent, 130);
  EXPECT_TRUE(report().worst.empty());
}

TEST_F(ReportTest, IsWrittenAsATableWithARowForEachSite) {
  fill({{"North, bay 1", "dip", "2024-01-01T10:00:00.000000", 85, 0.15, "A"},
        {"South", "dip", "2024-01-01T11:00:00.000000", 45, 0.15, "A"}});
  const std::string csv = archive::report_csv(report());
  std::vector<std::string> lines;
  std::istringstream in(csv);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  ASSERT_EQ(lines.size(), 4U);
  EXPECT_TRUE(lines[0].starts_with("site,records,dips,swells,interruptions,dips_below_90_percent,")) << lines[0];
  // Records, dips, swells, interruptions; below 90, 70, 50 and 10 %; below ITIC and SEMI F47.
  EXPECT_TRUE(lines[1].starts_with("\"North, bay 1\",1,1,0,0,1,0,0,0,0,0,")) << lines[1];
  EXPECT_TRUE(lines[2].starts_with("South,1,1,0,0,1,1,1,0,1,1,")) << lines[2];
  EXPECT_TRUE(lines[3].starts_with("all,2,2,0,0,2,1,1,0,1,1,")) << lines[3];
  const auto commas = [](const std::string& line) { return std::count(line.begin(), line.end(), ','); };
  EXPECT_EQ(commas(lines[0]), commas(lines[2]));
  EXPECT_EQ(commas(lines[0]), commas(lines[3]));
}

TEST_F(ReportTest, IsWrittenAsAPageThatNoTextCanBreak) {
  fill({{"<North> & \"bay\"", "dip", "2024-01-01T10:00:00.000000", 85, 0.15, "A"},
        {"South", "swell", "2024-01-01T11:00:00.000000", 125, 0.15, ""}});
  const std::string page = archive::report_html(report(), [](const std::string& file) {
    return file == "file 0" ? std::string("file%200.html") : std::string();
  });
  EXPECT_EQ(page.find("<North>"), std::string::npos);
  EXPECT_NE(page.find("&lt;North&gt; &amp;"), std::string::npos);
  const auto number_of = [&](const std::string& what) {
    std::size_t count = 0;
    for (auto at = page.find(what); at != page.npos; at = page.find(what, at + 1)) count++;
    return count;
  };
  EXPECT_EQ(number_of("<circle "), 2U);
  // The record with a page is linked from its point and from the table of the worst dips.
  EXPECT_EQ(number_of("href=\"file%200.html\""), 2U);
  EXPECT_EQ(number_of("<table"), number_of("</table>"));
  EXPECT_EQ(number_of("https://") + number_of("http://"), 0U);
}

TEST_F(ReportTest, DrawsTheMostSevereEventsIfThereAreTooMany) {
  std::vector<archive::ReportedEvent> events(10);
  for (std::size_t i = 0; i < events.size(); i++) {
    events[i].kind = i < 5 ? "dip" : "swell";
    events[i].terms.percent = i < 5 ? 10.0 * static_cast<double>(i) : 110 + static_cast<double>(i);
  }
  const auto drawn = archive::drawn_events(events, 4);
  ASSERT_EQ(drawn.size(), 4U);
  EXPECT_EQ(drawn[0].terms.percent, 0);
  EXPECT_EQ(drawn[1].terms.percent, 10);
  EXPECT_EQ(drawn[2].terms.percent, 119);
  EXPECT_EQ(drawn[3].terms.percent, 118);
  EXPECT_EQ(archive::drawn_events(events, 10).size(), 10U);
}

TEST_F(ReportTest, OfAnEmptyStoreHasNoEvents) {
  archive::open_store("a.db", archive::StoreUse::write);
  EXPECT_EQ(report().all.dips, 0U);
  EXPECT_TRUE(archive::report_text(report()).starts_with("No event has a date"));
}

}  // namespace
