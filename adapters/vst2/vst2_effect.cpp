// SPDX-License-Identifier: ISC
#include "adapters/vst2/vst2_effect.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <optional>
#include <span>

#include "adapters/shared/program_list.h"
#include "adapters/vst2/properties.h"
#include "params/parameter_text.h"
#include "params/sizes.h"
#include "rig/value_text.h"

namespace quellard {
namespace {

constexpr auto kRelaxed = std::memory_order_relaxed;
constexpr std::intptr_t kPrecision64 = 1;  // 0: 32 bits

// Writes the text and its terminator and no byte more, since hosts do not say how long their
// buffers are. The published interface has 8 characters for a parameter's name; today's hosts
// provide 24 and more, so "Vintage Presence" may take 17 bytes.
bool write(char* to, const char* text) {
  if (to == nullptr) return false;
  std::strcpy(to, text);
  return true;
}

AudioChannels channelsOf(float** channels, int count) {
  return {.floats = channels, .count = count};
}
AudioChannels channelsOf(double** channels, int count) {
  return {.doubles = channels, .count = count};
}

}  // namespace

AEffect* Vst2Effect::create(audioMasterCallback host, const Vst2Variant& variant) try {
  if (host == nullptr || host(nullptr, audioMasterVersion, 0, 0, nullptr, 0.0F) == 0) {
    return nullptr;
  }
  // The host holds the effect through its record until effClose.
  std::unique_ptr<Vst2Effect> effect(new Vst2Effect(host, variant));
  return &effect.release()->record_;
} catch (...) {
  return nullptr;
}

Vst2Effect::Vst2Effect(audioMasterCallback host, const Vst2Variant& variant)
    : variant_(variant),
      amp_(variant.sides),
      editor_(amp_, record_, host, program_, shownPreset_, variant.name) {
  record_.magic = kEffectMagic;
  record_.dispatcher = dispatch;
  // The accumulating call of older interfaces, which VST 2.4 hosts do not make.
  record_.process = [](AEffect*, float**, float**, std::int32_t) {};
  record_.setParameter = [](AEffect* record, std::int32_t index, float value) {
    if (Vst2Effect* self = of(record)) self->amp_.setValue(vst2ParameterOf(index), value);
  };
  record_.getParameter = [](AEffect* record, std::int32_t index) {
    Vst2Effect* self = of(record);
    return self != nullptr ? self->amp_.value(vst2ParameterOf(index)) : 0.0F;
  };
  record_.numPrograms = kNumListedPrograms;
  record_.numParams = kNumVst2Parameters;
  record_.numInputs = record_.numOutputs = variant.sides;
  record_.flags = effFlagsCanReplacing | effFlagsCanDoubleReplacing | effFlagsProgramChunks |
                  Vst2Editor::kFlags;
  record_.ioRatio = 1.0F;
  record_.object = this;
  record_.uniqueID = variant.uniqueId;
  record_.version = QUELLARD_VERSION_NUMBER;
  record_.processReplacing = [](AEffect* record, float** in, float** out, std::int32_t frames) {
    Vst2Effect* self = of(record);
    if (self == nullptr) return;
    self->play(channelsOf(in, self->amp_.sides()), channelsOf(out, self->amp_.sides()), frames);
  };
  record_.processDoubleReplacing = [](AEffect* record, double** in, double** out,
                                      std::int32_t frames) {
    Vst2Effect* self = of(record);
    if (self == nullptr) return;
    self->play(channelsOf(in, self->amp_.sides()), channelsOf(out, self->amp_.sides()), frames);
  };
}

Vst2Effect* Vst2Effect::of(AEffect* record) {
  return record != nullptr ? static_cast<Vst2Effect*>(record->object) : nullptr;
}

// Hosts may be written in C, so no exception may leave this function.
std::intptr_t Vst2Effect::dispatch(AEffect* record, std::int32_t opcode, std::int32_t index,
                                   std::intptr_t value, void* ptr, float opt) try {
  Vst2Effect* self = of(record);
  if (self == nullptr) return 0;
  if (opcode != effClose) return self->answer(opcode, index, value, ptr, opt);
  const std::unique_ptr<Vst2Effect> last(self);
  return 1;
} catch (...) {
  return 0;
}

// Answers an opcode; 0 to those that are not listed.
std::intptr_t Vst2Effect::answer(std::int32_t opcode, std::int32_t index, std::intptr_t value,
                                 void* ptr, float opt) {
  auto* text = static_cast<char*>(ptr);
  const int parameter = vst2ParameterOf(index);
  switch (opcode) {
    case effSetProgram: chooseProgram(value); return 0;
    case effGetProgram: return program_.load(kRelaxed);
    case effGetProgramName: return write(text, listedProgramName(program_.load(kRelaxed)));
    case effGetProgramNameIndexed:
      return isListedProgram(index) && write(text, listedProgramName(index));
    case effGetParamLabel: return write(text, "");
    case effGetParamDisplay: return write(text, valueText(parameter, amp_.value(parameter)).data());
    case effGetParamName: return write(text, hostedTitle(parameter).data());
    case effCanBeAutomated: return parameter != 0;
    case effString2Parameter: return setFromText(parameter, text);
    case effGetParameterProperties:
      return fillParameterProperties(parameter, static_cast<VstParameterProperties*>(ptr));
    case effSetSampleRate: announceRate(opt); return 0;
    case effSetBlockSize: announceBlock(value); return 0;
    case effMainsChanged: switchMains(value != 0); return 0;
    case effSetProcessPrecision: return value == 0 || value == kPrecision64;
    case effGetTailSize:
      return static_cast<std::int32_t>(
          HostedAmp::tailFrames(static_cast<double>(rate_.load(kRelaxed))));
    case effSetBypass: amp_.setBypass(value != 0); return 1;
    case effGetChunk: return saveChunk(static_cast<void**>(ptr));
    case effSetChunk: return loadChunk(ptr, value);
    case effGetInputProperties:
    case effGetOutputProperties:
      return fillPinProperties(opcode == effGetInputProperties, index, amp_.sides(),
                               static_cast<PinProperties*>(ptr));
    case effIdentify: return kEffectIdentity;
    case effGetPlugCategory: return kPlugCategEffect;
    case effGetEffectName:
    case effGetProductString: return write(text, variant_.name);
    case effGetVendorString: return write(text, kVst2Vendor);
    case effGetVendorVersion: return QUELLARD_VERSION_NUMBER;
    case effGetVstVersion: return kVstVersion;
    case effCanDo: return canDo(text);
    default: return editor_.answer(opcode, ptr);
  }
}

void Vst2Effect::announceRate(float rate) {
  if (std::isfinite(rate) && rate > 0.0F) rate_.store(rate, kRelaxed);
}

void Vst2Effect::announceBlock(std::intptr_t frames) {
  if (frames < 1) return;
  const auto most = std::min(frames, std::intptr_t{HostedAmp::kLongestPiece});
  longestBlock_.store(static_cast<std::int32_t>(most), kRelaxed);
}

// Audio after switching on starts from silence: it does not continue what was played before.
void Vst2Effect::switchMains(bool on) {
  if (on && !on_) {
    prepareAsAnnounced();
    amp_.reset();
  }
  on_ = on;
}

// Called when the host switches on, and for every block, since some hosts announce another rate or
// block length without switching off.
void Vst2Effect::prepareAsAnnounced() {
  const auto rate = static_cast<double>(rate_.load(kRelaxed));
  const std::int32_t frames = longestBlock_.load(kRelaxed);
  if (rate == amp_.rate() && frames == preparedBlock_) return;
  if (amp_.prepare(rate, frames)) preparedBlock_ = frames;
}

// Without memory for the announced block length, what was prepared last goes on; before that,
// silence.
void Vst2Effect::play(const AudioChannels& in, const AudioChannels& out, std::int32_t frames) {
  try {
    prepareAsAnnounced();
  } catch (...) {
  }
  amp_.play(in, out, 0, frames);
}

void Vst2Effect::chooseProgram(std::intptr_t program) {
  if (program < 0 || program >= kNumListedPrograms) return;
  program_.store(static_cast<std::int32_t>(program), kRelaxed);
  shownPreset_.store(static_cast<int>(program), kRelaxed);
  amp_.setValues(listedProgramValues(static_cast<int>(program)));
}

bool Vst2Effect::setFromText(int parameter, const char* text) {
  if (text == nullptr) return false;
  const std::optional<float> value = valueFromText(parameter, text);
  if (value.has_value()) amp_.setValue(parameter, *value);
  return value.has_value();
}

// The chunk of the preset bank is that of a program, since the programs themselves never change.
std::intptr_t Vst2Effect::saveChunk(void** chunk) {
  if (chunk == nullptr) return 0;
  chunk_ = encodeState(amp_.hostedValues());
  *chunk = chunk_.buffer.data();
  return static_cast<std::intptr_t>(chunk_.size);
}

// The host is shown the program that has these values, if there is one.
bool Vst2Effect::loadChunk(const void* chunk, std::intptr_t size) {
  if (chunk == nullptr || size < 0) return false;
  const std::optional<HostedValues> values =
      decodeState({static_cast<const std::uint8_t*>(chunk), asSize(size)});
  if (!values.has_value()) return false;
  amp_.setHostedValues(*values);
  shownPreset_.store(-1, kRelaxed);
  if (const std::optional<int> program = listedProgramWith(amp_.values())) {
    program_.store(*program, kRelaxed);
  }
  return true;
}

// 1: yes. 0: unknown.
std::intptr_t Vst2Effect::canDo(const char* what) const {
  if (what == nullptr) return 0;
  const char* const channels = amp_.sides() == HostedAmp::kMono ? "1in1out" : "2in2out";
  return std::strcmp(what, "bypass") == 0 || std::strcmp(what, channels) == 0;
}

}  // namespace quellard
