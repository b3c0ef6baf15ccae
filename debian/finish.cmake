# Runs on the staged trees: strips static libraries, because CPack strips only programs and shared libraries; compresses
# the files that Debian wants compressed; and gives every file the date of the release, so that two builds make equal
# packages.
file(GLOB_RECURSE archives ${CPACK_TEMPORARY_DIRECTORY}/*.a)
foreach(archive IN LISTS archives)
  execute_process(COMMAND strip --strip-debug --enable-deterministic-archives ${archive} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
file(GLOB_RECURSE everything LIST_DIRECTORIES true ${CPACK_TEMPORARY_DIRECTORY}/*)
set(texts ${everything})
list(FILTER texts INCLUDE REGEX "/share/man/man1/[^/]*\\.1$|/share/doc/[^/]*/(changelog|CHANGELOG\\.md)$")
foreach(text IN LISTS texts)
  execute_process(COMMAND gzip -9n ${text} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
file(GLOB_RECURSE everything LIST_DIRECTORIES true ${CPACK_TEMPORARY_DIRECTORY}/*)
execute_process(COMMAND touch -h -d @$ENV{SOURCE_DATE_EPOCH} ${everything} COMMAND_ERROR_IS_FATAL ANY)
