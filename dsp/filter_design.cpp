// SPDX-License-Identifier: ISC
#include "dsp/filter_design.h"

#include <cmath>

namespace quellard {
namespace {

constexpr double kSqrt2 = 1.4142135623730951;

using Coefficients = std::array<double, 5>;

// The functions below list the weights as a transfer function does; sections keep the feedback
// weights (p1 of y[n-1], p2 of y[n-2]) first.
struct Weights {
  double b0, b1, b2, p1, p2;

  Coefficients stored() const { return {p1, p2, b0, b1, b2}; }
};

Weights firstOrder(int num, double K, double gainDb) {
  const double n = 1.0 / (1.0 + K);
  const double p1 = (1.0 - K) * n;
  switch (num) {
    case lowPass1: return {K * n, K * n, 0.0, p1, 0.0};
    case highPass1: return {n, -n, 0.0, p1, 0.0};
    case lowShelf1: {
      const double V = std::pow(10.0, gainDb / 20.0);
      return {(1.0 + V * K) * n, (V * K - 1.0) * n, 0.0, p1, 0.0};
    }
    default: {  // highShelf1
      const double V = 1.0 / std::pow(10.0, -gainDb / 20.0);
      return {(K + V) * n, (K - V) * n, 0.0, p1, 0.0};
    }
  }
}

Weights butterworth(int num, double K) {
  const double KK = K * K;
  const double D = 1.0 + kSqrt2 * K + KK;
  const double p1 = -2.0 * (KK - 1.0) / D;
  const double p2 = -(1.0 - kSqrt2 * K + KK) / D;
  if (num == lowPass2Butterworth) return {KK / D, 2.0 * KK / D, KK / D, p1, p2};
  return {1.0 / D, -2.0 / D, 1.0 / D, p1, p2};
}

Weights damped(int num, double K, double Q) {
  const double KK = K * K;
  const double SKQ = kSqrt2 * K / Q;
  const double D = 1.0 + KK + SKQ;
  const double p2 = -(1.0 + KK - SKQ) / D;
  if (num == lowPass2) return {KK / D, 2.0 * KK / D, KK / D, 2.0 * (1.0 - KK) / D, p2};
  return {1.0 / D, -2.0 / D, 1.0 / D, -2.0 * (KK - 1.0) / D, p2};
}

Weights bandAround(int num, double K, double Q) {
  const double KK = K * K;
  const double KQ = K / Q;
  const double D = 1.0 + KK + KQ;
  const double p1 = -2.0 * (KK - 1.0) / D;
  if (num == bandPass) return {KQ / D, 0.0, -KQ / D, p1, -(1.0 + KK - KQ) / D};
  return {(1.0 + KK) / D, 2.0 * (KK - 1.0) / D, (1.0 + KK) / D, p1, KQ / D - (1.0 + KK) / D};
}

Weights bandBetween(int num, double KLow, double KHigh) {
  const double D = 1.0 - KLow + KHigh + KLow * KHigh;
  const double p1 = -2.0 * (KLow * KHigh - 1.0) / D;
  const double p2 = -(1.0 + KLow - KHigh + KLow * KHigh) / D;
  if (num == bandPassEdges) return {(KHigh - KLow) / D, 0.0, -(KHigh - KLow) / D, p1, p2};
  const double b0 = (1.0 + KLow * KHigh) / D;
  return {b0, 2.0 * (KLow * KHigh - 1.0) / D, b0, p1, p2};
}

// A cut is the exact inverse of a boost of the same size.
Weights peak(double K, double Q, double gainDb) {
  const double KK = K * K;
  const double D = 1.0 + K / Q + KK;
  if (gainDb > 0.0) {
    const double V = std::pow(10.0, gainDb / 20.0);
    return {(1.0 + V * K / Q + KK) / D, 2.0 * (KK - 1.0) / D, (1.0 + KK - V * K / Q) / D,
            -2.0 * (KK - 1.0) / D, -(1.0 + KK - K / Q) / D};
  }
  const double V = std::pow(10.0, -gainDb / 20.0);
  const double E = 1.0 / (1.0 + KK + V * K / Q);
  return {D * E, 2.0 * (KK - 1.0) * E, (1.0 + KK - K / Q) * E, -2.0 * (KK - 1.0) * E,
          -(1.0 + KK - V * K / Q) * E};
}

// The pole a is the root inside the unit circle of (1-a)^2 = r (1 - 2 a c + a^2), where r, 10^-0.3,
// is the power at the corner (-3 dB) and c the cosine of its angle.
Coefficients onePole(double f, double fs, double pi) {
  const double c = std::cos(2.0 * pi * f / fs);
  const double r = 0.5011872337;
  const double a = ((r * c - 1.0) + std::sqrt(r * (c - 1.0) * (r * c + r - 2.0))) / (r - 1.0);
  return {1.0 - a, 0.0, a, 0.0, 0.0};
}

}  // namespace

FilterDesign designFilter(filterPrm_tag& prm, double pi) {
  const auto num = static_cast<std::int16_t>(prm.num);
  if (!(prm.q > 0.0)) prm.q = 1.0;
  double f = prm.frq > 0.0 ? prm.frq : 20.0;
  if (0.5 * prm.fs < f) f = 0.5 * prm.fs;
  prm.frq = f;

  const double K = std::tan(pi * f / prm.fs);
  const auto second = [num](const Weights& w) { return FilterDesign{w.stored(), num, 2, 2}; };
  switch (num) {
    case lowPass1:
    case highPass1:
    case lowShelf1:
    case highShelf1: return {firstOrder(num, K, prm.gain).stored(), num, 1, 1};
    case lowPass2Butterworth:
    case highPass2Butterworth: return second(butterworth(num, K));
    case bandPassEdges:
    case bandStopEdges:
      return second(bandBetween(num, std::tan(pi * prm.frqLow / prm.fs),
                                std::tan(pi * prm.frqHigh / prm.fs)));
    case lowPass2:
    case highPass2: return second(damped(num, K, prm.q));
    case bandPass:
    case notch: return second(bandAround(num, K, prm.q));
    case peaking: return second(peak(K, prm.q, prm.gain));
    default: return {onePole(f, prm.fs, pi), num, 1, 0};
  }
}

}  // namespace quellard
