/** @file
 * The analysis driver and its input.
 */
#ifndef SAGX_SIGNAL_ACQUISITION_H
#define SAGX_SIGNAL_ACQUISITION_H

#include "dipx_dll.h"

#ifdef __cplusplus
extern "C" {
#endif

/** @name Input of the next analysis
 * Set by dipx_fun and sagx_init_from_samples. The arrays belong to the host.
 * @{ */
extern DIPX_API int sample_input_number;  /**< samples per phase */
extern DIPX_API int sample_input_smprate; /**< samples per cycle */
extern DIPX_API float* psample_input_va;  /**< samples of phase A, volts; only read */
extern DIPX_API float* psample_input_vb;  /**< the same, phase B */
extern DIPX_API float* psample_input_vc;  /**< the same, phase C */
/** @} */

/**
 * Analyses the current input and leaves the dips in new_dipx_buf and the whole record in dq_rms_buf (dq_dipx.h).
 * Allocates the two working records if they do not exist, and keeps them. Accepts 32 to 128 samples per cycle and two
 * to 3000 cycles, at most 384000 samples. Other input is refused with a printed line (missing arrays without one), and
 * so are dips that cannot be analysed. A refused run leaves zeroed results and dq_rms_buf->evt_num unchanged; a run
 * that cannot allocate memory leaves the results unchanged.
 *
 * @param dipx_data ignored; may be null
 */
DIPX_API void dq_dipx_new(dipx_data_struct* dipx_data);

#ifdef __cplusplus
}
#endif

#endif
