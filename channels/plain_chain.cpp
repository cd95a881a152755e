// SPDX-License-Identifier: ISC
#include "channels/plain_chain.h"

#include <cmath>

namespace quellard {
namespace {

// Transposed direct form of the fifth-order lowpass; the zero-stuffed sub-samples have no input.
double lowpass(const AmpChannelBase& c, std::array<double, 6>& s, double u) {
  const auto& A = c.resampleA;
  const auto& B = c.resampleB;
  const double y = B[0] * u + s[0];
  for (std::size_t i = 0; i < 5; ++i) s[i] = A[i] * y + s[i + 1] + B[i + 1] * u;
  return y;
}

double lowpassOfSilence(const AmpChannelBase& c, std::array<double, 6>& s) {
  const double y = s[0];
  for (std::size_t i = 0; i < 5; ++i) s[i] = c.resampleA[i] * y + s[i + 1];
  return y;
}

void run(const FilterBank& bank, std::int32_t first, std::int32_t count, double& x) {
  for (std::int32_t i = first; i < count; ++i) bank[static_cast<std::size_t>(i)]->iirProcessing(&x);
}

void glide(const FilterBank& bank, std::int32_t count, double& x) {
  for (std::int32_t i = 0; i < count; ++i) bank[static_cast<std::size_t>(i)]->ipIirProcessing(&x);
}

double powerStage(PowerStageSplit& split, double p) {
  const double low = (split.splitLow - p) * split.splitCoef + p;
  const double high = (split.splitHigh + p) * split.splitCoef + p;
  const double q = cascadeClip[2].lookup(high - split.splitHigh);
  const double w = ((split.splitLow + low) * 0.7 + q) * 0.66;
  split.splitLow = low;
  split.splitHigh = high;
  return w;
}

// The nonlinear stage of one sub-sample.
double shape(const AmpChannelBase& c, const ChainParts& parts, double y) {
  double w = parts.drive.lookup(y);
  if (parts.split == nullptr) return w;
  run(c.postFilters, 0, c.postCount, w);
  w = cascadeClip[0].lookup(w);
  run(c.powerFilters, 0, c.powerCount, w);
  return powerStage(*parts.split, cascadeClip[1].lookup(w));
}

double oversample(AmpChannelBase& c, const ChainParts& parts, double v) {
  const double kept = lowpass(c, c.downState, shape(c, parts, lowpass(c, c.upState, v)));
  for (std::int32_t j = 1; j < c.overSample; ++j) {
    lowpass(c, c.downState, shape(c, parts, lowpassOfSilence(c, c.upState)));
  }
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
