# No function is shared between instruction sets, as a test, and an archive in which one is, so that
# the check is known to see. Sanitizers and coverage add weak symbols of their own. The names are the
# same for Windows, whose objects know no weak symbols.
if(NOT APPLE AND NOT WIN32)
  set(shared ${PROJECT_BINARY_DIR}/pipeline_shared.cpp)
  file(CONFIGURE OUTPUT ${shared} CONTENT
    "template <class T> T twice(T x) { return x + x; }\ntemplate double twice(double);\n")
  add_library(quellard_shared_symbol STATIC ${shared})
  set(symbols ${PROJECT_SOURCE_DIR}/scripts/symbols)
  add_test(NAME symbols.InstructionSetsShareNone
           COMMAND ${symbols} $<TARGET_FILE:quellard_channels>)
  add_test(NAME symbols.ASharedOneIsSeen COMMAND ${symbols} $<TARGET_FILE:quellard_shared_symbol>)
  set_tests_properties(symbols.ASharedOneIsSeen PROPERTIES
    PASS_REGULAR_EXPRESSION "^weak and shared in the core for shared: _Z5twiceIdET_S0_\n$")
endif()
