# cmake -D NM=<nm> -D LIBRARY=<shared library> -D VERSION=<version> [-D RENEW=ON]
#       -P check_exports.cmake
#
# Compares what the library exports with symbols.list: each symbol, and the version that it came
# with. Fails where they differ; with RENEW, writes the list anew. Weak functions do not count: they
# are instantiations, which a compiler may inline or leave.
cmake_minimum_required(VERSION 3.25)
set(list ${CMAKE_CURRENT_LIST_DIR}/symbols.list)

execute_process(COMMAND ${NM} -D --defined-only ${LIBRARY} OUTPUT_VARIABLE listing
                COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "[0-9a-f]+ [^W] [^\n]+" lines "${listing}")
list(TRANSFORM lines REPLACE "^[0-9a-f]+ [A-Za-z] " "" OUTPUT_VARIABLE exported)
list(SORT exported)

set(listed)
if(EXISTS ${list})
  file(STRINGS ${list} lines REGEX "^[^#]")
  foreach(line IN LISTS lines)
    string(REGEX REPLACE " .*" "" symbol "${line}")
    list(APPEND listed ${symbol})
    string(REGEX REPLACE ".* " "" version_of_${symbol} "${line}")
  endforeach()
endif()

if(RENEW)
  set(text "# What the shared library exports, and the version that each symbol came with.\n")
  foreach(symbol IN LISTS exported)
    if(NOT DEFINED version_of_${symbol})
      set(version_of_${symbol} ${VERSION})
    endif()
    string(APPEND text "${symbol} ${version_of_${symbol}}\n")
  endforeach()
  file(WRITE ${list} "${text}")
  return()
endif()

set(added ${exported})
list(REMOVE_ITEM added ${listed})
set(removed ${listed})
list(REMOVE_ITEM removed ${exported})
if(added OR removed)
  list(TRANSFORM added PREPEND "+ ")
  list(TRANSFORM removed PREPEND "- ")
  list(JOIN added "\n" added)
  list(JOIN removed "\n" removed)
  execute_process(COMMAND ${CMAKE_COMMAND} -E echo "${removed}\n${added}" COMMAND c++filt)
  message(NOTICE "A symbol that is gone breaks hosts: raise ZAMXML_ABI_VERSION. To renew the list:\n"
                 "cmake -D RENEW=ON -D NM=${NM} -D LIBRARY=${LIBRARY} -D VERSION=${VERSION} "
                 "-P ${CMAKE_CURRENT_LIST_FILE}")
  message(FATAL_ERROR "The library does not export what ${list} has.")
endif()
