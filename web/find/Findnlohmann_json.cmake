# The target is made in web/dependencies.cmake.
set(nlohmann_json_FOUND TRUE)
