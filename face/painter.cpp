// SPDX-License-Identifier: ISC
#include "face/painter.h"

#include <array>
#include <cmath>
#include <numbers>

#include "face/theme.h"
#include "params/sizes.h"
#include "params/words.h"
#include "rig/value_text.h"

namespace quellard {
namespace {

using theme::kChannels;

// A knob turns from 7 o'clock, 0, to 5 o'clock, 10.
constexpr float kKnobTurns = 0.75F;
constexpr float kArcWidth = 3.2F;

float turnsOf(float value) { return (value - 0.5F) * kKnobTurns; }

// A point around the knob. turns: clockwise from 12 o'clock.
Point around(Point center, float radius, float turns) {
  const float angle = turns * 2.0F * std::numbers::pi_v<float>;
  return {center.x + radius * std::sin(angle), center.y - radius * std::cos(angle)};
}

Color channelColor(int channel) { return at(kChannels, channel); }

class Painter {
 public:
  Painter(Canvas& canvas, const FaceState& state, std::span<const FacePreset> presets)
      : canvas_(canvas),
        state_(state),
        presets_(presets),
        lit_(channelFromSelect(state.values[kTypeParameter])),
        isOn_(!isBypassed(state.values[kBypassParameter])) {}

  void paint() {
    background();
    header();
    for (int channel = 0; channel < kNumChannels; ++channel) strip(channel);
    rigPanel();
    int index = 0;
    for (const Control& control : controls()) {
      if (control.kind == ControlKind::knob && canvas_.shows(drawnArea(control))) {
        knob(control, index);
      }
      ++index;
    }
    focus();
    bubble();
    if (state_.menu.has_value()) menu(*state_.menu);
  }

 private:
  bool isHovered(int index) const { return state_.hover == index; }

  void background() {
    canvas_.fill({-4000, -4000, 8960, 8600}, 0.0F, theme::kBackgroundBottom);
    canvas_.fill({0, 0, kFaceWidth, kFaceHeight}, 0.0F,
                 {theme::kBackgroundTop, theme::kBackgroundBottom});
    if (!state_.hasGrip) return;
    for (const float inset : {6.0F, 11.0F, 16.0F}) {
      canvas_.line({kFaceWidth - inset, kFaceHeight - 3.0F},
                   {kFaceWidth - 3.0F, kFaceHeight - inset}, 1.2F, theme::kQuietText.faded(0.5F));
    }
  }

  void header() {
    if (!canvas_.shows(kHeader)) return;
    canvas_.text({28, 42}, "QUELLARD",
                 {.size = 24, .color = theme::kText, .face = FontFace::bold, .spacing = 6});
    well(kPresetBox, 8.0F);
    arrow(ControlKind::previousPreset, -1.0F);
    arrow(ControlKind::nextPreset, 1.0F);
    presetName();
    const TextStyle style = {.size = 9.5F, .color = theme::kQuietText, .align = Align::center};
    canvas_.text({kPresetText.center().x, kPresetText.y + 10.0F},
                 cut(state_.description, style, kPresetText.width), style);
    bypass();
  }

  void well(const Rect& rect, float radius) {
    canvas_.fill(rect, radius, theme::kWell);
    canvas_.outline(rect, radius, 1.0F, theme::kEdge);
  }

  // direction: -1 points to the left, 1 to the right.
  void arrow(ControlKind kind, float direction) {
    const int index = controlOf(kind);
    const Point at = controlNumber(index).area.center();
    const Color color = isHovered(index) ? theme::kBrightText : theme::kText;
    const Point tip = {at.x + 3.0F * direction, at.y};
    canvas_.line({at.x - 2.5F * direction, at.y - 6.0F}, tip, 1.8F, color);
    canvas_.line({at.x - 2.5F * direction, at.y + 6.0F}, tip, 1.8F, color);
  }

  // The dot says that the values are no longer the preset's.
  void presetName() {
    const Color color =
        isHovered(controlOf(ControlKind::presetName)) ? theme::kBrightText : theme::kText;
    const Point at = {kPresetBox.center().x, kPresetBox.y + 24.0F};
    const TextStyle style = {
        .size = 14, .color = color, .face = FontFace::bold, .align = Align::center};
    const std::string shown = cut(state_.preset, style, 236.0F);
    canvas_.text(at, shown, style);
    if (!state_.isChanged) return;
    const float end = at.x + canvas_.textWidth(shown, style) / 2.0F;
    canvas_.fillCircle({end + 11.0F, at.y - 5.0F}, 3.0F, theme::kYellow);
  }

