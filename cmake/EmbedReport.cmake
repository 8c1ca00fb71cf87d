# zamxml_embed_report(<target>) compiles share/report into the target as one text: style and script
# go into the page, and their SHA-256 into its content security policy, so that a browser runs
# nothing else. As a script (cmake -P) it writes that source: -D FOLDER=<share/report> -D OUTPUT=<.cpp>
set(embed_report ${CMAKE_CURRENT_LIST_FILE})

function(zamxml_embed_report target)
  set(folder ${PROJECT_SOURCE_DIR}/share/report)
  set(output ${CMAKE_CURRENT_BINARY_DIR}/report_template.cpp)
  add_custom_command(
    OUTPUT ${output}
    COMMAND ${CMAKE_COMMAND} -D FOLDER=${folder} -D OUTPUT=${output} -P ${embed_report}
    DEPENDS ${embed_report} ${folder}/page.html ${folder}/page.css ${folder}/page.js
    COMMENT "Embedding share/report"
    VERBATIM)
  target_sources(${target} PRIVATE ${output})
  target_include_directories(${target} PRIVATE ${CMAKE_CURRENT_SOURCE_DIR})
  set_source_files_properties(${output} PROPERTIES SKIP_PRECOMPILE_HEADERS ON)
endfunction()

# The Base64 of the bytes that hexadecimal digits give.
function(to_base64 hex result)
  set(letters ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/)
  set(text)
  string(LENGTH ${hex} length)
  foreach(begin RANGE 0 ${length} 6)
    string(SUBSTRING ${hex} ${begin} 6 group)
    string(LENGTH "${group}" digits)
    string(SUBSTRING "${group}00000" 0 6 padded)
    math(EXPR count "${digits} / 2")
    foreach(place RANGE ${count})
      math(EXPR letter "(0x${padded} >> (18 - 6 * ${place})) & 63")
      string(SUBSTRING ${letters} ${letter} 1 letter)
      string(APPEND text ${letter})
    endforeach()
    math(EXPR missing "3 - ${count}")
    string(REPEAT "=" ${missing} padding)
    string(APPEND text "${padding}")
  endforeach()
  set(${result} "${text}" PARENT_SCOPE)
endfunction()

if(CMAKE_SCRIPT_MODE_FILE STREQUAL embed_report)
  file(READ ${FOLDER}/page.html page)
  foreach(kind style script)
    set(suffix css)
    if(kind STREQUAL "script")
      set(suffix js)
    endif()
    file(READ ${FOLDER}/page.${suffix} content)
    string(SHA256 hex "${content}")
    to_base64(${hex} hash)
    string(REPLACE "<!--${kind}-hash-->" "sha256-${hash}" page "${page}")
    string(REPLACE "<!--${kind}-->" "${content}" page "${page}")
  endforeach()
  file(WRITE ${OUTPUT} "#include \"report_template.h\"\n\n"
                       "const std::string_view ReportTemplate = R\"page(${page})page\";\n")
endif()
