# What every target of the tree is compiled with, tests and the reference included, and with it
# whatever links the engine: its headers hold code, too.
# The order of arithmetic is the sound: no fused multiply-add, no reassociation, and doubles that
# live in 64-bit registers on 32-bit x86 (the x87 unit would keep 80 bits between operations).
add_library(quellard_arithmetic INTERFACE)
target_compile_features(quellard_arithmetic INTERFACE cxx_std_20)
target_compile_options(quellard_arithmetic INTERFACE -ffp-contract=off -fno-fast-math)
if(CMAKE_SIZEOF_VOID_P EQUAL 4 AND CMAKE_SYSTEM_PROCESSOR MATCHES "^(i.86|x86|x86_64|AMD64)$")
  # Old 32-bit hosts align their stacks to 4 bytes, vectors want 16.
  target_compile_options(quellard_arithmetic INTERFACE -msse2 -mfpmath=sse -mstackrealign)
endif()
