// SPDX-License-Identifier: ISC
// The values of the parameters, 0..1 each as hosts keep them, and what they mean to a player: a
// knob's position on a scale of 0 to 10, and the channel that the selector names. Any thread;
// nothing here allocates.
#pragma once

#include <algorithm>
#include <array>
#include <concepts>
#include <cstddef>
#include <optional>
#include <string_view>
#include <type_traits>

#include "params/parameter_table.h"
#include "params/sizes.h"

namespace quellard {

// Whether a parameter has a value: 1..19.
constexpr bool isStored(int index) { return index >= 1 && index <= kNumStoredValues; }

// 1..18.
constexpr bool isKnob(int index) { return index >= 1 && index <= kNumKnobs; }

// One entry for each parameter that has a value, by the parameter's index, 1..19 or, with what
// hosts add to the amplifier, more.
template <typename Entry, std::size_t count = kNumStoredValues>
class PerParameter {
 public:
  constexpr Entry& operator[](int index) { return at(entries_, index - 1); }
  constexpr const Entry& operator[](int index) const { return at(entries_, index - 1); }

  // In the order of the parameters.
  constexpr auto begin() { return entries_.begin(); }
  constexpr auto end() { return entries_.end(); }
  constexpr auto begin() const { return entries_.begin(); }
  constexpr auto end() const { return entries_.end(); }

  friend bool operator==(const PerParameter&, const PerParameter&) = default;

 private:
  std::array<Entry, count> entries_{};
};

using ParameterValues = PerParameter<float>;

// A number that a host sends, limited to 0..most. NaN gives 0.
template <std::floating_point Number>
constexpr Number limitToRange(Number number, std::type_identity_t<Number> most = 1) {
  return number > 0 ? std::min(number, most) : 0;
}

constexpr float defaultValue(int index) {
  return index == kTypeParameter ? kTypeDefault : kKnobDefault;
}

inline constexpr char kDefaultsName[] = "Init";  // of a program or preset with these values

constexpr ParameterValues defaultValues() {
  ParameterValues values;
  for (int index = 1; index <= kNumStoredValues; ++index) values[index] = defaultValue(index);
  return values;
}

// The channel that a selector value names: 0 below 0.33, 1 below 0.66, otherwise (NaN too) 2.
constexpr int channelFromSelect(float select) {
  if (select < 0.33f) return 0;
  if (select < 0.66f) return 1;
  return 2;
}

// The selector value that is set for a channel: 0, 0.5 or 1 for 0..2.
constexpr float selectFromChannel(int channel) { return 0.5f * static_cast<float>(channel); }

// The channel of this name, in any case: "vintage" gives 1. Nothing for other words.
std::optional<int> channelFromName(std::string_view name);

inline constexpr double kKnobScale = 10.0;  // a knob's highest position

// A knob's value from its position, 0..10. Double until the end: from a float, a quarter of all
// settings with two decimals would come out a bit away from what a host stores.
constexpr float knobFromPosition(double position) {
  return static_cast<float>(position / kKnobScale);
}

// The inverse: the position with the fewest decimals that gives this value again, 7.39 for 0.739.
double positionFromKnob(float value);

// The value of a knob whose position a host keeps as a float: that of the shortest decimal which
// reads as this float, so that 4.39 gives the bits of "4.39" in a text. The float itself divided by
// 10 would not, for a quarter of all settings with two decimals. Held within 0..10, NaN at 0.
float knobFromFloatPosition(float position);

}  // namespace quellard