  // What of a text is not wider than this, with an ellipsis where something is missing.
  std::string cut(std::string text, const TextStyle& style, float width) const {
    if (canvas_.textWidth(text, style) <= width) return text;
    while (!text.empty() && canvas_.textWidth(text + "…", style) > width) removeLastCharacter(text);
    return text + "…";
  }

  void bypass() {
    well(kBypassButton, 15.0F);
    const bool hovered = isHovered(controlOf(ControlKind::bypass));
    lamp({kBypassButton.x + 18.0F, kBypassButton.center().y}, 5.0F, theme::kGreen, isOn_);
    canvas_.text({kBypassButton.x + 58.0F, kBypassButton.y + 19.0F}, isOn_ ? "ON" : "BYPASS",
                 {.size = isOn_ ? 11.0F : 10.0F,
                  .color = hovered ? theme::kBrightText : theme::kText,
                  .face = FontFace::bold,
                  .align = Align::center,
                  .spacing = isOn_ ? 1.5F : 0.5F});
  }

  void lamp(Point center, float radius, const Color& color, bool isLit) {
    if (isLit) canvas_.fillCircle(center, radius * 1.7F, color.faded(0.28F), radius * 1.8F);
    canvas_.fillCircle(center, radius, isLit ? color : theme::kUnlitLamp);
    if (isLit) {
      canvas_.fillCircle({center.x - radius * 0.25F, center.y - radius * 0.3F}, radius * 0.45F,
                         theme::kBrightText.faded(0.45F), radius * 0.5F);
    }
  }

  void strip(int channel) {
    const Rect& area = at(kStrips, channel);
    if (!canvas_.shows(area.grownBy(8.0F))) return;
    const bool isLit = channel == lit_;
    const Color color = channelColor(channel);
    if (isLit && isOn_) canvas_.fill(area.grownBy(2.0F), 12.0F, color.faded(0.16F), 10.0F);
    canvas_.fill(area, 10.0F,
                 isLit ? Paint{theme::kLitTop, theme::kLitBottom}
                       : Paint{theme::kUnlitTop, theme::kUnlitBottom});
    canvas_.outline(area, 10.0F, isLit ? 1.2F : 1.0F,
                    isLit ? Paint{color.faded(isOn_ ? 0.75F : 0.3F)} : Paint{theme::kEdge});
    canvas_.fill({area.x, area.y + 10.0F, 5.0F, area.height - 20.0F}, 2.5F,
                 color.faded(isLit && isOn_ ? 1.0F : 0.4F));
    lamp({area.x + 36.0F, area.y + 64.0F}, 7.0F, color, isLit && isOn_);
    const bool hovered = isHovered(controlOf(ControlKind::channel, channel));
    canvas_.text({area.x + 58.0F, area.y + 70.0F}, channelName(channel),
                 {.size = 16,
                  .color = isLit || hovered ? theme::kBrightText : theme::kQuietText,
                  .face = FontFace::bold,
                  .spacing = 2});
  }

  void rigPanel() {
    if (!canvas_.shows(kRigPanel)) return;
    canvas_.fill(kRigPanel, 10.0F, {theme::kPanelTop, theme::kPanelBottom});
    canvas_.outline(kRigPanel, 10.0F, 1.0F, theme::kEdge.faded(0.6F));
    meter(kInputMeter, "IN", state_.input);
    meter(kOutputMeter, "OUT", state_.output);
    gateLamp();
    cabinet();
  }

