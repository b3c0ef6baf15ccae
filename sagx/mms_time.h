/** @file
 * The millisecond clock that is used for timing.
 */
#ifndef SAGX_MMS_TIME_H
#define SAGX_MMS_TIME_H

#include "dipx_dll.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Returns the monotonic clock as a 32-bit number. It wraps about every 49.7 days; the difference of two readings, taken
 * in 32-bit arithmetic, remains correct across one wrap.
 *
 * @return milliseconds
 */
DIPX_API int mms_get_ms_time(void);

#ifdef __cplusplus
}
#endif

#endif
