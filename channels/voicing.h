// SPDX-License-Identifier: ISC
// The voicing tables: what the three channels are made of. A row per filter section, in the order
// in which the signal meets them within a group.
#pragma once

#include <array>
#include <cstdint>

#include "dsp/filter_design.h"

namespace quellard {

struct VoicingRow {
  std::int32_t num;  // a FilterType
  double frq;        // Hz
  double q;
  double gain;  // dB
};

template <std::size_t Count>
using VoicingTable = std::array<VoicingRow, Count>;

// One column of a table. Sections are built from rows; the columns are read by nothing in here.
template <class Field, std::size_t Count>
constexpr std::array<Field, Count> column(Field VoicingRow::*field,
                                          const VoicingTable<Count>& table) {
  std::array<Field, Count> values{};
  for (std::size_t i = 0; i < Count; ++i) values[i] = table[i].*field;
  return values;
}

// A channel's voicing by columns, static members of its class that the host interface names:
// QuellardCh1preNum, QuellardCh1preFrq and so on; none for eq's gains, which the knobs set.
#define QUELLARD_VOICING(channel, voicing)              \
  QUELLARD_COLUMNS(channel##pre, voicing::kPre);        \
  QUELLARD_COLUMNS(channel##post, voicing::kPost);      \
  QUELLARD_COLUMNS_BUT_GAIN(channel##eq, voicing::kEq); \
  QUELLARD_COLUMNS(channel##power, voicing::kPower);    \
  QUELLARD_COLUMNS(channel##revise, voicing::kRevise)
#define QUELLARD_COLUMNS_BUT_GAIN(prefix, table)                         \
  static constexpr auto prefix##Num = column(&VoicingRow::num, (table)); \
  static constexpr auto prefix##Frq = column(&VoicingRow::frq, (table)); \
  static constexpr auto prefix##Q = column(&VoicingRow::q, (table))
#define QUELLARD_COLUMNS(prefix, table)     \
  QUELLARD_COLUMNS_BUT_GAIN(prefix, table); \
  static constexpr auto prefix##Gain = column(&VoicingRow::gain, (table))

// clang-format off

// The tone stack's rows, common to all channels, are what the sections are built as; the controls
// redesign them in the first block. The seventh of VINTAGE and MODERN stays flat.
inline constexpr VoicingRow kBassShelf     = {lowShelf1,    200.0, 1.0, 0.0};
inline constexpr VoicingRow kMidPeak       = {peaking,      570.0, 0.7, 0.0};
inline constexpr VoicingRow kTrebleShelf   = {highShelf1,  1300.0, 1.0, 0.0};
inline constexpr VoicingRow kPresenceShelf = {highShelf1,  4000.0, 1.0, 0.0};
inline constexpr VoicingRow kLowCut        = {highPass1,    200.0, 1.0, 0.0};
inline constexpr VoicingRow kLowBassPeak   = {peaking,      120.0, 0.8, 0.0};
inline constexpr VoicingRow kFlatPeak      = {peaking,     8000.0, 0.8, 0.0};

namespace clean {
//                                             type            Hz    Q     dB
inline constexpr VoicingTable<1> kPre    = {{ {lowShelf1,  13000.0, 1.0,   0.0}, }};  // input shelf
inline constexpr VoicingTable<1> kPost   = {{ {lowPass1,    5000.0, 1.0,   0.0}, }};
inline constexpr VoicingTable<6> kEq     = {{ kBassShelf, kMidPeak, kTrebleShelf,
                                              kPresenceShelf, kLowCut, kLowBassPeak, }};
inline constexpr VoicingTable<2> kPower  = {{ {highPass1,     18.0, 1.0,   0.0},
                                              {lowPass1,   10000.0, 1.0,   0.0}, }};
inline constexpr VoicingTable<4> kRevise = {{ {peaking,      160.0, 0.8,   2.0},
                                              {peaking,     1000.0, 0.8, -12.0},
                                              {highShelf1, 10000.0, 1.0,   2.0},
                                              {peaking,     6000.0, 1.2,   3.0}, }};
}  // namespace clean

namespace vintage {
//                                             type            Hz    Q     dB
inline constexpr VoicingTable<1> kPre    = {{ {lowShelf1,  13000.0, 1.0,   0.0}, }};  // input shelf
inline constexpr VoicingTable<1> kPost   = {{ {lowPass1,    2300.0, 1.0,   0.0}, }};
inline constexpr VoicingTable<7> kEq     = {{ kBassShelf, kMidPeak, kTrebleShelf,
                                              kPresenceShelf, kLowCut, kLowBassPeak, kFlatPeak, }};
inline constexpr VoicingTable<2> kPower  = {{ {highPass1,    200.0, 1.0,   0.0},
                                              {lowPass1,    2000.0, 1.0,   0.0}, }};
inline constexpr VoicingTable<4> kRevise = {{ {peaking,      170.0, 0.55,  6.0},
                                              {highShelf1,  8000.0, 1.0,   6.0},
                                              {peaking,    10000.0, 0.5,   2.0},
                                              {peaking,     6000.0, 1.2,   4.0}, }};
}  // namespace vintage

namespace modern {
//                                             type            Hz    Q     dB
inline constexpr VoicingTable<2> kPre    = {{ {lowShelf1,  13000.0, 1.0,   0.0},  // input shelf
                                              {peaking,     2300.0, 0.5,   6.0}, }};
inline constexpr VoicingTable<1> kPost   = {{ {lowPass1,    2300.0, 1.0,   0.0}, }};
inline constexpr VoicingTable<7> kEq     = {{ kBassShelf, kMidPeak, kTrebleShelf,
                                              kPresenceShelf, kLowCut, kLowBassPeak, kFlatPeak, }};
inline constexpr VoicingTable<2> kPower  = {{ {highPass1,     18.0, 1.0,   0.0},
                                              {lowPass1,   10000.0, 1.0,   0.0}, }};
inline constexpr VoicingTable<2> kRevise = {{ {peaking,      280.0, 0.55,  9.0},
                                              {peaking,     6000.0, 1.2,  10.0}, }};
}  // namespace modern

// The last filter of every chain keeps the waveshapers' offset out of the loudspeaker.
inline constexpr VoicingRow kDcBlocker = {highPass1, 20.0, 1.0, 0.0};

// Fifth-order lowpass around the oversampled stages, unit gain at DC, meant to run at rate * F. Its
// feed-forward half is symmetric: B3 = B2, B4 = B1, B5 = B0. R1 (CLEAN) and R3 (VINTAGE, MODERN) are
// made for 48 kHz, F = 7; R2 (CLEAN, VINTAGE) and R4 (MODERN) for 44.1 kHz, F = 8: -3 dB at 7 kHz
// (R1, R2) or 6.5 kHz (R3, R4), 63 or 67 dB down at 20 kHz. At other rates these frequencies move
// with the rate.
struct ResamplingSet {
  std::array<double, 5> a;
  std::array<double, 3> b;
};
//                                           A1               A2                A3               A4                A5
inline constexpr ResamplingSet kR1 = {{ 4.8179683353,  -9.3055224949,    9.0057178461,   -4.3669422202,    0.84877273473 },
                                      { 3.390157707e-06,  -3.4808989017e-06, 2.9901828846e-06 }};
inline constexpr ResamplingSet kR2 = {{ 4.8274344838,  -9.3401866833,    9.0533334899,   -4.3960100272,    0.85542417619 },
                                      { 3.0948410549e-06, -3.5998686196e-06, 2.785376319e-06  }};
inline constexpr ResamplingSet kR3 = {{ 4.8332211387,  -9.3614466813,    9.0826314317,   -4.4139531656,    0.85954336641 },
                                      { 2.9240486315e-06, -3.6467230335e-06, 2.6776616271e-06 }};
inline constexpr ResamplingSet kR4 = {{ 4.841845695,   -9.3932327092,    9.1265709496,   -4.4409465392,    0.86575952956 },
                                      { 2.6825145427e-06, -3.682642479e-06,  2.5372545281e-06 }};
// clang-format on

}  // namespace quellard
