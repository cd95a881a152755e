// SPDX-License-Identifier: ISC
#include "face/face_state.h"

#include <array>
#include <charconv>
#include <cmath>

#include "params/factory_bank.h"
#include "params/sizes.h"

namespace quellard {
namespace {

int segmentsOf(double level_db) {
  return static_cast<int>(
      std::clamp(std::ceil(level_db / MeterView::kSegment_db) + MeterView::kSegments, 0.0,
                 static_cast<double>(MeterView::kSegments)));
}

// With a point, whatever the locale that the host has set.
std::string levelText(double level_db) {
  if (level_db <= LevelMeter::kFloor_db) return "";
  std::array<char, 32> text{};
  const auto [end, error] =
      std::to_chars(text.data(), text.data() + text.size(),
                    std::round(level_db * 10.0) / 10.0 + 0.0, std::chars_format::fixed, 1);
  return error == std::errc{} ? std::string(text.data(), end) + " dBFS" : "";
}

bool looksTheSame(const Control& control, int index, const FaceState& a, const FaceState& b) {
  const auto same = [&](int FaceState::*place) {
    return (a.*place == index) == (b.*place == index);
  };
  if ((a.shownFocus() == index) != (b.shownFocus() == index)) return false;
  if (!same(&FaceState::hover)) return false;
  if (control.parameter != 0 && a.values[control.parameter] != b.values[control.parameter]) {
    return false;
  }
  if (control.kind != ControlKind::knob) return true;
  const auto typedIn = [index](const FaceState& state) {
    return state.typed.has_value() && state.typed->control == index ? state.typed : std::nullopt;
  };
  return same(&FaceState::moving) && typedIn(a) == typedIn(b);
}

}  // namespace

std::vector<FacePreset> factoryFacePresets() {
  std::vector<FacePreset> all = {{kDefaultsName, "Every knob at 5", defaultValues()}};
  for (const FactoryPreset& preset : kFactoryBank) {
    all.push_back({preset.name, preset.description, presetValues(preset)});
  }
  return all;
}

MeterView meterView(const LevelMeter& meter, double gain_db) {
  const double held_db = meter.held_db() + gain_db;
  const bool isSilent = meter.held_db() <= LevelMeter::kFloor_db;
  return {.lit = segmentsOf(meter.level_db() + gain_db),
          .held = isSilent ? 0 : segmentsOf(held_db),
          .text = isSilent ? "" : levelText(held_db),
          .clipped = meter.clipped()};
}

std::vector<int> menuRows(std::span<const FacePreset> presets, int unreadable) {
  std::vector<int> rows = {kFactoryHeading};
  const auto beginUsers = [&] {
    rows.push_back(kUserHeading);
    if (unreadable > 0) rows.push_back(kUnreadableNote);
  };
  bool isFactory = true;
  int place = 0;
  for (const FacePreset& preset : presets) {
    if (isFactory && !preset.isFactory) beginUsers();
    isFactory = preset.isFactory;
    rows.push_back(place++);
  }
  if (isFactory && unreadable > 0) beginUsers();
  return rows;
}

Rect menuArea(int rows) {
  const int shown = std::min(rows, kMenuRows);
  Rect area = kMenu;
  area.height = static_cast<float>(shown) * kMenuRowHeight + 2.0F * kMenuMargin;
  return area;
}

Rect menuRowArea(int shownRow) {
  return {kMenu.x, kMenu.y + kMenuMargin + static_cast<float>(shownRow) * kMenuRowHeight,
          kMenu.width, kMenuRowHeight};
}

std::vector<Rect> changedAreas(const FaceState& before, const FaceState& after,
                               std::span<const FacePreset> presets) {
  std::vector<Rect> changed;
  int index = 0;
  for (const Control& control : controls()) {
    if (!looksTheSame(control, index++, before, after)) changed.push_back(drawnArea(control));
  }
  // With the edges and glows around it.
  const auto add = [&](bool differs, const Rect& area) {
    if (differs) changed.push_back(area.grownBy(6.0F));
  };
  const auto litIn = [](const FaceState& state) {
    return channelFromSelect(state.values[kTypeParameter]);
  };
  if (isBypassed(before.values[kBypassParameter]) != isBypassed(after.values[kBypassParameter])) {
    return {{0.0F, 0.0F, kFaceWidth, kFaceHeight}};
  }
  if (litIn(before) != litIn(after)) {
    for (const int channel : {litIn(before), litIn(after)}) {
      changed.push_back(at(kStrips, channel).grownBy(8.0F));
    }
  }
  add(before.preset != after.preset || before.isChanged != after.isChanged, kPresetBox);
  add(before.description != after.description, kPresetText);
  add(before.input != after.input, kInputMeter);
  add(before.output != after.output, kOutputMeter);
  const auto gates = [](const FaceState& state) {
    return gateFromValue_dbfs(state.values[kGateParameter]).has_value();
  };
  add(before.gateIsOpen != after.gateIsOpen || gates(before) != gates(after), kGateLamp);
  add(before.cabinet != after.cabinet, kCabinetBox);
  if (before.menu != after.menu) {
    const MenuView menu = after.menu.value_or(before.menu.value_or(MenuView{}));
    const std::size_t rows = menuRows(presets, menu.unreadable).size();
    changed.push_back(menuArea(static_cast<int>(rows)).grownBy(16.0F));
  }
  return changed;
}

}  // namespace quellard
