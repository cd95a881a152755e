// SPDX-License-Identifier: ISC
// One first- or second-order filter section with its own design and glide. A section belongs to
// one channel and is used from one thread at a time; nothing here allocates. The names are the host
// interface's: FD stands for filter design, excute is its spelling of execute, and ip stands for
// interpolated, that is gliding.
#pragma once

#include <array>
#include <cstdint>

#include "dsp/filter_design.h"

namespace quellard {

class IIRFilter {
 public:
  // Designs the section from the record, which is not kept; see designFilter for what it corrects
  // in it. The glide starts out with coefficients of 0: without an ipFDexcute() before it, the
  // first ipIirProcessing() puts out 0.
  explicit IIRFilter(filterPrm_tag* prm);
  virtual ~IIRFilter() = default;
  IIRFilter(const IIRFilter&) = delete;
  IIRFilter& operator=(const IIRFilter&) = delete;

  // Replaces the sample by the section's output. [audio thread]
  void iirProcessing(double* sample) { filter(coef, sample); }

  // The same with the coefficients of the current point of the glide, which then moves on by one
  // sample. A section is always run through the same one of the two. [audio thread]
  void ipIirProcessing(double* sample);

  // Redesigns at once, for a section that iirProcessing() runs: one that ipIirProcessing() runs
  // keeps its design until the running glide ends or, without one, the next begins. The state stays
  // unless the type number changes: a moved frequency does not restart the section. [audio thread]
  void FDexcute(filterPrm_tag* prm);

  // Redesigns and glides there in a straight line: the next sample still has the previous design,
  // even if an earlier glide was on its way to it, and the one `length` samples after it the new
  // one (at once below 1). [audio thread]
  void ipFDexcute(filterPrm_tag* prm, int length);

  // Sets the state to zero; coefficients and glide stay.
  void refresh();

  using Coefficients = std::array<double, 5>;

  // Weights of y[n-1], y[n-2], x[n], x[n-1], x[n-2]; see FilterDesign.
  Coefficients coef;
  // At any sample of a glide the effective coefficient is ipStep * ipCount + ipBase; after its end
  // ipStep is 0 and ipBase is coef.
  Coefficients ipBase;
  Coefficients ipStep;
  double state1;  // transposed direct form II; the previous output in the one-pole form
  double state2;
  double pi;  // see kDesignPi
  std::int16_t num;
  std::int16_t prevNum;
  std::int32_t order;
  std::int32_t form;
  double ipCount;   // samples since the glide began; beyond ipLength when it has ended
  double ipLength;  // samples

 private:
  void filter(const Coefficients& k, double* sample);
};

inline void IIRFilter::filter(const Coefficients& k, double* sample) {
  const double x = *sample;
  if (form == 0) {
    *sample = state1 = k[2] * state1 + k[0] * x;
    return;
  }
  const double y = k[2] * x + state1;
  state1 = (k[3] * x + state2) + k[0] * y;
  state2 = k[4] * x + k[1] * y;
  *sample = y;
}

inline void IIRFilter::ipIirProcessing(double* sample) {
  const double t = ipCount;
  if (t > ipLength) return filter(ipBase, sample);
  Coefficients k;
  for (std::size_t i = 0; i < k.size(); ++i) k[i] = ipStep[i] * t + ipBase[i];
  filter(k, sample);
  if (t == ipLength) {
    ipBase = coef;
    ipStep.fill(0.0);
  }
  ipCount = t + 1.0;
}

}  // namespace quellard
