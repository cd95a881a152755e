// SPDX-License-Identifier: ISC
// The fundamental frequency of a plucked string, by McLeod's normalised square difference (P.
// McLeod and G. Wyvill, "A smarter way to find pitch", 2005): a signal is compared with itself
// delayed, and the first delay at which it is almost the same is the period. Harmonics may be far
// stronger than the fundamental. Two things are added:
// - Every delay is judged by the same newest stretch of signal, so that only as much of the past is
//   used as that delay needs, and high notes are known sooner than low ones.
// - The delay that was found is made exact on the lowest harmonics alone. Those of a stiff string
//   are sharp, the more the higher they are, and would pull the reading up by several cents.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace quellard {

struct PitchReading {
  double frequency_hz = 0.0;          // 0: no note
  double clarity = 0.0;               // 0..1: how alike one period is to the next
  double level_dbfs = kSilence_dbfs;  // RMS of 0.1 s below 1.6 kHz; 0 is a sine at full scale

  static constexpr double kSilence_dbfs = -150.0;
};

class PitchDetector {
 public:
  static constexpr double kLowest_hz = 27.0;  // a bass guitar's low B is at 30.9
  static constexpr double kHighest_hz = 1400.0;
  // Of the newest stretch, in which low and high notes are compared with their past.
  static constexpr double kStretchSeconds = 0.100;

  // Below this level there is no note: the hum and hiss of a guitar that rests lie there.
  static constexpr double kQuietest_dbfs = -60.0;
  // Hum is told from a string by its level and its frequency. Up to this level, what lies within
  // 7 cents of the mains' 50 or 60 Hz, or of their doubles, is hum. A string is only ever there
  // while it is tuned past: these are 35 cents above G and midway between A# and B.
  static constexpr double kLoudestHum_dbfs = -40.0;
  // The least clarity of a note. Plucked strings reach 0.95, noise stays below 0.75.
  static constexpr double kLeastClarity = 0.85;

  // A maximum of the similarity, between samples.
  struct Peak {
    double delay;  // samples
    double height;
  };

  // rate: of the windows, in Hz; 8000 to 22000. Allocates.
  explicit PitchDetector(double rate);

  // The length of a window in samples, about 0.16 s.
  std::size_t windowLength() const { return window_.size(); }

  // The note at the end of a window, the newest sample last. window: windowLength() finite samples
  // without much above kHighest_hz. Never allocates; takes about a million multiplications.
  PitchReading analyse(std::span<const double> window);

 private:
  void lowpassWindow(std::span<const double> window);
  double energyBefore(std::span<const double> signal, int delay, double mean) const;
  bool isRising(double period) const;
  void smoothWindow(int width);
  void compareAllDelays();
  double coarsePeriod();
  double exactPeriod(double period);
  double similarity(int delay) const;
  Peak topNear(double guess, double reach) const;

  double rate_;
  int stretch_;        // samples
  int longest_;        // the longest delay, in samples
  double mean_ = 0.0;  // of the window
  double clarity_ = 0.0;
  std::vector<double> window_;        // behind the lowpass
  std::vector<double> smoothed_;      // its lowest harmonics
  std::vector<double> hann_;          // weights of the stretch
  std::vector<double> similarities_;  // by delay
};

}  // namespace quellard
