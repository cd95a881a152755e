// SPDX-License-Identifier: ISC
// The options for what stands around the amplifier: input trim, gate and output level.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <string_view>

#include "rig/rig_parameters.h"

namespace quellard {

// As they were typed; "" leaves a value as it is.
struct RigOptions {
  std::string input;   // dB
  std::string gate;    // dBFS, or "off"
  std::string output;  // dB
};

// Adds --input, --gate and --output. options must live until the command line is parsed.
void addRigOptions(CLI::App& command, RigOptions& options);

// The value, 0..1, that a text gives to kInputParameter, kGateParameter or kOutputParameter. name:
// for messages. Throws UsageError.
float parseRigValue(int parameter, const char* name, std::string_view text);

// Sets the values that the options name. Throws UsageError.
void applyRig(const RigOptions& options, HostedValues& values);

}  // namespace quellard
