// SPDX-License-Identifier: ISC
#include "face/face.h"

#include <cmath>
#include <utility>

#include "params/sizes.h"
#include "params/words.h"
#include "rig/value_text.h"

namespace quellard {
namespace {

constexpr float kMoved = 2.0F;  // units of the face; less is a click
constexpr std::size_t kLongestEntry = 12;

// How far keys and the wheel turn, in the smallest steps that are shown.
struct Steps {
  float perUnit;
  float fine;
  float key;
  float notch;  // of the wheel
  float page;
};
constexpr Steps kKnobSteps = {100.0F, 1.0F, 10.0F, 20.0F, 100.0F};  // of 0..10
constexpr Steps kLevelSteps = {10.0F, 1.0F, 5.0F, 10.0F, 50.0F};    // dB

const Steps& stepsOf(int parameter) { return isKnob(parameter) ? kKnobSteps : kLevelSteps; }

int numControls() { return static_cast<int>(controls().size()); }
bool isKnobControl(int index) {
  return index >= 0 && controlNumber(index).kind == ControlKind::knob;
}

// A number, or the gate's "off".
bool startsValue(int parameter, char32_t character) {
  if (parameter == kGateParameter && (character == U'o' || character == U'O')) return true;
  return (character >= U'0' && character <= U'9') || character == U'-' || character == U'+' ||
         character == U'.' || character == U',';
}

}  // namespace

Face::Face(FaceTarget& target, std::vector<FacePreset> presets)
    : target_(target), presets_(std::move(presets)) {
  const int last = target_.lastPreset();
  if (last < static_cast<int>(presets_.size())) chosen_ = last;
  update(0.0);
}

// A host that closes the window while the mouse is down still hears the move end.
Face::~Face() { endDrag(); }

void Face::setPresets(std::vector<FacePreset> presets, int chosen) {
  presets_ = std::move(presets);
  setChosen(chosen < static_cast<int>(presets_.size()) ? chosen : -1);
  state_.menu.reset();
  recognisePreset();
}

void Face::update(double seconds) {
  const FaceLevels levels = target_.levels();
  input_.update(levels.inputPeak, seconds);
  output_.update(levels.outputPeak, seconds);
  state_.gateIsOpen = levels.gateIsOpen;
  state_.cabinet = target_.cabinet();
  fadeBubble(seconds);
  readValues();
}

void Face::fadeBubble(double seconds) {
  bubbleLeft_s_ -= seconds;
  if (bubbleLeft_s_ <= 0.0 && !(drag_.has_value() && drag_->hasMoved)) state_.moving = -1;
}

// Also after each move. The levels are not asked for again: a target may forget a peak once it has
// been read, and a meter falls with the time between two of them.
void Face::readValues() {
  for (int index = 1; index <= kNumHostedValues; ++index) {
    state_.values[index] = target_.value(index);
  }
  // The trim is out of the signal with the amplifier.
  const bool isOn = !isBypassed(state_.values[kBypassParameter]);
  const double trim_db = isOn ? levelFromValue_db(state_.values[kInputParameter]) : 0.0;
  state_.input = meterView(input_, trim_db);
  state_.output = meterView(output_, 0.0);
  recognisePreset();
}

void Face::setChosen(int preset) {
  if (std::exchange(chosen_, preset) != preset) target_.presetShown(preset);
}

// The preset whose values these are, else the last one, which was changed then.
void Face::recognisePreset() {
  const ParameterValues now = amplifierValues(state_.values);
  const auto has = [&](int preset) { return at(presets_, preset).values == now; };
  state_.isChanged = chosen_ < 0 || !has(chosen_);
  for (int preset = 0; state_.isChanged && preset < static_cast<int>(presets_.size()); ++preset) {
    if (!has(preset)) continue;
    setChosen(preset);
    state_.isChanged = false;
  }
  if (chosen_ < 0) {
    state_.preset = "Custom";
    state_.description = "";
    state_.isChanged = false;
    return;
  }
  state_.preset = at(presets_, chosen_).name;
  state_.description = at(presets_, chosen_).description;
  // What comes is no change of it.
  if (!target_.hasValues()) setChosen(-1);
}

void Face::press(Point at, MouseButton button, bool isFine, double time_s) {
  if (state_.menu.has_value()) return pressRow(rowAt(*state_.menu, at));
  if (state_.typed.has_value()) enterTyped(*state_.typed);
  state_.typed.reset();
  const int control = controlAt(at);
  const bool isLeft = button == MouseButton::left;
  const bool isDouble = isLeft && control >= 0 && control == lastClick_.control &&
                        time_s - lastClick_.time_s < kDoubleClickSeconds;
  lastClick_ = {isLeft && !isDouble ? control : -1, time_s};
  focus_ = control;
  state_.focus = state_.moving = -1;
  if (control < 0) return;
  if (!isKnobControl(control)) {
    if (isLeft) pressButton(control);
  } else if (isDouble && !controlNumber(control).value.contains(at)) {
    setKnob(control, defaultHostedValues()[controlNumber(control).parameter]);
  } else {
    pressKnob(control, at, isFine || !isLeft);
  }
}

// row: -1 beside the menu, which closes it.
void Face::pressRow(int row) {
  if (row < 0) return state_.menu.reset();
  const int preset = rows()[asSize(row)];
  if (preset >= 0) choosePreset(preset);
}

void Face::pressKnob(int control, Point at, bool isFine) {
  const int parameter = controlNumber(control).parameter;
  endDrag();
  drag_ = Drag{control, at, static_cast<double>(target_.value(parameter)), false, isFine};
}

// A host that hears of a move may close the window, which ends the drag.
void Face::drag(Point at, bool isFine) {
  if (state_.menu.has_value()) {
    const int row = rowAt(*state_.menu, at);
    if (row >= 0) selectRow(*state_.menu, row, 0);
    return;
  }
  state_.hover = drag_.has_value() ? drag_->control : controlAt(at);
  if (!drag_.has_value()) return;
  const Control& control = controlNumber(drag_->control);
  const float distance = drag_->from.y - at.y;
  if (!drag_->hasMoved) {
    if (std::fabs(distance) < kMoved) return;
    drag_->hasMoved = true;
    lastClick_ = {};  // what moved was no click
    state_.moving = drag_->control;
    target_.beginMove(control.parameter);
    if (!drag_.has_value()) return;
  }
  drag_->from = at;
  const float step = distance / kDragLength * (isFine || drag_->isFine ? kFine : 1.0F);
  drag_->value = std::clamp(drag_->value + static_cast<double>(step), 0.0, 1.0);
  target_.move(control.parameter, static_cast<float>(drag_->value));
  readValues();
}

void Face::release(Point at) {
  if (!drag_.has_value()) return;
  const int control = drag_->control;
  const bool isClick = !drag_->hasMoved;
  endDrag();
  if (isClick && controlNumber(control).value.contains(at)) beginTyping(control);
  state_.hover = controlAt(at);
}

void Face::endDrag() {
  if (!drag_.has_value()) return;
  const Drag ended = *drag_;
  drag_.reset();
  state_.moving = -1;
  if (ended.hasMoved) target_.endMove(controlNumber(ended.control).parameter);
}

void Face::leave() { state_.hover = -1; }

void Face::wheel(Point at, float notches, bool isFine) {
  lastClick_ = {};
  if (state_.menu.has_value()) {
    return scrollMenu(*state_.menu, at, static_cast<int>(std::lround(-3.0F * notches)));
  }
  const int control = controlAt(at);
  if (drag_.has_value() || !isKnobControl(control)) return;
  const Steps& steps = stepsOf(controlNumber(control).parameter);
  turn(control, notches * (isFine ? steps.fine : steps.notch));
}

// From what is shown to what will be: a step up and one down lead to the same value.
void Face::turn(int control, float steps) {
  const int parameter = controlNumber(control).parameter;
  const float perUnit = stepsOf(parameter).perUnit;
  const float shown = std::round(controlFromValue(parameter, target_.value(parameter)) * perUnit);
  float turned = (shown + steps) / perUnit;
  // The gate's lowest threshold is a whole decibel above its place for "Off".
  if (parameter == kGateParameter && steps > 0.0F) {
    turned = std::max(turned, static_cast<float>(kLowestGate_dbfs));
  }
  setKnob(control, valueFromControl(parameter, turned));
}

// By wheel or keys: the bubble stays for a while.
void Face::setKnob(int control, float value) {
  endDrag();
  state_.moving = control;
  bubbleLeft_s_ = kBubbleSeconds;
  setOnce(controlNumber(control).parameter, value);
}

void Face::setOnce(int parameter, float value) {
  endDrag();
  target_.beginMove(parameter);
  target_.move(parameter, std::clamp(value, 0.0F, 1.0F));
  target_.endMove(parameter);
  readValues();
}

void Face::pressButton(int index) {
  const Control& control = controlNumber(index);
  switch (control.kind) {
    case ControlKind::previousPreset: return stepPreset(-1);
    case ControlKind::nextPreset: return stepPreset(1);
    case ControlKind::presetName: return openMenu();
    case ControlKind::bypass:
      return setOnce(kBypassParameter, isBypassed(target_.value(kBypassParameter)) ? 0.0F : 1.0F);
    case ControlKind::channel: return setOnce(kTypeParameter, selectFromChannel(control.channel));
    case ControlKind::inputMeter: input_.clear(); return readValues();
    case ControlKind::outputMeter: output_.clear(); return readValues();
    case ControlKind::knob: return;
  }
}

bool Face::key(Key key, bool withShift) {
  lastClick_ = {};
  if (state_.menu.has_value()) return keyInMenu(*state_.menu, key);
  if (state_.typed.has_value() && keyInField(*state_.typed, key)) return true;
  if (key == Key::tab) {
    moveFocus(withShift ? -1 : 1);
    return true;
  }
  if (key == Key::escape) {
    focus_ = -1;
    return std::exchange(state_.focus, -1) >= 0;
  }
  const bool isForClicked = key == Key::up || key == Key::down || key == Key::enter;
  if (state_.focus < 0 && !(isForClicked && isKnobControl(focus_))) return false;
  state_.focus = focus_;
  if (isKnobControl(focus_)) return keyOnKnob(focus_, key, withShift);
  return keyOnButton(controlNumber(focus_), key);
}

void Face::moveFocus(int by) {
  const int last = numControls() - 1;
  focus_ += by;
  if (focus_ < 0 || (by < 0 && focus_ > last)) focus_ = by > 0 ? 0 : last;
  if (focus_ > last) focus_ = 0;
  state_.focus = focus_;
}

bool Face::keyOnKnob(int control, Key key, bool isFine) {
  const int parameter = controlNumber(control).parameter;
  const Steps& steps = stepsOf(parameter);
  const float step = isFine ? steps.fine : steps.key;
  switch (key) {
    case Key::up:
    case Key::right: turn(control, step); break;
    case Key::down:
    case Key::left: turn(control, -step); break;
    case Key::pageUp: turn(control, steps.page); break;
    case Key::pageDown: turn(control, -steps.page); break;
    case Key::home: setKnob(control, 0.0F); break;
    case Key::end: setKnob(control, 1.0F); break;
    case Key::backspace:
    case Key::remove: setKnob(control, defaultHostedValues()[parameter]); break;
    case Key::enter: beginTyping(control); break;
    default: return false;
  }
  return true;
}

bool Face::keyOnButton(const Control& control, Key key) {
  const bool isBack = key == Key::up || key == Key::left;
  const int step = isBack ? -1 : key == Key::down || key == Key::right;
  if (key == Key::enter) {
    pressButton(focus_);
  } else if (step != 0 && control.kind == ControlKind::presetName) {
    stepPreset(step);
  } else if (step != 0 && control.kind == ControlKind::channel) {
    const int now = channelFromSelect(target_.value(kTypeParameter));
    const int next = std::clamp(now + step, 0, kNumChannels - 1);
    setOnce(kTypeParameter, selectFromChannel(next));
    focus_ = state_.focus = controlOf(ControlKind::channel, next);
  } else {
    return false;
  }
  return true;
}

bool Face::type(char32_t character) {
  lastClick_ = {};
  if (state_.menu.has_value()) return typeInMenu(*state_.menu, character);
  if (state_.typed.has_value()) return typeInField(*state_.typed, character);
  if (state_.focus < 0) return false;
  if (!isKnobControl(focus_)) return character == U' ' && key(Key::enter, false);
  return startsValue(controlNumber(focus_).parameter, character) &&
         typeInField(beginTyping(focus_), character);
}

// To the next preset that begins with this letter.
bool Face::typeInMenu(MenuView& menu, char32_t character) {
  if (character == U' ') return keyInMenu(menu, Key::enter);
  if (character > 0x7F) return true;
  const std::vector<int> all = rows();
  const int count = static_cast<int>(all.size());
  for (int i = 1; i <= count; ++i) {
    const int row = (menu.selectedRow + i) % count;
    const int preset = at(all, row);
    if (preset < 0) continue;
    const std::string& name = at(presets_, preset).name;
    if (name.empty() || lowerCase(name.front()) != lowerCase(static_cast<char>(character)))
      continue;
    selectRow(menu, row, 1);
    break;
  }
  return true;
}

// What no value has is dropped here: the host's shortcuts wait until the field is closed.
bool Face::typeInField(TextField& field, char32_t character) {
  if (character < 0x20 || character > 0x7E) return true;
  if (character == U',') character = U'.';  // as much of Europe writes it
  if (field.text.size() < kLongestEntry) field.text += static_cast<char>(character);
  field.isWrong = false;
  return true;
}

TextField& Face::beginTyping(int control) {
  endDrag();
  focus_ = state_.focus = control;
  state_.moving = -1;
  TextField& field = state_.typed.emplace();
  field.control = control;
  return field;
}

bool Face::keyInField(TextField& field, Key key) {
  switch (key) {
    case Key::enter: enterTyped(field); return true;
    case Key::escape: state_.typed.reset(); return true;
    case Key::backspace:
      if (!field.text.empty()) field.text.pop_back();
      field.isWrong = false;
      return true;
    case Key::remove:
      field.text.clear();
      field.isWrong = false;
      return true;
    case Key::tab:
      enterTyped(field);
      state_.typed.reset();
      return false;
    default: return true;
  }
}

// An empty field changes nothing. A text that is no value keeps the field open, marked as wrong.
void Face::enterTyped(TextField& field) {
  const int parameter = controlNumber(field.control).parameter;
  const std::optional<float> value = valueFromText(parameter, field.text);
  if (!value.has_value() && !field.text.empty()) {
    field.isWrong = true;
    return;
  }
  state_.typed.reset();
  if (value.has_value()) setOnce(parameter, *value);
}

void Face::focusOn(int control) {
  if (control < 0 || control >= numControls() || control == state_.focus) return;
  state_.typed.reset();
  focus_ = state_.focus = control;
}

void Face::loseFocus() {
  state_.typed.reset();
  state_.focus = -1;
}

void Face::letGo() {
  loseFocus();
  state_.menu.reset();
  state_.moving = -1;
  endDrag();
}

void Face::openMenu() {
  const std::vector<int> all = rows();
  MenuView& menu = state_.menu.emplace(MenuView{.current = chosen_, .unreadable = unreadable_});
  const auto at = std::find(all.begin(), all.end(), chosen_);
  selectRow(menu, at != all.end() ? static_cast<int>(at - all.begin()) : 1, 1);
}

// step: where to go on from a row that is no preset; 0 stays.
void Face::selectRow(MenuView& menu, int row, int step) {
  const std::vector<int> all = rows();
  const int last = static_cast<int>(all.size()) - 1;
  row = std::clamp(row, 0, last);
  const auto isPreset = [&] { return at(all, row) >= 0; };
  while (!isPreset() && step != 0 && row + step >= 0 && row + step <= last) row += step;
  if (!isPreset()) return;
  menu.selectedRow = row;
  if (step == 0) return;  // under the mouse the list stays where it is
  menu.firstRow = std::clamp(menu.firstRow, row - kMenuRows + 1, row == 1 ? 0 : row);
}

// The selection goes with the list: to the row under the mouse, or so far that it stays in view.
void Face::scrollMenu(MenuView& menu, Point at, int by) {
  const int most = std::max(static_cast<int>(rows().size()) - kMenuRows, 0);
  menu.firstRow = std::clamp(menu.firstRow + by, 0, most);
  const int first = menu.firstRow;
  const int kept = std::clamp(menu.selectedRow, first, first + kMenuRows - 1);
  selectRow(menu, kept, kept == first ? 1 : -1);
  menu.firstRow = first;
  const int under = rowAt(menu, at);
  if (under >= 0) selectRow(menu, under, 0);
}

int Face::rowAt(const MenuView& menu, Point at) const {
  const int count = static_cast<int>(rows().size());
  for (int shown = 0; shown < std::min(count, kMenuRows); ++shown) {
    if (menuRowArea(shown).contains(at)) return menu.firstRow + shown;
  }
  return -1;
}

bool Face::keyInMenu(MenuView& menu, Key key) {
  const std::vector<int> all = rows();
  const int selected = menu.selectedRow;
  switch (key) {
    case Key::up: selectRow(menu, selected - 1, -1); break;
    case Key::down: selectRow(menu, selected + 1, 1); break;
    case Key::pageUp: selectRow(menu, selected - kMenuRows, 1); break;
    case Key::pageDown: selectRow(menu, selected + kMenuRows, -1); break;
    case Key::home: selectRow(menu, 0, 1); break;
    case Key::end: selectRow(menu, static_cast<int>(all.size()) - 1, -1); break;
    case Key::enter: choosePreset(at(all, selected)); break;
    case Key::escape:
    case Key::tab: state_.menu.reset(); break;
    default: return false;
  }
  return true;
}

void Face::stepPreset(int by) {
  if (presets_.empty()) return;
  const int count = static_cast<int>(presets_.size());
  const int from = chosen_ >= 0 ? chosen_ : (by > 0 ? -1 : 0);
  choosePreset((from + by + count) % count);
}

void Face::choosePreset(int preset) {
  endDrag();
  state_.menu.reset();
  if (preset < 0) return;  // a heading
  const ParameterValues& values = at(presets_, preset).values;
  for (int index = 1; index <= kNumStoredValues; ++index) {
    if (target_.value(index) == values[index]) continue;
    target_.beginMove(index);
    target_.move(index, values[index]);
    target_.endMove(index);
  }
  setChosen(preset);
  target_.presetChosen(preset);
  readValues();
}

}  // namespace quellard
