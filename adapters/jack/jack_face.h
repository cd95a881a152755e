// SPDX-License-Identifier: ISC
// The face of quellard-jack, in a window of its own.
#pragma once

#include <memory>

#include "adapters/editor/editor.h"
#include "adapters/jack/amp_client.h"

namespace quellard {

class JackFace : private FaceTarget {
 public:
  // Null without a display. client: outlives the face.
  static std::unique_ptr<JackFace> open(AmpClient& client);

  // Draws, then waits up to 33 ms for mouse and keys and handles them. False once the player has
  // closed the window, or the display is gone.
  bool refresh();
  bool isClosed() const { return isClosed_; }  // by the player

 private:
  explicit JackFace(AmpClient& client);

  float value(int parameter) const override { return client_.amp().value(parameter); }
  void beginMove(int) override {}
  void move(int parameter, float value) override { client_.amp().setValue(parameter, value); }
  void endMove(int) override {}
  FaceLevels levels() override;
  std::optional<std::string> cabinet() const override;
  void presetChosen(int preset) override;

  void showPreset();

  AmpClient& client_;
  const Preset* shown_ = nullptr;  // the one that the face was last told of
  bool isClosed_ = false;
  Editor editor_;
};

}  // namespace quellard
