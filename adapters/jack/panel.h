// SPDX-License-Identifier: ISC
// The amplifier's front panel in a terminal: channel, knobs, presets, levels, MIDI and xruns.
#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "adapters/jack/amp_client.h"
#include "adapters/jack/line_entry.h"
#include "rig/level_meter.h"
#include "tools/settings/tuning_options.h"

struct screen;  // ncurses' own record of a terminal

namespace quellard {

class Panel {
 public:
  enum class Next { stay, leave, terminalIsClosed };

  // Takes over the terminal until the panel is destroyed; there may be one panel at a time. Null
  // where the terminal's type is unknown or its cursor cannot be moved.
  static std::unique_ptr<Panel> open(AmpClient& client, const TuningSettings& tuning);
  ~Panel();
  Panel(const Panel&) = delete;
  Panel& operator=(const Panel&) = delete;

  // Draws, then waits up to 50 ms for keys and handles them.
  Next refresh();

  // A line to show until the next key.
  void say(std::string message) { message_ = std::move(message); }

  // The presets that were saved, in order.
  const std::vector<std::string>& saved() const { return saved_; }

 private:
  using Clock = std::chrono::steady_clock;
  enum class Mode { play, number, cabinet, cabinetLevel, name, replace, help };

  Panel(AmpClient& client, const TuningSettings& tuning, screen* terminal);

  void press(int key);
  void pressPlaying(int key);
  void pressReplacing(int key);
  void pressTyping(int key);
  void begin(Mode mode);
  void beginNumber(int parameter);
  void setTyped(const std::string& text);
  void entered(Mode typed);
  void chooseCabinet(const std::string& file);
  void setCabinetLevel(const std::string& text);
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
  void drawLevel(int row, const char* name, const LevelMeter& meter, double gain_db,
                 const std::string& advice);
  void drawKnob(int row, int knob);
  std::string rigLine() const;
  std::string cabinetText() const;
  std::string presetLine() const;
  std::string tunerLine();
  std::string stringLine() const;
  std::string prompt() const;

  AmpClient& client_;
  TuningSettings tuning_;
  screen* terminal_;
  Mode mode_ = Mode::play;
  LineEntry entry_;
  int typedParameter_ = 0;  // for Mode::number
  std::string message_;
  std::vector<std::string> saved_;
  int knob_ = kGainKnob;
  bool leaves_ = false;
  LevelMeter in_{LevelMeter::kInputClips};
  LevelMeter out_{LevelMeter::kOutputClips};
  Clock::time_point drawnAt_ = Clock::now();
  unsigned midiSeen_ = 0;
  Clock::time_point midiAt_;
  double heard_hz_ = 0.0;  // the note that the tuner detected last
  Clock::time_point heardAt_;
};

}  // namespace quellard
