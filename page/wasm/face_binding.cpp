// SPDX-License-Identifier: ISC
// The face as JavaScript shows it: events go in, moves and pixels come out. A page holds one, in
// the instance of the module on its main thread; the amplifier that it moves plays in another one.
// Nothing here is called before face_open(). Places are pixels of the picture, times seconds.
// Texts are UTF-8, end with a zero, and last until the next call.
#include <array>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "face/face.h"
#include "face/painter.h"
#include "page/wasm/exported.h"
#include "rig/value_text.h"

namespace quellard {
namespace {

// The values as the face moves them, and which of them the page has not heard of.
class PageTarget : public FaceTarget {
 public:
  float value(int parameter) const override { return values_[parameter]; }
  void beginMove(int) override {}
  void move(int parameter, float value) override {
    values_[parameter] = value;
    moved_ |= 1U << static_cast<unsigned>(parameter);
  }
  void endMove(int) override {}
  FaceLevels levels() override { return levels_; }
  std::optional<std::string> cabinet() const override { return cabinet_; }
  void presetShown(int preset) override { preset_ = preset; }

  void set(int parameter, float value) { values_[parameter] = limitToRange(value); }
  void setLevels(const FaceLevels& levels) { levels_ = levels; }
  void setCabinet(const char* name) { cabinet_ = name; }
  unsigned takeMoved() { return std::exchange(moved_, 0U); }
  int preset() const { return preset_; }

 private:
  static_assert(kNumHostedValues < 32, "a bit for each parameter");

  HostedValues values_ = defaultHostedValues();
  FaceLevels levels_;
  std::optional<std::string> cabinet_;
  unsigned moved_ = 0;
  int preset_ = -1;
};

// A control as JavaScript reads it, in units of the face.
struct ControlRecord {
  std::int32_t kind;
  std::int32_t parameter;
  std::int32_t channel;
  float x, y, width, height;
};
static_assert(sizeof(ControlRecord) == 28);

class PageFace {
 public:
  PageFace() : face_(target_, factoryFacePresets()) { face_.hideGrip(); }

  Face& face() { return face_; }
  PageTarget& target() { return target_; }
  const FaceState& state() const { return face_.state(); }
  Point at(float x, float y) const { return picture_.faceFromPixels(x, y); }

  void resize(int width, int height) { picture_.resize(width, height); }

  // Returns how many areas have changed; area() is one of them.
  int paint() {
    areas_ = picture_.repaint(face_.state(), face_.presets());
    const Picture& picture = picture_.picture();
    const auto width = asSize(picture.width());
    rgba_.resize(width * asSize(picture.height()));
    for (const PixelRect& area : areas_) {
      for (int y = area.top; y < area.bottom; ++y) {
        const std::uint32_t* const from = picture.row(y);
        std::uint32_t* const to = &rgba_[asSize(y) * width];
        for (int x = area.left; x < area.right; ++x) to[x] = asRgba(from[x]);
      }
    }
    return static_cast<int>(areas_.size());
  }
  const PixelRect* area(int index) const { return &areas_[asSize(index)]; }
  const std::uint32_t* pixels() const { return rgba_.data(); }

  const ControlRecord* control(int index) {
    const Control& control = controls()[asSize(index)];
    record_ = {.kind = static_cast<std::int32_t>(control.kind),
               .parameter = control.parameter,
               .channel = control.channel,
               .x = control.area.x,
               .y = control.area.y,
               .width = control.area.width,
               .height = control.area.height};
    return &record_;
  }

  // The list is the factory's presets and those of the user that are added to it.
  void clearUserPresets() { listed_ = factoryFacePresets(); }
  void addUserPreset(const char* name) {
    listed_.push_back({name, "", amplifierValues(pending_), false});
  }
  void setPending(int index, float value) { pending_[index] = limitToRange(value); }
  void showPresets(int chosen) { face_.setPresets(listed_, chosen); }

  void choosePreset(int preset) {
    const ParameterValues values = face_.presets()[asSize(preset)].values;
    for (int index = 1; index <= kNumStoredValues; ++index) target_.move(index, values[index]);
    face_.setPresets(face_.presets(), preset);
    face_.update(0.0);
  }

  const char* text(std::string_view words) {
    text_ = words;
    return text_.c_str();
  }
  char* written() { return written_.data(); }

