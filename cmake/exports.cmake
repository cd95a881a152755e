# quellard_export_symbols(MODULE MAP): the module exports the symbols that the version script MAP lists,
# and nothing else. Windows has such lists in a form of its own, which is made from the same file.
function(quellard_export_symbols module map)
  if(WIN32)
    file(STRINGS ${map} lines REGEX "^    [A-Za-z_]+;$")
    string(REPLACE "\\;" "\n" names "${lines}")
    string(REGEX REPLACE "[; ]" "" names "${names}")
    set(list ${CMAKE_CURRENT_BINARY_DIR}/${module}.def)
    file(CONFIGURE OUTPUT ${list} CONTENT "EXPORTS\n${names}\n")
    target_sources(${module} PRIVATE ${list})
  else()
    target_link_options(${module} PRIVATE -Wl,--version-script=${map})
  endif()
  if(NOT QUELLARD_SANITIZE)  # whose runtime lives in the program that loads the module
    target_link_options(${module} PRIVATE -Wl,--no-undefined)
  endif()
  set_property(TARGET ${module} APPEND PROPERTY LINK_DEPENDS ${map})
endfunction()
