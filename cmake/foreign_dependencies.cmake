# Libraries for a system for which Debian does not have them: headers of Debian's packages, which are reached one by one
# because the rest of /usr/include belongs to this machine, and libraries that are compiled from the sources of Debian's
# packages, which scripts/debian_sources.sh fetches into `sources` of the build. The modules in cmake/find make
# find_package take the targets that are made here.

# Makes dipx_foreign_headers with the folders of headers of these names, and fmt::fmt. `script` fetches what is missing.
function(reach_headers script)
  set(headers ${PROJECT_BINARY_DIR}/headers)
  file(MAKE_DIRECTORY ${headers})
  foreach(name IN LISTS ARGN)
    if(NOT EXISTS /usr/include/${name})
      message(FATAL_ERROR "The headers of ${name} are missing; run ${script}")
    endif()
    file(CREATE_LINK /usr/include/${name} ${headers}/${name} SYMBOLIC)
  endforeach()
  add_library(dipx_foreign_headers INTERFACE)
  target_include_directories(dipx_foreign_headers SYSTEM INTERFACE ${headers})
  add_library(dipx_foreign_fmt INTERFACE)
  target_link_libraries(dipx_foreign_fmt INTERFACE dipx_foreign_headers)
  target_compile_definitions(dipx_foreign_fmt INTERFACE FMT_HEADER_ONLY)
  add_library(fmt::fmt ALIAS dipx_foreign_fmt)
  add_library(nlohmann_json::nlohmann_json ALIAS dipx_foreign_headers)
endfunction()

# Sets a variable of the name of each package to the folder of its sources.
macro(reach_sources script)
  foreach(name IN ITEMS ${ARGN})
    set(${name} ${PROJECT_BINARY_DIR}/sources/${name})
    if(NOT EXISTS ${${name}})
      message(FATAL_ERROR "The sources of ${name} are missing; run ${script}")
    endif()
  endforeach()
endmacro()

# Compiles libcsv and sets the variables by which the readers find it.
macro(add_libcsv)
  add_library(dipx_foreign_csv STATIC ${libcsv}/libcsv.c)
  target_include_directories(dipx_foreign_csv SYSTEM PUBLIC ${libcsv})
  target_compile_options(dipx_foreign_csv PRIVATE -w)
  set(LIBCSV_INCLUDE_DIR ${libcsv})
  set(LIBCSV_LIBRARY dipx_foreign_csv)
endmacro()

# Compiles libzip without encryption and the compression methods of other libraries; `config` is its config.h, which
# states what the system has.
function(add_libzip config)
  set(made ${PROJECT_BINARY_DIR}/libzip)
  file(CONFIGURE OUTPUT ${made}/config.h CONTENT "${config}")
  file(COPY /usr/include/zipconf.h DESTINATION ${made})
  # Its own list of sources asks for the places of a project of its own.
  set(PROJECT_SOURCE_DIR ${libzip})
  set(PROJECT_BINARY_DIR ${made})
  set(CMAKE_BINARY_DIR ${made})
  add_subdirectory(${libzip}/lib ${made}/lib EXCLUDE_FROM_ALL SYSTEM)
  target_compile_options(zip PRIVATE -w)
  add_library(PkgConfig::LIBZIP ALIAS zip)
endfunction()

list(APPEND CMAKE_MODULE_PATH ${PROJECT_SOURCE_DIR}/cmake/find)
