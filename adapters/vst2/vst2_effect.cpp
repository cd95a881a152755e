// SPDX-License-Identifier: ISC
#include "adapters/vst2/vst2_effect.h"

#include <algorithm>
#include <memory>

#include "rig/hosted_amp.h"
#include "rig/samples.h"

namespace quellard {
namespace {

// What a host announces is believed up to 20 seconds; beyond, it is a mistake that would cost
// gigabytes, and a block that is really so long makes room for itself.
constexpr std::intptr_t kLongestAnnounced = 1 << 20;

constexpr std::intptr_t kPrecision64 = 1;  // 0: 32 bits

}  // namespace

AEffect* Vst2Effect::create(audioMasterCallback host) try {
  if (host == nullptr || host(nullptr, audioMasterVersion, 0, 0, nullptr, 0.0F) == 0) {
    return nullptr;
  }
  // The host holds the effect through its record until effClose.
  std::unique_ptr<Vst2Effect> effect(new Vst2Effect);
  return &effect.release()->record_;
} catch (...) {
  return nullptr;
}

// The identity stays 'QULL': parameters, programs and sound are the effect's, so a project that was
// saved with one of the two opens with the other.
Vst2Effect::Vst2Effect() : effect_(nullptr), record_(*effect_.getAeffect()) {
  record_.object = this;
  record_.dispatcher = dispatch;
  record_.process = [](AEffect*, float**, float**, std::int32_t) {};
  record_.setParameter = [](AEffect* record, std::int32_t index, float value) {
    if (Vst2Effect* self = of(record)) self->effect_.setParameter(index, value);
  };
  record_.getParameter = [](AEffect* record, std::int32_t index) {
    Vst2Effect* self = of(record);
    return self != nullptr ? self->effect_.getParameter(index) : 0.0F;
  };
  record_.processReplacing = processSingle;
  record_.processDoubleReplacing = processDouble;
  reserve(effect_.getBlockSize());
}

Vst2Effect* Vst2Effect::of(AEffect* record) {
  return record != nullptr ? static_cast<Vst2Effect*>(record->object) : nullptr;
}

// Hosts are C programs, so no exception may pass.
std::intptr_t Vst2Effect::dispatch(AEffect* record, std::int32_t opcode, std::int32_t index,
                                   std::intptr_t value, void* ptr, float opt) try {
  Vst2Effect* self = of(record);
  if (self == nullptr) return 0;
  // Both callbacks are there at any time, so a host may have what it asks for.
  if (opcode == effSetProcessPrecision) return value == 0 || value == kPrecision64 ? 1 : 0;
  if (opcode == effGetTailSize) {
    return static_cast<std::intptr_t>(
        HostedAmp::tailFrames(static_cast<double>(self->effect_.getSampleRate())));
  }
  const std::intptr_t answer = self->effect_.dispatcher(opcode, index, value, ptr, opt);
  if (opcode == effSetBlockSize && value >= 1 && value <= kLongestAnnounced) {
    self->reserve(static_cast<std::int32_t>(value));
  }
  if (opcode != effClose) return answer;
  const std::unique_ptr<Vst2Effect> last(self);
  return 1;
} catch (...) {
  return 0;
}

void Vst2Effect::reserve(std::int32_t frames) {
  const auto length = static_cast<std::size_t>(frames);
  if (length > samples_.size()) samples_.resize(length);
  effect_.reserve(frames);
}

// A block that is longer than announced makes room for itself, as the effect does: cutting it would
// change the glides of the knobs. Where memory is short it is silent.
void Vst2Effect::processSingle(AEffect* record, float** inputs, float** outputs,
                               std::int32_t frames) {
  Vst2Effect* self = of(record);
  float* out = outputs != nullptr ? outputs[0] : nullptr;
  if (self == nullptr || (frames > 0 && out == nullptr)) return;
  const float* in = inputs != nullptr ? inputs[0] : nullptr;
  try {
    self->playSingle(in, out, frames);
  } catch (...) {
    std::fill_n(out, frames, 0.0F);
  }
}

void Vst2Effect::playSingle(const float* in, float* out, std::int32_t frames) {
  const std::int32_t length = std::max(frames, 0);
  if (static_cast<std::size_t>(length) > samples_.size()) reserve(length);
  double* samples = samples_.data();
  readSamples(in, samples, length);
  effect_.processDoubleReplacing(&samples, &samples, length);
  writeSamples(samples, out, length);
}

void Vst2Effect::processDouble(AEffect* record, double** inputs, double** outputs,
                               std::int32_t frames) {
  if (Vst2Effect* self = of(record)) self->effect_.processDoubleReplacing(inputs, outputs, frames);
}

}  // namespace quellard
