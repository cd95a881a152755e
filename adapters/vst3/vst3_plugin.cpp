// SPDX-License-Identifier: ISC
// The amplifier for VST3 hosts, behind the framework's wrapper. That wrapper is single precision:
// hosts hear the amplifier's doubles rounded to floats.
#include <array>
#include <atomic>
#include <memory>

#include "adapters/shared/value_text.h"
#include "adapters/vst3/framework.h"
#include "params/factory_bank.h"
#include "rig/hosted_amp.h"

namespace quellard {
namespace {

constexpr float kKnobScale = 10.0F;
constexpr std::uint32_t kPrograms = kNumFactoryPresets + 1;  // in front, a new amplifier's settings

// Parameter i of the amplifier is i-1 here.
int indexOf(std::uint32_t number) { return static_cast<int>(number) + 1; }

float defaultControl(int index) {
  if (index == kTypeParameter) return static_cast<float>(channelFromSelect(kTypeDefault));
  return kKnobDefault * kKnobScale;
}

float presetControl(const FactoryPreset& preset, int index) {
  const ParameterInfo& parameter = kParameters[static_cast<std::size_t>(index)];
  if (index == kTypeParameter) return static_cast<float>(preset.channel);
  if (parameter.channel != preset.channel) return defaultControl(index);
  return static_cast<float>(preset.knobs[static_cast<std::size_t>((index - 1) % kKnobsPerChannel)]);
}

class Vst3Plugin final : public DISTRHO_NAMESPACE::Plugin {
 public:
  Vst3Plugin() : Plugin(kNumStoredValues, kPrograms, 0), amp_(QUELLARD_SIDES) { loadProgram(0); }

 protected:
  const char* getLabel() const override {
    return QUELLARD_SIDES == 1 ? "quellard" : "quellard_stereo";
  }
  const char* getMaker() const override { return "Quellard"; }
  const char* getLicense() const override { return "ISC"; }
  std::uint32_t getVersion() const override { return d_version(1, 0, 0); }
  std::int64_t getUniqueId() const override {
    return QUELLARD_SIDES == 1 ? d_cconst('Q', 'U', 'L', 'L') : d_cconst('Q', 'U', 'L', 'S');
  }

  void initAudioPort(bool input, std::uint32_t index, DISTRHO_NAMESPACE::AudioPort& port) override {
    port.groupId = QUELLARD_SIDES == 1 ? DISTRHO_NAMESPACE::kPortGroupMono
                                       : DISTRHO_NAMESPACE::kPortGroupStereo;
    Plugin::initAudioPort(input, index, port);
  }

  void initParameter(std::uint32_t number, DISTRHO_NAMESPACE::Parameter& parameter) override {
    const ParameterInfo& info = kParameters[static_cast<std::size_t>(indexOf(number))];
    parameter.hints = DISTRHO_NAMESPACE::kParameterIsAutomatable;
    parameter.symbol = info.symbol;
    parameter.ranges.def = defaultControl(info.index);
    parameter.ranges.min = 0.0F;
    if (info.index == kTypeParameter) return initSelector(parameter);
    parameter.ranges.max = kKnobScale;
    parameter.name = kChannelNames[static_cast<std::size_t>(info.channel)];
    parameter.name += " ";
    parameter.name += info.name;
    parameter.shortName = info.name;
  }

  void initProgramName(std::uint32_t program, DISTRHO_NAMESPACE::String& name) override {
    name = program == 0 ? "Init" : kFactoryBank[program - 1].name;
  }

  void loadProgram(std::uint32_t program) override {
    for (std::uint32_t number = 0; number < kNumStoredValues; ++number) {
      const int index = indexOf(number);
      setParameterValue(number, program == 0 ? defaultControl(index)
                                             : presetControl(kFactoryBank[program - 1], index));
    }
  }

  // As the host set it: worked out from the amplifier's value it could be a bit away, and a project
  // would change with every save.
  float getParameterValue(std::uint32_t number) const override { return controls_[number]; }
  void setParameterValue(std::uint32_t number, float control) override {
    controls_[number] = control;
    amp_.setValue(indexOf(number), valueFromControl(indexOf(number), control));
  }

  // Hosts may pause and go on in the audio thread, where nothing is to be built.
  void activate() override {
    const double rate = getSampleRate();
    const auto frames = static_cast<int>(getBufferSize());
    if (rate == amp_.rate() && frames == frames_) return amp_.reset();
    if (amp_.prepare(rate, frames)) frames_ = frames;
  }

  void run(const float** inputs, float** outputs, std::uint32_t frames) override {
    std::array<float*, QUELLARD_SIDES> in{};
    for (std::size_t i = 0; i < in.size(); ++i) in[i] = const_cast<float*>(inputs[i]);
    amp_.play({.floats = in.data(), .count = QUELLARD_SIDES},
              {.floats = outputs, .count = QUELLARD_SIDES}, 0, static_cast<int>(frames));
  }

 private:
  static void initSelector(DISTRHO_NAMESPACE::Parameter& parameter) {
    using Step = DISTRHO_NAMESPACE::ParameterEnumerationValue;
    parameter.hints |= DISTRHO_NAMESPACE::kParameterIsInteger;
    parameter.name = "Channel";
    parameter.ranges.max = kNumChannels - 1;
    auto steps = std::make_unique<Step[]>(kNumChannels);
    for (std::size_t i = 0; i < kNumChannels; ++i) {
      steps[i].value = static_cast<float>(i);
      steps[i].label = kChannelNames[i];
    }
    parameter.enumValues.count = kNumChannels;
    parameter.enumValues.restrictedMode = true;
    parameter.enumValues.values = steps.release();  // the framework deletes it
  }

  HostedAmp amp_;
  int frames_ = 0;  // that the amplifier is prepared for
  std::array<std::atomic<float>, kNumStoredValues> controls_{};
};

}  // namespace
}  // namespace quellard

START_NAMESPACE_DISTRHO

Plugin* createPlugin() { return std::make_unique<quellard::Vst3Plugin>().release(); }

END_NAMESPACE_DISTRHO
