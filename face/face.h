// SPDX-License-Identifier: ISC
// The face and the hands on it: mouse and keys become moves of its target, and what the target does
// is shown. It knows no window and no format. All on one thread, and none of it is the audio
// thread.
//
//   mouse     drag a knob upwards or downwards, finely with Shift or the right button; wheel;
//             double-click: default; click on a value: type it
//   keys      Tab and Shift+Tab move the focus; Up and Down turn, finely with Shift; Page Up and
//             Page Down turn by 1, or 5 dB; Home and End: lowest and highest; Delete: default;
//             Enter or a digit: type a value; Enter or Space presses a button; Escape leaves. What
//             was clicked has a focus that is not seen, which takes only Up, Down and Enter on a
//             knob: all other keys are the host's then
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "face/face_state.h"
#include "face/face_target.h"
#include "face/layout.h"
#include "rig/level_meter.h"

namespace quellard {

enum class MouseButton { left, right };

enum class Key {
  tab,
  up,
  down,
  left,
  right,
  pageUp,
  pageDown,
  home,
  end,
  enter,
  escape,
  backspace,
  remove,
};

class Face {
 public:
  static constexpr double kDoubleClickSeconds = 0.4;
  static constexpr float kDragLength = 200.0F;   // in units of the face, over a knob's whole range
  static constexpr float kFine = 0.1F;           // times as much
  static constexpr double kBubbleSeconds = 1.0;  // after a move by wheel or keys

  // target: outlives the face. presets: the factory's first.
  Face(FaceTarget& target, std::vector<FacePreset> presets);
  ~Face();
  Face(const Face&) = delete;
  Face& operator=(const Face&) = delete;

  // Reads the target; to be called some 30 times a second. seconds: since the last call.
  void update(double seconds);

  // The list as it now is, the user's own presets among them. preset: the place of the one that is
  // chosen, -1 where that is not known.
  void setPresets(std::vector<FacePreset> presets, int chosen = -1);
  // For a place that has a size of its own.
  void hideGrip() { state_.hasGrip = false; }
  // How many files of the user's presets have a mistake: the list says so.
  void setUnreadableFiles(int count) { unreadable_ = count; }

  // Points are in units of the face and may lie outside of it. time_s: of the event, from any
  // moment on.
  void press(Point at, MouseButton button, bool isFine, double time_s);
  void drag(Point at, bool isFine);  // the mouse moves, with or without a button
  void release(Point at);
  void leave();                                      // the mouse has left the face
  void wheel(Point at, float notches, bool isFine);  // upwards is positive

  // Whether the key was used: what is not belongs to the host, such as the space bar for its
  // transport.
  bool key(Key key, bool withShift);
  bool type(char32_t character);
  // Whether a key that is held down should be repeated now: one that turns or moves, but no button.
  bool takesRepeated(std::optional<Key> key) const {
    return state_.typed.has_value() || state_.menu.has_value() ||
           (key.has_value() && *key != Key::enter);
  }

  // The focus is on this place in controls() and is seen, as where a page moves it.
  void focusOn(int control);
  // The keyboard now belongs to others: what is typed is dropped.
  void loseFocus();
  // The face is seen no longer: whatever is under way ends.
  void letGo();

  const FaceState& state() const { return state_; }
  const std::vector<FacePreset>& presets() const { return presets_; }

 private:
  struct Drag {
    int control;
    Point from;
    double value;
    bool hasMoved;
    bool isFine;  // with the right button
  };
  struct Click {
    int control = -1;
    double time_s = 0.0;
  };

  void readValues();
  void fadeBubble(double seconds);
  void pressRow(int row);
  void pressKnob(int control, Point at, bool isFine);
  void pressButton(int index);
  void endDrag();
  void setOnce(int parameter, float value);
  void setKnob(int control, float value);
  void turn(int control, float steps);
  bool keyOnKnob(int control, Key key, bool isFine);
  bool keyOnButton(const Control& control, Key key);
  bool keyInMenu(MenuView& menu, Key key);
  bool keyInField(TextField& field, Key key);
  bool typeInMenu(MenuView& menu, char32_t character);
  bool typeInField(TextField& field, char32_t character);
  void moveFocus(int by);
  TextField& beginTyping(int control);
  void enterTyped(TextField& field);

  std::vector<int> rows() const { return menuRows(presets_, unreadable_); }
  void openMenu();
  void selectRow(MenuView& menu, int row, int step);
  void scrollMenu(MenuView& menu, Point at, int by);
  int rowAt(const MenuView& menu, Point at) const;
  void choosePreset(int preset);
  void stepPreset(int by);
  void setChosen(int preset);
  void recognisePreset();

  FaceTarget& target_;
  std::vector<FacePreset> presets_;
  int unreadable_ = 0;
  FaceState state_;
  int focus_ = -1;   // also while it is not shown
  int chosen_ = -1;  // the preset that the values come from
  std::optional<Drag> drag_;
  double bubbleLeft_s_ = 0.0;  // without a drag
  Click lastClick_;
  LevelMeter input_{LevelMeter::kInputClips};
  LevelMeter output_{LevelMeter::kOutputClips};
};

}  // namespace quellard
