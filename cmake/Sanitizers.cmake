# A sanitizer must see the whole program, so every target gets it. A host of an installed sanitized
# library needs the same ZAMXML_SANITIZER_FLAGS.
if(ZAMXML_SANITIZE)
  set(ZAMXML_SANITIZER_FLAGS -fsanitize=${ZAMXML_SANITIZE} -fno-sanitize-recover=all)
  add_compile_options(${ZAMXML_SANITIZER_FLAGS} -fno-omit-frame-pointer)
  add_compile_definitions(_GLIBCXX_ASSERTIONS)
  add_link_options(${ZAMXML_SANITIZER_FLAGS})
endif()
