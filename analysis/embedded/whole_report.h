// Whether a report file of the library holds all lines of its record: the library does not check its writing.
#pragma once

#include <algorithm>
#include <string>

#include "dipx_dll.h"

namespace analysis::embedded {

inline bool is_whole_report(const std::string& report, const dipx_data_struct& record) {
  constexpr int header = 5;
  constexpr int per_event = 8;
  constexpr int per_segment = 12;
  int lines = header;
  for (int i = 0; i < std::min(record.evt_num, +DIPX_EVENT_CAPACITY); i++) {
    const dipx_event_record& event = record.evt_buf[i];
    lines += per_event + per_segment * event.u_min_num + event.SEG_T_num + event.SEG_RMS_T_num;
  }
  return report.ends_with('\n') && std::count(report.begin(), report.end(), '\n') == lines;
}

}  // namespace analysis::embedded
