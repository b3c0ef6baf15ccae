# The target is made in the list of dependencies that the system's build includes.
set(fmt_FOUND TRUE)
