# zamxml_warnings(<target>) sets the warnings that every target here has.
function(zamxml_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion
                                           $<$<BOOL:${ZAMXML_WERROR}>:-Werror>)
endfunction()
