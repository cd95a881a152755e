// SPDX-License-Identifier: ISC
// What a face shows and moves: the amplifier as its program or format holds it. All calls come from
// the thread that the face lives on.
#pragma once

#include <optional>
#include <string>

namespace quellard {

struct FaceLevels {
  float inputPeak = 0.0F;  // the largest magnitude of a moment; full scale is 1
  float outputPeak = 0.0F;
  bool gateIsOpen = true;
};

class FaceTarget {
 public:
  FaceTarget() = default;
  virtual ~FaceTarget() = default;
  FaceTarget(const FaceTarget&) = delete;
  FaceTarget& operator=(const FaceTarget&) = delete;

  // parameter: 1..kNumHostedValues of rig/rig_parameters.h. value: 0..1.
  virtual float value(int parameter) const = 0;
  // False while these are a guess, and the amplifier's are still to come.
  virtual bool hasValues() const { return true; }

  // A move by hand: begin, any number of values, end. Never two of one parameter at a time.
  virtual void beginMove(int parameter) = 0;
  virtual void move(int parameter, float value) = 0;
  virtual void endMove(int parameter) = 0;

  virtual FaceLevels levels() = 0;

  // The cabinet's name, "none" without one; nothing where there can be none.
  virtual std::optional<std::string> cabinet() const { return std::nullopt; }

  // After its values have been moved. preset: its place in the face's list.
  virtual void presetChosen(int /*preset*/) {}

  // The preset whose name the face shows, and the one that it begins with: so a face that is opened
  // again knows what the values were changed from. -1 for none.
  virtual void presetShown(int /*preset*/) {}
  virtual int lastPreset() const { return -1; }
};

}  // namespace quellard
