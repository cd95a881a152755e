// SPDX-License-Identifier: ISC
// The parameters around the amplifier, numbered behind its own twenty, and what their values mean.
// Hosts store automation by the numbers: they never change. Values are kept from 0 to 1, like those
// of the amplifier. Any thread; nothing here allocates.
#pragma once

#include <array>
#include <optional>

#include "params/parameter_text.h"
#include "params/parameter_values.h"

namespace quellard {

inline constexpr int kBypassParameter = 20;  // 0 or 1; 1 takes the amplifier out
inline constexpr int kInputParameter = 21;   // a trim in front of everything
inline constexpr int kGateParameter = 22;    // the gate's threshold; 0 is off
inline constexpr int kOutputParameter = 23;  // the level behind everything
inline constexpr int kNumHostedValues = 23;

using HostedValues = PerParameter<float, kNumHostedValues>;  // 1..19 are the amplifier's own

// "Clean Presence" ... "Channel", "Bypass" ... "Output"; empty for other parameters.
Title hostedTitle(int index);

constexpr bool isHosted(int index) { return index >= 1 && index <= kNumHostedValues; }

constexpr bool isBypassed(float value) { return value >= 0.5F; }

struct RigParameterInfo {
  int index;
  const char* title;  // as hosts show it
  const char* word;   // as players write it
  float neutral;      // the value at which it changes nothing
};
inline constexpr std::array<RigParameterInfo, 4> kRigParameters = {{
    {kBypassParameter, "Bypass", "bypass", 0.0F},
    {kInputParameter, "Input", "input", 0.5F},  // 0 dB
    {kGateParameter, "Gate", "gate", 0.0F},     // off
    {kOutputParameter, "Output", "output", 0.5F},
}};

// Null for any other index.
constexpr const RigParameterInfo* rigParameterInfo(int index) {
  for (const RigParameterInfo& info : kRigParameters) {
    if (info.index == index) return &info;
  }
  return nullptr;
}

// The value at which one of these changes nothing.
constexpr float neutralValue(int index) { return rigParameterInfo(index)->neutral; }

constexpr HostedValues defaultHostedValues() {
  HostedValues values;
  for (int index = 1; index <= kNumHostedValues; ++index) {
    values[index] = isStored(index) ? defaultValue(index) : neutralValue(index);
  }
  return values;
}

// The amplifier's own of these, and these with the amplifier's own replaced.
constexpr ParameterValues amplifierValues(const HostedValues& values) {
  ParameterValues own;
  for (int index = 1; index <= kNumStoredValues; ++index) own[index] = values[index];
  return own;
}
constexpr HostedValues withAmplifier(HostedValues values, const ParameterValues& own) {
  for (int index = 1; index <= kNumStoredValues; ++index) values[index] = own[index];
  return values;
}

// Input and output: -24 to +24 dB. Other decibels are limited to that.
inline constexpr double kMostLevel_db = 24.0;
constexpr double levelFromValue_db(float value) {
  return (static_cast<double>(value) * 2.0 - 1.0) * kMostLevel_db;
}
constexpr float valueFromLevel_db(double level) {
  const double limited =
      level > -kMostLevel_db ? (level < kMostLevel_db ? level : kMostLevel_db) : -kMostLevel_db;
  return static_cast<float>((limited / kMostLevel_db + 1.0) / 2.0);
}

// The gate: a threshold of -80 to -30 dBFS, where a full-scale sine is at 0. The lowest decibel of
// its range is off, so that one control sets both.
inline constexpr double kLowestGate_dbfs = -80.0;
inline constexpr double kHighestGate_dbfs = -30.0;
inline constexpr double kGateOff_dbfs = kLowestGate_dbfs - 1.0;

// Nothing where the gate is off.
constexpr std::optional<double> gateFromValue_dbfs(float value) {
  const double threshold =
      kGateOff_dbfs + static_cast<double>(value) * (kHighestGate_dbfs - kGateOff_dbfs);
  // Half a hundredth of a decibel is the tolerance for rounding to a float and back.
  if (threshold < kLowestGate_dbfs - 0.005) return std::nullopt;
  return threshold;
}
constexpr float valueFromGate_dbfs(double threshold) {
  if (!(threshold >= kLowestGate_dbfs - 0.005)) return 0.0F;
  const double limited = threshold < kHighestGate_dbfs ? threshold : kHighestGate_dbfs;
  return static_cast<float>((limited - kGateOff_dbfs) / (kHighestGate_dbfs - kGateOff_dbfs));
}

}  // namespace quellard
