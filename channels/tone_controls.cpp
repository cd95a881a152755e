// SPDX-License-Identifier: ISC
#include "channels/tone_controls.h"

namespace quellard {
namespace {

// c3 x^3 + c2 x^2 + c1 x + c0, nested.
struct Cubic {
  double c3, c2, c1, c0;

  constexpr double operator()(double x) const { return ((c3 * x + c2) * x + c1) * x + c0; }
};

// c3 x^3 + c2 x^2 + c1 x: what a second knob adds to the curve of the first.
struct CubicOffset {
  double c3, c2, c1;

  constexpr double operator()(double x) const { return ((c3 * x + c2) * x + c1) * x; }
};

// clang-format off
//                                                  x^3         x^2        x^1      x^0
constexpr Cubic       kBassGainByBass         = {  24.286,    -49.186,    31.501,  -2.9695   };  // dB
constexpr Cubic       kLowCutHzByBass         = { -311.9,     644.19,   -425.28,   99.728    };
constexpr Cubic       kMidHzByTreble          = { -3238.1,   6572.8,   -4314.7,  1559.0325000000003 };
constexpr CubicOffset kMidHzByMid             = {  119.05,   -103.06,   -215.99              };
constexpr Cubic       kMidQByTreble           = {   1.4286,    -2.5828,    1.9542,  0.8860249999999998 };
constexpr CubicOffset kMidQByMid              = {  -1.8057,     3.838,    -2.9175            };
constexpr Cubic       kMidGainByTreble        = { -21.429,    44.841,   -30.413,   -0.0184   };  // dB
constexpr CubicOffset kMidGainByMid           = {   2.381,   -10.141,    15.26               };  // dB
constexpr Cubic       kTrebleHzByTreble       = { 2952.4,   -5792.3,    3459.9,   583.26     };
constexpr Cubic       kTrebleGainByTreble     = {   5.9524,  -18.203,    24.751,   -8.4928   };  // dB
constexpr CubicOffset kTrebleGainByMid        = {  -1.1905,    -0.0396,    4.2301            };  // dB
constexpr Cubic       kInputShelfHzByGain     = {  620.21,  -1096.7,     849.19,   525.68    };
constexpr Cubic       kInputShelfGainByGain   = {   37.923,   -86.963,    75.853,  -36.685   };  // dB
// clang-format on

void redesign(AmpChannelBase& channel, const FilterCascade& cascade, std::size_t section,
              FilterType type, double frequencyHz, double q, double gainDb, int n) {
  filterPrm_tag prm = {type, frequencyHz, 0.0, 0.0, q, gainDb, channel.rate};
  cascade[section]->ipFDexcute(&prm, n);
}

}  // namespace

void retuneToneStack(AmpChannelBase& channel, const ToneKnobs& knobs, double lowBassRange, int n) {
  const double t = knobs.treble;
  const double m = knobs.mid;
  const double b = knobs.bass;
  const auto retune = [&](std::size_t section, FilterType type, double Hz, double q, double dB) {
    redesign(channel, channel.eqFilters, section, type, Hz, q, dB, n);
  };
  // The constants are dB that set the levels of the fitted curves. They are added one at a time, as
  // one sum of them would round differently.
  const double midGain = kMidGainByTreble(t) + 6.693275 - 11.79 + kMidGainByMid(m);
  const double trebleGain = kTrebleGainByTreble(t) - 0.076 - 2.0046 + kTrebleGainByMid(m);

  retune(0, lowShelf1, 200.0, 1.0, kBassGainByBass(b));
  retune(4, highPass1, kLowCutHzByBass(b), 1.0, 0.0);
  retune(5, peaking, 120.0, 0.8, 2.0 * lowBassRange * b - lowBassRange);
  retune(1, peaking, kMidHzByTreble(t) + kMidHzByMid(m), kMidQByTreble(t) + kMidQByMid(m), midGain);
  retune(2, highShelf1, kTrebleHzByTreble(t), 1.0, trebleGain);
  retune(3, highShelf1, 4000.0, 1.0, 8.0 * knobs.presence - 8.0);
}

void retuneInputShelf(AmpChannelBase& channel, double gain, int n) {
  redesign(channel, channel.preFilters, 0, lowShelf1, kInputShelfHzByGain(gain), 1.0,
           kInputShelfGainByGain(gain), n);
}

}  // namespace quellard
