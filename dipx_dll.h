/** @file
 * dipx - voltage dip (sag) analysis of three-phase 50 Hz waveform records.
 *
 * This header is all that most hosts need: fill in a dipx_data_struct, call dipx_fun, and read the dips from the same
 * record.
 *
 * @code{.c}
 * static dipx_data_struct record;                 // 9.8 MB: keep it off the stack
 * ... copy the samples into record.smp_va, smp_vb, smp_vc (volts) ...
 * record.smp_rate = 128;                          // samples per 20 ms, 32 to 128
 * record.smp_len = 64000;                         // samples per phase
 * dipx_fun(&record);
 * for (int i = 0; i < record.evt_num; i++) printf("%f s\n", record.evt_buf[i].hold_time_dq);
 * @endcode
 *
 * What every host should know:
 *  - The library is single-threaded and not reentrant: only one analysis may run at a time per process, and no entry
 *    point may be called while another one runs.
 *  - It reports only through lines on standard output and standard error; no function returns a status of the
 *    analysis.
 *  - Every dipx_fun writes the report "dipx_result.txt" (GBK, CR LF) into the current directory.
 *  - The two working records of 61 and 11 MB are allocated on first use and kept until sagx_free_all. Only the part of
 *    the larger one that a record needs becomes resident.
 *  - A record must begin with at least two undisturbed cycles, and a dip is analysed only if the record has at least
 *    four cycles on either side of it.
 *
 * The working records and the individual stages of the analysis have their own headers in the folder sagx/.
 */
#ifndef DIPX_DLL_H
#define DIPX_DLL_H

#include <stddef.h>

/** @def DIPX_API
 * Marks what the shared object exports; all other symbols in it are hidden. On Windows, hosts import it, unless they
 * are linked with the static library and define DIPX_STATIC. */
#if defined(_WIN32) && defined(DIPX_EXPORTS)
#define DIPX_API __declspec(dllexport)
#elif defined(_WIN32) && !defined(DIPX_STATIC)
#define DIPX_API __declspec(dllimport)
#elif defined(__GNUC__)
#define DIPX_API __attribute__((visibility("default")))
#else
#define DIPX_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** Capacities of the host's record. */
enum {
  DIPX_SAMPLE_CAPACITY = 768000, /**< samples per phase in a host record; at most half of them are analysed */
  DIPX_EVENT_CAPACITY = 32,      /**< dips per record */
  DIPX_SEGMENT_CAPACITY = 256    /**< entries of each per-segment list; the library fills at most the first 32 */
};

/**
 * One dip. Lists of segments hold `u_min_num` valid entries, and lists of boundaries hold as many as the count before
 * them; entries beyond a count are left as the host set them. Voltages are RMS in volts, angles in degrees and times in
 * seconds. A segment is a section of the dip between two transitions, in which the voltage is steady.
 *
 * In windows (the dip with four cycles on either side) of at most 500 cycles, the phase jumps are read at the window's
 * first sample, where they are close to 0. In longer windows they are read in the segment and are not reduced to one
 * turn.
 */
typedef struct dipx_event_record {
  int dipx_cata_cause[DIPX_SEGMENT_CAPACITY]; /**< cause per segment; never written by the library */
  /** per segment: number of phases below the dip threshold, 0 to 3 */
  int dipx_phasetype[DIPX_SEGMENT_CAPACITY];
  /** per segment: dip category, 0 to 10, with the codes of symmetrical_components_dq */
  int dipx_cata_type[DIPX_SEGMENT_CAPACITY];
  float hold_time_rms; /**< always 0 */
  float hold_time_dq;  /**< duration of the dip, at 20 ms per cycle */
  float POW_a; /**< point on wave at the start of the dip, phase A: 0 at the rising zero crossing, less than 360 */
  float POW_b; /**< the same, phase B */
  float POW_c; /**< the same, phase C */
  /** largest rate at which the RMS changes in the first transition, phase A, volts per second */
  float Voltagechange_Va;
  float Voltagechange_Vb; /**< the same, phase B */
  float Voltagechange_Vc; /**< the same, phase C */
  int SEG_T_num;          /**< boundaries of the segmentation, at most 32 */
  /** threshold crossings: positions in the dip's window, not in the record; 0 if there are fewer crossings than
   * boundaries */
  int SEG_T0_idx[DIPX_SEGMENT_CAPACITY];
  int SEG_T_idx[DIPX_SEGMENT_CAPACITY];       /**< boundaries: sample positions in the record */
  int SEG_RMS_T_num;                          /**< always 0 */
  int SEG_RMS_T_idx[DIPX_SEGMENT_CAPACITY];   /**< never written, because its count is 0 */
  int u_min_num;                              /**< segments with results, at most 32 */
  float ua_min[DIPX_SEGMENT_CAPACITY];        /**< residual voltage per segment, phase A */
  float ub_min[DIPX_SEGMENT_CAPACITY];        /**< the same, phase B */
  float uc_min[DIPX_SEGMENT_CAPACITY];        /**< the same, phase C */
  float u3_min[DIPX_SEGMENT_CAPACITY];        /**< the lowest of the three phases */
  int order_min_idx[DIPX_SEGMENT_CAPACITY];   /**< position of the segment's minimum: sample position in the record */
  float angle_diff_ap[DIPX_SEGMENT_CAPACITY]; /**< phase jump of phase A where it is zero or positive, else 0 */
  float angle_diff_bp[DIPX_SEGMENT_CAPACITY]; /**< the same, phase B */
  float angle_diff_cp[DIPX_SEGMENT_CAPACITY]; /**< the same, phase C */
  float angle_diff_an[DIPX_SEGMENT_CAPACITY]; /**< phase jump of phase A where it is negative, else 0 */
  float angle_diff_bn[DIPX_SEGMENT_CAPACITY]; /**< the same, phase B */
  float angle_diff_cn[DIPX_SEGMENT_CAPACITY]; /**< the same, phase C */
  /** voltage unbalance per segment: negative over positive sequence, per cent (IEC 61000-4-30) */
  float bph_max_value[DIPX_SEGMENT_CAPACITY];
} dipx_event_record;

