// SPDX-License-Identifier: ISC
// The road of a sample through a channel, the same for all three: input filters, drive, oversampled
// shaping between two lowpasses, tone stack, voicing, DC blocker, output level. A channel lends its
// parts and names its stages. [audio thread] Allocates nothing.
#pragma once

#include <cmath>

#include "channels/amp_channel.h"

namespace quellard {

// A level that moves in a straight line across a block: the first sample plays the level that the
// last block reached, the last sample the target. With one sample it does not move.
class BlockRamp {
 public:
  BlockRamp(double current, double target, int n)
      : current_(current), step_((target - current) * (n > 1 ? 1.0 / (n - 1) : 0.0)) {}

  double at(double sample) const { return sample * step_ + current_; }

 private:
  double current_;
  double step_;
};

// Transposed direct form of the fifth-order lowpass; the zero-stuffed sub-samples have no input.
inline double resampleLowpass(const AmpChannelBase& c, std::array<double, 6>& s, double u) {
  const auto& A = c.resampleA;
  const auto& B = c.resampleB;
  const double y = B[0] * u + s[0];
  for (std::size_t i = 0; i < 5; ++i) s[i] = A[i] * y + s[i + 1] + B[i + 1] * u;
  return y;
}

inline double resampleLowpassOfSilence(const AmpChannelBase& c, std::array<double, 6>& s) {
  const double y = s[0];
  for (std::size_t i = 0; i < 5; ++i) s[i] = c.resampleA[i] * y + s[i + 1];
  return y;
}

inline void runBank(const FilterBank& bank, std::int32_t first, std::int32_t count, double& x) {
  for (std::int32_t i = first; i < count; ++i) bank[static_cast<std::size_t>(i)]->iirProcessing(&x);
}

inline void glideBank(const FilterBank& bank, std::int32_t count, double& x) {
  for (std::int32_t i = 0; i < count; ++i) bank[static_cast<std::size_t>(i)]->ipIirProcessing(&x);
}

// beforeDrive(x): the fixed sections between the input shelf and the drive, in place.
// shape(y): the nonlinear stage of one sub-sample.
template <class BeforeDrive, class Shape>
void playChannel(AmpChannelBase& c, const double* in, double* out, int n,
                 const BeforeDrive& beforeDrive, const Shape& shape) {
  const BlockRamp drive(c.gainCurrent, c.gainTarget, n);
  const BlockRamp level(c.masterCurrent, c.masterTarget, n);
  for (int k = 0; k < n; ++k) {
    const double t = k;
    double x = std::isfinite(in[k]) ? in[k] : 0.0;
    c.preFilters[0]->ipIirProcessing(&x);
    beforeDrive(x);
    x = drive.at(t) * x;

    double y = resampleLowpass(c, c.upState, x);
    const double kept = resampleLowpass(c, c.downState, shape(y));
    for (std::int32_t j = 1; j < c.overSample; ++j) {
      y = resampleLowpassOfSilence(c, c.upState);
      resampleLowpass(c, c.downState, shape(y));
    }

    x = kept;
    glideBank(c.eqFilters, c.eqCount, x);
    runBank(c.reviseFilters, 0, c.reviseCount, x);
    c.dcBlocker->iirProcessing(&x);
    out[k] = level.at(t) * x;
  }
  c.gainCurrent = c.gainTarget;
  c.masterCurrent = c.masterTarget;
}

}  // namespace quellard
