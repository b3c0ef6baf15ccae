# The target is made in web/dependencies.cmake.
set(ZLIB_FOUND TRUE)
