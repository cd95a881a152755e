// SPDX-License-Identifier: ISC
#include "dsp/iir_filter.h"

namespace quellard {

IIRFilter::IIRFilter(filterPrm_tag* prm)
    : coef{},
      ipBase{},
      ipStep{},
      state1(0.0),
      state2(0.0),
      pi(kDesignPi),
      num(0),
      prevNum(-1),
      order(0),
      form(0),
      ipCount(0.0),
      ipLength(0.0) {
  FDexcute(prm);
}

void IIRFilter::FDexcute(filterPrm_tag* prm) {
  const FilterDesign design = designFilter(*prm, pi);
  coef = design.coef;
  num = design.num;
  order = design.order;
  form = design.form;
  if (num != prevNum) refresh();
  prevNum = num;
}

void IIRFilter::ipFDexcute(filterPrm_tag* prm, int length) {
  ipBase = coef;
  FDexcute(prm);
  ipLength = length;
  ipCount = 0.0;
  if (length < 1) {
    ipBase = coef;
    ipStep.fill(0.0);
    return;
  }
  const double perSample = 1.0 / ipLength;
  for (std::size_t i = 0; i < coef.size(); ++i) ipStep[i] = (coef[i] - ipBase[i]) * perSample;
}

void IIRFilter::refresh() { state1 = state2 = 0.0; }

}  // namespace quellard
