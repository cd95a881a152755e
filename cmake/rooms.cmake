# The direction of includes, as a test, and a tree that breaks it, so that the check is known to see.
set(rooms ${PROJECT_SOURCE_DIR}/scripts/rooms)
set(crooked ${PROJECT_BINARY_DIR}/crooked_rooms)
file(WRITE ${crooked}/dsp/crooked.h "#include \"engine/amplifier.h\"\n")
file(WRITE ${crooked}/engine/straight.h "#include \"dsp/taper.h\"\n")

add_test(NAME rooms.IncludesPointOneWay COMMAND ${rooms})
add_test(NAME rooms.ABackwardIncludeIsSeen COMMAND ${rooms} ${crooked})
set_tests_properties(rooms.ABackwardIncludeIsSeen PROPERTIES
  PASS_REGULAR_EXPRESSION "^dsp/crooked.h:1: dsp may not include \"engine/amplifier.h\"[^\n]*\n$")
