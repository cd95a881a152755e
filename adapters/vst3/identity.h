// SPDX-License-Identifier: ISC
// The class and parameter ids that VST3 hosts store in projects and automation. They never change.
#pragma once

#include <travesty/base.h>

#include "rig/rig_parameters.h"

namespace quellard {

// The same text on every system, by which hosts store it; its bytes in memory stand in Windows'
// order on Windows.
inline constexpr v3_tuid kVst3MonoClass = V3_ID(0x20465044, 0x73616c63, 0x4c4c5551, 0x00000000);
inline constexpr v3_tuid kVst3StereoClass = V3_ID(0x20465044, 0x73616c63, 0x534c5551, 0x00000000);
inline constexpr char kVst3Vendor[] = "Quellard";

// Parameter ids; from 1 on the parameters of the amplifier and the rig.
inline constexpr v3_param_id kVst3Program = 0;
inline constexpr v3_param_id kVst3Bypass = kBypassParameter;
inline constexpr int kNumVst3Parameters = 1 + kNumHostedValues;

// Units: the root has what all channels share, and each channel has a unit for its knobs.
inline constexpr int kVst3RootUnit = 0;
constexpr int vst3UnitOf(int channel) { return channel + 1; }
inline constexpr int kNumVst3Units = 1 + kNumChannels;
inline constexpr int kVst3ProgramList = 1;

}  // namespace quellard
