# A sanitizer has to see the whole program, so it is set for every target at once. An installed
# sanitized library needs a host built with the same ZAMXML_SANITIZER_FLAGS.
if(ZAMXML_SANITIZE)
  set(ZAMXML_SANITIZER_FLAGS -fsanitize=${ZAMXML_SANITIZE} -fno-sanitize-recover=all)
  add_compile_options(${ZAMXML_SANITIZER_FLAGS} -fno-omit-frame-pointer)
  add_compile_definitions(_GLIBCXX_ASSERTIONS)
  add_link_options(${ZAMXML_SANITIZER_FLAGS})
endif()
