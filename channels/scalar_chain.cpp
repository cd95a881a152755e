// SPDX-License-Identifier: ISC
#include "channels/scalar_chain.h"

#include <cmath>

namespace quellard {
namespace {

// The resampling lowpass, of fifth order, in transposed direct form.
inline double lowpass(const AmpChannelBase& c, std::array<double, 6>& s, double u) {
  const auto& A = c.resampleA;
  const auto& B = c.resampleB;
  const double y = B[0] * u + s[0];
  s[0] = A[0] * y + s[1] + B[1] * u;
  s[1] = A[1] * y + s[2] + B[2] * u;
  s[2] = A[2] * y + s[3] + B[3] * u;
  s[3] = A[3] * y + s[4] + B[4] * u;
  s[4] = A[4] * y + s[5] + B[5] * u;
  return y;
}

// The same for a zero-stuffed sub-sample: without the input terms, which would be zeros.
inline double lowpassOfZero(const AmpChannelBase& c, std::array<double, 6>& s) {
  const auto& A = c.resampleA;
  const double y = s[0];
  s[0] = A[0] * y + s[1];
  s[1] = A[1] * y + s[2];
  s[2] = A[2] * y + s[3];
  s[3] = A[3] * y + s[4];
  s[4] = A[4] * y + s[5];
  return y;
}

inline void run(CascadeView cascade, double& x) {
  for (const auto& section : cascade) section->iirProcessing(&x);
}

// The low branch, 1.4 at DC, and the shaped high one, mixed at 0.66.
inline double powerStage(PowerStageSplit& split, double x) {
  const double low = (split.splitLow - x) * split.splitCoef + x;
  const double high = (split.splitHigh + x) * split.splitCoef + x;
  const double shapedHigh = multistageClip[kT3].lookup(high - split.splitHigh);
  const double y = ((split.splitLow + low) * 0.7 + shapedHigh) * 0.66;
  split.splitLow = low;
  split.splitHigh = high;
  return y;
}

// The nonlinear stage of one sub-sample.
inline double shape(const AmpChannelBase& c, const ChainParts& parts, double x) {
  double y = parts.firstShaper.lookup(x);
  if (parts.split == nullptr) return y;
  run(sectionsOf(c.postFilters, c.postCount), y);
  y = multistageClip[kT1].lookup(y);
  run(sectionsOf(c.powerFilters, c.powerCount), y);
  return powerStage(*parts.split, multistageClip[kT2].lookup(y));
}

// The lowpasses' states stay in registers for the length of a sample. The first of the F outputs is
// kept.
double oversample(AmpChannelBase& c, const ChainParts& parts, double v) {
  auto up = c.upState;
  auto down = c.downState;
  const double kept = lowpass(c, down, shape(c, parts, lowpass(c, up, v)));
  for (std::int32_t j = 1; j < c.overSample; ++j) {
    lowpass(c, down, shape(c, parts, lowpassOfZero(c, up)));
  }
  c.upState = up;
  c.downState = down;
  return kept;
}

}  // namespace

void playScalar(AmpChannelBase& c, const ChainParts& parts, const Segment& segment) {
  const auto rampAt = [](const Ramp& ramp, double k) { return k * ramp.step + ramp.start; };
  for (int k = segment.begin; k < segment.end; ++k) {
    double x = std::isfinite(segment.in[k]) ? segment.in[k] : 0.0;
    c.preFilters[0]->ipIirProcessing(&x);
    run(sectionsOf(c.preFilters, c.preCount).subspan(1), x);
    if (parts.split == nullptr) {
      run(sectionsOf(c.postFilters, c.postCount), x);
      run(sectionsOf(c.powerFilters, c.powerCount), x);
    }
    x = oversample(c, parts, rampAt(segment.drive, k) * x);
    for (const auto& section : sectionsOf(c.eqFilters, c.eqCount)) section->ipIirProcessing(&x);
    run(sectionsOf(c.reviseFilters, c.reviseCount), x);
    c.dcBlocker->iirProcessing(&x);
    segment.out[k] = rampAt(segment.level, k) * x;
  }
}

}  // namespace quellard
