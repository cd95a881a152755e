# Debian's fmt for programs that cannot link its library, compiled from its headers: once, since every
# source that holds all of it takes some 2.5 seconds longer.
if(TARGET fmt::fmt)
  return()
endif()
find_path(FMT_INCLUDE_DIR fmt/format.h REQUIRED)
add_library(fmt_from_headers STATIC EXCLUDE_FROM_ALL ${CMAKE_SOURCE_DIR}/tools/windows/fmt.cpp)
target_compile_features(fmt_from_headers PUBLIC cxx_std_20)
target_include_directories(fmt_from_headers SYSTEM PUBLIC ${FMT_INCLUDE_DIR})
add_library(fmt::fmt ALIAS fmt_from_headers)
add_library(fmt::fmt-header-only ALIAS fmt_from_headers)
