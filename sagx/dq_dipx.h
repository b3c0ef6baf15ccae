/** @file
 * The working records of the analysis. They are plain aggregates of fixed capacity, sized for the largest input, so
 * that an analysis allocates nothing per sample or per dip. Each list is used from element 0 up to the count next to
 * it; entries beyond that have no meaning.
 *
 * Units are volts, seconds, degrees and sample positions. A window is the section of the record around one dip.
 */
#ifndef SAGX_DQ_DIPX_H
#define SAGX_DQ_DIPX_H

#include <stddef.h>

#include "dipx_dll.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Capacities of the working records. */
enum {
  DQ_RECORD_CAPACITY = 384000, /**< longest record: 3000 cycles of 128 samples */
  DQ_WINDOW_CAPACITY = 70400,  /**< longest window of the dq transform */
  DQ_FILTER_CAPACITY = 70467,  /**< the same with space for the longest structuring element */
  DQ_FILTER_ROWS = 128,        /**< longest structuring element */
  DQ_LIST_CAPACITY = 32,       /**< dips per record and segments per dip */
  DQ_BOUNDARY_CAPACITY = 30    /**< threshold crossings kept per record */
};

/** A phasor, RMS volts. */
typedef struct vec_struct {
  float r; /**< real part */
  float x; /**< imaginary part */
} vec_struct;

/** The whole record: samples, one-cycle RMS and dip boundaries. Arrays of samples hold `smp_num` entries. */
typedef struct dq_dipx_rms {
  float va[DQ_RECORD_CAPACITY];   /**< samples of phase A, volts */
  float vb[DQ_RECORD_CAPACITY];   /**< the same, phase B */
  float vc[DQ_RECORD_CAPACITY];   /**< the same, phase C */
  float t[DQ_RECORD_CAPACITY];    /**< time of each sample, seconds from the record's first, at 20 ms per cycle */
  float rmsa[DQ_RECORD_CAPACITY]; /**< RMS of phase A over the cycle that ends at each sample, volts */
  float rmsb[DQ_RECORD_CAPACITY]; /**< the same, phase B */
  float rmsc[DQ_RECORD_CAPACITY]; /**< the same, phase C */
  float ua_max;                   /**< largest RMS of the record, phase A, volts */
  float ub_max;                   /**< the same, phase B */
  float uc_max;                   /**< the same, phase C */
  int smp_num;                    /**< samples per phase */
  int smprate;                    /**< samples per cycle, 32 to 128 */
  float un;                       /**< nominal (pre-event) voltage, RMS volts */
  float ut;                       /**< dip threshold, volts: 0.9 `un` */
  float f;                        /**< nominal frequency, hertz: 50 */
  int T0[DQ_BOUNDARY_CAPACITY];   /**< threshold crossings, record positions; 0 marks one that was merged away */
  int T[DQ_BOUNDARY_CAPACITY];    /**< dip boundaries, record positions: falls and recoveries in turn */
  int evt_num;                    /**< entries of T; odd where the last dip has not recovered */
} dq_dipx_rms;

/**
 * One dip's window, which is reused for each dip in turn. Arrays over samples hold `num` entries; those of the dq
 * stages hold at most 70400. A window of more than 500 cycles is transformed in sections, and its dq arrays hold the
 * last section, from entry 0 on.
 */
