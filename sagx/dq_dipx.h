/*
 * The working records of the analysis: plain aggregates of fixed capacity, sized once for the largest input so that an
 * analysis allocates nothing per sample or per dip. Each list is used from element 0 up to the count that stands beside
 * it; what lies beyond has no meaning.
 *
 * Units: volts, seconds, degrees, sample positions. A window is the stretch of the record round one dip.
 */
#ifndef SAGX_DQ_DIPX_H
#define SAGX_DQ_DIPX_H

#include <stddef.h>

#include "dipx_dll.h"

#ifdef __cplusplus
extern "C" {
#endif

enum {
  DQ_RECORD_CAPACITY = 384000, /* longest record: 3000 cycles of 128 samples */
  DQ_WINDOW_CAPACITY = 70400,  /* longest window of the dq transform */
  DQ_FILTER_CAPACITY = 70467,  /* the same with room for the longest structuring element */
  DQ_FILTER_ROWS = 128,        /* longest structuring element */
  DQ_LIST_CAPACITY = 32,       /* dips per record and segments per dip */
  DQ_BOUNDARY_CAPACITY = 30    /* threshold crossings kept per record */
};

/* A phasor. */
typedef struct vec_struct {
  float r; /* real part */
  float x; /* imaginary part */
} vec_struct;

/* The whole record: samples, one-cycle RMS and dip boundaries. */
typedef struct dq_dipx_rms {
  float va[DQ_RECORD_CAPACITY]; /* samples */
  float vb[DQ_RECORD_CAPACITY];
  float vc[DQ_RECORD_CAPACITY];
  float t[DQ_RECORD_CAPACITY];    /* time of each sample */
  float rmsa[DQ_RECORD_CAPACITY]; /* RMS over the cycle that ends at each sample */
  float rmsb[DQ_RECORD_CAPACITY];
  float rmsc[DQ_RECORD_CAPACITY];
  float ua_max; /* largest RMS of the record */
  float ub_max;
  float uc_max;
  int smp_num;                  /* samples per phase */
  int smprate;                  /* samples per cycle */
  float un;                     /* nominal (pre-event) voltage, RMS */
  float ut;                     /* dip threshold, 0.9 un */
  float f;                      /* nominal frequency, hertz */
  int T0[DQ_BOUNDARY_CAPACITY]; /* threshold crossings; 0 marks one that was merged away */
  int T[DQ_BOUNDARY_CAPACITY];  /* dip boundaries: falls and recoveries in turn */
  int evt_num;                  /* entries of T */
} dq_dipx_rms;

/* One dip's window; reused for each dip in turn. */
typedef struct dq_data {
  float t[DQ_RECORD_CAPACITY]; /* time, from 0 at the window's first sample */
  float Va[DQ_RECORD_CAPACITY];
  float Vb[DQ_RECORD_CAPACITY];
  float Vc[DQ_RECORD_CAPACITY];
  float rms_ua[DQ_RECORD_CAPACITY];
  float rms_ub[DQ_RECORD_CAPACITY];
  float rms_uc[DQ_RECORD_CAPACITY];
  float u[DQ_RECORD_CAPACITY];      /* lowest phase per sample */
  float upd[DQ_WINDOW_CAPACITY];    /* d component, smoothed */
  float upq[DQ_WINDOW_CAPACITY];    /* q component, smoothed */
  float upd1[DQ_WINDOW_CAPACITY];   /* d component, raw */
  float upq1[DQ_WINDOW_CAPACITY];   /* q component, raw */
  float eroder[DQ_FILTER_CAPACITY]; /* morphological filter: erosion */
  float dilata[DQ_FILTER_CAPACITY]; /* dilation */
  float OPEN[DQ_FILTER_CAPACITY];   /* opening */
  float CLOSE[DQ_FILTER_CAPACITY];  /* closing */
  float TEMP[DQ_FILTER_CAPACITY];
  float OC[DQ_FILTER_CAPACITY]; /* closing of the opening */
  float CO[DQ_FILTER_CAPACITY]; /* opening of the closing */
  float A[DQ_FILTER_ROWS][DQ_FILTER_CAPACITY];
  float B[DQ_FILTER_CAPACITY];
  float ua[DQ_WINDOW_CAPACITY]; /* RMS magnitude of the dq transform */
  float ub[DQ_WINDOW_CAPACITY];
  float uc[DQ_WINDOW_CAPACITY];
  float angle_a[DQ_WINDOW_CAPACITY]; /* phase angle */
  float angle_b[DQ_WINDOW_CAPACITY];
  float angle_c[DQ_WINDOW_CAPACITY];
  vec_struct vec_ua[DQ_WINDOW_CAPACITY]; /* phasor */
  vec_struct vec_ub[DQ_WINDOW_CAPACITY];
  vec_struct vec_uc[DQ_WINDOW_CAPACITY];
  float hold_time;               /* spare */
  float ua0[DQ_WINDOW_CAPACITY]; /* magnitude before median smoothing */
  float ub0[DQ_WINDOW_CAPACITY];
  float uc0[DQ_WINDOW_CAPACITY];
  float feasvd_a[DQ_RECORD_CAPACITY]; /* SVD feature */
  float feasvd_b[DQ_RECORD_CAPACITY];
  float feasvd_c[DQ_RECORD_CAPACITY];
  unsigned int num; /* samples in the window */
  unsigned int smp; /* samples per cycle */
} dq_data;

/* The results of one dip. Positions are in the record where this says so, else in the dip's window. */
typedef struct dq_dipx_struct {
  int smp_num; /* 0 */
  int smprate; /* samples per cycle */
  int seg_num; /* boundaries of the short-window segmentation */
  int seg_idx[DQ_LIST_CAPACITY];
  int seg_tmp[DQ_LIST_CAPACITY]; /* threshold crossings that survived it */
  float un;                      /* nominal voltage */
  float ut;                      /* dip threshold */
  float ud;                      /* depth: un minus the window's lowest RMS */
  float f;                       /* nominal frequency */
  float POW_a;                   /* point on wave at the start of the dip */
  float POW_b;
  float POW_c;
  int Trms[DQ_LIST_CAPACITY];  /* boundaries of the RMS segmentation: record positions */
  int T0rms[DQ_LIST_CAPACITY]; /* threshold crossings that survived it */
  int Trms_num;
  int T_rms[DQ_LIST_CAPACITY]; /* boundaries of the alternative segmentation, which the analysis does not run */
  int T0_rms[DQ_LIST_CAPACITY];
  int T_rms_num;
  float ua_rms_min[DQ_LIST_CAPACITY]; /* per RMS segment: lowest RMS */
  float ub_rms_min[DQ_LIST_CAPACITY];
  float uc_rms_min[DQ_LIST_CAPACITY];
  float u3_rms_min[DQ_LIST_CAPACITY];
  float Voltagechange_Va; /* rate of voltage change */
  float Voltagechange_Vb;
  float Voltagechange_Vc;
  int dipx_rms_type[DQ_LIST_CAPACITY]; /* per RMS segment: phases below ut */
  int order_min[DQ_LIST_CAPACITY];     /* per segment: where the minimum lies, record position */
  int min_num;
  int T[DQ_LIST_CAPACITY];  /* boundaries of the dq segmentation: record positions */
  int T0[DQ_LIST_CAPACITY]; /* threshold crossings that survived it */
  int T_num;
  float ua_min[DQ_LIST_CAPACITY]; /* per segment: residual voltage */
  float ub_min[DQ_LIST_CAPACITY];
  float uc_min[DQ_LIST_CAPACITY];
  float u3_min[DQ_LIST_CAPACITY];
  int pos_ua_min[DQ_LIST_CAPACITY];
  int pos_ub_min[DQ_LIST_CAPACITY];
  int pos_uc_min[DQ_LIST_CAPACITY];
  int pos_u3_min[DQ_LIST_CAPACITY]; /* record position; short windows only */
  int u_min_num;                    /* segments with residual voltages */
  int D[2];                         /* first sample of the dip and of its recovery */
  float hold_time_rms;              /* 0 */
  float hold_time_dq;               /* duration, seconds */
  float angle_a_min[DQ_LIST_CAPACITY];
  float angle_b_min[DQ_LIST_CAPACITY];
  float angle_c_min[DQ_LIST_CAPACITY];
  vec_struct phasor_ua[DQ_LIST_CAPACITY];
  vec_struct phasor_ub[DQ_LIST_CAPACITY];
  vec_struct phasor_uc[DQ_LIST_CAPACITY];
  int dipx_type[DQ_LIST_CAPACITY];       /* per segment: number of phases below ut */
  int dipx_phase[DQ_LIST_CAPACITY];      /* per segment: mask of the phases below ut, 1 = A, 2 = B, 4 = C */
  int evt_num;                           /* segments with an unbalance */
  float angle_diff_ap[DQ_LIST_CAPACITY]; /* per segment: phase jump where it is zero or positive, else 0 */
  float angle_diff_bp[DQ_LIST_CAPACITY];
  float angle_diff_cp[DQ_LIST_CAPACITY];
  float angle_diff_an[DQ_LIST_CAPACITY]; /* per segment: phase jump where it is negative, else 0 */
  float angle_diff_bn[DQ_LIST_CAPACITY];
  float angle_diff_cn[DQ_LIST_CAPACITY];
  float bph_max_value[DQ_LIST_CAPACITY]; /* per segment: voltage unbalance */
  int dipx_cata[DQ_WINDOW_CAPACITY];     /* per sample: dip category */
  int dipx_cata_seg[DQ_LIST_CAPACITY];   /* per segment: dip category */
  int dipx_cata_type;                    /* 0 */
  int dipx_cata_num;                     /* segments classified */
} dq_dipx_struct;

/* Reduction of the SVD feature. */
typedef struct feasvd_data {
  float feasvd_redu[DQ_RECORD_CAPACITY]; /* feature over its maximum */
  float feasvd_max;
  float feasvd_min;
  unsigned int feasvd_num;
  int feasvd_ten_i[10]; /* histogram of feasvd_redu in bins of 0.1 */
  float feasvd_ten_f[10];
  int feasvd_smp;
} feasvd_data;

extern DIPX_API dq_data* dq_data_buf;                          /* null when not allocated */
extern DIPX_API dq_dipx_rms* dq_rms_buf;                       /* null when not allocated */
extern DIPX_API dq_dipx_struct new_dipx_buf[DQ_LIST_CAPACITY]; /* results of the last analysis, one per dip */
extern DIPX_API dq_dipx_struct qd_dipx_buf;                    /* left untouched */
extern DIPX_API feasvd_data feasvd_buf;

/* Zeroes ua0, ub0, uc0, feasvd_a, feasvd_b, feasvd_c and u over their whole capacity and nothing else; the
 * segmentations call it before they fill these. A null pointer is ignored. */
DIPX_API void clear_segdid_buf(dq_data* data);

#ifdef __cplusplus
}
#endif

#endif
