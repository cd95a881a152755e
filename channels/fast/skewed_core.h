// SPDX-License-Identifier: ISC
// The road of a channel with its stages skewed, the same bits as the plain order several times as
// fast. The oversampled loop is all recurrences, each waiting for its own last result. Here a pass
// handles one input sample, and every stage works on a sample of its own, older the further down
// the road it stands, so that all recurrences run side by side:
//
//   pass         k     k+1   k+2   k+3   k+4   k+5   k+6   k+7   k+8
//
//   before       k     k+1   k+2   ...                                  lane 0 of the rack
//   up                 k     k+1   k+2   ...                            F sub-samples each
//   T0 post                  k     k+1   k+2   ...
//   T1 power 0                     k     k+1   k+2   ...
//   power 1                              k     k+1   k+2   ...
//   T2 split                                   k     k+1   k+2   ...
//   T3 down                                          k     k+1   k+2   ...
//   behind                                           k     k     k      lanes 1, 2, 3
//
// CLEAN has up, T0 and down alone, two passes apart.
//
// Between two stages the F sub-samples of a sample lie in a frame of two halves. While the stages
// run through one half, the waveshapers look up the other; so a lookup costs no pass of its own.
//
// At the start of a call the later stages have nothing to do yet, at its end the earlier ones have
// nothing left. They run all the same, and only what they remember is put right: a stage takes its
// memory when its first sample arrives and gives it back behind its last.
#pragma once

#include <cstddef>
#include <utility>

#include "channels/fast/skewed_state.h"
#include "channels/fast/vector.h"

