// SPDX-License-Identifier: ISC
#include "rig/tunings.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "params/sizes.h"
#include "params/words.h"

namespace quellard {
namespace {

constexpr int kA4 = 69;
constexpr int kSemitones = 12;

// clang-format off
constexpr std::array kTunings = {
    //       name               lowest                highest
    Tuning{"standard",         {40, 45, 50, 55, 59, 64}},      // E A D G B E
    Tuning{"half step down",   {39, 44, 49, 54, 58, 63}},      // D# G# C# F# A# D#
    Tuning{"whole step down",  {38, 43, 48, 53, 57, 62}},      // D G C F A D
    Tuning{"drop d",           {38, 45, 50, 55, 59, 64}},      // D A D G B E
    Tuning{"drop c#",          {37, 44, 49, 54, 58, 63}},      // C# G# C# F# A# D#
    Tuning{"drop c",           {36, 43, 48, 53, 57, 62}},      // C G C F A D
    Tuning{"open d",           {38, 45, 50, 54, 57, 62}},      // D A D F# A D
    Tuning{"open e",           {40, 47, 52, 56, 59, 64}},      // E B E G# B E
    Tuning{"open g",           {38, 43, 50, 55, 59, 62}},      // D G D G B D
    Tuning{"open a",           {40, 45, 52, 57, 61, 64}},      // E A E A C# E
    Tuning{"open c",           {36, 43, 48, 55, 60, 64}},      // C G C G C E
    Tuning{"dadgad",           {38, 45, 50, 55, 57, 62}},      // D A D G A D
    Tuning{"double drop d",    {38, 45, 50, 55, 59, 62}},      // D A D G B D
    Tuning{"baritone",         {35, 40, 45, 50, 54, 59}},      // B E A D F# B
    Tuning{"7 strings",        {35, 40, 45, 50, 55, 59, 64}},  // B E A D G B E
    Tuning{"bass",             {28, 33, 38, 43}},              // E A D G
    Tuning{"bass drop d",      {26, 33, 38, 43}},              // D A D G
    Tuning{"bass 5",           {23, 28, 33, 38, 43}},          // B E A D G
    Tuning{"bass 6",           {23, 28, 33, 38, 43, 48}},      // B E A D G C
};
// clang-format on

double numberOf(double frequency_hz, double reference_hz) {
  return kA4 + kSemitones * std::log2(frequency_hz / reference_hz);
}

}  // namespace

Note nearestNote(double frequency_hz, double reference_hz) {
  const double number = numberOf(frequency_hz, reference_hz);
  const double nearest = std::round(number);
  return {static_cast<int>(nearest), 100.0 * (number - nearest)};
}

double centsAbove(int number, double frequency_hz, double reference_hz) {
  return 100.0 * (numberOf(frequency_hz, reference_hz) - number);
}

std::string noteName(int number) {
  constexpr std::array<const char*, kSemitones> kNames = {"C",  "C#", "D",  "D#", "E",  "F",
                                                          "F#", "G",  "G#", "A",  "A#", "B"};
  const int octave = (number >= 0 ? number : number - kSemitones + 1) / kSemitones;
  const int step = number - octave * kSemitones;
  return at(kNames, step) + std::to_string(octave - 1);
}

std::span<const int> Tuning::strings() const {
  return std::span(notes).first(notes.size() - asSize(std::ranges::count(notes, 0)));
}

std::span<const Tuning> tunings() { return kTunings; }

const Tuning* findTuning(std::string_view name) {
  for (const Tuning& tuning : kTunings) {
    if (sameWord(tuning.name, trimmed(name))) return &tuning;
  }
  return nullptr;
}

NearestString nearestString(const Tuning& tuning, double frequency_hz, double reference_hz) {
  const std::span<const int> strings = tuning.strings();
  const auto distance = [&](int note) {
    return std::abs(centsAbove(note, frequency_hz, reference_hz));
  };
  const auto nearest = std::ranges::min_element(strings, {}, distance);
  return {static_cast<int>(strings.end() - nearest), *nearest,
          centsAbove(*nearest, frequency_hz, reference_hz)};
}

}  // namespace quellard