 private:
  // 0xFFRRGGBB to red, green, blue, opacity in the order of bytes.
  static std::uint32_t asRgba(std::uint32_t pixel) {
    return (pixel & 0xFF00FF00U) | (pixel >> 16 & 0xFFU) | (pixel & 0xFFU) << 16;
  }

  PageTarget target_;
  Face face_;
  FacePicture picture_;
  std::vector<PixelRect> areas_;
  std::vector<std::uint32_t> rgba_;
  std::vector<FacePreset> listed_;
  HostedValues pending_ = defaultHostedValues();
  ControlRecord record_{};
  std::string text_;
  std::array<char, 256> written_{};
};

std::unique_ptr<PageFace>& page() {
  static std::unique_ptr<PageFace> one;
  return one;
}

MouseButton button(int isRight) { return isRight != 0 ? MouseButton::right : MouseButton::left; }

}  // namespace
}  // namespace quellard

using quellard::page;

QUELLARD_EXPORTED(face_open) void faceOpen() { page() = std::make_unique<quellard::PageFace>(); }

// Where JavaScript writes a text for a function that takes one: 256 bytes.
QUELLARD_EXPORTED(face_text_in) char* faceTextIn() { return page()->written(); }

// The picture. face_area(): left, top, right and bottom of what face_paint() has painted anew, four
// integers. face_pixels(): red, green, blue and opacity of each, row by row.
QUELLARD_EXPORTED(face_resize) void faceResize(int width, int height) {
  page()->resize(width, height);
}
QUELLARD_EXPORTED(face_paint) int facePaint() { return page()->paint(); }
QUELLARD_EXPORTED(face_area) const int* faceArea(int index) { return &page()->area(index)->left; }
QUELLARD_EXPORTED(face_pixels) const std::uint32_t* facePixels() { return page()->pixels(); }

// The cabinet's name, as written. Before the first of them the picture has no place for it.
QUELLARD_EXPORTED(face_show_cabinet) void faceShowCabinet() {
  page()->target().setCabinet(page()->written());
}

// seconds: since the last call. The peaks are those that the amplifier has measured.
QUELLARD_EXPORTED(face_update)
void faceUpdate(double seconds, float inputPeak, float outputPeak, int gateIsOpen) {
  page()->target().setLevels({inputPeak, outputPeak, gateIsOpen != 0});
  page()->face().update(seconds);
}

// Mouse and keys; see face/face.h. key: a place in its Key. Whether the key was used.
QUELLARD_EXPORTED(face_press)
void facePress(float x, float y, int isRight, int isFine, double time_s) {
  page()->face().press(page()->at(x, y), quellard::button(isRight), isFine != 0, time_s);
}
QUELLARD_EXPORTED(face_drag) void faceDrag(float x, float y, int isFine) {
  page()->face().drag(page()->at(x, y), isFine != 0);
}
QUELLARD_EXPORTED(face_release) void faceRelease(float x, float y) {
  page()->face().release(page()->at(x, y));
}
QUELLARD_EXPORTED(face_leave) void faceLeave() { page()->face().leave(); }
QUELLARD_EXPORTED(face_wheel) void faceWheel(float x, float y, float notches, int isFine) {
  page()->face().wheel(page()->at(x, y), notches, isFine != 0);
}
QUELLARD_EXPORTED(face_key) int faceKey(int key, int withShift) {
  return page()->face().key(static_cast<quellard::Key>(key), withShift != 0) ? 1 : 0;
}
QUELLARD_EXPORTED(face_type) int faceType(std::uint32_t character) {
  return page()->face().type(static_cast<char32_t>(character)) ? 1 : 0;
}
QUELLARD_EXPORTED(face_focus_on) void faceFocusOn(int control) { page()->face().focusOn(control); }
QUELLARD_EXPORTED(face_lose_focus) void faceLoseFocus() { page()->face().loseFocus(); }
QUELLARD_EXPORTED(face_let_go) void faceLetGo() { page()->face().letGo(); }

