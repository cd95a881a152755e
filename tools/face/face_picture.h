// SPDX-License-Identifier: ISC
// The face as a picture in a file, without a display.
#pragma once

#include <filesystem>
#include <string>

#include "rig/rig_parameters.h"
#include "tools/settings/cabinet_choice.h"

namespace quellard {

// Writes the face as it shows these values, with the cabinet's name, if there is one, and the
// preset that has the values or, where none has, the one of this name. scale: 1 is 960 x 600
// pixels. picture: ends in .png, otherwise UsageError. Throws FileError when it cannot be written.
void drawFace(const HostedValues& values, const CabinetChoice& cabinet, const std::string& preset,
              double scale, const std::filesystem::path& picture);

}  // namespace quellard
