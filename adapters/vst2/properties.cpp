// SPDX-License-Identifier: ISC
#include "adapters/vst2/properties.h"

#include <cstring>

#include "params/parameter_text.h"
#include "rig/rig_parameters.h"

namespace quellard {
namespace {

constexpr int kShortLabelLen = 7;
constexpr int kAbbreviationLen = 4;

// "Pres" for "Presence", the only one that does not fit.
void writeShortLabel(char* to, const char* title) {
  const bool fits = std::strlen(title) <= std::size_t{kShortLabelLen};
  copyText(to, title, fits ? kShortLabelLen : kAbbreviationLen);
}

void describeSteps(VstParameterProperties& continuous) {
  continuous.flags = kVstParameterUsesFloatStep;
  continuous.smallStepFloat = 0.001F;
  continuous.stepFloat = 0.01F;
  continuous.largeStepFloat = 0.1F;
}

void describeKnob(int channel, VstParameterProperties& knob) {
  describeSteps(knob);
  knob.flags |= kVstParameterSupportsDisplayCategory;
  knob.category = static_cast<std::int16_t>(channel + 1);  // 0: none
  knob.numParametersInCategory = kKnobsPerChannel;
  std::strcpy(knob.categoryLabel, channelTitle(channel).data());
}

void describeSelector(VstParameterProperties& selector) {
  selector.flags = kVstParameterUsesIntegerMinMax | kVstParameterUsesIntStep;
  selector.maxInteger = kNumChannels - 1;
  selector.stepInteger = 1;
  selector.largeStepInteger = 1;
}

}  // namespace

bool fillParameterProperties(int index, VstParameterProperties* properties) {
  if (properties == nullptr || !isHosted(index)) return false;
  *properties = {};
  if (isKnob(index)) {
    describeKnob(parameterInfo(index).channel, *properties);
  } else if (index == kTypeParameter) {
    describeSelector(*properties);
  } else {
    describeSteps(*properties);
  }
  properties->flags |= kVstParameterSupportsDisplayIndex;
  properties->displayIndex =
      static_cast<std::int16_t>(index > kBypassParameter ? index - 2 : index - 1);
  const Title title = hostedTitle(index);
  std::strcpy(properties->label, title.data());
  writeShortLabel(properties->shortLabel, (isKnob(index) ? controlTitle(index) : title).data());
  return true;
}

bool fillPinProperties(bool isInput, int channel, int sides, PinProperties* properties) {
  if (properties == nullptr || channel < 0 || channel >= sides) return false;
  *properties = {};
  const bool stereo = sides == 2;
  properties->flags = kPinIsActive | kPinUsesSpeaker | (stereo && channel == 0 ? kPinIsStereo : 0);
  properties->arrangement = stereo ? 1 : 0;  // the interface's codes for stereo and mono
  std::strcpy(properties->label, isInput ? "Guitar" : "Amplifier");
  if (stereo) std::strcat(properties->label, channel == 0 ? " Left" : " Right");
  std::strcpy(properties->shortLabel, isInput ? "In" : "Out");
  if (stereo) std::strcat(properties->shortLabel, channel == 0 ? " L" : " R");
  return true;
}

}  // namespace quellard
