// The time of day and the date at a place in a record, where its file gives the time of the first sample.
#pragma once

#include <string>

#include "readers/record.h"

namespace readers {

/// ISO 8601 to the microsecond, with the zone where the file gives it: "2014-01-08T12:30:06.250000+05:30". `seconds`
/// count from the record's first sample. Empty when the file gives no date and time that can be read.
///
/// COMTRADE files of revision 1991 write month/day/year, later ones day/month/year; a number above 12 decides against
/// that order.
std::string iso_time(const Record& record, double seconds);

/// Whether day and month of the record's start could be exchanged, so that only the format's revision tells them apart.
bool has_ambiguous_date(const Record& record);

}  // namespace readers