  void meter(const Rect& area, const char* label, const MeterView& view) {
    const Rect bar = {area.x, area.y + 21.0F, area.width, 10.0F};
    canvas_.text({area.x, area.y + 14.0F}, label,
                 {.size = 10.5F, .color = theme::kQuietText, .face = FontFace::bold, .spacing = 1});
    if (view.clipped) {
      const Rect mark = {area.x + 34.0F, area.y + 3.0F, 34.0F, 14.0F};
      canvas_.fill(mark, 3.0F, theme::kRed);
      canvas_.text(
          {mark.center().x, mark.y + 10.5F}, "CLIP",
          {.size = 9, .color = theme::kDarkText, .face = FontFace::bold, .align = Align::center});
    }
    canvas_.text({area.right(), area.y + 14.0F}, view.text,
                 {.size = 10, .color = theme::kText, .align = Align::right});
    canvas_.fill(bar.grownBy(2.0F), 3.0F, theme::kWell);
    const float pitch = (bar.width + 1.5F) / MeterView::kSegments;
    for (int segment = 1; segment <= MeterView::kSegments; ++segment) {
      const bool isLit = segment <= view.lit;
      const Color color = segmentColor(segment).faded(isLit ? 1.0F : 0.14F);
      const float x = bar.x + static_cast<float>(segment - 1) * pitch;
      canvas_.fill({x, bar.y + 1.0F, pitch - 1.5F, bar.height - 2.0F}, 1.0F, color);
      if (segment == view.held) {
        canvas_.fill({x, bar.y - 1.0F, 2.0F, bar.height + 2.0F}, 0.5F, theme::kBrightText);
      }
    }
  }

  static Color segmentColor(int segment) {
    const double top_db = (segment - MeterView::kSegments) * MeterView::kSegment_db;
    if (top_db > -2.0) return theme::kRed;
    return top_db > -10.0 ? theme::kYellow : theme::kGreen;
  }

  void gateLamp() {
    const bool gates = gateFromValue_dbfs(state_.values[kGateParameter]).has_value();
    const float y = kGateLamp.center().y;
    lamp({kGateLamp.x + 8.0F, y}, 5.0F, theme::kGreen, gates && state_.gateIsOpen);
    const char* const text = !gates ? "OFF" : state_.gateIsOpen ? "OPEN" : "CLOSED";
    canvas_.text({kGateLamp.x + 22.0F, y + 4.0F}, text,
                 {.size = 10, .color = theme::kQuietText, .face = FontFace::bold, .spacing = 1});
  }

  void cabinet() {
    if (!state_.cabinet.has_value()) return;
    canvas_.text({kCabinetBox.x, kCabinetBox.y + 14.0F}, "CABINET",
                 {.size = 10.5F, .color = theme::kQuietText, .face = FontFace::bold, .spacing = 1});
    const Rect box = {kCabinetBox.x, kCabinetBox.y + 22.0F, kCabinetBox.width, 23.0F};
    well(box, 5.0F);
    const TextStyle style = {.size = 10.5F, .color = theme::kText};
    canvas_.text({box.x + 9.0F, box.y + 15.5F}, cut(*state_.cabinet, style, box.width - 18.0F),
                 style);
  }

  // Whether a knob is heard: those of the lit channel, and those of the rig.
  bool isLit(const Control& control) const {
    return isOn_ && (control.channel < 0 || control.channel == lit_);
  }

  void knob(const Control& control, int index) {
    const bool lit = isLit(control);
    const Color label = lit ? theme::kText : theme::kQuietText;
    const Color arc = control.channel < 0 ? theme::kRigArc : channelColor(control.channel);
    const float value = state_.values[control.parameter];
    const float above = control.radius + (control.channel < 0 ? 14.0F : 17.0F);
    canvas_.text({control.center.x, control.center.y - above}, control.label,
                 {.size = 10.5F,
                  .color = label,
                  .face = FontFace::bold,
                  .align = Align::center,
                  .spacing = 1.1F});
    marks(control, lit);
    const float radius = control.radius + 5.0F;
    canvas_.arc(control.center, radius, turnsOf(0.0F), turnsOf(1.0F), kArcWidth,
                theme::kBrightText.faded(0.08F));
    const float start = control.isBipolar ? 0.5F : 0.0F;
    if (value != start) {
      canvas_.arc(control.center, radius, turnsOf(std::min(start, value)),
                  turnsOf(std::max(start, value)), kArcWidth, arc.faded(lit ? 1.0F : 0.45F));
    }
    cap(control, value, lit, isHovered(index));
    valueText(control, index, label);
  }

