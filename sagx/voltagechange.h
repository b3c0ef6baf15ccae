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
 * Largest absolute slope of a stretch of an RMS curve. The first difference is left out.
 *
 * @param v RMS values, volts, one per sample
 * @param num number of values
 * @param sample samples per 20 ms cycle; with 0 a sample lasts for ever
 * @return volts per second; 0 for two values or less, for a `sample` of 0 and for a null pointer
 */
DIPX_API float voltagechange(float* v, unsigned int num, unsigned int sample);

#ifdef __cplusplus
}
#endif

#endif
