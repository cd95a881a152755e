// SPDX-License-Identifier: ISC
#include "python/player.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <sstream>

#include "params/sizes.h"
#include "shell/entry.h"
#include "tools/common/errors.h"
#include "tools/host/render.h"
#include "tools/host/render_limits.h"
#include "tools/settings/cabinet_file.h"

namespace quellard {
namespace py = pybind11;
namespace {

// Looks for Ctrl-C after every so many samples, some 10 ms of work.
class InterruptWatch {
 public:
  explicit InterruptWatch(int channels) : channels_(channels) {}

  // Not with the interpreter's lock.
  void played(int frames) {
    constexpr std::int64_t kSamplesBetweenLooks = 1 << 17;
    samples_ += std::int64_t{channels_} * frames;
    if (samples_ < kSamplesBetweenLooks) return;
    samples_ = 0;
    const py::gil_scoped_acquire lock;
    if (PyErr_CheckSignals() != 0) throw py::error_already_set();
  }

 private:
  int channels_;
  std::int64_t samples_ = 0;
};

int checkedBlock(int blockLength) {
  if (blockLength >= 1 && blockLength <= kLongestBlock) return blockLength;
  throw UsageError(fmt::format("block: {} is outside 1 to {}", blockLength, kLongestBlock));
}

int checkedChannels(int channels) {
  if (channels >= 1 && channels <= kMostChannels) return channels;
  throw UsageError(fmt::format("channels: {} is outside 1 to {}", channels, kMostChannels));
}

NamedSettings named(const Assignments& settings) {
  NamedSettings all;
  for (const auto& [name, value] : settings) assign(name, value, all);
  return all;
}

ReadMoves reader(const Automation* automation) {
  if (automation == nullptr) return {};
  return [automation](int channel) {
    if (!automation->file.empty()) return readAutomation(automation->file, channel);
    std::istringstream lines(automation->lines);
    return parseAutomation(lines, "automation", channel);
  };
}

// The output for x: `out`, or a new array for None.
AudioArray outputFor(const AudioArray& x, std::int64_t frames, const py::object& out) {
  if (out.is_none()) return x.withFrames(frames);
  AudioArray given(out, "out");
  given.requireOutputFor(x, frames);
  return given;
}

// x itself, or a copy where writing the output would change what is still to be read.
AudioArray undisturbed(const AudioArray& x, const AudioArray& out) {
  if (!out.disturbs(x)) return x;
  return {x.array().attr("copy")(), "x"};
}

// As in the render of a file: moves at time 0 belong to the starting point and do not glide.
void playAll(RenderRig& rig, const std::vector<Move>& moves, int rate, int blockLength,
             const AudioArray& x, AudioArray& out) {
  BlockPlan plan(moves, rate, blockLength);
  rig.begin(plan.due(), true);
  Blocks blocks(x.channels());
  InterruptWatch watch(x.channels());
  for (std::int64_t begin = 0; begin < out.frames();) {
    const auto frames = static_cast<int>(std::min<std::int64_t>(plan.next(), out.frames() - begin));
    rig.move(plan.due());
    blocks.play(rig, x, out, begin, frames);
    watch.played(frames);
    begin += frames;
  }
}

}  // namespace

Blocks::Blocks(int channels) : samples_(asSize(channels)), sides_(asSize(channels)) {}

void Blocks::play(RenderRig& rig, const AudioArray& x, AudioArray& out, std::int64_t begin,
                  int frames) {
  const auto heard = static_cast<int>(std::clamp<std::int64_t>(x.frames() - begin, 0, frames));
  for (int c = 0; c < x.channels(); ++c) {
    at(sides_, c) = placeFor(out, c, begin, frames);
    double* const side = at(sides_, c);
    x.read(c, begin, heard, side);
    throwUnlessFinite(std::span(side, asSize(heard)), "x", c, begin);
    std::fill(side + heard, side + frames, 0.0);
  }
  x.prefetch(begin + frames, frames);
  rig.process(sides_, frames);
  for (int c = 0; c < x.channels(); ++c) {
    if (at(sides_, c) == at(samples_, c).data()) out.write(c, begin, frames, at(sides_, c));
  }
}

double* Blocks::placeFor(AudioArray& out, int channel, std::int64_t begin, int frames) {
  double* const direct = out.doublesAt(channel, begin);
  if (direct != nullptr) return direct;
  std::vector<double>& own = at(samples_, channel);
  if (own.size() < asSize(frames)) own.resize(asSize(frames));
  return own.data();
}

const PluginModule& linkedAmplifier() {
  static const PluginModule module(openInterface);
  return module;
}

int checkedRate(double rate) {
  const bool playable = rate >= PluginModule::kLowestRate && rate <= PluginModule::kHighestRate;
  if (playable && rate == std::floor(rate)) return static_cast<int>(rate);
  throw UsageError(fmt::format("rate: {} is not a whole number of Hz from {} to {}", rate,
                               PluginModule::kLowestRate, PluginModule::kHighestRate));
}

py::object render(const py::object& x, double rate, const Assignments& settings,
                  const Automation* automation, int blockLength, double tailSeconds,
                  const py::object& out) {
  const int hz = checkedRate(rate);
  checkedBlock(blockLength);
  if (!(tailSeconds >= 0.0 && tailSeconds <= kLongestTail_s)) {
    throw UsageError(fmt::format("tail: {} is outside 0 to {}", tailSeconds, kLongestTail_s));
  }
  const ChosenSettings chosen = choose(named(settings), reader(automation));
  const AudioArray given(x, "x");
  AudioArray result = outputFor(given, given.frames() + std::llround(tailSeconds * hz), out);
  const AudioArray input = undisturbed(given, result);
  // What is written there is never what x was: in place, an error must come before the first
  // sample.
  const bool checksFirst = result.sharesMemoryWith(given);
  {
    const py::gil_scoped_release unlocked;
    if (checksFirst) given.requireFinite("x");
    // The engine's buffers are as long as its blocks, and none is longer than the audio.
    const auto longest =
        static_cast<int>(std::clamp<std::int64_t>(result.frames(), 1, blockLength));
    RenderRig rig(linkedAmplifier(), input.channels(), hz,
                  {chosen.start, chosen.rig, chosen.cabinet, longest});
    playAll(rig, chosen.moves, hz, longest, input, result);
  }
  return result.array();
}

StreamingAmp::StreamingAmp(double rate, int channels, int blockLength)
    : rate_(checkedRate(rate)),
      channels_(checkedChannels(channels)),
      blockLength_(checkedBlock(blockLength)),
      blocks_(channels_) {}

void StreamingAmp::set(const Assignments& assignments) {
  const NamedSettings all = named(assignments);
  const std::lock_guard lock(mutex_);
  HostedValues values =
      withAmplifier(settings_.values, settingsFrom(all.knobs, amplifierValues(settings_.values)));
  applyRig(all.rig, values);
  CabinetChoice cabinet = settings_.cabinet;
  applyCabinet(all.rig, cabinet);
  // A copy may be unpickled in another folder.
  if (!cabinet.file.empty()) cabinet.file = std::filesystem::absolute(cabinet.file);
  if (cabinet != settings_.cabinet) {
    checkCabinet(cabinet);
    if (rig_) rig_->changeCabinet(cabinet);
  }
  settings_ = {values, std::move(cabinet)};
  if (!rig_) return;
  std::vector<ParameterChange> changes;
  for (int index = 1; index <= kNumStoredValues; ++index) changes.push_back({index, values[index]});
  rig_->move(changes);
  rig_->moveRig(values);
}

void StreamingAmp::reset() {
  const std::lock_guard lock(mutex_);
  if (rig_) rig_ = newRig();
}

StreamingAmp::Settings StreamingAmp::settings() const {
  const std::lock_guard lock(mutex_);
  return settings_;
}

std::unique_ptr<RenderRig> StreamingAmp::newRig() const {
  StartingPoint start;
  for (int index = 1; index <= kNumStoredValues; ++index) {
    start.changes.push_back({index, settings_.values[index]});
  }
  auto rig = std::make_unique<RenderRig>(
      linkedAmplifier(), channels_, rate_,
      RigSettings{start, settings_.values, settings_.cabinet, blockLength_});
  rig->begin({}, true);
  return rig;
}

py::object StreamingAmp::process(const py::object& x, const py::object& out) {
  const AudioArray given(x, "block");
  if (given.channels() != channels_) {
    throw UsageError(fmt::format("the block has {} channel{}, and the amplifier {}",
                                 given.channels(), given.channels() == 1 ? "" : "s", channels_));
  }
  AudioArray result = outputFor(given, given.frames(), out);
  const AudioArray input = undisturbed(given, result);
  {
    // In this order: a thread that waits must not keep the interpreter from the one that plays.
    const py::gil_scoped_release unlocked;
    const std::lock_guard lock(mutex_);
    input.requireFinite("block");
    if (!rig_) rig_ = newRig();
    InterruptWatch watch(channels_);
    for (std::int64_t begin = 0; begin < input.frames(); begin += blockLength_) {
      const auto frames =
          static_cast<int>(std::min<std::int64_t>(blockLength_, input.frames() - begin));
      blocks_.play(*rig_, input, result, begin, frames);
      watch.played(frames);
    }
  }
  return result.array();
}

}  // namespace quellard
