/* A host in plain C: analyses one record with a dip in phase A and checks what it gets. */
#include <dipx_dll.h>
#include <math.h>
#include <sagx/dq_dipx.h>
#include <stdio.h>

static dipx_data_struct record;

int main(void) {
  record.smp_rate = 64;
  record.smp_len = 60 * 64;
  for (int i = 0; i < record.smp_len; i++) {
    const double turn = 6.283185307179586 * i / 64;
    const double level = i >= 20 * 64 && i < 26 * 64 ? 0.5 : 1.0;
    record.smp_va[i] = (float)(311.127 * level * sin(turn));
    record.smp_vb[i] = (float)(311.127 * sin(turn - 2.0943951023931953));
    record.smp_vc[i] = (float)(311.127 * sin(turn + 2.0943951023931953));
  }
  dipx_fun(&record);
  if (record.evt_num != 1) {
    fprintf(stderr, "host: %d dips instead of 1\n", record.evt_num);
    return 1;
  }
  if (fabsf(new_dipx_buf[0].ud - 110.0f) > 0.1f || fabsf(dq_rms_buf->un - 220.0f) > 0.1f) {
    fprintf(stderr, "host: depth %f V of %f V\n", (double)new_dipx_buf[0].ud, (double)dq_rms_buf->un);
    return 1;
  }
  sagx_free_all();
  return dq_rms_buf != NULL;
}
