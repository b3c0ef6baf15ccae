# What the sources need besides emscripten's own libraries, made by scripts/web.sh.
include(${PROJECT_SOURCE_DIR}/cmake/foreign_dependencies.cmake)
reach_headers(scripts/web.sh fmt nlohmann fast_float)
# Compiled for size, emscripten inlines no function without the keyword. Most of those in headers are shorter than a
# call, so that the module would be larger and half as fast.
add_compile_options(-sINLINING_LIMIT=0)
# No output follows a locale, and without those of the standard library the module is smaller.
target_compile_definitions(dipx_foreign_fmt INTERFACE "FMT_STATIC_THOUSANDS_SEPARATOR=','")
reach_sources(scripts/web.sh zlib libzip libcsv)

add_library(dipx_web_zlib STATIC
  ${zlib}/adler32.c ${zlib}/crc32.c ${zlib}/deflate.c ${zlib}/inffast.c ${zlib}/inflate.c ${zlib}/inftrees.c
  ${zlib}/trees.c ${zlib}/compress.c ${zlib}/zutil.c)
target_include_directories(dipx_web_zlib SYSTEM PUBLIC ${zlib})
target_compile_definitions(dipx_web_zlib PRIVATE HAVE_UNISTD_H)
target_compile_options(dipx_web_zlib PRIVATE -w)
add_library(ZLIB::ZLIB ALIAS dipx_web_zlib)

add_libcsv()
# A browser has no files.
add_libzip([[
#define HAVE_FILENO
#define HAVE_FSEEKO
#define HAVE_FTELLO
#define HAVE_LOCALTIME_R
#define HAVE_MKSTEMP
#define HAVE_SNPRINTF
#define HAVE_STRCASECMP
#define HAVE_STRDUP
#define HAVE_STRTOLL
#define HAVE_STRTOULL
#define HAVE_STDBOOL_H
#define HAVE_STRINGS_H
#define HAVE_UNISTD_H
#define HAVE_DIRENT_H
#define SIZEOF_OFF_T 8
#define SIZEOF_SIZE_T 4
#define PACKAGE "libzip"
#define VERSION "1.7.3"
]])
