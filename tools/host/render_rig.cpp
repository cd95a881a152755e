// SPDX-License-Identifier: ISC
#include "tools/host/render_rig.h"

#include <algorithm>
#include <cmath>

#include "params/parameter_values.h"
#include "params/sizes.h"
#include "tools/settings/cabinet_file.h"

namespace quellard {
namespace {

void apply(const std::vector<ParameterChange>& values, PluginInstance& amplifier) {
  for (const auto& [parameter, value] : values) amplifier.setParameter(parameter, value);
}

}  // namespace

void applyStart(PluginInstance& amplifier, const StartingPoint& start) {
  amplifier.setProgram(start.program);
  apply(start.changes, amplifier);
}

void preroll(PluginInstance& amplifier) {
  double nothing = 0.0;
  amplifier.process(&nothing, &nothing, 0);
}

RenderRig::RenderRig(const PluginModule& module, int channels, int rate,
                     const RigSettings& settings)
    : rate_(rate), step_(asSize(channels)) {
  for (int c = 0; c < channels; ++c) {
    amplifiers_.push_back(std::make_unique<PluginInstance>(module));
    applyStart(*amplifiers_.back(), settings.start);
    amplifiers_.back()->start(rate, settings.blockLength);
  }
  smoother_.prepare(rate);
  chain_.prepare(rate, settings.blockLength);
  changeCabinet(settings.cabinet);
  chain_.jumpTo(settings.values);
}

void RenderRig::changeCabinet(const CabinetChoice& choice) {
  loadCabinet(choice, rate_, channels(), chain_.cabinet());
}

void RenderRig::begin(const std::vector<ParameterChange>& start, bool withPreroll) {
  for (auto& amplifier : amplifiers_) {
    apply(start, *amplifier);
    if (withPreroll) preroll(*amplifier);
  }
  ParameterValues values;
  for (int index = 1; index <= kNumStoredValues; ++index) {
    values[index] = amplifiers_.front()->parameter(index);
  }
  smoother_.jumpTo(values);
}

void RenderRig::move(const std::vector<ParameterChange>& changes) {
  for (const auto& [parameter, value] : changes) smoother_.moveTo(parameter, value);
}

void RenderRig::process(std::span<double* const> sides, int frames) {
  const auto tell = [this](int index, float value) {
    for (auto& amplifier : amplifiers_) amplifier->setParameter(index, value);
  };
  for (int begin = 0; begin < frames;) {
    const int step = smoother_.nextStep(frames - begin, tell);
    processStep(sides, begin, step);
    begin += step;
  }
}

void RenderRig::measure(int frames) {
  for (const double* samples : step_) {
    for (int i = 0; i < frames; ++i) {
      if (std::isfinite(samples[i])) inputPeak_ = std::max(inputPeak_, std::abs(samples[i]));
    }
  }
}

void RenderRig::processStep(std::span<double* const> sides, int begin, int frames) {
  std::ranges::transform(sides, step_.begin(), [begin](double* side) { return side + begin; });
  chain_.processInput(step_, frames);
  if (measuresInput_) measure(frames);
  for (std::size_t c = 0; c < step_.size(); ++c) {
    amplifiers_[c]->process(step_[c], step_[c], frames);
  }
  chain_.processOutput(step_, frames);
}

}  // namespace quellard