typedef struct dq_data {
  float t[DQ_RECORD_CAPACITY];      /**< time, seconds from the window's first sample, at 20 ms per cycle */
  float Va[DQ_RECORD_CAPACITY];     /**< samples of phase A, volts */
  float Vb[DQ_RECORD_CAPACITY];     /**< the same, phase B */
  float Vc[DQ_RECORD_CAPACITY];     /**< the same, phase C */
  float rms_ua[DQ_RECORD_CAPACITY]; /**< one-cycle RMS of phase A, volts */
  float rms_ub[DQ_RECORD_CAPACITY]; /**< the same, phase B */
  float rms_uc[DQ_RECORD_CAPACITY]; /**< the same, phase C */
  /** lowest phase per sample, volts, taken from the RMS or the dq magnitudes, whichever was segmented last */
  float u[DQ_RECORD_CAPACITY];
  float upd[DQ_WINDOW_CAPACITY];               /**< d component of the most recently transformed phase, smoothed */
  float upq[DQ_WINDOW_CAPACITY];               /**< q component, smoothed */
  float upd1[DQ_WINDOW_CAPACITY];              /**< d component, raw */
  float upq1[DQ_WINDOW_CAPACITY];              /**< q component, raw */
  float eroder[DQ_FILTER_CAPACITY];            /**< morphological filter: erosion */
  float dilata[DQ_FILTER_CAPACITY];            /**< dilation */
  float OPEN[DQ_FILTER_CAPACITY];              /**< opening */
  float CLOSE[DQ_FILTER_CAPACITY];             /**< closing */
  float TEMP[DQ_FILTER_CAPACITY];              /**< intermediate */
  float OC[DQ_FILTER_CAPACITY];                /**< closing of the opening */
  float CO[DQ_FILTER_CAPACITY];                /**< opening of the closing */
  float A[DQ_FILTER_ROWS][DQ_FILTER_CAPACITY]; /**< scratch of the filter */
  float B[DQ_FILTER_CAPACITY];                 /**< scratch of the filter */
  float ua[DQ_WINDOW_CAPACITY];                /**< RMS magnitude of phase A by the dq transform, volts */
  float ub[DQ_WINDOW_CAPACITY];                /**< the same, phase B */
  float uc[DQ_WINDOW_CAPACITY];                /**< the same, phase C */
  float angle_a[DQ_WINDOW_CAPACITY];           /**< phase angle of phase A, degrees */
  float angle_b[DQ_WINDOW_CAPACITY];           /**< the same, phase B */
  float angle_c[DQ_WINDOW_CAPACITY];           /**< the same, phase C */
  vec_struct vec_ua[DQ_WINDOW_CAPACITY];       /**< phasor of phase A */
  vec_struct vec_ub[DQ_WINDOW_CAPACITY];       /**< the same, phase B */
  vec_struct vec_uc[DQ_WINDOW_CAPACITY];       /**< the same, phase C */
  float hold_time;                             /**< spare; never written */
  float ua0[DQ_WINDOW_CAPACITY];               /**< magnitude of phase A before median smoothing, volts */
  float ub0[DQ_WINDOW_CAPACITY];               /**< the same, phase B */
  float uc0[DQ_WINDOW_CAPACITY];               /**< the same, phase C */
  /** SVD feature of phase A, volts: per sample for the dq magnitudes, per position for the RMS curves */
  float feasvd_a[DQ_RECORD_CAPACITY];
  float feasvd_b[DQ_RECORD_CAPACITY]; /**< the same, phase B */
  float feasvd_c[DQ_RECORD_CAPACITY]; /**< the same, phase C */
  unsigned int num;                   /**< samples in the window */
  unsigned int smp;                   /**< samples per cycle */
} dq_data;

/**
 * The results of one dip. Positions refer to the record where stated, otherwise to the dip's window. The RMS lists are
 * filled for windows of more than 500 cycles; `seg_idx`, `seg_tmp`, `T0`, `D` and the `pos` lists are filled for the
 * others.
 */
