/** @file
 * Rate of voltage change.
 */
#ifndef SAGX_VOLTAGECHANGE_H
#define SAGX_VOLTAGECHANGE_H

#include "dipx_dll.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Returns the largest absolute slope of a section of an RMS curve. The first difference is not used.
 *
 * @param v RMS values, volts, one per sample
 * @param num number of values
 * @param sample samples per 20 ms cycle
 * @return volts per second; 0 for two values or fewer, for a `sample` of 0 and for a null pointer
 */
DIPX_API float voltagechange(float* v, unsigned int num, unsigned int sample);

#ifdef __cplusplus
}
#endif

#endif
