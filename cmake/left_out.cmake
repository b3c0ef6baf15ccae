# Optional parts of the build: what is not built for want of a package is named in one line.

# Notes that a part is not built. `part` names it and, in brackets, the packages that it needs.
function(left_out part)
  set_property(GLOBAL APPEND PROPERTY DIPX_LEFT_OUT "${part}")
endfunction()

# Prints one line with all parts that are not built.
function(name_what_is_left_out)
  get_property(parts GLOBAL PROPERTY DIPX_LEFT_OUT)
  if(parts)
    list(JOIN parts ", " parts)
    message(STATUS "Not built: ${parts}. scripts/setup.sh installs what they need.")
  endif()
endfunction()
