# The target is made in web/dependencies.cmake.
set(fmt_FOUND TRUE)
