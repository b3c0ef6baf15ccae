// Calls the embedded library as any host does. It prints lines and writes its report into the current folder, so only
// the helper process of dipx.Host (dipx/_host_process.py) calls it.
#include "python/host_binding.h"

#include <pybind11/numpy.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <stdexcept>

#include "dipx_dll.h"

namespace py = pybind11;

namespace python {

namespace {

using Samples = py::array_t<float, py::array::c_style>;

/// Returns the dips that the library left in the record of the host. The record is one object for the
/// whole process, as in a host, and its lists are set to zero before each analysis.
py::array run(const Samples& va, const Samples& vb, const Samples& vc, int samples_per_cycle) {
  static const auto host = std::make_unique<dipx_data_struct>();
  const auto length = static_cast<std::size_t>(va.size());
  if (length > DIPX_SAMPLE_CAPACITY || vb.size() != va.size() || vc.size() != va.size()) {
    throw std::invalid_argument("the three arrays must be of equal length, of at most 768000 samples");
  }
  std::memset(static_cast<void*>(host.get()), 0, sizeof(dipx_data_struct));
  std::copy_n(va.data(), length, host->smp_va);
  std::copy_n(vb.data(), length, host->smp_vb);
  std::copy_n(vc.data(), length, host->smp_vc);
  host->smp_rate = samples_per_cycle;
  host->smp_len = static_cast<int>(length);
  dipx_fun(host.get());
  const int count = std::clamp(host->evt_num, 0, +DIPX_EVENT_CAPACITY);
  py::array_t<dipx_event_record> dips(count);
  std::copy_n(host->evt_buf, count, dips.mutable_data());
  return dips;
}

}  // namespace

void add_host(py::module_& module) {
  PYBIND11_NUMPY_DTYPE(dipx_event_record, dipx_cata_cause, dipx_phasetype, dipx_cata_type, hold_time_rms, hold_time_dq,
                       POW_a, POW_b, POW_c, Voltagechange_Va, Voltagechange_Vb, Voltagechange_Vc, SEG_T_num, SEG_T0_idx,
                       SEG_T_idx, SEG_RMS_T_num, SEG_RMS_T_idx, u_min_num, ua_min, ub_min, uc_min, u3_min,
                       order_min_idx, angle_diff_ap, angle_diff_bp, angle_diff_cp, angle_diff_an, angle_diff_bn,
                       angle_diff_cn, bph_max_value);
  module.def("run_library", &run, py::arg("va"), py::arg("vb"), py::arg("vc"), py::arg("samples_per_cycle"));
  module.attr("event_dtype") = py::dtype::of<dipx_event_record>();
}

}  // namespace python
