# Sanitizers and the counting of lines, for everything that is built below the root.
if(QUELLARD_SANITIZE)
  add_compile_options(-fsanitize=${QUELLARD_SANITIZE} -fno-sanitize-recover=all
                      -fno-omit-frame-pointer -g)
  add_link_options(-fsanitize=${QUELLARD_SANITIZE})
endif()
if(QUELLARD_COVERAGE)
  # Counted atomically, since tests play from several threads.
  add_compile_options(--coverage -fprofile-update=atomic -O0 -g)
  add_link_options(--coverage)
endif()