// What is under way: the place of the focus in the controls or -1, whether the list of presets is
// open, and the text that is being typed, null where none is.
QUELLARD_EXPORTED(face_focus) int faceFocus() { return page()->state().focus; }
QUELLARD_EXPORTED(face_menu_is_open) int faceMenuIsOpen() {
  return page()->state().menu.has_value() ? 1 : 0;
}
QUELLARD_EXPORTED(face_typed) const char* faceTyped() {
  const auto& typed = page()->state().typed;
  return typed.has_value() ? page()->text(typed->text) : nullptr;
}
QUELLARD_EXPORTED(face_typed_is_wrong) int faceTypedIsWrong() {
  const auto& typed = page()->state().typed;
  return typed.has_value() && typed->isWrong ? 1 : 0;
}
QUELLARD_EXPORTED(face_is_clipped) int faceIsClipped() {
  return page()->state().output.clipped ? 1 : 0;
}
QUELLARD_EXPORTED(face_level_text) const char* faceLevelText(int isOutput) {
  return page()->text(isOutput != 0 ? page()->state().output.text : page()->state().input.text);
}

// Values, 0..1, by their parameter, 1..23. face_set() is no move. face_take_moved(): a bit for each
// parameter that was moved by hand since the last call.
QUELLARD_EXPORTED(face_set) void faceSet(int index, float value) {
  if (quellard::isHosted(index)) page()->target().set(index, value);
}
QUELLARD_EXPORTED(face_value) float faceValue(int index) {
  return quellard::isHosted(index) ? page()->target().value(index) : 0.0F;
}
QUELLARD_EXPORTED(face_take_moved) unsigned faceTakeMoved() { return page()->target().takeMoved(); }

// What a value reads as, and its control for people: 0..10, a channel's number, or decibels.
QUELLARD_EXPORTED(face_value_text) const char* faceValueText(int index, float value) {
  return page()->text(quellard::valueText(index, value).data());
}
QUELLARD_EXPORTED(face_control_from_value) float faceControlFromValue(int index, float value) {
  return quellard::controlFromValue(index, value);
}
QUELLARD_EXPORTED(face_value_from_control) float faceValueFromControl(int index, float control) {
  return quellard::valueFromControl(index, control);
}
// "Clean Presence" and so on for people, "clean_presence" for addresses.
QUELLARD_EXPORTED(face_title) const char* faceTitle(int index) {
  return page()->text(quellard::hostedTitle(index).data());
}
QUELLARD_EXPORTED(face_symbol) const char* faceSymbol(int index) {
  const quellard::RigParameterInfo* const rig = quellard::rigParameterInfo(index);
  return page()->text(rig != nullptr ? rig->word : quellard::parameterInfo(index).symbol);
}
QUELLARD_EXPORTED(face_default) float faceDefault(int index) {
  return quellard::isHosted(index) ? quellard::defaultHostedValues()[index] : 0.0F;
}

// The controls of the layout: kind, parameter and channel, three integers, and their area, four
// floats in units of a face of 960 by 600.
QUELLARD_EXPORTED(face_control_count) int faceControlCount() {
  return static_cast<int>(quellard::controls().size());
}
QUELLARD_EXPORTED(face_control) const void* faceControl(int index) {
  return page()->control(index);
}

// Presets. Those of the user are given one after the other: their values, 1..19, then their name
// with face_add_preset(); face_show_presets() shows the new list.
QUELLARD_EXPORTED(face_clear_presets) void faceClearPresets() { page()->clearUserPresets(); }
QUELLARD_EXPORTED(face_preset_set) void facePresetSet(int index, float value) {
  if (quellard::isHosted(index)) page()->setPending(index, value);
}
QUELLARD_EXPORTED(face_add_preset) void faceAddPreset() {
  page()->addUserPreset(page()->written());
}
QUELLARD_EXPORTED(face_show_presets) void faceShowPresets(int chosen) {
  page()->showPresets(chosen);
}
QUELLARD_EXPORTED(face_preset_count) int facePresetCount() {
  return static_cast<int>(page()->face().presets().size());
}
QUELLARD_EXPORTED(face_preset_name) const char* facePresetName(int preset) {
  return page()->text(page()->face().presets()[quellard::asSize(preset)].name);
}
QUELLARD_EXPORTED(face_preset_is_factory) int facePresetIsFactory(int preset) {
  return page()->face().presets()[quellard::asSize(preset)].isFactory ? 1 : 0;
}
QUELLARD_EXPORTED(face_choose_preset) void faceChoosePreset(int preset) {
  page()->choosePreset(preset);
}
// The preset that the values come from, -1 for none, and whether they were changed since.
QUELLARD_EXPORTED(face_preset) int facePreset() { return page()->target().preset(); }
QUELLARD_EXPORTED(face_is_changed) int faceIsChanged() { return page()->state().isChanged ? 1 : 0; }
