# What the command for Windows needs besides the libraries of the cross compiler, made by scripts/windows.sh. zlib is the
# only library that Debian has for Windows.
include(${PROJECT_SOURCE_DIR}/cmake/foreign_dependencies.cmake)
reach_headers(scripts/windows.sh CLI fmt nlohmann)
reach_sources(scripts/windows.sh libzip libcsv)

find_library(DIPX_WINDOWS_ZLIB libz.a REQUIRED)
add_library(ZLIB::ZLIB UNKNOWN IMPORTED GLOBAL)
set_target_properties(ZLIB::ZLIB PROPERTIES IMPORTED_LOCATION ${DIPX_WINDOWS_ZLIB})

add_libcsv()
add_libzip([[
#define HAVE__CLOSE
#define HAVE__DUP
#define HAVE__FDOPEN
#define HAVE__FILENO
#define HAVE__SETMODE
#define HAVE__SNPRINTF
#define HAVE__STRDUP
#define HAVE__STRICMP
#define HAVE__STRTOI64
#define HAVE__STRTOUI64
#define HAVE__UNLINK
#define HAVE_FILENO
#define HAVE_FSEEKO
#define HAVE_FTELLO
#define HAVE_SETMODE
#define HAVE_SNPRINTF
#define HAVE_STRCASECMP
#define HAVE_STRDUP
#define HAVE_STRICMP
#define HAVE_STRTOLL
#define HAVE_STRTOULL
#define HAVE_STDBOOL_H
#define HAVE_STRINGS_H
#define HAVE_UNISTD_H
#define SIZEOF_OFF_T 4
#define SIZEOF_SIZE_T 8
#define PACKAGE "libzip"
#define VERSION "1.7.3"
]])
target_compile_definitions(zip PUBLIC ZIP_STATIC)
add_library(CLI11::CLI11 ALIAS dipx_foreign_headers)

# The command contains these libraries, whose licences ask that they are passed on with it.
set(DIPX_LICENCES ${PROJECT_BINARY_DIR}/licences.txt)
file(WRITE ${DIPX_LICENCES} "dipx.exe contains the following libraries.\n")
foreach(licence IN ITEMS ${libcsv}/COPYING.LESSER ${libcsv}/COPYING ${libzip}/LICENSE /usr/share/doc/libz-mingw-w64-dev/copyright
    /usr/share/doc/libcli11-dev/copyright /usr/share/doc/libeigen3-dev/copyright /usr/share/doc/libfmt-dev/copyright
    /usr/share/doc/nlohmann-json3-dev/copyright /usr/share/doc/mingw-w64-x86-64-dev/copyright)
  file(READ ${licence} text)
  cmake_path(GET licence PARENT_PATH folder)
  cmake_path(GET folder FILENAME library)
  file(APPEND ${DIPX_LICENCES} "\n=== ${library}\n\n${text}")
endforeach()
