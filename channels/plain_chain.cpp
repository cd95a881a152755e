// SPDX-License-Identifier: ISC
#include "channels/plain_chain.h"

#include <cmath>

namespace quellard {
namespace {

// Transposed direct form of the fifth-order lowpass; the zero-stuffed sub-samples have no input.
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

inline double lowpassOfSilence(const AmpChannelBase& c, std::array<double, 6>& s) {
  const auto& A = c.resampleA;
  const double y = s[0];
  s[0] = A[0] * y + s[1];
  s[1] = A[1] * y + s[2];
  s[2] = A[2] * y + s[3];
  s[3] = A[3] * y + s[4];
  s[4] = A[4] * y + s[5];
  return y;
}

inline void run(const FilterBank& bank, std::int32_t first, std::int32_t count, double& x) {
  for (std::int32_t i = first; i < count; ++i) bank[static_cast<std::size_t>(i)]->iirProcessing(&x);
}

void glide(const FilterBank& bank, std::int32_t count, double& x) {
  for (std::int32_t i = 0; i < count; ++i) bank[static_cast<std::size_t>(i)]->ipIirProcessing(&x);
}

inline double powerStage(PowerStageSplit& split, double p) {
  const double low = (split.splitLow - p) * split.splitCoef + p;
  const double high = (split.splitHigh + p) * split.splitCoef + p;
  const double q = cascadeClip[2].lookup(high - split.splitHigh);
  const double w = ((split.splitLow + low) * 0.7 + q) * 0.66;
  split.splitLow = low;
  split.splitHigh = high;
  return w;
}

// The nonlinear stage of one sub-sample.
inline double shape(const AmpChannelBase& c, const ChainParts& parts, double y) {
  double w = parts.drive.lookup(y);
  if (parts.split == nullptr) return w;
  run(c.postFilters, 0, c.postCount, w);
  w = cascadeClip[0].lookup(w);
  run(c.powerFilters, 0, c.powerCount, w);
  return powerStage(*parts.split, cascadeClip[1].lookup(w));
}

// The lowpasses' memory stays in registers for the length of a sample.
double oversample(AmpChannelBase& c, const ChainParts& parts, double v) {
  auto up = c.upState;
  auto down = c.downState;
  const double kept = lowpass(c, down, shape(c, parts, lowpass(c, up, v)));
  for (std::int32_t j = 1; j < c.overSample; ++j) {
    lowpass(c, down, shape(c, parts, lowpassOfSilence(c, up)));
  }
  c.upState = up;
  c.downState = down;
  return kept;
}

}  // namespace

void playPlain(AmpChannelBase& c, const ChainParts& parts, const Stretch& stretch) {
  for (int k = stretch.first; k < stretch.end; ++k) {
    double x = std::isfinite(stretch.in[k]) ? stretch.in[k] : 0.0;
    c.preFilters[0]->ipIirProcessing(&x);
    run(c.preFilters, 1, c.preCount, x);
    if (parts.split == nullptr) {
      run(c.postFilters, 0, c.postCount, x);
      run(c.powerFilters, 0, c.powerCount, x);
    }
    x = oversample(c, parts, stretch.drive.at(k) * x);
    glide(c.eqFilters, c.eqCount, x);
    run(c.reviseFilters, 0, c.reviseCount, x);
    c.dcBlocker->iirProcessing(&x);
    stretch.out[k] = stretch.level.at(k) * x;
  }
}

}  // namespace quellard
