// SPDX-License-Identifier: ISC
#include "channels/amp_channel.h"

#include <algorithm>
#include <limits>

#include "channels/fast/dispatch.h"

namespace quellard {
namespace {

// Hosts may name any rate; one beyond the range of an integer is simply not 48000.
std::int32_t truncateRate(double rate) {
  return static_cast<std::int32_t>(
      std::min(rate, static_cast<double>(std::numeric_limits<std::int32_t>::max())));
}

std::unique_ptr<IIRFilter> buildSection(const VoicingRow& row, double fs) {
  filterPrm_tag prm = {row.num, row.frq, 0.0, 0.0, row.q, row.gain, fs};
  return std::make_unique<IIRFilter>(&prm);
}

FilterCascade buildCascade(std::span<const VoicingRow> rows, double fs) {
  auto cascade = std::make_unique<std::unique_ptr<IIRFilter>[]>(rows.size());
  std::transform(rows.begin(), rows.end(), cascade.get(),
                 [fs](const VoicingRow& row) { return buildSection(row, fs); });
  return cascade;
}

std::int32_t count(std::span<const VoicingRow> rows) {
  return static_cast<std::int32_t>(rows.size());
}

void refresh(CascadeView cascade) {
  for (const auto& section : cascade) section->refresh();
}

}  // namespace

AmpChannelBase::AmpChannelBase(double sampleRate)
    : rateInt(truncateRate(sampleRate)), rate(sampleRate) {}

void AmpChannelBase::build(const ChannelConstants& constants) {
  fast::isaInForce();  // chosen here, not in the first block: it reads the environment
  const bool at48k = rateInt == 48000;
  const ResamplingSet& set = at48k ? constants.at48k : constants.elsewhere;
  resampleA = set.a;
  resampleB = {set.b[0], set.b[1], set.b[2], set.b[2], set.b[1], set.b[0]};
  overSample = at48k ? 7 : 8;
  overSampleRatio = overSample;
  masterScale = constants.masterScale;

  preCount = count(constants.pre);
  postCount = count(constants.post);
  eqCount = count(constants.eq);
  powerCount = count(constants.power);
  reviseCount = count(constants.revise);

  const bool inside = constants.postAndPower == PostAndPower::oversampled;
  const double innerRate = inside ? rate * overSampleRatio : rate;
  preFilters = buildCascade(constants.pre, rate);
  postFilters = buildCascade(constants.post, innerRate);
  eqFilters = buildCascade(constants.eq, rate);
  powerFilters = buildCascade(constants.power, innerRate);
  reviseFilters = buildCascade(constants.revise, rate);
  dcBlocker = buildSection(kDcBlocker, rate);
}

void AmpChannelBase::clearState() {
  refresh(sectionsOf(preFilters, preCount));
  refresh(sectionsOf(postFilters, postCount));
  refresh(sectionsOf(eqFilters, eqCount));
  refresh(sectionsOf(powerFilters, powerCount));
  refresh(sectionsOf(reviseFilters, reviseCount));
  dcBlocker->refresh();
  upState.fill(0.0);
  downState.fill(0.0);
}

}  // namespace quellard
