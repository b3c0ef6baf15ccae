/* Rate of voltage change. */
#ifndef SAGX_VOLTAGECHANGE_H
#define SAGX_VOLTAGECHANGE_H

#include "dipx_dll.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Largest absolute slope of `num` RMS values v, one per sample, at `sample` samples per 20 ms cycle: volts per second.
 * The first difference is left out. 0 for two values or less and for a null pointer. */
DIPX_API float voltagechange(float* v, unsigned int num, unsigned int sample);

#ifdef __cplusplus
}
#endif

#endif
