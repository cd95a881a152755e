// SPDX-License-Identifier: ISC
// Finds the pitch of the guitar: takes samples on the audio thread, and gives the frequency on
// another. The reading is right within 150 ms of a stroke, below 60 Hz within 200 ms.
// pitch_detector.h says by which method, and what is no note.
#pragma once

#include <array>
#include <atomic>
#include <vector>

#include "rig/pitch_detector.h"

namespace quellard {

class Tuner {
 public:
  static constexpr double kLowestRate = 8000.0;     // Hz
  static constexpr double kHighestRate = 768000.0;  // Hz

  // Ready for 48000 Hz. Allocates.
  Tuner() { prepare(48000.0); }

  // Starts from silence at a rate in Hz. Returns false and changes nothing outside the limits
  // above. Allocates. Not while another function here runs.
  bool prepare(double rate);

  // Takes the next samples; full scale is 1. Those that are not finite count as silence, and those
  // beyond +-1000 as +-1000. [audio thread] Never allocates or waits.
  void push(const float* samples, int frames);
  void push(const double* samples, int frames);

  // What the newest samples are. Takes about a millisecond and never allocates. [one thread at a
  // time, beside push()]
  PitchReading read();

  // Forgets what was heard before, so that read() takes it for silence. Never allocates. [one
  // thread at a time with read(), beside push()]
  void clear();

  // How long before the newest sample the middle of what read() judges lies.
  static constexpr double kDelaySeconds = 0.5 * PitchDetector::kStretchSeconds;

 private:
  // A section of the lowpass, in the transposed form II.
  struct Section {
    double b = 0.0, a1 = 0.0, a2 = 0.0;  // numerator b, 2b, b
    double s1 = 0.0, s2 = 0.0;

    double process(double x);
  };

  template <typename Sample>
  void decimate(const Sample* samples, int frames);
  double lowpass(double x);

  int decimation_ = 1;  // of so many samples, one is kept
  int skipped_ = 0;
  std::array<Section, 3> sections_;
  PitchDetector detector_{kLowestRate};
  // Written by one thread and read by another. The ring is so long that what read() copies is not
  // written again meanwhile.
  std::vector<std::atomic<float>> ring_;
  std::atomic<unsigned> written_ = 0;  // samples in all; wraps, as the ring's length divides 2^32
  std::atomic<bool> clearsFilter_ = false;
  // The thread of read() alone.
  unsigned begin_ = 0;  // what is older than this value of written_ counts as silence
  std::vector<double> window_;
};

}  // namespace quellard
