// SPDX-License-Identifier: ISC
// A level meter: present level, held peak and clip indicator.
#pragma once

#include <algorithm>

#include "params/decibels.h"

namespace quellard {

class LevelMeter {
 public:
  static constexpr double kFloor_db = -99.9;
  static constexpr double kCeiling_db = 99.9;  // also of a peak that is infinite
  static constexpr double kHoldSeconds = 1.5;
  static constexpr double kFall_dbPerSecond = 20.0;  // of the held peak, after that
  // An input that reaches a converter's highest sample, just below 1, was clipped before. Outputs
  // are floats, which the converter clips above 1.
  static constexpr float kInputClips = 0.999F;
  static constexpr float kOutputClips = 1.0F;

  // clipsAbove: the sample value above which the clip indicator lights.
  explicit LevelMeter(float clipsAbove) : clipsAbove_(clipsAbove) {}

  // peak: the highest sample within the last `seconds`, the time since the last update.
  void update(float peak, double seconds) {
    level_db_ = std::clamp(decibelsFromGain(std::max(1e-9, static_cast<double>(peak))), kFloor_db,
                           kCeiling_db);
    clipped_ = clipped_ || peak > clipsAbove_;
    age_ += seconds;
    if (age_ > kHoldSeconds) held_db_ -= kFall_dbPerSecond * seconds;
    if (level_db_ >= held_db_) {
      held_db_ = level_db_;
      age_ = 0.0;
    }
  }

  void clear() {
    clipped_ = false;
    held_db_ = kFloor_db;
  }

  double level_db() const { return level_db_; }
  double held_db() const { return held_db_; }
  bool clipped() const { return clipped_; }

 private:
  float clipsAbove_;
  double level_db_ = kFloor_db;
  double held_db_ = kFloor_db;
  double age_ = 0.0;  // of the held peak, seconds
  bool clipped_ = false;
};

}  // namespace quellard
