# quellard_precompile(PROGRAM HEADER...): the headers of libraries, compiled once for all programs that
# take them over by quellard_precompiled_by. What a source uses it includes all the same, for builds
# without QUELLARD_PRECOMPILE. g++ 12 finds faults in the library's own strings where its headers are
# precompiled, so the presets precompile for clang++ alone. A compiler cache does not see through a
# precompiled header, so it goes without.
if(QUELLARD_PRECOMPILE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(precompile ON)
endif()
function(quellard_precompile program)
  if(precompile)
    target_precompile_headers(${program} PRIVATE ${ARGN})
  endif()
endfunction()

function(quellard_precompiled_by program other)
  if(precompile)
    target_precompile_headers(${program} REUSE_FROM ${other})
  endif()
endfunction()
