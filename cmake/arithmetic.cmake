# The order of arithmetic is the sound: no fused multiply-add, no reassociation, and doubles that
# live in 64-bit registers on 32-bit x86, too (the x87 unit would keep 80 bits between operations).
# Everything in the tree is compiled so, tests and the reference included.
add_compile_options(-ffp-contract=off -fno-fast-math)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(i.86|x86)$" OR CMAKE_CXX_FLAGS MATCHES "-m32")
  # Old 32-bit hosts align their stacks to 4 bytes, vectors want 16.
  add_compile_options(-msse2 -mfpmath=sse -mstackrealign)
endif()

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
