# cmake -D CHECK=<check_layers.cmake> -D WORK=<scratch folder> -P layer_violations.cmake
#
# The check of the floors must refuse each of these lines, put into a tree that it accepts.
cmake_minimum_required(VERSION 3.25)

file(REMOVE_RECURSE ${WORK})
foreach(header IN ITEMS include/ZAMXMLData.h include/zamxml/document.h include/zamxml/records.h
                        include/zamxml/platform/text.h src/records/field.h src/changes/item.h)
  file(WRITE ${WORK}/${header} "#pragma once\n")
endforeach()
file(WRITE ${WORK}/src/records/name.cpp
     "#include <cstring>\n#include \"field.h\"\n#include \"zamxml/platform/text.h\"\n")
file(WRITE ${WORK}/src/platform/reader.cpp "#include <libxml/parser.h>\n#include <pugixml.hpp>\n")
file(WRITE ${WORK}/src/platform/posix_text.cpp "#include <iconv.h>\n")
file(WRITE ${WORK}/tests/text.cpp "#include <ZAMXMLData.h>\n#include <unistd.h>\n")

function(check result output)
  execute_process(COMMAND ${CMAKE_COMMAND} -D TREE=${WORK} -P ${CHECK} RESULT_VARIABLE code
                  OUTPUT_VARIABLE text ERROR_VARIABLE text)
  set(${result} ${code} PARENT_SCOPE)
  set(${output} "${text}" PARENT_SCOPE)
endfunction()

check(code text)
if(NOT code EQUAL 0)
  message(FATAL_ERROR "a sound tree is refused:\n${text}")
endif()

# file | the include that breaks a rule | a piece of the reason
foreach(
  row IN
  ITEMS "src/records/new.cpp|\"zamxml/document.h\"|upward"
        "src/records/new.cpp|<ZAMXMLData.h>|upward"
        "src/records/new.cpp|\"changes/item.h\"|upward"
        "src/records/new.cpp|\"../changes/item.h\"|without"
        "src/records/new.cpp|<pugixml.hpp>|standard library"
        "src/document/new.cpp|<unistd.h>|standard library"
        "src/platform/new.cpp|<unistd.h>|system headers"
        "src/platform/new.cpp|\"records/field.h\"|upward"
        "src/extra/new.cpp|\"records/field.h\"|no floor"
        "include/zamxml/changes.h|\"zamxml/document.h\"|upward"
        "include/zamxml/changes.h|\"records/field.h\"|public headers only"
        "include/zamxml/changes.h|<pugixml.hpp>|standard library"
        "include/zamxml/platform/xml.h|<sys/stat.h>|standard library"
        "tests/records/new.cpp|\"records/field.h\"|public headers only"
        "tests/records/new.cpp|<pugixml.hpp>|src/platform alone"
        "tools/zamxml/new.cpp|\"changes/item.h\"|public headers only"
        "bench/new.cpp|<utf8.h>|src/platform alone"
        "examples/new.cpp|<unistd.h>|standard library")
  string(REPLACE "|" ";" row "${row}")
  list(GET row 0 file)
  list(GET row 1 include)
  list(GET row 2 reason)
  file(WRITE ${WORK}/${file} "  #  include ${include}\n")
  check(code text)
  string(REGEX REPLACE "[ \n]+" " " text "${text}")
  if(code EQUAL 0 OR NOT text MATCHES "${reason}")
    message(SEND_ERROR "${file} may include ${include}: ${text}")
  endif()
  file(REMOVE ${WORK}/${file})
endforeach()