namespace quellard::fast {
inline namespace QUELLARD_FAST_ISA {

#define QUELLARD_EACH [&](auto i) __attribute__((always_inline))

// Coefficients in the shape in which the stages use them.
struct Settings {
  // Of the resampling lowpasses: for s0, for {s1, s3} and for {s2, s4}, up beside down.
  Twice A0, B0, B1;
  Quad A13, A24, B13, B24;
  Quad sectionsX, sectionsY;
  Pair splitCoef;
  Quad halfSize, one, minusOne, lowGain, mixGain;
  const double* table[4];
};

// What the stages leave for each other, in sub-samples.
struct Frame {
  alignas(64) double up[8], post[8], power0[8], power[8];
  double splitLow[8], splitHigh[8];
  double shaped2[8];
  // Two lanes woven, sub-samples 0 2 1 3, 4 6 5 7 as that leaves them: T0's answer to up beside
  // T1's to post; zero-stuffing beside the input of down.
  double shaped01[8][2], mixed[8][2];
};

// Memory, in registers, in the order of the road.
struct Live {
  Quad rack1[kPlaces], rack2[kPlaces];
  Twice first;
  Quad odd, even;
  Quad sections;
  Pair split;
  Frame frame;
  Spot spots[4];
  Quad count[kPlaces];
  Quad rackOut;
  double driven;
};

template <int F, bool cascade, bool glides>
class SkewedCore {
 public:
  SkewedCore(SkewedState& state, const double* in, double* out, int n)
      : s_(state), in_(in), out_(out), n_(n) {}

  void run();

 private:
  // By how many samples each stage lags behind the input, see above.
  static constexpr int kUpLag = 1;
  static constexpr int kPostLag = 2;
  static constexpr int kPower0Lag = 3;
  static constexpr int kPower1Lag = 4;
  static constexpr int kSplitLag = 5;
  static constexpr int kDownLag = cascade ? 6 : 3;
  static constexpr int kOutLag = kDownLag + 2;
  QUELLARD_INLINE static Quad sectionLags() {
    return quad(pair(kPostLag, kPower0Lag), pair(kPower1Lag, 0));
  }
  QUELLARD_INLINE static Quad rackLags() {
    return quad(pair(0, kDownLag), pair(kDownLag + 1, kDownLag + 2));
  }

  struct Pass {
    double x;
    Quad rack;
    Pair resampled[8], branches[8];
    Quad sections[8];
  };

  QUELLARD_INLINE Settings settings() const;
  template <class Exchange>
  QUELLARD_INLINE static void atLag(int lag, Live& m, Memory& memory, const Exchange& exchange);
  QUELLARD_INLINE void pass(const Settings& c, Live& m, int k);
  template <int j>
  QUELLARD_INLINE void subSample(const Settings& c, Live& m, Pass& p);
  template <int j>
  QUELLARD_INLINE void resample(const Settings& c, Live& m, Pass& p);
  template <int j>
  QUELLARD_INLINE void sections(const Settings& c, Live& m, Pass& p);
  template <int j>
  QUELLARD_INLINE void split(const Settings& c, Live& m, Pass& p);
  template <int place>
  QUELLARD_INLINE void rack(Live& m, Pass& p);
  template <int j>
  QUELLARD_INLINE void waveshaper(const Settings& c, Live& m);
  template <int j>
  QUELLARD_INLINE void waveshapers(const Settings& c, Live& m);
  template <int sign = 1>
  QUELLARD_INLINE static Spot aim(const Settings& c, const double* from);
  QUELLARD_INLINE static Quad read(const double* table, const Spot& spot);
  template <int j>
  QUELLARD_INLINE static void collect(const Pair* o, double* lane0, double* lane1 = nullptr);
  template <int j>
  QUELLARD_INLINE static void collect(const Quad* o, double* lane0, double* lane2);
  // Two lanes of sub-samples, woven as slot() finds them.
  QUELLARD_INLINE static void weave(double (*to)[2], Quad a, Quad b) {
    store(to[0], firsts(a, b));
    store(to[2], seconds(a, b));
  }
  static constexpr int slot(int j) { return j / 4 * 4 + j % 2 * 2 + j / 2 % 2; }

  SkewedState& s_;
  const double* in_;
  double* out_;
  int n_;
};

template <int F, bool cascade, bool glides>
void SkewedCore<F, cascade, glides>::run() {
  const Settings c = settings();
  Live m = {};
  if constexpr (glides) {
    forEach<kPlaces>(QUELLARD_EACH { m.count[i] = load<4>(s_.rackCount[i]) - rackLags(); });
  }
  const auto take = [](auto due, auto& live, double* memory) __attribute__((always_inline)) {
    live = choose(due, loadLike(live, memory), live);
  };
  const auto give = [](auto due, auto& live, double* memory) __attribute__((always_inline)) {
    store(memory, choose(due, live, loadLike(live, memory)));
  };
  for (int k = 0; k < n_ + kOutLag; ++k) {
    if (k <= kOutLag) [[unlikely]]
      atLag(k, m, s_.memory, take);
    pass(c, m, k);
    if (k >= n_ - 1) [[unlikely]]
      atLag(k - (n_ - 1), m, s_.memory, give);
  }
}

// Exchanges the memory of the stages that lag by so many samples.
template <int F, bool cascade, bool glides>
template <class Exchange>
void SkewedCore<F, cascade, glides>::atLag(int lag, Live& m, Memory& memory,
                                           const Exchange& exchange) {
  const double d = lag;
  if (lag == 0 || lag >= kDownLag) {
    const Quad due = equal(rackLags(), splat<4>(d));
    forEach<kPlaces>(QUELLARD_EACH {
      exchange(due, m.rack1[i], memory.rack1[i]);
      exchange(due, m.rack2[i], memory.rack2[i]);
    });
  }
  if (lag == kUpLag || lag == kDownLag) {
    const Twice due = twice(equal(pair(kUpLag, kDownLag), splat<2>(d)));
    exchange(due, m.first, memory.first);
    exchange(quad(due), m.odd, memory.odd);
    exchange(quad(due), m.even, memory.even);
  } else if (cascade) {
    exchange(equal(sectionLags(), splat<4>(d)), m.sections, memory.sections);
    exchange(equal(splat<2>(kSplitLag), splat<2>(d)), m.split, memory.split);
  }
}

template <int F, bool cascade, bool glides>
Settings SkewedCore<F, cascade, glides>::settings() const {
  Settings c;  // NOLINT(cppcoreguidelines-pro-type-member-init): filled right here
  const auto both = [](double x) { return splat<2>(x); };
  const auto& a = s_.resampleA;
  const auto& b = s_.resampleB;  // the other three are the same backwards
  c.A0 = twice(both(a[0]));
  c.A13 = quad(both(a[1]), both(a[3]));
  c.A24 = quad(both(a[2]), both(a[4]));
  c.B0 = twice(both(b[0]));
  c.B1 = twice(both(b[1]));
  c.B13 = quad(both(b[2]), both(b[1]));
  c.B24 = quad(both(b[2]), both(b[0]));
  c.sectionsX = load<4>(s_.sectionsX);
  c.sectionsY = load<4>(s_.sectionsY);
  c.splitCoef = both(s_.splitCoef);
  c.halfSize = splat<4>(s_.halfSize);
  c.one = kept(1.0);
  c.minusOne = kept(-1.0);
  c.lowGain = kept(0.7);
  c.mixGain = kept(0.66);
  forEach<4>(QUELLARD_EACH { c.table[i] = s_.table[i]; });
  return c;
}

template <int F, bool cascade, bool glides>
void SkewedCore<F, cascade, glides>::pass(const Settings& c, Live& m, int k) {
  double x = k < n_ ? in_[k] : 0.0;
  x = x - x == 0.0 ? x : 0.0;
  Pass p;  // NOLINT(cppcoreguidelines-pro-type-member-init): filled stage by stage
  p.x = x;
  forEach<F>([&](auto j) __attribute__((always_inline)) { subSample<j>(c, m, p); });

  const Pair low = lowHalf(p.rack), high = highHalf(p.rack);
  m.driven = ((s_.first + k) * s_.drive.step + s_.drive.start) * first(low);
  m.rackOut = quad(low, pair(second(low), first(high)));
  const int done = k - kOutLag;
  if (done >= 0) {
    out_[done] = ((s_.first + done) * s_.level.step + s_.level.start) * second(high);
  }
}

// Against the road: what a stage needs has long been there, what it leaves is needed late.
template <int F, bool cascade, bool glides>
template <int j>
void SkewedCore<F, cascade, glides>::subSample(const Settings& c, Live& m, Pass& p) {
  if constexpr (j >= 2 && j < 2 + kPlaces) rack<j - 2>(m, p);
  if constexpr (cascade) {
    waveshapers<j>(c, m);
    split<j>(c, m, p);
    sections<j>(c, m, p);
  } else {
    waveshaper<j>(c, m);
  }
  resample<j>(c, m, p);
}

// The up lowpass in the first lane, down in the second. A zero-stuffed sub-sample, which has no
// input in the plain order, adds zeros: they can turn the sign of a zero, which ends in T0, where
// a zero of either sign finds the table's centre.
template <int F, bool cascade, bool glides>
template <int j>
void SkewedCore<F, cascade, glides>::resample(const Settings& c, Live& m, Pass& p) {
  const Twice u =
      twice(j == 0 ? pair(m.driven, m.frame.mixed[0][1]) : load<2>(m.frame.mixed[slot(j)]));
  const Twice y = c.B0 * u + m.first;
  const Quad odd = m.odd;
  m.first = c.A0 * y + twiceLow(odd) + c.B1 * u;
  m.odd = c.A13 * quad(y) + m.even + c.B13 * quad(u);
  m.even = c.A24 * quad(y) + highThenZero(odd) + c.B24 * quad(u);
  settle(m.first);
  settle(m.odd);
  p.resampled[j] = lowHalf(y);
  collect<j>(p.resampled, m.frame.up);
}

// Post 0, power 0 and power 1 side by side. Of first order: the terms with two samples' delay are
// zero and left out, and x[n-1] weighs what x[n] weighs, with its sign turned in a highpass. That
// can turn the sign of a zero, which ends in the next lookup.
template <int F, bool cascade, bool glides>
template <int j>
void SkewedCore<F, cascade, glides>::sections(const Settings& c, Live& m, Pass& p) {
  const Quad x = quad(load<2>(m.frame.shaped01[slot(j)]), pair(m.frame.power0[j], 0.0));
  const Quad weighed = c.sectionsX * x;
  const Quad y = weighed + m.sections;
  m.sections = turnSecond(weighed) + c.sectionsY * y;
  m.frame.power0[j] = second(lowHalf(y));
  p.sections[j] = y;
  collect<j>(p.sections, m.frame.post, m.frame.power);
}

// The high branch, its sign turned throughout, and the low one: so their sums differ as
// minusPlus() has it.
template <int F, bool cascade, bool glides>
template <int j>
void SkewedCore<F, cascade, glides>::split(const Settings& c, Live& m, Pass& p) {
  const Pair in = splat<2>(m.frame.shaped2[j]);
  const Pair old = m.split;
  m.split = minusPlus((old - in) * c.splitCoef, in);
  p.branches[j] = minusPlus(m.split, old);
  collect<j>(p.branches, m.frame.splitHigh, m.frame.splitLow);
}

// One place of all four lanes, in the glided or fixed form of IIRFilter.
template <int F, bool cascade, bool glides>
template <int place>
void SkewedCore<F, cascade, glides>::rack(Live& m, Pass& p) {
  const auto k = [&](int i) __attribute__((always_inline)) {
    const Quad fixed = load<4>(s_.rackCoef[place][i]);
    if constexpr (glides) return load<4>(s_.rackStep[place][i]) * m.count[place] + fixed;
    return fixed;
  };
  // What down keeps of a sample is its first sub-sample.
  const Quad x = place == 0 ? quad(pair(p.x, second(p.resampled[0])), highHalf(m.rackOut)) : p.rack;
  const Quad y = k(2) * x + m.rack1[place];
  m.rack1[place] = (k(3) * x + m.rack2[place]) + k(0) * y;
  m.rack2[place] = k(4) * x + k(1) * y;
  if constexpr (glides) m.count[place] = m.count[place] + splat<4>(1.0);
  p.rack = place == kPlaces - 1 ? choose(load<4>(s_.lastPlaceUsed), y, x) : y;
}

// CLEAN: a lookup for the half of the frame that the stages have left. It takes a whole pass, since
// up and down share a vector and would wait for each other's sub-samples otherwise.
template <int F, bool cascade, bool glides>
template <int j>
void SkewedCore<F, cascade, glides>::waveshaper(const Settings& c, Live& m) {
  constexpr int at = j < 4 ? 4 : 0;
  Spot& spot = m.spots[at / 4];
  if constexpr (j % 4 == 1) weave(m.frame.mixed + at, splat<4>(0.0), read(c.table[0], spot));
  if constexpr (j % 4 == 2) spot = aim(c, m.frame.up + at);
}

// VINTAGE and MODERN: four lookups for that half, ready when the stages get to it. A second half of
// three sub-samples ends one earlier.
template <int F, bool cascade, bool glides>
template <int j>
void SkewedCore<F, cascade, glides>::waveshapers(const Settings& c, Live& m) {
  constexpr int at = j < 4 ? 4 : 0;
  constexpr int last = F == 7 && j > 3 ? 2 : 3;
  Frame& f = m.frame;
  Spot* s = m.spots;
  if constexpr (j % 4 == 0) s[0] = aim(c, f.up + at);
  if constexpr (j % 4 == 1) {
    s[1] = aim(c, f.post + at);
    s[2] = aim(c, f.power + at);
    s[3] = aim<-1>(c, f.splitHigh + at);
  }
  if constexpr (j % 4 == 2) {
    weave(f.shaped01 + at, read(c.table[0], s[0]), read(c.table[1], s[1]));
  }
  if constexpr (j % 4 == last) {
    store(f.shaped2 + at, read(c.table[2], s[2]));
    const Quad low = load<4>(f.splitLow + at) * c.lowGain;
    weave(f.mixed + at, splat<4>(0.0), (low + read(c.table[3], s[3])) * c.mixGain);
  }
}

// Clamps and finds the table entries around four values, or around what they are with their sign
// turned.
template <int F, bool cascade, bool glides>
template <int sign>
Spot SkewedCore<F, cascade, glides>::aim(const Settings& c, const double* from) {
  const Quad x = larger(c.minusOne, smaller(c.one, load<4>(from)));
  const Quad offset = x * c.halfSize;
  return locate(sign > 0 ? c.halfSize + offset : c.halfSize - offset);
}

// Between the entries around four values. One load brings both neighbours.
template <int F, bool cascade, bool glides>
Quad SkewedCore<F, cascade, glides>::read(const double* table, const Spot& spot) {
  const auto entry = [&](int i) __attribute__((always_inline)) {
    return load<2>(table + indexOf(spot, i));
  };
  const Quad even = quad(entry(0), entry(2)), odd = quad(entry(1), entry(3));
  const Quad below = firsts(even, odd);
  return (seconds(even, odd) - below) * spot.rest + below;
}

// Turns the lanes of pairs into sub-samples, as many at a time as a vector holds: what is stored in
// one piece can be loaded in one piece at once.
template <int F, bool cascade, bool glides>
template <int j>
void SkewedCore<F, cascade, glides>::collect(const Pair* o, double* lane0, double* lane1) {
  if constexpr (j % kNativeLanes == kNativeLanes - 1 || j == F - 1) {
    constexpr int at = j / kNativeLanes * kNativeLanes;
    const auto o1 = o[at + 1 < F ? at + 1 : at];
    if constexpr (kNativeLanes == 2) {
      store(lane0 + at, firsts(o[at], o1));
      if (lane1 != nullptr) store(lane1 + at, seconds(o[at], o1));
    } else {
      store(lane0 + at, firsts(o[at], o1, o[at + 2], o[j]));
      if (lane1 != nullptr) store(lane1 + at, seconds(o[at], o1, o[at + 2], o[j]));
    }
  }
}

template <int F, bool cascade, bool glides>
template <int j>
void SkewedCore<F, cascade, glides>::collect(const Quad* o, double* lane0, double* lane2) {
  if constexpr (j % kNativeLanes == kNativeLanes - 1 || j == F - 1) {
    constexpr int at = j / kNativeLanes * kNativeLanes;
    const Quad a = firsts(o[at], o[at + 1 < F ? at + 1 : at]);
    if constexpr (kNativeLanes == 2) {
      store(lane0 + at, lowHalf(a));
      store(lane2 + at, highHalf(a));
    } else {
      const Quad b = firsts(o[at + 2], o[j]);
      store(lane0 + at, quad(lowHalf(a), lowHalf(b)));
      store(lane2 + at, quad(highHalf(a), highHalf(b)));
    }
  }
}

template <int F, bool cascade>
inline void runFor(SkewedState& s, const double* in, double* out, int n) {
  if (s.glides) return SkewedCore<F, cascade, true>(s, in, out, n).run();
  SkewedCore<F, cascade, false>(s, in, out, n).run();
}

inline void runSkewed(SkewedState& s, const double* in, double* out, int n) {
  if (s.overSample == 7)
    return s.cascade ? runFor<7, true>(s, in, out, n) : runFor<7, false>(s, in, out, n);
  s.cascade ? runFor<8, true>(s, in, out, n) : runFor<8, false>(s, in, out, n);
}

}  // namespace QUELLARD_FAST_ISA
}  // namespace quellard::fast
