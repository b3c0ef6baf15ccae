// Which instruction set the library runs with.
#pragma once

namespace analysis::embedded {

/// Its name: "baseline", "avx2", "avx512".
const char* instruction_set();

}  // namespace analysis::embedded
