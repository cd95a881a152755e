// The whole amplifier, written a second time and as plainly as it can be: one sample after the
// other, one stage after the other, in the order of arithmetic that makes its sound.
//
// It is the truth that the shipped signal path is compared with, bit by bit, and the baseline that
// its speed is quoted against. Both uses end when the two share code, so nothing here includes
// anything outside tests/, and nothing here is ever made faster. Build it with -ffp-contract=off.
//
// One amplifier belongs to one thread at a time: there is no lock.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace quellard::plain {

// What a filter section is designed from. Frequencies and fs in Hz, gain in dB.
struct Record {
  int num = 0;  // 0..12, see design(); every other number is the one-pole low-pass
  double frq = 0.0;
  double frqLow = 0.0;
  double frqHigh = 0.0;
  double q = 1.0;
  double gain = 0.0;
  double fs = 44100.0;
};

// Weights of y[n-1], y[n-2], x[n], x[n-1], x[n-2]; of the one-pole low-pass 1 - pole, 0, pole, 0,
// 0.
using Coefficients = std::array<double, 5>;

// Writes the q and frq that it really used back into the record.
Coefficients design(Record& record);

struct Section {
  explicit Section(Record record);
  void redesign(Record& record);              // at once
  void glideTo(Record& record, int samples);  // over the next `samples` calls of glide()
  double run(double x) { return filter(coef, x); }
  double glide(double x);
  void clear() { state1 = state2 = 0.0; }
  double filter(const Coefficients& k, double x);

  Coefficients coef{}, base{}, step{};
  double state1 = 0.0, state2 = 0.0;
  double count = 0.0, length = 0.0;  // of the glide, in samples
  std::int16_t num = 0, prevNum = -1;
};

// One end of a transfer curve: amplitude · tanh(-slope / 2 · index), index in table steps.
struct Half {
  double amplitude;
  double slope;
};

struct Table {
  double lookup(double x) const;  // any x; NaN gives NaN
  double halfSize = 20000.0;
  std::vector<double> entries;  // 40001 on [-1, 1] and a guard behind them
};

// The first stage's curves grow steeper with the oversampling factor, the others do not.
struct Tables {
  explicit Tables(double factor);
  std::array<Table, 3> drive;  // by channel: clean, vintage, modern
  Table t1, t2, t3;
};

// factor 7 or 8; built at the first call, then only read.
const Tables& tablesFor(int factor);

struct Taper {
  float process(float x) const;

  int curve = 0;
  double valueAtOne = 1.0, valueAtZero = 0.0;
  float scale = 1.0F, offset = 0.0F, base = 0.0F, exponent = 1.0F;
  std::vector<float> poly;
};

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
  int rateInt, factor;
  std::vector<Section> pre, post, eq, power, revise;
  Section dcBlocker;
  Resampler resampler;
  double masterScale = 1.0;
  std::array<double, 6> upState{}, downState{};
  double gainTarget = 1.0, gainCurrent = 0.0;
  double masterTarget = 1.0, masterCurrent = 0.0;
  double splitLow = 0.0, splitHigh = 0.0, splitCoef = 0.0;
  const Tables* tables;
};

int channelFromSelect(float v);

struct Switcher {
  Switcher(double rate, float select);
  void fillGain(float v, int n, double* gain);

  int fadeLength;
  std::vector<double> fadeInGain, fadeOutGain;
  int fadePos = 0;
  float lastSelect;
  enum class State { idle, fadingOut, fadingIn } state = State::idle;
};

class Amplifier {
 public:
  Amplifier();  // 16 programs, all knobs 0.5, the selector 1.0, no sample rate yet
  void setSampleRate(float rate);
  void setParameter(int index, float value);  // 0..19; out of range: nothing
  float getParameter(int index) const;        // out of range: 0
  void setProgram(int program);               // 0..15; out of range: nothing
  // Runs with results too small for a normal number flushed to zero, and puts the mode back.
  // Silence before the first sample rate; negative frames count as 0; in and out may alias.
  void process(const double* in, double* out, int frames);

  int activeChannel() const { return active_; }
  const Channel& channel(int index) const { return channels_.at(static_cast<std::size_t>(index)); }
  const Switcher& switcher() const { return switcher_.value(); }

 private:
  void block(const double* in, double* out, int n);
  void pushControls(int n);
  void silencePoison(Channel& ran, int from, int to, bool& poisoned);

  using Values = std::array<float, 20>;  // by parameter index; 0 is not used
  std::array<Values, 16> programs_;
  std::size_t curProgram_ = 0;
  Values values_{}, applied_{};
  bool typePending_ = true;
  double appliedRate_ = -1.0;
  int active_ = 0;
  std::vector<Channel> channels_;
  std::optional<Switcher> switcher_;
  std::vector<double> fade_, mono_;
};

}  // namespace quellard::plain
