// SPDX-License-Identifier: ISC
// The reference: the whole amplifier, written a second time as simply as possible, one sample after
// the other and one stage after the other, in the order of arithmetic that makes its sound. It has
// no lock: one thread at a time.
//
// The shipped signal path must give its output bit for bit, and is timed against it. Code that both
// shared would make these comparisons worthless, so nothing here includes anything outside this
// folder, and nothing here is made faster. Build with -ffp-contract=off.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace quellard::reference {

// What a filter section is designed from. Frequencies and fs in Hz, gain in dB.
struct Record {
  int num = 0;  // 0..12, see design(); every other number is the one-pole low-pass
  double frq = 0.0;
  double q = 1.0;
  double gain = 0.0;
  double fs = 44100.0;
  double frqLow = 0.0;
  double frqHigh = 0.0;
};

// Weights of y[n-1], y[n-2], x[n], x[n-1], x[n-2]; one-pole low-pass: 1 - pole, 0, pole, 0, 0.
using Coefficients = std::array<double, 5>;

// Writes the q and frq that it really used back into the record.
Coefficients design(Record& record);

struct Section {
  explicit Section(const Record& record) { redesign(record); }
  void redesign(Record record);              // at once
  void glideTo(Record record, int samples);  // over the next `samples` calls of glide()
  double run(double x) { return filter(coef, x); }
  double glide(double x);
  void clear() { state1 = state2 = 0.0; }
  double filter(const Coefficients& k, double x);

  // The glide's fields start at zero: a new section that is glided starts with a silent sample.
  Coefficients coef{}, base{}, step{};
  double state1 = 0.0, state2 = 0.0;
  double count = 0.0, length = 0.0;  // of the glide, in samples
  std::int16_t num = 0;
};

using Bank = std::vector<Section>;

using Table = std::vector<double>;  // 40001 entries on [-1, 1] and a guard behind them

// The first stage's curves grow steeper with the oversampling factor, the others do not.
struct Tables {
  std::array<Table, 3> drive;  // by channel: clean, vintage, modern
  std::array<Table, 3> cascade;
};

// factor 7 or 8; built at the first call, then only read.
const Tables& tablesFor(int factor);

// The fifth-order lowpass on both sides of the shapers; s[5] is never written.
struct Resampler {
  double lowpass(std::array<double, 6>& s, double u) const;
  double lowpassOfZero(std::array<double, 6>& s) const;
  std::array<double, 5> a{};
  std::array<double, 6> b{};
};

enum class Model { clean, vintage, modern };

struct Channel {
  Channel(Model which, double sampleRate);
  // Values 0..1 as the tapers give them, n the glide in samples.
  void setEQ(double t, double m, double b, double p, int n);  // treble, mid, bass, presence
  void setGain(double g, int n);
  void setMaster(double master, int n);
  void signalProcess(const double* in, double* out, int n);  // in and out may alias
  double oversampled(double v);
  double nonlinear(double y);
  void clear();  // everything that remembers signal; glides and levels stay

  Model model;
  double rate;
  int factor;  // of oversampling
  Bank pre, post, eq, power, revise;
  Section dcBlocker;
  Resampler resampler;
  double masterScale;
  std::array<double, 6> upState{}, downState{};
  double gainTarget = 1.0, gainCurrent = 0.0;
  double masterTarget = 1.0, masterCurrent = 0.0;
  double splitLow = 0.0, splitHigh = 0.0, splitCoef;
  const Tables* tables;
};

struct Switcher {
  Switcher(double rate, float select);
  void fillGain(float v, int n, double* gain);

  int fadeLength, fadePos = 0;  // in samples
  float lastSelect;
  enum class State { idle, fadingOut, fadingIn } state = State::idle;
};

class Amplifier {
 public:
  Amplifier();  // 16 programs, all knobs 0.5, the selector 1.0, no sample rate yet
  void setSampleRate(float rate);
  void setParameter(int index, float value);  // 1..19; out of range: nothing
  void setProgram(int program);               // 0..15; out of range: nothing
  // Runs with results too small for a normal number flushed to zero, and puts the mode back.
  // Silence before the first sample rate; negative frames count as 0; in and out may alias.
  void process(const double* in, double* out, int frames);

 private:
  void block(const double* in, double* out, int n);
  void pushControls(int n);

  using Values = std::array<float, 20>;  // by parameter index; 0 is not used
  Values& values() { return programs_[program_]; }

  std::array<Values, 16> programs_;
  std::size_t program_ = 0;
  Values applied_{};
  bool typePending_ = true;
  float appliedRate_ = -1.0F;
  std::size_t active_ = 0;
  std::vector<Channel> channels_;
  std::optional<Switcher> switcher_;
  std::vector<double> fade_, mono_;
};

}  // namespace quellard::reference
