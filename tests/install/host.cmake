# cmake -D WAY=<way> -D WORK=<folder> -D SAMPLE=<document> -D SETTINGS=<cache settings>
#       -P host.cmake
#
# Builds the host with a library that it gets in that way, runs it, and installs it: nothing of the
# library goes along.
file(REMOVE_RECURSE ${WORK})
foreach(step IN ITEMS "-S;${CMAKE_CURRENT_LIST_DIR}/host;-B;${WORK};-DWAY=${WAY};${SETTINGS}"
                      "--build;${WORK};--parallel;2" "--install;${WORK};--prefix;${WORK}/installed")
  execute_process(COMMAND ${CMAKE_COMMAND} ${step} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
execute_process(COMMAND ${WORK}/host ${SAMPLE} COMMAND_ERROR_IS_FATAL ANY)

file(GLOB_RECURSE installed RELATIVE ${WORK}/installed ${WORK}/installed/*)
if(NOT installed STREQUAL "bin/host")
  message(FATAL_ERROR "installed besides the host: ${installed}")
endif()