  // The scale of 0 to 10; its ends and its middle stand out.
  void marks(const Control& control, bool lit) {
    for (int mark = 0; mark <= 10; ++mark) {
      const float turns = turnsOf(static_cast<float>(mark) / 10.0F);
      const float strength = (mark % 5 == 0 ? 0.75F : 0.35F) * (lit ? 1.0F : 0.7F);
      canvas_.line(around(control.center, control.radius + 8.5F, turns),
                   around(control.center, control.radius + 11.0F, turns), 1.2F,
                   theme::kText.faded(strength));
    }
  }

  void cap(const Control& control, float value, bool lit, bool hovered) {
    const Point at = control.center;
    const float radius = control.radius;
    canvas_.fillCircle({at.x, at.y + radius * 0.14F}, radius, Color::hex(0, 0.5F), radius * 0.4F);
    canvas_.fillCircle(at, radius,
                       {Color::hex(hovered ? 0x5E574E : 0x4F4943), Color::hex(0x1A1816)});
    canvas_.fillCircle(at, radius - 1.2F, {Color::hex(0x3D3833), Color::hex(0x221F1C)});
    // The grip: notches around the skirt.
    for (int notch = 0; notch < 24; ++notch) {
      const float turns = turnsOf(value) + static_cast<float>(notch) / 24.0F;
      canvas_.line(around(at, radius - 4.6F, turns), around(at, radius - 2.4F, turns), 0.9F,
                   Color::hex(0, 0.35F));
    }
    canvas_.fillCircle(at, radius - 6.0F, {Color::hex(0x26231F), Color::hex(0x3A3530)});
    canvas_.fillCircle(at, radius - 7.0F, {Color::hex(0x37322D), Color::hex(0x2A2622)});
    canvas_.line(around(at, radius * 0.42F, turnsOf(value)),
                 around(at, radius - 2.0F, turnsOf(value)), 2.6F,
                 lit ? theme::kBrightText : theme::kQuietText);
  }

  void valueText(const Control& control, int index, const Color& color) {
    const Point at = {control.center.x, control.value.y + 13.0F};
    if (state_.typed.has_value() && state_.typed->control == index) {
      return field(control, *state_.typed, at);
    }
    const Color shown = isHovered(index) ? theme::kBrightText : color;
    canvas_.text(at,
                 quellard::valueText(control.parameter, state_.values[control.parameter]).data(),
                 {.size = 11, .color = shown, .align = Align::center});
  }

  void field(const Control& control, const TextField& typed, Point at) {
    const bool wrong = typed.isWrong;
    canvas_.fill(control.value.grownBy(1.0F), 4.0F, theme::kWell);
    canvas_.outline(control.value.grownBy(1.0F), 4.0F, 1.4F, wrong ? theme::kWrong : theme::kFocus);
    const TextStyle style = {
        .size = 11, .color = wrong ? theme::kWrong : theme::kBrightText, .align = Align::center};
    const std::string& text = typed.text;
    canvas_.text(at, text, style);
    const float end = at.x + canvas_.textWidth(text, style) / 2.0F + 1.5F;
    canvas_.line({end, at.y - 9.0F}, {end, at.y + 2.0F}, 1.2F, style.color);
  }

  void focus() {
    if (state_.shownFocus() < 0) return;
    const Control& control = controlNumber(state_.focus);
    const float radius = control.kind == ControlKind::bypass ? 17.0F : 8.0F;
    canvas_.outline(control.area.grownBy(2.0F), radius, 1.6F, theme::kFocus);
  }

  void bubble() {
    if (state_.moving < 0) return;
    const Control& control = controlNumber(state_.moving);
    const Rect area = bubbleArea(control);
    canvas_.fill(area, 6.0F, Color::hex(0, 0.5F), 6.0F);
    canvas_.fill(area, 6.0F, theme::kText);
    canvas_.text(
        {area.center().x, area.y + 16.5F},
        quellard::valueText(control.parameter, state_.values[control.parameter]).data(),
        {.size = 12.5F, .color = theme::kDarkText, .face = FontFace::bold, .align = Align::center});
  }

