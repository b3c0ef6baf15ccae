/* Analyses each CSV file that is named after the output file and the samples per cycle, and writes the results of all
 * of them to the output file as they are in memory, so that builds for different machines can be compared byte by byte.
 * After these it writes a transform that consists of the values of sine and cosine, because those that are almost zero
 * do not show in the results of a record.
 *
 *   record_bytes OUTPUT SAMPLES_PER_CYCLE FILE.csv... */
#include <dipx_dll.h>
#include <sagx/dq_fft.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#endif

static dipx_data_struct record;
static vec_struct transform[4096];

static int read_record(const char* name) {
  FILE* file = fopen(name, "r");
  char line[256];
  double t, a, b, c;
  if (file == NULL) return 0;
  record.smp_len = 0;
  while (record.smp_len < DIPX_SAMPLE_CAPACITY && fgets(line, sizeof line, file) != NULL) {
    if (sscanf(line, "%lf,%lf,%lf,%lf", &t, &a, &b, &c) != 4) continue; /* the heading */
    record.smp_va[record.smp_len] = (float)a;
    record.smp_vb[record.smp_len] = (float)b;
    record.smp_vc[record.smp_len] = (float)c;
    record.smp_len++;
  }
  fclose(file);
  return record.smp_len > 0;
}

int main(int argc, char** argv) {
  if (argc < 4) return 1;
#if defined(_WIN32)
  _setmode(_fileno(stdout), _O_BINARY); /* the lines of the library are compared as well */
#endif
  FILE* output = fopen(argv[1], "wb");
  if (output == NULL) return 1;
  for (int i = 3; i < argc; i++) {
    memset(&record, 0, sizeof record);
    record.smp_rate = atoi(argv[2]);
    if (!read_record(argv[i])) return 1;
    dipx_fun(&record);
    fwrite(&record.evt_num, sizeof record.evt_num, 1, output);
    fwrite(record.evt_buf, sizeof record.evt_buf, 1, output);
  }
  transform[1].r = 1;
  DQ_FFT(transform, sizeof transform / sizeof *transform, 0, 0);
  fwrite(transform, sizeof transform, 1, output);
  return fclose(output) == 0 ? 0 : 1;
}
