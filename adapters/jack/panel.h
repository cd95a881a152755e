// SPDX-License-Identifier: ISC
// The amplifier's front in a terminal: channel, knobs, presets, levels and xruns.
#pragma once

#include "adapters/jack/amp_client.h"

namespace quellard {

class Panel {
 public:
  // Takes the terminal over and gives it back at its end. One at a time.
  explicit Panel(AmpClient& client);
  ~Panel();
  Panel(const Panel&) = delete;
  Panel& operator=(const Panel&) = delete;

  // Draws, then waits a twentieth of a second for keys. False when the player wants to leave.
  bool refresh();

 private:
  bool press(int key);
  void stepPreset(int by);
  void turn(int tenths);
  int channel() const;
  int selectedParameter() const { return channel() * kKnobsPerChannel + knob_ + 1; }

  void draw();
  void drawLevel(int row, const char* name, float peak);
  void drawKnob(int row, int knob);
  void drawPreset(int row);

  AmpClient& client_;
  int knob_ = kKnobsPerChannel - 1;  // GAIN
};

}  // namespace quellard
