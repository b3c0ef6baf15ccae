# What the sources need besides emscripten's own libraries: headers of Debian's packages, which are reached one by one
# because the rest of /usr/include belongs to this machine, and zlib, libzip and libcsv, which are compiled from the
# sources of Debian's packages. scripts/web.sh fetches these into `sources` of the build.
set(headers ${PROJECT_BINARY_DIR}/headers)
file(MAKE_DIRECTORY ${headers})
foreach(name IN ITEMS fmt nlohmann fast_float)
  if(NOT EXISTS /usr/include/${name})
    message(FATAL_ERROR "The headers of ${name} are missing; run scripts/web.sh")
  endif()
  file(CREATE_LINK /usr/include/${name} ${headers}/${name} SYMBOLIC)
endforeach()
foreach(name IN ITEMS zlib libzip libcsv)
  if(NOT EXISTS ${PROJECT_BINARY_DIR}/sources/${name})
    message(FATAL_ERROR "The sources of ${name} are missing; run scripts/web.sh")
  endif()
endforeach()

# The find modules in web/find give these to the folders.
add_library(dipx_web_headers INTERFACE)
target_include_directories(dipx_web_headers SYSTEM INTERFACE ${headers})
add_library(dipx_web_fmt INTERFACE)
target_link_libraries(dipx_web_fmt INTERFACE dipx_web_headers)
target_compile_definitions(dipx_web_fmt INTERFACE FMT_HEADER_ONLY)

set(zlib ${PROJECT_BINARY_DIR}/sources/zlib)
add_library(dipx_web_zlib STATIC
  ${zlib}/adler32.c ${zlib}/crc32.c ${zlib}/deflate.c ${zlib}/inffast.c ${zlib}/inflate.c ${zlib}/inftrees.c
  ${zlib}/trees.c ${zlib}/compress.c ${zlib}/zutil.c)
target_include_directories(dipx_web_zlib SYSTEM PUBLIC ${zlib})
target_compile_definitions(dipx_web_zlib PRIVATE HAVE_UNISTD_H)

set(libcsv ${PROJECT_BINARY_DIR}/sources/libcsv)
add_library(dipx_web_csv STATIC ${libcsv}/libcsv.c)
target_include_directories(dipx_web_csv SYSTEM PUBLIC ${libcsv})
set(LIBCSV_INCLUDE_DIR ${libcsv})
set(LIBCSV_LIBRARY dipx_web_csv)

# libzip without files, encryption and the compression methods of other libraries.
set(libzip ${PROJECT_BINARY_DIR}/sources/libzip)
set(libzip_made ${PROJECT_BINARY_DIR}/libzip)
file(CONFIGURE OUTPUT ${libzip_made}/config.h CONTENT [[
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
file(COPY /usr/include/zipconf.h DESTINATION ${libzip_made})
add_library(ZLIB::ZLIB ALIAS dipx_web_zlib)
# Its own list of sources asks for the places of a project of its own.
function(add_libzip)
  set(PROJECT_SOURCE_DIR ${libzip})
  set(PROJECT_BINARY_DIR ${libzip_made})
  set(CMAKE_BINARY_DIR ${libzip_made})
  add_subdirectory(${libzip}/lib ${libzip_made}/lib EXCLUDE_FROM_ALL)
endfunction()
add_libzip()
target_compile_options(zip PRIVATE -w)
target_compile_options(dipx_web_zlib PRIVATE -w)
target_compile_options(dipx_web_csv PRIVATE -w)

add_library(fmt::fmt ALIAS dipx_web_fmt)
add_library(nlohmann_json::nlohmann_json ALIAS dipx_web_headers)
add_library(PkgConfig::LIBZIP ALIAS zip)
add_library(PkgConfig::NETTLE ALIAS dipx_web_headers)
list(APPEND CMAKE_MODULE_PATH ${PROJECT_SOURCE_DIR}/web/find)
