# The target is made in the list of dependencies that the system's build includes.
set(CLI11_FOUND TRUE)
