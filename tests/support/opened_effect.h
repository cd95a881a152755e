// SPDX-License-Identifier: ISC
// An effect as a host uses it: opened through an entry, driven through its record, closed by the
// destructor.
#pragma once

#include <cstdint>
#include <memory>

#include "shell/entry.h"
#include "shell/quellard.h"

namespace quellard::test {

using Entry = Orv_TypeIF* (*)(audioMasterCallback);

inline std::intptr_t answeringHost(AEffect*, std::int32_t opcode, std::int32_t, std::intptr_t,
                                   void*, float) {
  return opcode == audioMasterVersion ? kVstVersion : 0;
}

class OpenedEffect {
 public:
  explicit OpenedEffect(Entry entry = openInterface, audioMasterCallback host = answeringHost)
      : interface_(entry(host)), record_(interface_->effect) {}
  ~OpenedEffect() { dispatch(effClose); }
  OpenedEffect(const OpenedEffect&) = delete;
  OpenedEffect& operator=(const OpenedEffect&) = delete;

  std::intptr_t dispatch(std::int32_t opcode, std::int32_t index = 0, std::intptr_t value = 0,
                         void* ptr = nullptr, float opt = 0.0f) {
    return record_->dispatcher(record_, opcode, index, value, ptr, opt);
  }
  void setSampleRate(float rate) { dispatch(effSetSampleRate, 0, 0, nullptr, rate); }
  void setProgram(int program) { dispatch(effSetProgram, 0, program); }
  void setParameter(int index, float value) { record_->setParameter(record_, index, value); }
  float getParameter(int index) { return record_->getParameter(record_, index); }
  void process(double* in, double* out, int frames) {
    record_->processDoubleReplacing(record_, &in, &out, frames);
  }

  AEffect& record() { return *record_; }
  // The object behind the record, as the host extension reaches it.
  Quellard& object() {
    // Not dynamic_cast, to which newer compilers show the module's class as another one.
    return static_cast<Quellard&>(*static_cast<AudioEffect*>(record_->object));
  }

 private:
  std::unique_ptr<Orv_TypeIF> interface_;
  AEffect* record_;
};

}  // namespace quellard::test
