/* A host whose exported data lives in the host itself (copy relocation): what either side writes, the other reads. */
#include <sagx/dq_dipx.h>
#include <sagx/signal_acquisition.h>
#include <stdio.h>

static float phase[40 * 64];

int main(void) {
  for (int i = 0; i < 40 * 64; i++) phase[i] = i >= 10 * 64 && i < 20 * 64 ? 100.0f : 220.0f;
  sample_input_number = 40 * 64;
  sample_input_smprate = 64;
  psample_input_va = psample_input_vb = psample_input_vc = phase;
  qd_dipx_buf.smp_num = 5;
  new_dipx_buf[31].T_num = 77;
  dipx_fun_use_time = 12;
  dq_dipx_new(NULL);
  if (dq_rms_buf == NULL || dq_data_buf == NULL || dq_rms_buf->evt_num != 2) {
    fprintf(stderr, "host: its input did not reach the library, or the records did not reach the host\n");
    return 1;
  }
  if (new_dipx_buf[0].ud != 120.0f || new_dipx_buf[31].T_num != 0) {
    fprintf(stderr, "host: the results are not shared\n");
    return 1;
  }
  sagx_free_all();
  if (dq_rms_buf != NULL || sample_input_number != 0 || psample_input_va != NULL) {
    fprintf(stderr, "host: the release is not shared\n");
    return 1;
  }
  return 0;
}
