// SPDX-License-Identifier: ISC
#include "face/layout.h"

#include <algorithm>
#include <vector>

namespace quellard {
namespace {

// From left to right as a guitarist reads an amplifier; the parameters have an order of their own.
constexpr std::array<int, kKnobsPerChannel> kKnobOrder = {kGainKnob, 1, 2, 3, 0, kMasterKnob};

constexpr float kFirstKnob_x = 250.0F;
constexpr float kKnobDistance = 127.0F;
constexpr float kKnobRadius = 25.0F;
constexpr float kRigKnobRadius = 21.0F;

// The rig's knobs have neighbours close by.
float halfWidthOf(int parameter) {
  if (parameter <= kNumKnobs) return 50.0F;
  return parameter == kGateParameter ? 34.0F : 42.0F;
}

Control knob(int parameter, int channel, Point center, float radius, const char* label) {
  const float half = halfWidthOf(parameter);
  Control control = {
      ControlKind::knob,
      parameter,
      channel,
      center,
      radius,
      {center.x - half, center.y - radius - 31.0F, 2.0F * half, 2.0F * radius + 57.0F},
      label};
  control.value = {center.x - 32.0F, center.y + radius + 7.0F, 64.0F, 18.0F};
  control.isBipolar = parameter == kInputParameter || parameter == kOutputParameter;
  return control;
}

Control button(ControlKind kind, const Rect& area, int parameter = 0, int channel = -1) {
  return {kind, parameter, channel, area.center(), 0.0F, area, ""};
}

void addStrip(std::vector<Control>& all, int channel) {
  const Rect& strip = at(kStrips, channel);
  all.push_back(button(ControlKind::channel, {strip.x + 10.0F, strip.y + 40.0F, 172.0F, 48.0F},
                       kTypeParameter, channel));
  float x = kFirstKnob_x;
  for (const int number : kKnobOrder) {
    const int parameter = knobIndex(channel, number);
    all.push_back(
        knob(parameter, channel, {x, strip.y + 66.0F}, kKnobRadius, parameterInfo(parameter).name));
    x += kKnobDistance;
  }
}

std::vector<Control> allControls() {
  std::vector<Control> all;
  all.push_back(button(ControlKind::previousPreset, {302, 18, 40, 34}));
  all.push_back(button(ControlKind::presetName, {342, 18, 276, 34}));
  all.push_back(button(ControlKind::nextPreset, {618, 18, 40, 34}));
  all.push_back(button(ControlKind::bypass, kBypassButton, kBypassParameter));
  for (int channel = 0; channel < kNumChannels; ++channel) addStrip(all, channel);
  all.push_back(knob(kInputParameter, -1, {70, 540}, kRigKnobRadius, "INPUT"));
  all.push_back(knob(kGateParameter, -1, {372, 540}, kRigKnobRadius, "GATE"));
  all.push_back(knob(kOutputParameter, -1, {890, 540}, kRigKnobRadius, "OUTPUT"));
  all.push_back(button(ControlKind::inputMeter, kInputMeter));
  all.push_back(button(ControlKind::outputMeter, kOutputMeter));
  return all;
}

// Of the first control that is so; -1 where none is.
template <typename IsSo>
int placeOf(const IsSo& isSo) {
  const auto found = std::ranges::find_if(controls(), isSo);
  return found != controls().end() ? static_cast<int>(found - controls().begin()) : -1;
}

}  // namespace

std::span<const Control> controls() {
  static const std::vector<Control> kAll = allControls();
  return kAll;
}

int controlAt(Point point) {
  return placeOf([point](const Control& control) { return control.area.contains(point); });
}

int knobControl(int parameter) {
  return placeOf([parameter](const Control& control) {
    return control.kind == ControlKind::knob && control.parameter == parameter;
  });
}

int controlOf(ControlKind kind, int channel) {
  return placeOf([kind, channel](const Control& control) {
    return control.kind == kind && control.channel == channel;
  });
}

Rect bubbleArea(const Control& control) {
  return {control.center.x - 38.0F, control.center.y - control.radius - 36.0F, 76.0F, 24.0F};
}

Rect drawnArea(const Control& control) {
  if (control.kind != ControlKind::knob) return control.area.grownBy(6.0F);
  return control.area.grownBy(4.0F).unitedWith(bubbleArea(control).grownBy(6.0F));
}

}  // namespace quellard
