// Writes a report as text, as JSON and as CSV.
#pragma once

#include <string>
#include <vector>

#include "archive/report.h"

namespace archive {

/// Returns the report as text for people. Lines end in "\n".
std::string report_text(const Report& report);

/// Returns a row for each site, and one for all of them, with all counts, as CSV (RFC 4180) with a heading.
std::string report_csv(const Report& report);

/// Returns what the report is about, in a few lines: the period, how events were counted, and what was left out.
std::string report_heading(const Report& report);

/// Returns the name of a site for people; "(without a name)" if it is empty.
std::string site_name(const std::string& site);

/// Returns by how much a clock is ahead of another one, or behind it, in a line.
std::string clock_line(const ClockOffset& clock);

/// Returns the ten network events with the lowest residual voltages.
std::vector<NetworkEvent> deepest_of(std::vector<NetworkEvent> events);

/// Returns the report as one JSON document with a final line feed.
std::string report_json(const Report& report);

}  // namespace archive
