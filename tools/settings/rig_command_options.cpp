// SPDX-License-Identifier: ISC
// Apart from what plug-ins take of rig_options.h, since they have no command line to add to.
#include <CLI/CLI.hpp>

#include "tools/settings/rig_options.h"
#include "tools/settings/settings_options.h"

namespace quellard {

void addRigOptions(CLI::App& command, RigOptions& options) {
  const auto add = [&](const char* name, std::string& value, const char* type, const char* help) {
    addValue(command, name, value, type, help, "Around the amplifier");
  };
  add("--input", options.input, "DB", "Trim of the guitar, -24 to 24 dB (0)");
  add("--gate", options.gate, "DBFS",
      "Threshold of the noise gate at the trimmed guitar, -80 to -30 dBFS, or off (off)");
  add("--cab", options.cab, "FILE",
      "Impulse response of a cabinet, of any rate, mono or stereo; or none (none)");
  add("--cab-level", options.cabLevel, "DB",
      "Level of the cabinet, -24 to 24 dB; at 0 it is as loud as none (0)");
  add("--output", options.output, "DB", "Level behind everything, -24 to 24 dB (0)");
}

}  // namespace quellard
