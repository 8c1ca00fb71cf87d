# zamxml_warnings(<target>) sets the warnings that every target here has. g++ takes the files of a
# unity build for headers, whose classes should not have members of unnamed namespaces.
function(zamxml_warnings target)
  target_compile_options(
    ${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion
                      $<$<AND:$<BOOL:${CMAKE_UNITY_BUILD}>,$<CXX_COMPILER_ID:GNU>>:-Wno-subobject-linkage>
                      $<$<BOOL:${ZAMXML_WERROR}>:-Werror>)
endfunction()
