// SPDX-License-Identifier: ISC
// A VST 2.4 host with a window, which keeps what it is told.
#pragma once

#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

#include "adapters/vst2/editor.h"
#include "face/geometry.h"

namespace quellard::test {

class Vst2FaceHost {
 public:
  explicit Vst2FaceHost(AEffect* (*create)(audioMasterCallback)) : record(create(callback)) {
    record->user = this;
  }
  ~Vst2FaceHost() { call(effClose); }
  Vst2FaceHost(const Vst2FaceHost&) = delete;
  Vst2FaceHost& operator=(const Vst2FaceHost&) = delete;

  std::intptr_t call(std::int32_t opcode, void* ptr = nullptr) const {
    return record->dispatcher(record, opcode, 0, 0, ptr, 0.0F);
  }
  bool open(std::uintptr_t parent = 77) const {
    return call(effEditOpen, reinterpret_cast<void*>(parent)) != 0;
  }
  PixelSize size() const {
    Vst2Rect* rect = nullptr;
    EXPECT_EQ(call(effEditGetRect, &rect), 1);
    EXPECT_EQ(std::pair(rect->top, rect->left), std::pair(std::int16_t{0}, std::int16_t{0}));
    return {rect->right, rect->bottom};
  }
  // Plays a block in place.
  void play(std::vector<float>& samples) const {
    float* channel = samples.data();
    record->processReplacing(record, &channel, &channel, static_cast<std::int32_t>(samples.size()));
  }

  AEffect* record;
  bool agrees = true;
  PixelSize asked, shownWhileAsked;
  std::string told;  // the moves, and that the host should look again
  int programWhenUpdated = -1;
  std::function<void()> whileCalled = [] {};  // for another size, or to hear of a value

 private:
  // The effect asks for the version before there is a record.
  static std::intptr_t callback(AEffect* effect, std::int32_t opcode, std::int32_t index,
                                std::intptr_t value, void*, float opt) {
    if (opcode == audioMasterVersion) return kVstVersion;
    Vst2FaceHost& self = *static_cast<Vst2FaceHost*>(effect->user);
    const std::string number = std::to_string(index) + " ";
    switch (opcode) {
      case audioMasterBeginEdit: return self.told += "begin " + number, 1;
      case audioMasterEndEdit: return self.told += "end " + number, 1;
      case audioMasterAutomate:
        EXPECT_EQ(opt, self.record->getParameter(self.record, index)) << "it is set before";
        self.told += "value " + number;
        return std::function(self.whileCalled)(), 1;
      case audioMasterUpdateDisplay:
        self.programWhenUpdated = static_cast<int>(self.call(effGetProgram));
        return self.told += "update ", 1;
      case audioMasterSizeWindow:
        self.asked = {index, static_cast<int>(value)};
        std::function(self.whileCalled)();
        self.shownWhileAsked = self.size();
        return self.agrees ? 1 : 0;
      default: return 0;
    }
  }
};

}  // namespace quellard::test
