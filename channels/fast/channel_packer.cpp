// SPDX-License-Identifier: ISC
#include "channels/fast/channel_packer.h"

#include <algorithm>
#include <cstring>

#include "channels/fast/dispatch.h"

namespace quellard::fast {
namespace {

// Calls visit(i, up, down) for each state of the resampling lowpasses where the pipeline keeps it.
template <class Visit>
void eachResamplerState(PackedState& state, const Visit& visit) {
  visit(0, state.s0[0], state.s0[1]);
  visit(1, state.s13[0], state.s13[1]);
  visit(2, state.s24[0], state.s24[1]);
  visit(3, state.s13[2], state.s13[3]);
  visit(4, state.s24[2], state.s24[3]);
}

void setAllBits(double& x) { std::memset(&x, 0xff, sizeof x); }

void packSection(const SectionPlace& section, PackedChannel& packed) {
  const auto& [filter, lane, index, canGlide] = section;
  const bool gliding = section.glides();
  const IIRFilter::Coefficients& coef = canGlide ? filter->ipBase : filter->coef;
  for (std::size_t i = 0; i < coef.size(); ++i) {
    packed.biquadCoef[index][i][lane] = coef[i];
    if (gliding) packed.biquadStep[index][i][lane] = filter->ipStep[i];
  }
  if (gliding) packed.glideCount[index][lane] = filter->ipCount;
  if (index == kSectionsPerLane - 1) setAllBits(packed.lastSectionUsed[lane]);
  packed.state.biquad1[index][lane] = filter->state1;
  packed.state.biquad2[index][lane] = filter->state2;
}

void unpackSection(const SectionPlace& section, const PackedState& state, int n) {
  IIRFilter& filter = *section.filter;
  filter.state1 = state.biquad1[section.index][section.lane];
  filter.state2 = state.biquad2[section.index][section.lane];
  if (!section.glides()) return;
  filter.ipCount += n;
  if (filter.ipCount <= filter.ipLength) return;
  filter.ipBase = filter.coef;
  filter.ipStep.fill(0.0);
}

// sign: 1 for a lowpass, -1 for a highpass.
bool isFirstOrderPass(const IIRFilter& filter, int sign) {
  return filter.form != 0 && filter.coef[1] == 0.0 && filter.coef[4] == 0.0 &&
         filter.state2 == 0.0 && filter.coef[3] == sign * filter.coef[2];
}

}  // namespace

ChannelPacker::ChannelPacker(AmpChannelBase& channel, const ChainParts& parts)
    : channel_(channel), parts_(parts) {
  if (fits()) assignLanes();
}

// The sections after the resampler are spread over three lanes, three or four each: the pipeline
// can leave out a lane's fourth section, never an earlier one.
bool ChannelPacker::fits() const {
  const AmpChannelBase& c = channel_;
  const bool multistage = parts_.split != nullptr;
  if (multistage && (c.postCount != 1 || c.powerCount != 2)) return false;
  const int before = c.preCount + (multistage ? 0 : c.postCount + c.powerCount);
  const int after = c.eqCount + c.reviseCount + 1;
  return before <= kSectionsPerLane && after <= 3 * kSectionsPerLane &&
         after >= 3 * (kSectionsPerLane - 1);
}

void ChannelPacker::assign(IIRFilter* filter, int lane, int index, bool canGlide) {
  sections_[count_++] = {filter, lane, index, canGlide};
}

void ChannelPacker::assignLanes() {
  const AmpChannelBase& c = channel_;
  int index = 0;
  const auto beforeDrive = [&](const auto& filter) {
    assign(filter.get(), 0, index, filter == c.preFilters[0]);
    ++index;
  };
  std::ranges::for_each(sectionsOf(c.preFilters, c.preCount), beforeDrive);
  if (parts_.split == nullptr) {
    std::ranges::for_each(sectionsOf(c.postFilters, c.postCount), beforeDrive);
    std::ranges::for_each(sectionsOf(c.powerFilters, c.powerCount), beforeDrive);
  }

  const int total = c.eqCount + c.reviseCount + 1;
  int lane = 1;
  index = 0;
  const auto afterDown = [&](const auto& filter, bool canGlide) {
    assign(filter.get(), lane, index++, canGlide);
    const int length = total / 3 + (lane - 1 < total % 3 ? 1 : 0);
    if (index < length) return;
    index = 0;
    ++lane;
  };
  for (const auto& filter : sectionsOf(c.eqFilters, c.eqCount)) afterDown(filter, true);
  for (const auto& filter : sectionsOf(c.reviseFilters, c.reviseCount)) afterDown(filter, false);
  afterDown(c.dcBlocker, false);
}

std::array<IIRFilter*, 3> ChannelPacker::interstageFilters() const {
  return {channel_.postFilters[0].get(), channel_.powerFilters[0].get(),
          channel_.powerFilters[1].get()};
}

bool ChannelPacker::canPack() const {
  const auto isBiquad = [](const SectionPlace& section) { return section.filter->form != 0; };
  if (count_ == 0 || !std::ranges::all_of(sections(), isBiquad)) return false;
  // Until generated a table has halfSize 0, and the pipeline uses one halfSize for all four.
  if (parts_.firstShaper.halfSize == 0.0) return false;
  if (parts_.split == nullptr) return true;
  const auto filters = interstageFilters();
  return isFirstOrderPass(*filters[0], 1) && isFirstOrderPass(*filters[1], -1) &&
         isFirstOrderPass(*filters[2], 1);
}

void ChannelPacker::play(const Segment& segment) {
  const int n = segment.end - segment.begin;
  // Filled below as far as the pipeline uses it.
  PackedChannel packed;  // NOLINT(cppcoreguidelines-pro-type-member-init)
  packCascade(packed);
  packOversampledStages(packed);
  packed.drive = segment.drive;
  packed.level = segment.level;
  packed.rampOffset = segment.begin;
  pipeline()(packed, segment.in + segment.begin, segment.out + segment.begin, n);
  for (const SectionPlace& section : sections()) unpackSection(section, packed.state, n);
  unpackOversampledStages(packed.state);
}

void ChannelPacker::packCascade(PackedChannel& packed) const {
  std::memset(packed.biquadCoef, 0, sizeof packed.biquadCoef);
  std::memset(&packed.state, 0, sizeof packed.state);
  std::memset(packed.lastSectionUsed, 0, sizeof packed.lastSectionUsed);
  // Missing sections before the drive weigh x[n] with 1 and everything else with 0.
  for (auto& section : packed.biquadCoef) section[2][0] = 1.0;
  setAllBits(packed.lastSectionUsed[0]);

  packed.glides = std::ranges::any_of(sections(), &SectionPlace::glides);
  if (packed.glides) {
    std::memset(packed.glideCount, 0, sizeof packed.glideCount);
    std::fill_n(&packed.biquadStep[0][0][0], sizeof packed.biquadStep / sizeof(double), -0.0);
  }
  for (const SectionPlace& section : sections()) packSection(section, packed);
}

void ChannelPacker::packOversampledStages(PackedChannel& packed) const {
  const AmpChannelBase& c = channel_;
  std::copy(c.resampleA.begin(), c.resampleA.end(), packed.resampleA);
  std::copy_n(c.resampleB.begin(), 3, packed.resampleB);
  eachResamplerState(packed.state, [&c](std::size_t i, double& up, double& down) {
    up = c.upState[i];
    down = c.downState[i];
  });
  std::copy_n(packed.state.s0, 2, packed.state.s0 + 2);
  packed.overSample = c.overSample;
  packed.multistage = parts_.split != nullptr;
  packed.halfSize = parts_.firstShaper.halfSize;
  packed.table[0] = parts_.firstShaper.table.data();
  if (!packed.multistage) return;

  std::ranges::transform(multistageClip, packed.table + 1,
                         [](const Clipper& clipper) { return clipper.table.data(); });
  const auto filters = interstageFilters();
  packed.interstageX[3] = packed.interstageY[3] = 0.0;
  for (std::size_t i = 0; i < filters.size(); ++i) {
    packed.state.interstage[i] = filters[i]->state1;
    packed.interstageX[i] = filters[i]->coef[2];
    packed.interstageY[i] = filters[i]->coef[0];
  }
  packed.state.split[0] = -parts_.split->splitHigh;
  packed.state.split[1] = parts_.split->splitLow;
  packed.splitCoef = parts_.split->splitCoef;
}

void ChannelPacker::unpackOversampledStages(PackedState& state) {
  eachResamplerState(state, [this](std::size_t i, const double& up, const double& down) {
    channel_.upState[i] = up;
    channel_.downState[i] = down;
  });
  if (parts_.split == nullptr) return;
  const auto filters = interstageFilters();
  for (std::size_t i = 0; i < filters.size(); ++i) filters[i]->state1 = state.interstage[i];
  parts_.split->splitHigh = -state.split[0];
  parts_.split->splitLow = state.split[1];
}

}  // namespace quellard::fast
