#include "analysis/embedded/instruction_set.h"

#include "sagx/kernels/kernels.h"

namespace analysis::embedded {

const char* instruction_set() {
  return sagx::kernels().instruction_set;
}

}  // namespace analysis::embedded
