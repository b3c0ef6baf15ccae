/* Record interface: reads a CSV file of time and three phase voltages, and prints its dips.
 *
 *   cc record_host.c $(pkg-config --cflags --libs dipx) -o record_host
 *   ./record_host FILE.csv SAMPLES_PER_CYCLE RATIO */
#include <dipx_dll.h>
#include <stdio.h>
#include <stdlib.h>

static dipx_data_struct record; /* 9.8 MB: too large for most stacks */

/* Dividing by the ratio of the transformers gives the level that the library accepts, 50 to 400 V. */
static int read_record(const char* name, double ratio) {
  FILE* file = fopen(name, "r");
  if (file == NULL) return 0;
  char line[256];
  double t, a, b, c;
  int count = 0;
  while (count < DIPX_SAMPLE_CAPACITY && fgets(line, sizeof line, file) != NULL) {
    if (sscanf(line, "%lf,%lf,%lf,%lf", &t, &a, &b, &c) != 4) continue; /* the heading */
    record.smp_va[count] = (float)(a / ratio);
    record.smp_vb[count] = (float)(b / ratio);
    record.smp_vc[count] = (float)(c / ratio);
    count++;
  }
  fclose(file);
  record.smp_len = count;
  return count > 0;
}

int main(int argc, char** argv) {
  if (argc != 4) {
    fprintf(stderr, "usage: record_host FILE.csv SAMPLES_PER_CYCLE RATIO\n");
    return 1;
  }
  const double ratio = atof(argv[3]);
  record.smp_rate = atoi(argv[2]);
  if (!read_record(argv[1], ratio)) {
    fprintf(stderr, "record_host: %s: nothing to read\n", argv[1]);
    return 1;
  }
  /* dipx_fun returns no status, so the host checks in advance for input that the library would refuse. */
  if (record.smp_rate < 32 || record.smp_rate > 128 || record.smp_len > 3000 * record.smp_rate ||
      record.smp_len < 2 * record.smp_rate) {
    fprintf(stderr, "record_host: 32 to 128 samples per cycle, and 2 to 3000 cycles\n");
    return 1;
  }
  dipx_fun(&record); /* prints its lines on standard output and writes dipx_result.txt */

  const double step = 0.02 / record.smp_rate;
  for (int i = 0; i < record.evt_num; i++) {
    const dipx_event_record* dip = &record.evt_buf[i];
    if (dip->u_min_num == 0) {
      fprintf(stderr, "dip %d: found, but not analysed\n", i + 1);
      continue;
    }
    fprintf(stderr, "dip %d: %.1f ms, begins %.0f degrees on the wave of phase A\n", i + 1,
            1000 * (double)dip->hold_time_dq, (double)dip->POW_a);
    for (int s = 0; s < dip->u_min_num; s++) { /* a segment lies between boundaries 2s + 1 and 2s + 2 */
      fprintf(stderr, "  segment %d, %.4f s to %.4f s: category %d, %.2f %.2f %.2f kV, unbalance %.1f %%\n", s + 1,
              dip->SEG_T_idx[2 * s + 1] * step, dip->SEG_T_idx[2 * s + 2] * step, dip->dipx_cata_type[s],
              (double)dip->ua_min[s] * ratio / 1000, (double)dip->ub_min[s] * ratio / 1000,
              (double)dip->uc_min[s] * ratio / 1000, (double)dip->bph_max_value[s]);
    }
  }
  return 0;
}
