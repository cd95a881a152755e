# The commands that README.md shows, run as they stand.
if(QUELLARD_TOOLS AND CMAKE_SIZEOF_VOID_P EQUAL 8 AND NOT WIN32)
  add_test(NAME readme.CommandsRunAsShown
           COMMAND ${PROJECT_SOURCE_DIR}/scripts/readme ${PROJECT_BINARY_DIR} ${Python_EXECUTABLE})
  set(timeout 600)
  if(CMAKE_CROSSCOMPILING)
    set(timeout 3600)
  endif()
  set_tests_properties(readme.CommandsRunAsShown PROPERTIES TIMEOUT ${timeout})
endif()
