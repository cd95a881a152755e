# Debian's fmt for programs that cannot link its library: its headers hold all of it.
find_path(FMT_INCLUDE_DIR fmt/format.h REQUIRED)
foreach(name IN ITEMS fmt fmt-header-only)
  add_library(fmt::${name} INTERFACE IMPORTED)
  target_compile_definitions(fmt::${name} INTERFACE FMT_HEADER_ONLY=1)
  target_include_directories(fmt::${name} INTERFACE ${FMT_INCLUDE_DIR})
endforeach()
