// Counts the events of a store in the tables of standards, for each site and for all of them.
#pragma once

#include <array>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "archive/clock_offsets.h"
#include "archive/store.h"
#include "assess/event_terms.h"

namespace archive {

struct ReportOptions {
  std::string from;      ///< the first day, "2024-01-01"; empty: from the first event on
  std::string to;        ///< the last day; empty: to the last event
  double window_s = 60;  ///< events of a site that begin within this time of the first of them count as one; 0: none do
  double network_window_s =
      1;  ///< dips of several sites that begin within this time make one network event; 0: none do
  bool clocks_as_recorded = false;  ///< clocks that differ are not corrected when dips of several sites are combined
  std::string parameters;           ///< those of this set of parameters; empty: the set that was used last
};

/// An event, as reports need it.
struct ReportedEvent {
  std::string sha256;
  std::string file;
  std::string site;
  std::string kind;   ///< dip, swell or interruption
  std::string clock;  ///< date and time of its start; empty if the record does not give it
  std::string type;   ///< A to G; empty if unknown
  assess::EventTerms terms;
  std::optional<double> time_s;   ///< its start in seconds, comparable among events with a clock
  std::optional<double> first_s;  ///< start of the first event that counts as this one
  std::size_t merged = 1;         ///< number of events that count as this one
};

/// Dips that several sites have seen at the same time, by the deepest of them.
struct NetworkEvent {
  ReportedEvent deepest;
  std::vector<std::string> sites;   ///< in the order in which they saw it
  std::optional<double> longest_s;  ///< the longest duration at a site; empty if one is not known
};

/// A record, a set or a part that could not be analysed.
struct Refused {
  std::string file;
  std::string reason;
  std::string message;
};

/// A limit of SARFI, per cent, and the number of dips below it.
struct Sarfi {
  int percent;
  std::size_t dips;
};

/// The counts for one site or for all of them.
struct SiteReport {
  std::string site;         ///< empty: the records name no site
  std::size_t records = 0;  ///< that were analysed
  std::size_t dips = 0;     ///< after aggregation, as all counts
  std::size_t swells = 0;
  std::size_t interruptions = 0;
  std::map<std::string, std::size_t> en50160_dips;    ///< by cell, "A1" to "X5"; "outside" for others
  std::map<std::string, std::size_t> en50160_swells;  ///< by cell, "S1" to "T3"; "outside" for others
  std::map<std::string, std::size_t> unipede;         ///< by cell, "30 to 60 % for 100 to 500 ms"; "outside" for others
  std::array<Sarfi, 4> sarfi{{{90, 0}, {70, 0}, {50, 0}, {10, 0}}};
  std::size_t below_itic = 0;                         ///< dips below the ITIC curve, for SARFI-ITIC of IEEE Std 1564
  std::size_t below_semi = 0;                         ///< dips below the curve of SEMI F47, for SARFI-SEMI
  std::map<std::string, std::size_t> months;          ///< dips by month, "2024-01"
  std::map<std::string, std::size_t> types;           ///< dips by type; "unknown" for others
  std::vector<std::optional<double>> interruption_s;  ///< duration of each interruption; none if it is not known
};

struct Report {
  std::string from;  ///< the first and the last day of the period, as asked for or as found; empty: no event has a date
  std::string to;
  double window_s = 0;
  std::string parameters;
  std::string version;
  std::string options;      ///< the options of this set of parameters
  std::size_t others = 0;   ///< other sets of parameters in the store, whose results are not counted
  std::size_t undated = 0;  ///< events that are left out because their records give no date, while a period was chosen
  std::vector<SiteReport> sites;
  SiteReport all;                           ///< the sums of all sites
  std::vector<ReportedEvent> events;        ///< after aggregation, by site, kind and time
  std::vector<ReportedEvent> worst;         ///< the ten dips with the lowest residual voltages
  std::vector<ReportedEvent> worst_swells;  ///< the ten swells with the highest voltages
  double network_window_s = 0;
  std::size_t network_dips = 0;       ///< dips, each network event counted once
  std::vector<NetworkEvent> network;  ///< by time
  std::vector<ClockOffset> clocks;    ///< those that could be compared, by site
  std::map<std::string, std::size_t> refused;
  std::vector<Refused> refusals;  ///< up to a thousand of them
};

/// Evaluates a store. Throws StoreError, also if it has no such set of parameters.
Report report_of(Store& store, const ReportOptions& options);

/// Returns the number of interruptions by their duration: "to 1 s", "1 s to 1 min", "1 to 3 min", "longer than 3 min"
/// and "unknown", in this order. EN 50160 calls interruptions of up to 3 minutes short.
std::vector<std::pair<std::string, std::size_t>> interruptions_by_duration(const SiteReport& site);

/// Returns whether one event is more severe than another one of its kind.
bool is_worse(const ReportedEvent& one, const ReportedEvent& other);

/// Returns whether a text is a date such as "2024-02-29".
bool is_date(const std::string& text);

}  // namespace archive
