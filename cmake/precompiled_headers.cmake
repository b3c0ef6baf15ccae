# Compiles the headers that most sources include once for all of them. Sources still include what they use. Libraries
# that share compiled headers have to agree on using fmt, which defines a macro.
set(usual_headers
  <algorithm> <array> <cmath> <limits> <map> <memory> <optional> <span> <stdexcept> <string> <string_view> <vector>)
target_precompile_headers(dipx_measure PRIVATE ${usual_headers} <complex>)
target_precompile_headers(dipx_readers PRIVATE ${usual_headers} <filesystem> <fmt/format.h>)
foreach(library IN ITEMS dipx_analysis dipx_found_files dipx_outputs dipx_synth dipx_writers)
  target_precompile_headers(${library} REUSE_FROM dipx_readers)
endforeach()
if(TARGET dipx_command_line)
  target_precompile_headers(dipx_command_line PRIVATE ${usual_headers} <filesystem> <fmt/format.h> <CLI/CLI.hpp>)
endif()
foreach(tests IN ITEMS dipx_test measure_test readers_test assess_test analysis_test outputs_test archive_test command_test)
  if(TARGET ${tests})
    target_precompile_headers(${tests} PRIVATE ${usual_headers} <filesystem> <fmt/format.h> <gtest/gtest.h>)
  endif()
endforeach()
