// SPDX-License-Identifier: ISC
// An amplifier for a face under test, which notes down what the face does to it and fails where a
// move is not begun, ended twice, or leaves 0..1.
#pragma once

#include <functional>
#include <gtest/gtest.h>
#include <set>
#include <utility>
#include <vector>

#include "face/face_target.h"
#include "rig/rig_parameters.h"

namespace quellard {

class RecordingTarget : public FaceTarget {
 public:
  float value(int parameter) const override { return values[parameter]; }
  void beginMove(int parameter) override {
    EXPECT_TRUE(open.insert(parameter).second) << "begun twice: " << parameter;
    ++begun;
    whileMoved();
  }
  void move(int parameter, float value) override {
    EXPECT_TRUE(open.contains(parameter)) << "moved without a beginning: " << parameter;
    EXPECT_TRUE(value >= 0.0F && value <= 1.0F) << value;
    values[parameter] = value;
    whileMoved();
    moves.emplace_back(parameter, value);
  }
  void endMove(int parameter) override {
    EXPECT_EQ(open.erase(parameter), 1U) << "ended without a beginning: " << parameter;
  }
  FaceLevels levels() override { return heard; }
  std::optional<std::string> cabinet() const override { return cabinetName; }
  void presetChosen(int preset) override { chosen = preset; }
  bool hasValues() const override { return knowsValues; }
  void presetShown(int preset) override { shown = preset; }
  int lastPreset() const override { return shown; }

  HostedValues values = defaultHostedValues();
  FaceLevels heard;
  std::optional<std::string> cabinetName;
  std::vector<std::pair<int, float>> moves;
  std::set<int> open;  // moves under way
  int begun = 0;
  int chosen = -1;
  int shown = -1;
  bool knowsValues = true;
  std::function<void()> whileMoved = [] {};  // what the host does when it hears of a move
};

}  // namespace quellard
