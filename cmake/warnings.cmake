# Warnings are errors with every compiler that builds the project.
add_library(quellard_warnings INTERFACE)
target_compile_options(quellard_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Werror
  -Wconversion -Wsign-conversion -Wdouble-promotion -Wshadow
  -Wnon-virtual-dtor -Woverloaded-virtual -Wold-style-cast -Wundef)
