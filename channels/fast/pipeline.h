// SPDX-License-Identifier: ISC
// The signal chain of a channel, software-pipelined: the bits of the scalar chain, several times as
// fast. Nearly every stage is a recurrence and waits for its own last result. So an iteration of
// the loop takes in one input sample, k, while each later stage works on an earlier sample, k-1,
// k-2 and so on, and all recurrences run side by side.
//
//   iteration    k     k+1   k+2   k+3   k+4   k+5   k+6   k+7   k+8
//
//   before up    k     k+1   k+2   ...                                  lane 0 of the cascade
//   up                 k     k+1   k+2   ...                            F sub-samples each
//   T0 post                  k     k+1   k+2   ...
//   T1 power 0                     k     k+1   k+2   ...
//   power 1                              k     k+1   k+2   ...
//   T2 split                                   k     k+1   k+2   ...
//   T3 down                                          k     k+1   k+2   ...
//   after down                                       k     k+1   k+2    lane 1 of the cascade
//                                                          k     k+1    lane 2
//                                                                k      lane 3
//
// T0 to T3 are the waveshapers, up and down the resampling lowpasses. CLEAN has up, T0 and down
// alone: its down works on sample k in iteration k+3, and the cascade's lanes follow it.
//
// Between two stages the F sub-samples of a sample lie in a buffer, the first four and the rest:
// while the stages run through one half, the waveshapers look up the other, so that the latency of
// a table lookup is hidden, too.
//
// In the first iterations of a segment the later stages have no sample yet, in the last ones the
// earlier stages have none left. They compute all the same, on whatever is there. But a stage loads
// its state when its first sample arrives and stores it after its last one.
#pragma once

#include <cstddef>
#include <utility>

#include "channels/fast/packed_channel.h"
#include "channels/fast/vector.h"

