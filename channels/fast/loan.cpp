// SPDX-License-Identifier: ISC
#include "channels/fast/loan.h"

#include <algorithm>
#include <cstring>

#include "channels/fast/dispatch.h"

namespace quellard::fast {
namespace {

template <class Visit>
void eachSection(const FilterBank& bank, std::int32_t count, const Visit& visit) {
  for (std::int32_t i = 0; i < count; ++i) visit(bank[static_cast<std::size_t>(i)].get(), i);
}

// The resamplers' memory as the core arranges it; visit(i, up, down).
template <class Visit>
void eachResamplerState(Memory& m, const Visit& visit) {
  visit(0, m.first[0], m.first[1]);
  visit(1, m.odd[0], m.odd[1]);
  visit(2, m.even[0], m.even[1]);
  visit(3, m.odd[2], m.odd[3]);
  visit(4, m.even[2], m.even[3]);
}

void setAllBits(double& x) { std::memset(&x, 0xff, sizeof x); }

void lendSection(const Placed& at, SkewedState& s) {
  const IIRFilter& f = *at.section;
  const bool gliding = at.isGliding();
  const IIRFilter::Coefficients& weights = at.glided ? f.ipBase : f.coef;
  for (std::size_t i = 0; i < weights.size(); ++i) {
    s.rackCoef[at.place][i][at.lane] = weights[i];
    if (gliding) s.rackStep[at.place][i][at.lane] = f.ipStep[i];
  }
  if (gliding) s.rackCount[at.place][at.lane] = f.ipCount;
  if (at.place == kPlaces - 1) setAllBits(s.lastPlaceUsed[at.lane]);
  s.memory.rack1[at.place][at.lane] = f.state1;
  s.memory.rack2[at.place][at.lane] = f.state2;
}

void takeBackSection(const Placed& at, const Memory& memory, int n) {
  IIRFilter& f = *at.section;
  f.state1 = memory.rack1[at.place][at.lane];
  f.state2 = memory.rack2[at.place][at.lane];
  if (!at.isGliding()) return;
  f.ipCount += n;
  if (f.ipCount <= f.ipLength) return;
  f.ipBase = f.coef;
  f.ipStep.fill(0.0);
}

// sign: 1 for a lowpass, -1 for a highpass.
bool isFirstOrderPass(const IIRFilter& f, int sign) {
  return f.form != 0 && f.coef[1] == 0.0 && f.coef[4] == 0.0 && f.state2 == 0.0 &&
         f.coef[3] == sign * f.coef[2];
}

}  // namespace

Loan::Loan(AmpChannelBase& channel, const ChainParts& parts) : channel_(channel), parts_(parts) {
  if (fits()) layOut();
}

// Places behind the loop are filled up evenly, and only the last one of a lane may stay empty.
bool Loan::fits() const {
  const AmpChannelBase& c = channel_;
  const bool cascade = parts_.split != nullptr;
  if (cascade && (c.postCount != 1 || c.powerCount != 2)) return false;
  const int inFront = c.preCount + (cascade ? 0 : c.postCount + c.powerCount);
  const int behind = c.eqCount + c.reviseCount + 1;
  return inFront <= kPlaces && behind <= 3 * kPlaces && behind >= 3 * (kPlaces - 1);
}

void Loan::add(IIRFilter* section, int lane, int place, bool glided) {
  placed_[count_++] = {section, lane, place, glided};
}

// The sections before the drive in lane 0; those behind the loop shared among the other three, so
// that only last places stay empty.
void Loan::layOut() {
  const AmpChannelBase& c = channel_;
  int place = 0;
  const auto inFront = [&](IIRFilter* section, bool glided) { add(section, 0, place++, glided); };
  eachSection(c.preFilters, c.preCount, [&](IIRFilter* f, int i) { inFront(f, i == 0); });
  if (parts_.split == nullptr) {
    eachSection(c.postFilters, c.postCount, [&](IIRFilter* f, int) { inFront(f, false); });
    eachSection(c.powerFilters, c.powerCount, [&](IIRFilter* f, int) { inFront(f, false); });
  }

  const int total = c.eqCount + c.reviseCount + 1;
  int lane = 1;
  place = 0;
  const auto behind = [&](IIRFilter* section, bool glided) {
    add(section, lane, place++, glided);
    const int length = total / 3 + (lane - 1 < total % 3 ? 1 : 0);
    if (place < length) return;
    place = 0;
    ++lane;
  };
  eachSection(c.eqFilters, c.eqCount, [&](IIRFilter* f, int) { behind(f, true); });
  eachSection(c.reviseFilters, c.reviseCount, [&](IIRFilter* f, int) { behind(f, false); });
  behind(c.dcBlocker.get(), false);
}

std::array<IIRFilter*, 3> Loan::loopSections() const {
  return {channel_.postFilters[0].get(), channel_.powerFilters[0].get(),
          channel_.powerFilters[1].get()};
}

bool Loan::isPossible() const {
  if (count_ == 0) return false;
  const auto isBiquad = [](const Placed& at) { return at.section->form != 0; };
  if (!std::ranges::all_of(sections(), isBiquad)) return false;
  if (parts_.drive.halfSize == 0.0) return false;  // the core takes all tables to be of one size
  if (parts_.split == nullptr) return true;
  const auto loop = loopSections();
  return isFirstOrderPass(*loop[0], 1) && isFirstOrderPass(*loop[1], -1) &&
         isFirstOrderPass(*loop[2], 1);
}

void Loan::play(const Stretch& stretch) {
  const int n = stretch.end - stretch.first;
  // Filled below as far as it is read.
  SkewedState s;  // NOLINT(cppcoreguidelines-pro-type-member-init)
  lendRack(s);
  lendLoop(s);
  s.drive = {stretch.drive.start, stretch.drive.step};
  s.level = {stretch.level.start, stretch.level.step};
  s.first = stretch.first;
  core()(s, stretch.in + stretch.first, stretch.out + stretch.first, n);
  for (const Placed& at : sections()) takeBackSection(at, s.memory, n);
  takeBackLoop(s.memory);
}

void Loan::lendRack(SkewedState& s) const {
  std::memset(s.rackCoef, 0, sizeof s.rackCoef);
  std::memset(&s.memory, 0, sizeof s.memory);
  std::memset(s.lastPlaceUsed, 0, sizeof s.lastPlaceUsed);
  for (auto& place : s.rackCoef) place[2][0] = 1.0;  // empty places in front pass the signal on
  setAllBits(s.lastPlaceUsed[0]);

  s.glides = std::ranges::any_of(sections(), &Placed::isGliding);
  if (s.glides) {
    std::memset(s.rackCount, 0, sizeof s.rackCount);
    std::fill_n(&s.rackStep[0][0][0], sizeof s.rackStep / sizeof(double), -0.0);
  }
  for (const Placed& at : sections()) lendSection(at, s);
}

void Loan::lendLoop(SkewedState& s) const {
  const AmpChannelBase& c = channel_;
  std::copy(c.resampleA.begin(), c.resampleA.end(), s.resampleA);
  std::copy_n(c.resampleB.begin(), 3, s.resampleB);
  eachResamplerState(s.memory, [&c](std::size_t i, double& up, double& down) {
    up = c.upState[i];
    down = c.downState[i];
  });
  std::copy_n(s.memory.first, 2, s.memory.first + 2);
  s.overSample = c.overSample;
  s.cascade = parts_.split != nullptr;
  s.halfSize = parts_.drive.halfSize;
  s.table[0] = parts_.drive.table.data();
  if (!s.cascade) return;

  for (std::size_t i = 0; i < cascadeClip.size(); ++i) s.table[i + 1] = cascadeClip[i].table.data();
  const auto loop = loopSections();
  s.sectionsX[3] = s.sectionsY[3] = 0.0;
  for (std::size_t i = 0; i < loop.size(); ++i) {
    s.memory.sections[i] = loop[i]->state1;
    s.sectionsX[i] = loop[i]->coef[2];
    s.sectionsY[i] = loop[i]->coef[0];
  }
  s.memory.split[0] = -parts_.split->splitHigh;
  s.memory.split[1] = parts_.split->splitLow;
  s.splitCoef = parts_.split->splitCoef;
}

void Loan::takeBackLoop(Memory& memory) {
  eachResamplerState(memory, [this](std::size_t i, const double& up, const double& down) {
    channel_.upState[i] = up;
    channel_.downState[i] = down;
  });
  if (parts_.split == nullptr) return;
  const auto loop = loopSections();
  for (std::size_t i = 0; i < loop.size(); ++i) loop[i]->state1 = memory.sections[i];
  parts_.split->splitHigh = -memory.split[0];
  parts_.split->splitLow = memory.split[1];
}

}  // namespace quellard::fast