/** Request and result of one analysis; owned by the host. */
typedef struct dipx_data_struct {
  float smp_va[DIPX_SAMPLE_CAPACITY];             /**< samples of phase A, volts */
  float smp_vb[DIPX_SAMPLE_CAPACITY];             /**< the same, phase B */
  float smp_vc[DIPX_SAMPLE_CAPACITY];             /**< the same, phase C */
  int smp_rate;                                   /**< samples per 20 ms cycle: 32 to 128 */
  int smp_len;                                    /**< samples per phase: two cycles to 3000 cycles, at most 384000 */
  int evt_num;                                    /**< result: number of dips, at most 15 */
  dipx_event_record evt_buf[DIPX_EVENT_CAPACITY]; /**< result: the dips, in order of time */
} dipx_data_struct;

/**
 * Analyses a record and writes the dips into it and into "dipx_result.txt" in the current directory. Dips that were
 * found but not analysed (because they are too shallow or too near an end of the record, for example) keep their place
 * with zero results. A refused record (rate or length out of range) gets the count of the last accepted record, with
 * zero contents.
 *
 * @param data the record, a dipx_data_struct; a null pointer is ignored
 */
DIPX_API void dipx_fun(void* data);

/**
 * Writes the report of a record, including dipx_fun_use_time, to "dipx_result.txt" in the current directory (GBK, CR
 * LF). Prints nothing if that file cannot be opened.
 *
 * @param dipx the record; a null pointer is ignored, and lists are limited to their capacities. The voltages before the
 * dips are the RMS over its first `smp_rate` samples; they are not a number for a rate of 0 and minus 0 for a negative
 * rate
 */
DIPX_API void print_to_txt(dipx_data_struct* dipx);

/**
 * Sets the input of the next analysis and copies the samples. This is the alternative interface for hosts that read the
 * working records themselves. The arrays must stay valid until the analysis (dipx_new_pro) has run, and they must not
 * be the arrays of the working records. Null pointers and a rate or length below 1 are refused and leave everything
 * unchanged; samples that do not fit into the working record are not copied. Prints one line on standard error,
 * whatever the result. If memory runs out, both working records are released but the input is set nevertheless, and the
 * next analysis allocates them again.
 *
 * @param va samples of phase A, volts, `smp_len` of them
 * @param vb the same, phase B
 * @param vc the same, phase C
 * @param smp_rate samples per 20 ms cycle, at least 1; the analysis accepts 32 to 128
 * @param smp_len samples per phase, at least 1; the analysis accepts two to 3000 cycles, at most 384000 samples
 */
DIPX_API void sagx_init_from_samples(const float* va, const float* vb, const float* vc, int smp_rate, int smp_len);

/**
 * Analyses the input that was set; the results are in new_dipx_buf and dq_rms_buf (sagx/dq_dipx.h).
 *
 * @param dipx_data ignored; may be null
 */
DIPX_API void dipx_new_pro(dipx_data_struct* dipx_data);

/** Releases the working records, forgets the input and prints a line about this on standard error. Has no other effect
 * if there is nothing to release. */
DIPX_API void sagx_free_all(void);

/** Milliseconds that the last dipx_fun took; while it runs, the clock's reading at its start. */
extern DIPX_API int dipx_fun_use_time;

#ifdef __cplusplus
}

static_assert(sizeof(dipx_event_record) == (18 * DIPX_SEGMENT_CAPACITY + 11) * 4, "layout shared with hosts");
static_assert(offsetof(dipx_event_record, hold_time_rms) == 3 * DIPX_SEGMENT_CAPACITY * 4, "layout shared with hosts");
static_assert(offsetof(dipx_event_record, SEG_T_num) == (3 * DIPX_SEGMENT_CAPACITY + 8) * 4,
              "layout shared with hosts");
static_assert(offsetof(dipx_event_record, u_min_num) == (6 * DIPX_SEGMENT_CAPACITY + 10) * 4,
              "layout shared with hosts");
static_assert(offsetof(dipx_event_record, bph_max_value) == (17 * DIPX_SEGMENT_CAPACITY + 11) * 4,
              "layout shared with hosts");
static_assert(sizeof(dipx_data_struct) == 9807244, "layout shared with hosts");
static_assert(offsetof(dipx_data_struct, smp_rate) == 3 * DIPX_SAMPLE_CAPACITY * 4, "layout shared with hosts");
static_assert(offsetof(dipx_data_struct, evt_buf) == 3 * DIPX_SAMPLE_CAPACITY * 4 + 12, "layout shared with hosts");
#endif

#endif
