// SPDX-License-Identifier: ISC
// Names of notes in equal temperament, and the tunings of guitars and basses. Any thread; nothing
// here allocates but noteName().
#pragma once

#include <array>
#include <span>
#include <string>
#include <string_view>

namespace quellard {

inline constexpr double kConcertPitch_hz = 440.0;     // of the A above middle C, A4
inline constexpr double kLowestReference_hz = 400.0;  // of what players tune that A to
inline constexpr double kHighestReference_hz = 480.0;

struct Note {
  int number;    // as in MIDI: 69 is A4, one more is a semitone up
  double cents;  // how much sharper than the note, in hundredths of a semitone
};

// The note that is nearest to a frequency: cents from -50 to 50. frequency and reference: Hz, > 0.
Note nearestNote(double frequency_hz, double reference_hz = kConcertPitch_hz);

// How much sharper a frequency is than a note, in cents.
double centsAbove(int number, double frequency_hz, double reference_hz = kConcertPitch_hz);

// "E2", "A#3", "C-1". Half tones are named as raised notes.
std::string noteName(int number);

struct Tuning {
  static constexpr int kMostStrings = 7;

  std::string_view name;                // in lower case
  std::array<int, kMostStrings> notes;  // of the open strings, the lowest first; 0 ends them
  std::span<const int> strings() const;
};

std::span<const Tuning> tunings();

// Null for a name that is none of them. Case and surrounding spaces do not count.
const Tuning* findTuning(std::string_view name);

struct NearestString {
  int number;    // as players count: 1 is the highest
  int note;      // of the open string
  double cents;  // how much sharper than that
};
NearestString nearestString(const Tuning& tuning, double frequency_hz,
                            double reference_hz = kConcertPitch_hz);

}  // namespace quellard
