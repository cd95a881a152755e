# Errors in the presets and so in CI (CMAKE_COMPILE_WARNING_AS_ERROR), but not with a later compiler's
# new warnings on somebody else's machine.
add_library(quellard_warnings INTERFACE)
target_compile_options(quellard_warnings INTERFACE
  -Wall -Wextra -Wpedantic
  -Wconversion -Wsign-conversion -Wdouble-promotion -Wshadow
  -Wnon-virtual-dtor -Woverloaded-virtual -Wold-style-cast -Wundef
  # A final class has slots of its own in the table through which its host calls.
  $<$<AND:$<CXX_COMPILER_ID:Clang>,$<VERSION_GREATER_EQUAL:$<CXX_COMPILER_VERSION>,21>>:-Wno-unnecessary-virtual-specifier>)
