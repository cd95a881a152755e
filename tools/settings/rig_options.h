// SPDX-License-Identifier: ISC
// The options for what stands around the amplifier: input trim, gate, cabinet and output level.
#pragma once

#include <string>
#include <string_view>

#include "rig/rig_parameters.h"
#include "tools/common/command_line_parser.h"
#include "tools/settings/cabinet_choice.h"

namespace quellard {

// As they were typed; "" leaves a value as it is.
struct RigOptions {
  std::string input;     // dB
  std::string gate;      // dBFS, or "off"
  std::string output;    // dB
  std::string cab;       // a file, or "none"
  std::string cabLevel;  // dB
};

// Adds --input, --gate, --cab, --cab-level and --output. options must live until the command line
// is parsed.
void addRigOptions(CLI::App& command, RigOptions& options);

// The value, 0..1, that a text gives to kInputParameter, kGateParameter or kOutputParameter. name:
// for messages. Throws UsageError.
float parseRigValue(int parameter, const char* name, std::string_view text);

// "off", or the shortest decimal that parseRigValue() reads as this value.
std::string rigValueText(int parameter, float value);

// Sets the values that the options name. Throws UsageError.
void applyRig(const RigOptions& options, HostedValues& values);

// Changes what the options name of a cabinet; no cabinet has the level 0. Throws UsageError.
void applyCabinet(const RigOptions& options, CabinetChoice& cabinet);

}  // namespace quellard
