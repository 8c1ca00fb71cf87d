# zamxml_warnings(<target>): the one set of warnings, for everything built here.
function(zamxml_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion
                                           $<$<BOOL:${ZAMXML_WERROR}>:-Werror>)
endfunction()