typedef struct dq_dipx_struct {
  int smp_num;                   /**< always 0 */
  int smprate;                   /**< samples per cycle */
  int seg_num;                   /**< boundaries of the short-window segmentation, at most 32 */
  int seg_idx[DQ_LIST_CAPACITY]; /**< the boundaries of the short-window segmentation */
  int seg_tmp[DQ_LIST_CAPACITY]; /**< threshold crossings that survived it */
  float un;                      /**< nominal voltage, RMS volts */
  float ut;                      /**< dip threshold, volts: 0.9 `un` */
  float ud;                      /**< depth, volts: `un` minus the window's lowest RMS */
  float f;                       /**< nominal frequency, hertz: 50 */
  float POW_a;                   /**< point on wave at the start of the dip, phase A, degrees */
  float POW_b;                   /**< the same, phase B */
  float POW_c;                   /**< the same, phase C */
  int Trms[DQ_LIST_CAPACITY];    /**< boundaries of the RMS segmentation: record positions */
  int T0rms[DQ_LIST_CAPACITY];   /**< threshold crossings that survived it */
  int Trms_num;                  /**< entries of Trms */
  int T_rms[DQ_LIST_CAPACITY];   /**< boundaries of the alternative segmentation, which the analysis does not run */
  int T0_rms[DQ_LIST_CAPACITY];  /**< never written */
  int T_rms_num;                 /**< entries of T_rms */
  float ua_rms_min[DQ_LIST_CAPACITY]; /**< per RMS segment: lowest RMS of phase A, volts */
  float ub_rms_min[DQ_LIST_CAPACITY]; /**< the same, phase B */
  float uc_rms_min[DQ_LIST_CAPACITY]; /**< the same, phase C */
  float u3_rms_min[DQ_LIST_CAPACITY]; /**< the lowest of the three phases */
  float Voltagechange_Va; /**< largest rate of RMS change in the first transition, phase A, volts per second */
  float Voltagechange_Vb; /**< the same, phase B */
  float Voltagechange_Vc; /**< the same, phase C */
  int dipx_rms_type[DQ_LIST_CAPACITY]; /**< per RMS segment: phases below `ut`, 0 to 3 */
  int order_min[DQ_LIST_CAPACITY];     /**< per segment: where the minimum lies, record position */
  int min_num;                         /**< RMS segments */
  int T[DQ_LIST_CAPACITY];             /**< boundaries of the dq segmentation: record positions */
  int T0[DQ_LIST_CAPACITY];            /**< threshold crossings that survived it */
  int T_num;                           /**< entries of T */
  float ua_min[DQ_LIST_CAPACITY];      /**< per segment: residual voltage of phase A, RMS volts */
  float ub_min[DQ_LIST_CAPACITY];      /**< the same, phase B */
  float uc_min[DQ_LIST_CAPACITY];      /**< the same, phase C */
  float u3_min[DQ_LIST_CAPACITY];      /**< the lowest of the three phases */
  int pos_ua_min[DQ_LIST_CAPACITY];    /**< per segment: where phase A is lowest */
  int pos_ub_min[DQ_LIST_CAPACITY];    /**< the same, phase B */
  int pos_uc_min[DQ_LIST_CAPACITY];    /**< the same, phase C */
  int pos_u3_min[DQ_LIST_CAPACITY];    /**< where the lowest of the three phases is: record position */
  int u_min_num;                       /**< segments with residual voltages */
  int D[2];                            /**< first sample of the dip and of its recovery; both 0 where there is none */
  float hold_time_rms;                 /**< always 0 */
  float hold_time_dq;                  /**< duration, seconds at 20 ms per cycle */
  /** per segment of a long window: phase angle of phase A at its reference point, degrees */
  float angle_a_min[DQ_LIST_CAPACITY];
  float angle_b_min[DQ_LIST_CAPACITY];    /**< the same, phase B */
  float angle_c_min[DQ_LIST_CAPACITY];    /**< the same, phase C */
  vec_struct phasor_ua[DQ_LIST_CAPACITY]; /**< per segment of a long window: phasor of phase A at its reference point */
  vec_struct phasor_ub[DQ_LIST_CAPACITY]; /**< the same, phase B */
  vec_struct phasor_uc[DQ_LIST_CAPACITY]; /**< the same, phase C */
  int dipx_type[DQ_LIST_CAPACITY];        /**< per segment: number of phases below `ut`, 0 to 3 */
  int dipx_phase[DQ_LIST_CAPACITY];       /**< per segment: mask of the phases below `ut`, 1 = A, 2 = B, 4 = C */
  int evt_num;                            /**< segments of a short window with an unbalance */
  float angle_diff_ap[DQ_LIST_CAPACITY];  /**< per segment: phase jump where it is zero or positive, degrees, else 0 */
  float angle_diff_bp[DQ_LIST_CAPACITY];  /**< the same, phase B */
  float angle_diff_cp[DQ_LIST_CAPACITY];  /**< the same, phase C */
  float angle_diff_an[DQ_LIST_CAPACITY];  /**< per segment: phase jump where it is negative, degrees, else 0 */
  float angle_diff_bn[DQ_LIST_CAPACITY];  /**< the same, phase B */
  float angle_diff_cn[DQ_LIST_CAPACITY];  /**< the same, phase C */
  /** per segment: voltage unbalance, negative over positive sequence, per cent (IEC 61000-4-30) */
  float bph_max_value[DQ_LIST_CAPACITY];
  int dipx_cata[DQ_WINDOW_CAPACITY]; /**< per sample of a short window's segments: dip category, 0 to 10; 0 elsewhere */
  int dipx_cata_seg[DQ_LIST_CAPACITY]; /**< per segment: dip category, 0 to 10 (symmetrical_components_dq) */
  int dipx_cata_type;                  /**< always 0 */
  int dipx_cata_num;                   /**< segments of a short window that were classified */
} dq_dipx_struct;

/** The reduced SVD feature. */
typedef struct feasvd_data {
  float feasvd_redu[DQ_RECORD_CAPACITY]; /**< largest feature of the three phases per sample, divided by the maximum */
  float feasvd_max;                      /**< the largest of all, volts; at least 0 */
  float feasvd_min;                      /**< the smallest of all, volts; at most 99999 */
  unsigned int feasvd_num;               /**< samples reduced */
  int feasvd_ten_i[10];                  /**< histogram of feasvd_redu in bins of 0.1 */
  float feasvd_ten_f[10];                /**< the same in per cent of `feasvd_num` */
  int feasvd_smp;                        /**< samples per cycle */
} feasvd_data;

extern DIPX_API dq_data* dq_data_buf;    /**< the window record; null when not allocated */
extern DIPX_API dq_dipx_rms* dq_rms_buf; /**< the whole-record record; null when not allocated */
/** results of the last analysis, one per dip */
extern DIPX_API dq_dipx_struct new_dipx_buf[DQ_LIST_CAPACITY];
extern DIPX_API dq_dipx_struct qd_dipx_buf; /**< never written */
extern DIPX_API feasvd_data feasvd_buf;     /**< reduction of the window that SVD_datapro processed last */

/**
 * Zeroes ua0, ub0, uc0, feasvd_a, feasvd_b, feasvd_c and u over their whole capacity and nothing else. The
 * segmentations call it before they fill these arrays.
 *
 * @param data the window record; a null pointer is ignored
 */
DIPX_API void clear_segdid_buf(dq_data* data);

#ifdef __cplusplus
}
#endif

#endif
