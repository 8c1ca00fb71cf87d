# Called by cpack when the files of all packages are laid out: compresses man pages and changelogs.
file(GLOB_RECURSE files ${CPACK_TEMPORARY_DIRECTORY}/*)
list(FILTER files INCLUDE REGEX "/(man/man[0-9]/[^/]*|changelog)$")
if(NOT files)
  message(FATAL_ERROR "no man page and no changelog in ${CPACK_TEMPORARY_DIRECTORY}")
endif()
execute_process(COMMAND gzip -9n ${files} COMMAND_ERROR_IS_FATAL ANY)