  void menu(const MenuView& view) {
    const std::vector<int> rows = menuRows(presets_, view.unreadable);
    const Rect area = menuArea(static_cast<int>(rows.size()));
    if (!canvas_.shows(area.grownBy(16.0F))) return;
    canvas_.fill({area.x, area.y + 4.0F, area.width, area.height}, 8.0F, Color::hex(0, 0.6F),
                 14.0F);
    canvas_.fill(area, 8.0F, theme::kMenuBackground);
    canvas_.outline(area, 8.0F, 1.0F, theme::kEdge.faded(1.8F));
    const int shown = std::min(static_cast<int>(rows.size()), kMenuRows);
    for (int i = 0; i < shown; ++i) {
      const int row = view.firstRow + i;
      menuRow(menuRowArea(i), at(rows, row), row == view.selectedRow, view);
    }
    scrollMark(area, view.firstRow, shown, static_cast<int>(rows.size()));
  }

  void menuRow(const Rect& area, int preset, bool selected, const MenuView& view) {
    const float base = area.y + 17.0F;
    const TextStyle description = {.size = 9.5F, .color = theme::kQuietText};
    if (preset == kUnreadableNote) {
      const std::string files = view.unreadable == 1 ? " file" : " files";
      canvas_.text({area.x + 34.0F, base - 1.0F},
                   std::to_string(view.unreadable) + files + " cannot be read", description);
      canvas_.text({area.x + 204.0F, base - 1.0F}, "The command \"quellard presets\" says why",
                   description);
      return;
    }
    if (preset < 0) {
      canvas_.text(
          {area.x + 16.0F, base}, preset == kFactoryHeading ? "FACTORY" : "YOURS",
          {.size = 9, .color = theme::kQuietText, .face = FontFace::bold, .spacing = 1.5F});
      return;
    }
    const FacePreset& entry = at(presets_, preset);
    if (selected) {
      canvas_.fill({area.x + 4.0F, area.y + 1.0F, area.width - 8.0F, area.height - 2.0F}, 5.0F,
                   theme::kMenuSelected);
    }
    canvas_.fillCircle({area.x + 20.0F, area.center().y}, 4.0F,
                       channelColor(channelFromSelect(entry.values[kTypeParameter])));
    const TextStyle name = {.size = 12,
                            .color = theme::kText,
                            .face = preset == view.current ? FontFace::bold : FontFace::regular};
    canvas_.text({area.x + 34.0F, base}, cut(entry.name, name, 160.0F), name);
    canvas_.text({area.x + 204.0F, base - 1.0F}, cut(entry.description, description, 280.0F),
                 description);
  }

  void scrollMark(const Rect& area, int first, int shown, int rows) {
    if (rows <= shown) return;
    const float share = (area.height - 8.0F) / static_cast<float>(rows);
    canvas_.fill({area.right() - 7.0F, area.y + 4.0F + static_cast<float>(first) * share, 3.0F,
                  static_cast<float>(shown) * share},
                 1.5F, theme::kQuietText.faded(0.6F));
  }

  Canvas& canvas_;
  const FaceState& state_;
  std::span<const FacePreset> presets_;
  int lit_;
  bool isOn_;
};

}  // namespace

void paintFace(Canvas& canvas, const FaceState& state, std::span<const FacePreset> presets) {
  Painter(canvas, state, presets).paint();
}

void FacePicture::resize(int width, int height) {
  picture_.resize(std::min(width, kLargestSide), std::min(height, kLargestSide));
  const auto across = static_cast<float>(picture_.width());
  const auto down = static_cast<float>(picture_.height());
  scale_ = std::min(across / kFaceWidth, down / kFaceHeight);
  origin_ = {std::floor((across - scale_ * kFaceWidth) / 2.0F),
             std::floor((down - scale_ * kFaceHeight) / 2.0F)};
  isStale_ = true;
}

std::vector<PixelRect> FacePicture::repaint(const FaceState& state,
                                            std::span<const FacePreset> presets) {
  if (isUpToDate(state)) return {};
  std::vector<PixelRect> areas;
  if (isStale_) {
    areas.push_back(picture_.bounds());
  } else {
    for (const Rect& area : changedAreas(painted_, state, presets)) {
      const PixelRect pixels = Canvas::pixelsOf(area, scale_, origin_).cutTo(picture_.bounds());
      if (!pixels.isEmpty()) areas.push_back(pixels);
    }
  }
  for (const PixelRect& area : areas) {
    Canvas canvas(picture_, font_, scale_, origin_, area);
    paintFace(canvas, state, presets);
  }
  painted_ = state;
  isStale_ = false;
  return areas;
}

}  // namespace quellard
