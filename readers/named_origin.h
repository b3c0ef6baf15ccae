// The origin of a record as its file's name states it by IEEE C37.232 (COMNAME).
#pragma once

#include <string>

#include "readers/record.h"

namespace readers {

/// Fills station, device, start time and time zone where the record does not have them, if the name of its file is
/// "date,time,time code,station,device,company[,...]", such as "140108,123006250,+5h30,North,Feeder 3,Grid.cfg": the
/// date is YYMMDD or YYYYMMDD, and the time HHMMSS with up to six decimals. A note says so. Other names change nothing.
void take_named_origin(Record& record, const std::string& file_name);

}  // namespace readers