namespace quellard::fast {
inline namespace QUELLARD_FAST_ISA {

// The head of a generic lambda for forEach().
#define QUELLARD_EACH [&](auto i) __attribute__((always_inline))

// x - x is not 0 but NaN for infinities and NaN.
QUELLARD_INLINE double finiteOrZero(double x) { return x - x == 0.0 ? x : 0.0; }

// In the vectors in which the stages use them.
struct PipelineConstants {
  // Of the resampling lowpasses, up beside down, numbered as in voicing.h: the weights for s0 and
  // the output, those for s1 beside s3, and those for s2 beside s4.
  RepeatedPair A1, B0, B1;
  Quad A2A4, A3A5, B2B4, B3B5;
  Quad interstageX, interstageY;
  Pair splitCoef;
  Quad halfSize, one, minusOne, lowGain, mixGain;
  const double* table[4];
};

// The signals between the stages. The index is that of the sub-sample.
struct StageBuffers {
  alignas(64) double up[8], post[8], power0[8], power1[8];
  double lowBranch[8], negatedHighBranch[8];  // the split's outputs
  double shaped2[8];                          // T2's output
  // Two signals interleaved, at interleavedIndex() of the sub-sample: the outputs of T0 and T1; the
  // stuffed zeros, beside the inputs of down. The first input of up is `driven`.
  double shaped01[8][2], resamplerInput[8][2];
};

// What passes from iteration to iteration: the states of the stages, kept in registers, and the
// signal between them.
struct PipelineState {
  Quad biquad1[kSectionsPerLane], biquad2[kSectionsPerLane];
  RepeatedPair s0;
  Quad s13, s24;
  Quad interstage;
  Pair split;
  StageBuffers buffers;
  TablePosition positions[4];  // of T0 to T3; in CLEAN of T0, for each half of the sub-samples
  Quad glideCount[kSectionsPerLane];
  // Its high half: of lanes 2 and 3 in the next iteration, what lanes 1 and 2 have put out.
  Quad cascadeInput;
  double driven;  // the input of up
};

template <int F, bool multistage, bool glides>
class Pipeline {
 public:
  Pipeline(PackedChannel& channel, const double* in, double* out, int n)
      : channel_(channel), in_(in), out_(out), n_(n) {}

  void run() {
    const PipelineConstants c = constants();
    PipelineState p = {};
    if constexpr (glides) {
      // A lane that lags starts with its count lowered by the lag, and so reaches the true count
      // when its first sample arrives.
      forEach<kSectionsPerLane>(
          QUELLARD_EACH { p.glideCount[i] = load<4>(channel_.glideCount[i]) - cascadeLags(); });
    }
    const auto loadState =
        [](auto due, auto& current, double* stored) __attribute__((always_inline)) {
      current = select(due, loadLike(current, stored), current);
    };
    const auto storeState =
        [](auto due, auto& current, double* stored) __attribute__((always_inline)) {
      store(stored, select(due, current, loadLike(current, stored)));
    };
    for (int k = 0; k < n_ + kOutLag; ++k) {
      if (k <= kOutLag) [[unlikely]]
        transferState(k, p, channel_.state, loadState);
      iterate(c, p, k);
      if (k >= n_ - 1) [[unlikely]]
        transferState(k - (n_ - 1), p, channel_.state, storeState);
    }
  }

 private:
  // By how many samples each stage lags behind the input, see above.
  static constexpr int kUpLag = 1;
  static constexpr int kPostLag = 2;
  static constexpr int kPower0Lag = 3;
  static constexpr int kPower1Lag = 4;
  static constexpr int kSplitLag = 5;
  static constexpr int kDownLag = multistage ? 6 : 3;
  static constexpr int kOutLag = kDownLag + 2;
  QUELLARD_INLINE static Quad interstageLags() {
    return quad(pair(kPostLag, kPower0Lag), pair(kPower1Lag, 0));
  }
  QUELLARD_INLINE static Quad cascadeLags() {
    return quad(pair(0, kDownLag), pair(kDownLag + 1, kDownLag + 2));
  }

  struct Iteration {
    double x;
    Quad cascade;
    Pair resampled[8], branches[8];
    Quad interstage[8];
  };

  // Transfers the state of the stages that lag by so many samples, in one direction or the other.
  // due: the mask of the lanes whose first or last sample it is.
  template <class Transfer>
  QUELLARD_INLINE static void transferState(int lag, PipelineState& p, PackedState& state,
                                            const Transfer& transfer) {
    const double d = lag;
    if (lag == 0 || lag >= kDownLag) {
      const Quad due = equal(cascadeLags(), broadcast<4>(d));
      forEach<kSectionsPerLane>(QUELLARD_EACH {
        transfer(due, p.biquad1[i], state.biquad1[i]);
        transfer(due, p.biquad2[i], state.biquad2[i]);
      });
    }
    if (lag == kUpLag || lag == kDownLag) {
      const RepeatedPair due = repeat(equal(pair(kUpLag, kDownLag), broadcast<2>(d)));
      transfer(due, p.s0, state.s0);
      transfer(quad(due), p.s13, state.s13);
      transfer(quad(due), p.s24, state.s24);
    } else if (multistage) {
      transfer(equal(interstageLags(), broadcast<4>(d)), p.interstage, state.interstage);
      transfer(equal(broadcast<2>(kSplitLag), broadcast<2>(d)), p.split, state.split);
    }
  }

  QUELLARD_INLINE PipelineConstants constants() const {
    PipelineConstants c;  // NOLINT(cppcoreguidelines-pro-type-member-init): filled right here
    const auto both = [](double x) { return broadcast<2>(x); };
    const auto& a = channel_.resampleA;
    const auto& b = channel_.resampleB;
    c.A1 = repeat(both(a[0]));
    c.A2A4 = quad(both(a[1]), both(a[3]));
    c.A3A5 = quad(both(a[2]), both(a[4]));
    c.B0 = repeat(both(b[0]));
    c.B1 = repeat(both(b[1]));
    c.B2B4 = quad(both(b[2]), both(b[1]));
    c.B3B5 = quad(both(b[2]), both(b[0]));
    c.interstageX = load<4>(channel_.interstageX);
    c.interstageY = load<4>(channel_.interstageY);
    c.splitCoef = both(channel_.splitCoef);
    c.halfSize = broadcast<4>(channel_.halfSize);
    c.one = broadcastOnce(1.0);
    c.minusOne = broadcastOnce(-1.0);
    c.lowGain = broadcastOnce(0.7);
    c.mixGain = broadcastOnce(0.66);
    forEach<4>(QUELLARD_EACH { c.table[i] = channel_.table[i]; });
    return c;
  }

  QUELLARD_INLINE void iterate(const PipelineConstants& c, PipelineState& p, int k) {
    Iteration now;  // NOLINT(cppcoreguidelines-pro-type-member-init): filled stage by stage
    now.x = finiteOrZero(k < n_ ? in_[k] : 0.0);
    forEach<F>([&](auto j) __attribute__((always_inline)) { subSample<j>(c, p, now); });

    const Pair low = lowHalf(now.cascade), high = highHalf(now.cascade);
    const auto ramp = [&](const Ramp& r, int sample) __attribute__((always_inline)) {
      return (channel_.rampOffset + sample) * r.step + r.start;
    };
    p.driven = ramp(channel_.drive, k) * lane0(low);
    p.cascadeInput = quad(low, pair(lane1(low), lane0(high)));
    const int done = k - kOutLag;
    if (done >= 0) out_[done] = ramp(channel_.level, done) * lane1(high);
  }

  // About from the end of the chain to its start, so that no stage waits for another: its input was
  // computed some sub-samples ago, and its output is needed some sub-samples later.
  template <int j>
  QUELLARD_INLINE void subSample(const PipelineConstants& c, PipelineState& p, Iteration& now) {
    if constexpr (j >= 2 && j < 2 + kSectionsPerLane) cascadeSection<j - 2>(p, now);
    if constexpr (multistage) {
      waveshapers<j>(c, p);
      split<j>(c, p, now);
      interstageFilters<j>(c, p, now);
    } else {
      waveshaper<j>(c, p);
    }
    resample<j>(c, p, now);
  }

  // The up lowpass in the first lane, down in the second. The zero-stuffed sub-samples of up, whose
  // input terms the scalar chain leaves out, add zeros here. That can change the sign of a zero,
  // but T0 returns the centre of its table for a zero of either sign.
  template <int j>
  QUELLARD_INLINE void resample(const PipelineConstants& c, PipelineState& p, Iteration& now) {
    const auto& in = p.buffers.resamplerInput;
    const RepeatedPair u =
        repeat(j == 0 ? pair(p.driven, in[0][1]) : load<2>(in[interleavedIndex(j)]));
    const RepeatedPair y = c.B0 * u + p.s0;
    const Quad s13 = p.s13;
    p.s0 = c.A1 * y + repeatLow(s13) + c.B1 * u;
    p.s13 = c.A2A4 * quad(y) + p.s24 + c.B2B4 * quad(u);
    p.s24 = c.A3A5 * quad(y) + highThenZero(s13) + c.B3B5 * quad(u);
    optimisationBarrier(p.s0);
    optimisationBarrier(p.s13);
    now.resampled[j] = lowHalf(y);
    transpose<j>(now.resampled, p.buffers.up);
  }

  // Post 0, power 0 and power 1 side by side, of first order: the terms with two samples' delay are
  // 0 and left out; x[n-1] weighs what x[n] weighs, and in power 0, a highpass in an odd lane, the
  // negative of it. That can change the sign of a zero, which the next waveshaper does not see.
  template <int j>
  QUELLARD_INLINE void interstageFilters(const PipelineConstants& c, PipelineState& p,
                                         Iteration& now) {
    StageBuffers& b = p.buffers;
    const Quad x = quad(load<2>(b.shaped01[interleavedIndex(j)]), pair(b.power0[j], 0.0));
    const Quad weighed = c.interstageX * x;
    const Quad y = weighed + p.interstage;
    p.interstage = negateOdd(weighed) + c.interstageY * y;
    b.power0[j] = lane1(lowHalf(y));
    now.interstage[j] = y;
    transpose<j>(now.interstage, b.post, b.power1);
  }

  // The high branch in the first lane, negated throughout, and the low branch in the second: then
  // one needs differences where the other needs sums, as addSubtract() gives them.
  template <int j>
  QUELLARD_INLINE void split(const PipelineConstants& c, PipelineState& p, Iteration& now) {
    const Pair in = broadcast<2>(p.buffers.shaped2[j]);
    const Pair old = p.split;
    p.split = addSubtract((old - in) * c.splitCoef, in);
    now.branches[j] = addSubtract(p.split, old);
    transpose<j>(now.branches, p.buffers.negatedHighBranch, p.buffers.lowBranch);
  }

  // One section of each lane, as IIRFilter computes it with or without a glide.
  template <int section>
  QUELLARD_INLINE void cascadeSection(PipelineState& p, Iteration& now) {
    const auto coef = [&](int i) __attribute__((always_inline)) {
      const Quad fixed = load<4>(channel_.biquadCoef[section][i]);
      if constexpr (glides) {
        return load<4>(channel_.biquadStep[section][i]) * p.glideCount[section] + fixed;
      }
      return fixed;
    };
    // Of the F outputs of down the first is kept.
    const Quad x = section == 0
                       ? quad(pair(now.x, lane1(now.resampled[0])), highHalf(p.cascadeInput))
                       : now.cascade;
    const Quad y = coef(2) * x + p.biquad1[section];
    p.biquad1[section] = (coef(3) * x + p.biquad2[section]) + coef(0) * y;
    p.biquad2[section] = coef(4) * x + coef(1) * y;
    if constexpr (glides) p.glideCount[section] = p.glideCount[section] + broadcast<4>(1.0);
    const bool isLast = section == kSectionsPerLane - 1;
    now.cascade = isLast ? select(load<4>(channel_.lastSectionUsed), y, x) : y;
  }

  // CLEAN: a lookup for sub-samples 4 to 7 while the filters work on 0 to 3, and the reverse. The
  // position is computed in one iteration and the entries are read in the next: up and down share a
  // vector, and after a shorter delay one would wait for the other.
  template <int j>
  QUELLARD_INLINE void waveshaper(const PipelineConstants& c, PipelineState& p) {
    constexpr int half = j < 4 ? 4 : 0;
    TablePosition& position = p.positions[half / 4];
    if constexpr (j % 4 == 1) {
      interleave(p.buffers.resamplerInput + half, broadcast<4>(0.0),
                 interpolate(c.table[0], position));
    }
    if constexpr (j % 4 == 2) position = tablePosition(c, p.buffers.up + half);
  }

  // VINTAGE and MODERN: the same for four tables, within one iteration. At F = 7 the filters take
  // three steps through the second half, so the results for sub-samples 0 to 3 are stored in the
  // third.
  template <int j>
  QUELLARD_INLINE void waveshapers(const PipelineConstants& c, PipelineState& p) {
    constexpr int half = j < 4 ? 4 : 0;
    constexpr int last = F == 7 && j > 3 ? 2 : 3;
    StageBuffers& b = p.buffers;
    TablePosition* t = p.positions;
    if constexpr (j % 4 == 0) t[0] = tablePosition(c, b.up + half);
    if constexpr (j % 4 == 1) {
      t[1] = tablePosition(c, b.post + half);
      t[2] = tablePosition(c, b.power1 + half);
      t[3] = tablePosition<-1>(c, b.negatedHighBranch + half);
    }
    if constexpr (j % 4 == 2) {
      interleave(b.shaped01 + half, interpolate(c.table[0], t[0]), interpolate(c.table[1], t[1]));
    }
    if constexpr (j % 4 == last) {
      store(b.shaped2 + half, interpolate(c.table[2], t[2]));
      const Quad low = load<4>(b.lowBranch + half) * c.lowGain;
      const Quad mixed = (low + interpolate(c.table[3], t[3])) * c.mixGain;
      interleave(b.resamplerInput + half, broadcast<4>(0.0), mixed);
    }
  }

  // Where four values, or their negatives, fall in a table, whose ends are at -1 and 1.
  template <int sign = 1>
  QUELLARD_INLINE static TablePosition tablePosition(const PipelineConstants& c,
                                                     const double* from) {
    const Quad x = maximum(c.minusOne, minimum(c.one, load<4>(from)));
    const Quad offset = x * c.halfSize;
    return toTablePosition(sign > 0 ? c.halfSize + offset : c.halfSize - offset);
  }

  // Linear interpolation at four positions. One load brings an entry and the next.
  QUELLARD_INLINE static Quad interpolate(const double* table, const TablePosition& position) {
    const auto entries = [&](int i) __attribute__((always_inline)) {
      return load<2>(table + indexOf(position, i));
    };
    const Quad even = quad(entries(0), entries(2)), odd = quad(entries(1), entries(3));
    const Quad below = unpackLow(even, odd);
    return (unpackHigh(even, odd) - below) * position.fraction + below;
  }

  // From the vectors v[], one for each sub-sample, to an array of sub-samples for each lane. As
  // many at a time as a native vector holds: a vector that was stored in one piece loads without
  // delay. At F = 7 the last is stored twice; the second one's results are not used.
  template <int j>
  QUELLARD_INLINE static void transpose(const Pair* v, double* lane0Out,
                                        double* lane1Out = nullptr) {
    if constexpr (j % kNativeLanes == kNativeLanes - 1 || j == F - 1) {
      constexpr int at = j / kNativeLanes * kNativeLanes;
      const auto next = v[at + 1 < F ? at + 1 : at];
      if constexpr (kNativeLanes == 2) {
        store(lane0Out + at, unpackLow(v[at], next));
        if (lane1Out != nullptr) store(lane1Out + at, unpackHigh(v[at], next));
      } else {
        store(lane0Out + at, unpackLow(v[at], next, v[at + 2], v[j]));
        if (lane1Out != nullptr) store(lane1Out + at, unpackHigh(v[at], next, v[at + 2], v[j]));
      }
    }
  }

  template <int j>
  QUELLARD_INLINE static void transpose(const Quad* v, double* lane0Out, double* lane2Out) {
    if constexpr (j % kNativeLanes == kNativeLanes - 1 || j == F - 1) {
      constexpr int at = j / kNativeLanes * kNativeLanes;
      const Quad a = unpackLow(v[at], v[at + 1 < F ? at + 1 : at]);
      if constexpr (kNativeLanes == 2) {
        store(lane0Out + at, lowHalf(a));
        store(lane2Out + at, highHalf(a));
      } else {
        const Quad b = unpackLow(v[at + 2], v[j]);
        store(lane0Out + at, quad(lowHalf(a), lowHalf(b)));
        store(lane2Out + at, quad(highHalf(a), highHalf(b)));
      }
    }
  }

  // Stores four sub-samples of two signals; interleavedIndex() gives each one's index.
  QUELLARD_INLINE static void interleave(double (*to)[2], Quad a, Quad b) {
    store(to[0], unpackLow(a, b));
    store(to[2], unpackHigh(a, b));
  }
  // Sub-samples 0 1 2 3 lie at indices 0 2 1 3, and 4 5 6 7 at 4 6 5 7.
  static constexpr int interleavedIndex(int j) { return j / 4 * 4 + j % 2 * 2 + j / 2 % 2; }

  PackedChannel& channel_;
  const double* in_;
  double* out_;
  int n_;
};

template <int F, bool multistage>
inline void runFor(PackedChannel& channel, const double* in, double* out, int n) {
  if (channel.glides) return Pipeline<F, multistage, true>(channel, in, out, n).run();
  Pipeline<F, multistage, false>(channel, in, out, n).run();
}

inline void runPipeline(PackedChannel& channel, const double* in, double* out, int n) {
  const bool multistage = channel.multistage;
  if (channel.overSample == 7) {
    return multistage ? runFor<7, true>(channel, in, out, n)
                      : runFor<7, false>(channel, in, out, n);
  }
  return multistage ? runFor<8, true>(channel, in, out, n) : runFor<8, false>(channel, in, out, n);
}

}  // namespace QUELLARD_FAST_ISA
}  // namespace quellard::fast
