# The direction of includes as a test, and a tree with every kind of forbidden include between two
# allowed ones, which shows that the check sees them.
set(check ${PROJECT_SOURCE_DIR}/scripts/check-includes)
set(crooked ${PROJECT_BINARY_DIR}/crooked_includes)
file(WRITE ${crooked}/dsp/crooked.h [=[
#include <cmath>
#include "engine/amplifier.h"
#include <engine/amplifier.h>
#include "../engine/amplifier.h"
#include "dsp/../engine/amplifier.h"
#  include AMPLIFIER_HEADER
#include "dsp/taper.h"
]=])

add_test(NAME includes.PointOneWay COMMAND ${check})
add_test(NAME includes.EveryForbiddenOneIsSeen
  COMMAND sh -c "\"$0\" \"$1\" || echo refused" ${check} ${crooked})
string(CONCAT expected
  "^dsp/crooked.h:2: dsp may not include \"engine/amplifier.h\" .only: dsp.\n"
  "dsp/crooked.h:3: <engine/amplifier.h> needs quotes\n"
  "dsp/crooked.h:4: dsp may not include \"../engine/amplifier.h\" .only: dsp.\n"
  "dsp/crooked.h:5: dsp may not include \"dsp/../engine/amplifier.h\" .only: dsp.\n"
  "dsp/crooked.h:6: AMPLIFIER_HEADER is a macro, which hides what is included\n"
  "refused\n$")
set_tests_properties(includes.EveryForbiddenOneIsSeen PROPERTIES
  PASS_REGULAR_EXPRESSION "${expected}")
