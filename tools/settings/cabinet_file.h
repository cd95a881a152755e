// SPDX-License-Identifier: ISC
// Impulse responses of cabinets from audio files.
#pragma once

#include "rig/cabinet/cabinet.h"
#include "tools/settings/cabinet_choice.h"

namespace quellard {

// Loads a choice into a cabinet that was prepared for this rate, in Hz: any rate that a file has is
// converted to it. Throws FileError with the reason, for instance for a file that is missing, is no
// audio, has more than two channels or is silent; then the cabinet stays as it was.
void loadCabinet(const CabinetChoice& choice, double rate, int sides, Cabinet& cabinet);

// Throws FileError for a file that is no cabinet.
void checkCabinet(const CabinetChoice& choice);

}  // namespace quellard
