// SPDX-License-Identifier: ISC
#include "channels/fast/loan.h"

#include <algorithm>
#include <cstring>

#include "channels/fast/dispatch.h"
#include "channels/fast/skewed_state.h"

namespace quellard::fast {
namespace {

// Where a section stands in the rack of the core.
struct Placed {
  IIRFilter* section;
  int lane;
  int place;
  bool glided;
};

struct Rack {
  std::array<Placed, kLanes * kPlaces> placed;
  int count = 0;

  void add(IIRFilter* section, int lane, int place, bool glided) {
    placed[static_cast<std::size_t>(count++)] = {section, lane, place, glided};
  }
  Placed* begin() { return placed.data(); }
  Placed* end() { return placed.data() + count; }
};

// Shares the sections behind the loop among three lanes, so that only last places stay empty.
class LanesBehind {
 public:
  LanesBehind(Rack& rack, int total) : rack_(rack), total_(total) {}

  void add(IIRFilter* section, bool glided) {
    rack_.add(section, lane_, place_++, glided);
    const int length = total_ / 3 + (lane_ - 1 < total_ % 3 ? 1 : 0);
    if (place_ < length) return;
    place_ = 0;
    ++lane_;
  }

 private:
  Rack& rack_;
  int total_;
  int lane_ = 1;
  int place_ = 0;
};

template <class Visit>
void eachSection(const FilterBank& bank, std::int32_t count, const Visit& visit) {
  for (std::int32_t i = 0; i < count; ++i) visit(bank[static_cast<std::size_t>(i)].get(), i);
}

Rack layOut(const AmpChannelBase& c, const ChainParts& parts) {
  Rack rack;
  const auto inFront = [&rack](IIRFilter* section, bool glided) {
    rack.add(section, 0, rack.count, glided);
  };
  eachSection(c.preFilters, c.preCount, [&](IIRFilter* f, int i) { inFront(f, i == 0); });
  if (parts.split == nullptr) {
    eachSection(c.postFilters, c.postCount, [&](IIRFilter* f, int) { inFront(f, false); });
    eachSection(c.powerFilters, c.powerCount, [&](IIRFilter* f, int) { inFront(f, false); });
  }
  LanesBehind behind(rack, c.eqCount + c.reviseCount + 1);
  eachSection(c.eqFilters, c.eqCount, [&](IIRFilter* f, int) { behind.add(f, true); });
  eachSection(c.reviseFilters, c.reviseCount, [&](IIRFilter* f, int) { behind.add(f, false); });
  behind.add(c.dcBlocker.get(), false);
  return rack;
}

std::array<IIRFilter*, 3> loopSections(const AmpChannelBase& c) {
  return {c.postFilters[0].get(), c.powerFilters[0].get(), c.powerFilters[1].get()};
}

bool isGliding(const Placed& at) {
  return at.glided && at.section->ipCount <= at.section->ipLength;
}

// Memory as the core arranges it; visit(i, up, down).
template <class Visit>
void eachResamplerState(Memory& m, const Visit& visit) {
  visit(0, m.first[0], m.first[1]);
  visit(1, m.odd[0], m.odd[1]);
  visit(2, m.even[0], m.even[1]);
  visit(3, m.odd[2], m.odd[3]);
  visit(4, m.even[2], m.even[3]);
}

double& loopState(Memory& m, std::size_t i) { return i == 2 ? m.power1 : m.postPower[i]; }

void setAllBits(double& x) { std::memset(&x, 0xff, sizeof x); }

void lendSection(const Placed& at, SkewedState& s) {
  const IIRFilter& f = *at.section;
  const bool gliding = isGliding(at);
  for (std::size_t i = 0; i < f.coef.size(); ++i) {
    double& fixed = s.rackCoef[at.place][i][at.lane];
    if (gliding) {
      fixed = f.ipBase[i];
      s.rackStep[at.place][i][at.lane] = f.ipStep[i];
    } else {
      fixed = at.glided ? f.ipStep[i] * f.ipCount + f.ipBase[i] : f.coef[i];
    }
  }
  s.rackCount[at.place][at.lane] = gliding ? f.ipCount : 0.0;
  s.glides |= gliding;
  if (at.place == kPlaces - 1) setAllBits(s.lastPlaceUsed[at.lane]);
  s.memory.rack1[at.place][at.lane] = f.state1;
  s.memory.rack2[at.place][at.lane] = f.state2;
}

void lendRack(Rack& rack, SkewedState& s) {
  for (auto& place : s.rackCoef) place[2][0] = 1.0;  // empty places in front pass the signal on
  setAllBits(s.lastPlaceUsed[0]);
  for (auto& place : s.rackStep) {
    for (auto& coefficient : place) {
      for (double& step : coefficient) step = -0.0;
    }
  }
  for (const Placed& at : rack) lendSection(at, s);
}

void lendLoop(const AmpChannelBase& c, const ChainParts& parts, SkewedState& s) {
  std::copy(c.resampleA.begin(), c.resampleA.end(), s.resampleA);
  std::copy_n(c.resampleB.begin(), 3, s.resampleB);
  eachResamplerState(s.memory, [&c](std::size_t i, double& up, double& down) {
    up = c.upState[i];
    down = c.downState[i];
  });
  s.overSample = c.overSample;
  s.cascade = parts.split != nullptr;
  const auto lendTable = [&s](std::size_t i, const Clipper& clipper) {
    s.table[i] = clipper.table.data();
    s.halfSize[i] = clipper.halfSize;
  };
  lendTable(0, parts.drive);
  if (!s.cascade) return;

  for (std::size_t i = 0; i < cascadeClip.size(); ++i) lendTable(i + 1, cascadeClip[i]);
  const auto loop = loopSections(c);
  for (std::size_t i = 0; i < loop.size(); ++i) {
    loopState(s.memory, i) = loop[i]->state1;
    s.loopCoef[i][0] = loop[i]->coef[2];
    s.loopCoef[i][1] = loop[i]->coef[3];
    s.loopCoef[i][2] = loop[i]->coef[0];
  }
  s.memory.split[0] = parts.split->splitLow;
  s.memory.split[1] = parts.split->splitHigh;
  s.splitCoef = parts.split->splitCoef;
}

void takeBackSection(const Placed& at, const Memory& memory, int n) {
  IIRFilter& f = *at.section;
  f.state1 = memory.rack1[at.place][at.lane];
  f.state2 = memory.rack2[at.place][at.lane];
  if (!isGliding(at)) return;
  f.ipCount += n;
  if (f.ipCount <= f.ipLength) return;
  f.ipBase = f.coef;
  f.ipStep.fill(0.0);
}

void takeBackLoop(AmpChannelBase& c, const ChainParts& parts, Memory& memory) {
  eachResamplerState(memory, [&c](std::size_t i, const double& up, const double& down) {
    c.upState[i] = up;
    c.downState[i] = down;
  });
  if (parts.split == nullptr) return;
  const auto loop = loopSections(c);
  for (std::size_t i = 0; i < loop.size(); ++i) loop[i]->state1 = loopState(memory, i);
  parts.split->splitLow = memory.split[0];
  parts.split->splitHigh = memory.split[1];
}

bool isFirstOrder(const IIRFilter& f) {
  return f.form != 0 && f.coef[1] == 0.0 && f.coef[4] == 0.0 && f.state2 == 0.0;
}

}  // namespace

bool canLend(const AmpChannelBase& channel, const ChainParts& parts) {
  Rack rack = layOut(channel, parts);
  for (const Placed& at : rack) {
    if (at.section->form == 0) return false;
  }
  if (parts.split == nullptr) return true;
  const auto loop = loopSections(channel);
  return isFirstOrder(*loop[0]) && isFirstOrder(*loop[1]) && isFirstOrder(*loop[2]);
}

void playSkewed(AmpChannelBase& channel, const ChainParts& parts, const Stretch& stretch) {
  const int n = stretch.end - stretch.first;
  Rack rack = layOut(channel, parts);
  SkewedState s = {};
  lendRack(rack, s);
  lendLoop(channel, parts, s);
  s.drive = {stretch.drive.start, stretch.drive.step};
  s.level = {stretch.level.start, stretch.level.step};
  s.first = stretch.first;
  core()(s, stretch.in + stretch.first, stretch.out + stretch.first, n);
  for (const Placed& at : rack) takeBackSection(at, s.memory, n);
  takeBackLoop(channel, parts, s.memory);
}

}  // namespace quellard::fast
