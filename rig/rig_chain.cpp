// SPDX-License-Identifier: ISC
#include "rig/rig_chain.h"

#include "rig/samples.h"

namespace quellard {

void RigChain::prepare(double rate, int maxFrames) {
  gate_.prepare(rate, maxFrames);  // first, as it may throw
  cabinet_.prepare(rate);
  input_.prepare(rate);
  output_.prepare(rate);
}

void RigChain::jumpTo(const HostedValues& values) {
  values_ = values;
  input_.jumpTo(gainOf(values[kInputParameter]));
  output_.jumpTo(gainOf(values[kOutputParameter]));
  setThreshold(values[kGateParameter]);
  gate_.reset();
  cabinet_.reset();
}

// Decibels are turned into gains only where something moved: that takes longer than the rest.
void RigChain::moveTo(const HostedValues& values) {
  const auto moved = [&](int index) { return values[index] != values_[index]; };
  if (moved(kInputParameter)) input_.moveTo(gainOf(values[kInputParameter]));
  if (moved(kOutputParameter)) output_.moveTo(gainOf(values[kOutputParameter]));
  if (moved(kGateParameter)) setThreshold(values[kGateParameter]);
  values_ = values;
}

void RigChain::setThreshold(float value) {
  const std::optional<double> threshold = gateFromValue_dbfs(value);
  gate_.setThreshold(threshold.has_value() ? gainFromDecibels(*threshold) : 0.0);
}

void RigChain::processInput(std::span<double* const> sides, int frames) {
  for (double* samples : sides) {
    limitInput(samples, frames);
    if (input_.isNeutral()) continue;
    input_.apply(samples, frames);
    limitInput(samples, frames);
  }
  input_.advance(frames);
  gate_.detect(sides, frames);
}

void RigChain::processOutput(std::span<double* const> sides, int frames) {
  if (!gate_.isNeutral()) {
    for (double* samples : sides) gate_.apply(samples, frames);
  }
  cabinet_.process(sides, frames);
  if (!output_.isNeutral()) {
    for (double* samples : sides) output_.apply(samples, frames);
  }
  output_.advance(frames);
}

}  // namespace quellard
