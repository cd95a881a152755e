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

// Between looks at the keyboard's interrupt: some 10 ms of work, of which a look takes none.
constexpr std::int64_t kFramesBetweenLooks = 1 << 17;

void throwIfInterruptedFromPython() {
  const py::gil_scoped_acquire lock;
  if (PyErr_CheckSignals() != 0) throw py::error_already_set();
}

int checkedBlock(int blockLength) {
  if (blockLength >= 1 && blockLength <= kLongestBlock) return blockLength;
  throw UsageError(fmt::format("block: {} is outside 1 to {}", blockLength, kLongestBlock));
}

NamedSettings named(const Assignments& settings) {
  NamedSettings all;
  for (const auto& [name, value] : settings) assign(name, value, all);
  return all;
}

ReadMoves reader(const Automation* automation) {
  if (automation == nullptr) return {};
  return [automation](int channel) {
    if (automation->isFile) return readAutomation(automation->name, channel);
    std::istringstream text(automation->text);
    return parseAutomation(text, automation->name, channel);
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

// Plays blocks of every channel, where it can in the output's own memory.
class Blocks {
 public:
  Blocks(int channels, int longest)
      : samples_(asSize(channels), std::vector<double>(asSize(longest))),
        sides_(asSize(channels)) {}

  // Plays `frames` samples from `begin` on; behind the end of x there is silence.
  void play(RenderRig& rig, const AudioArray& x, AudioArray& out, std::int64_t begin, int frames) {
    const auto heard = static_cast<int>(std::clamp<std::int64_t>(x.frames() - begin, 0, frames));
    for (int c = 0; c < x.channels(); ++c) {
      double* const direct = out.doublesAt(c, begin);
      double* const side = direct != nullptr ? direct : at(samples_, c).data();
      x.read(c, begin, heard, side);
      throwUnlessFinite(std::span(side, asSize(heard)), "x", c, begin);
      std::fill(side + heard, side + frames, 0.0);
      at(sides_, c) = side;
    }
    x.prefetch(begin + frames, frames);
    rig.process(sides_, frames);
    for (int c = 0; c < x.channels(); ++c) {
      if (at(sides_, c) == at(samples_, c).data()) out.write(c, begin, frames, at(sides_, c));
    }
  }

 private:
  std::vector<std::vector<double>> samples_;
  std::vector<double*> sides_;
};

// As in the render of a file: moves at time 0 belong to the starting point and do not glide.
void playAll(RenderRig& rig, const std::vector<Move>& moves, int rate, int blockLength,
             const AudioArray& x, AudioArray& out) {
  BlockPlan plan(moves, rate, blockLength);
  rig.begin(plan.due(), true);
  Blocks blocks(x.channels(), blockLength);
  std::int64_t look = kFramesBetweenLooks;
  for (std::int64_t begin = 0; begin < out.frames();) {
    const auto frames = static_cast<int>(std::min<std::int64_t>(plan.next(), out.frames() - begin));
    rig.move(plan.due());
    blocks.play(rig, x, out, begin, frames);
    begin += frames;
    if (begin >= look) {
      throwIfInterruptedFromPython();
      look = begin + kFramesBetweenLooks;
    }
  }
}

}  // namespace

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
  {
    const py::gil_scoped_release unlocked;
    RenderRig rig(linkedAmplifier(), input.channels(), hz,
                  {chosen.start, chosen.rig, chosen.cabinet, blockLength});
    playAll(rig, chosen.moves, hz, blockLength, input, result);
  }
  return result.array();
}

StreamingAmp::StreamingAmp(double rate, int channels, int blockLength)
    : rate_(checkedRate(rate)), channels_(channels), blockLength_(checkedBlock(blockLength)) {
  constexpr int kMostChannels = 1024;
  if (channels < 1 || channels > kMostChannels) {
    throw UsageError(fmt::format("channels: {} is outside 1 to {}", channels, kMostChannels));
  }
}

void StreamingAmp::set(const Assignments& settings) {
  const NamedSettings all = named(settings);
  const std::lock_guard lock(mutex_);
  HostedValues values = withAmplifier(values_, settingsFrom(all.knobs, amplifierValues(values_)));
  applyRig(all.rig, values);
  CabinetChoice cabinet = cabinet_;
  applyCabinet(all.rig, cabinet);
  if (cabinet != cabinet_) {
    checkCabinet(cabinet);
    if (rig_) rig_->changeCabinet(cabinet);
  }
  cabinet_ = std::move(cabinet);
  values_ = values;
  if (!rig_) return;
  std::vector<ParameterChange> changes;
  for (int index = 1; index <= kNumStoredValues; ++index) changes.push_back({index, values[index]});
  rig_->move(changes);
  rig_->moveRig(values);
}

void StreamingAmp::reset() {
  const std::lock_guard lock(mutex_);
  rig_.reset();
}

HostedValues StreamingAmp::values() const {
  const std::lock_guard lock(mutex_);
  return values_;
}

CabinetChoice StreamingAmp::cabinet() const {
  const std::lock_guard lock(mutex_);
  return cabinet_;
}

RenderRig& StreamingAmp::rig() {
  if (rig_) return *rig_;
  StartingPoint start;
  for (int index = 1; index <= kNumStoredValues; ++index) {
    start.changes.push_back({index, values_[index]});
  }
  rig_ = std::make_unique<RenderRig>(linkedAmplifier(), channels_, rate_,
                                     RigSettings{start, values_, cabinet_, blockLength_});
  rig_->begin({}, true);
  return *rig_;
}

py::object StreamingAmp::process(const py::object& x, const py::object& out) {
  const AudioArray given(x, "block");
  if (given.channels() != channels_) {
    throw UsageError(fmt::format("the block has {} channel{}, and the amplifier {}",
                                 given.channels(), given.channels() == 1 ? "" : "s", channels_));
  }
  given.requireFinite("block");
  AudioArray result = outputFor(given, given.frames(), out);
  const AudioArray input = undisturbed(given, result);
  {
    // In this order: a thread that waits must not keep the interpreter from the one that plays.
    const py::gil_scoped_release unlocked;
    const std::lock_guard lock(mutex_);
    RenderRig& playing = rig();
    Blocks blocks(channels_, blockLength_);
    for (std::int64_t begin = 0; begin < input.frames(); begin += blockLength_) {
      const auto frames =
          static_cast<int>(std::min<std::int64_t>(blockLength_, input.frames() - begin));
      blocks.play(playing, input, result, begin, frames);
    }
  }
  return result.array();
}

}  // namespace quellard
