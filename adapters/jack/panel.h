// SPDX-License-Identifier: ISC
// The amplifier's front in a terminal: channel, knobs, presets, levels, MIDI and xruns.
#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "adapters/jack/amp_client.h"
#include "adapters/jack/level_meter.h"
#include "adapters/jack/line_entry.h"

struct screen;  // ncurses' own record of a terminal

namespace quellard {

class Panel {
 public:
  enum class Wish { stay, leave, terminalIsGone };

  // Takes the terminal over and gives it back at its end. One at a time. Null where the terminal
  // cannot show it: its type is unknown, or it has no way to move its cursor.
  static std::unique_ptr<Panel> open(AmpClient& client);
  ~Panel();
  Panel(const Panel&) = delete;
  Panel& operator=(const Panel&) = delete;

  // Draws, then waits a twentieth of a second for keys.
  Wish refresh();

  // A line to show until the next key.
  void say(std::string message) { message_ = std::move(message); }

  // The presets that were saved, in order.
  const std::vector<std::string>& saved() const { return saved_; }

 private:
  using Clock = std::chrono::steady_clock;
  enum class Mode { play, number, name, replace, help };

  Panel(AmpClient& client, screen* terminal);

  void press(int key);
  void pressPlaying(int key);
  void pressTyping(int key);
  void begin(Mode mode);
  void setKnob(const std::string& text);
  void nameIsTyped();
  void save();
  void stepPreset(int by);
  void turn(int tenths);
  int channel() const;
  int selectedParameter() const { return knobIndex(channel(), knob_); }

  void readLevels();
  void draw();
  void drawHelp();
  void drawHeader();
  void drawLevel(int row, const char* name, const LevelMeter& meter);
  void drawKnob(int row, int knob);
  std::string presetLine() const;
  std::string prompt() const;

  AmpClient& client_;
  screen* terminal_;
  Mode mode_ = Mode::play;
  LineEntry entry_;
  std::string message_;
  std::vector<std::string> saved_;
  int knob_ = kGainKnob;
  bool leaves_ = false;
  // A converter's highest sample is below 1: an input that reaches it was cut before it came here.
  // The outputs' floats may be above and are cut after they have left.
  LevelMeter in_{0.999F};
  LevelMeter out_{1.0F};
  Clock::time_point drawnAt_ = Clock::now();
  unsigned midiSeen_ = 0;
  Clock::time_point midiAt_;
};

}  // namespace quellard
