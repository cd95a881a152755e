// SPDX-License-Identifier: ISC
// What a host of any format does with a plug-in, and the output that it must then get. The tests in
// format_suite.cpp apply to every format; X_test.cpp contains the host for format X.
#pragma once

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "rig/parameter_smoother.h"
#include "rig/rig_chain.h"
#include "rig/rig_parameters.h"
#include "tests/support/loaded_module.h"
#include "tests/support/opened_effect.h"
#include "tests/support/same_bits.h"
#include "tests/support/session.h"

namespace quellard::test {

template <typename Sample>
using Channels = std::vector<std::vector<Sample>>;

template <typename Sample>
std::vector<Sample*> pointersTo(Channels<Sample>& channels) {
  std::vector<Sample*> pointers;
  for (auto& channel : channels) pointers.push_back(channel.data());
  return pointers;
}

// Random guitar-like input for each side.
template <typename Sample>
Channels<Sample> drawChannels(Random& random, int sides, int frames) {
  Channels<Sample> channels;
  for (int side = 0; side < sides; ++side) {
    channels.emplace_back();
    for (const double x : drawBlock(random, 0.5, frames))
      channels.back().push_back(static_cast<Sample>(x));
  }
  return channels;
}

template <typename Sample>
Channels<double> widened(const Channels<Sample>& narrow) {
  Channels<double> wide;
  for (const auto& channel : narrow) wide.emplace_back(channel.begin(), channel.end());
  return wide;
}

// Doubles must have the same bits; floats must be the nearest to the double, or 0 for denormals.
template <typename Sample>
void expectPlayed(const std::vector<Sample>& played, const std::vector<double>& direct) {
  constexpr double kLeast = sizeof(Sample) == sizeof(double) ? 0.0 : 0x1p-126;
  std::vector<Sample> wanted;
  for (const double x : direct) wanted.push_back(std::fabs(x) < kLeast ? 0 : Sample(x));
  ASSERT_TRUE(sameBits(played, wanted));
}

using Bytes = std::vector<std::uint8_t>;

// A host's stream, which transfers up to `chunk` bytes per call.
struct ByteStream {
  Bytes bytes;
  std::size_t chunk = 1000, at = 0;

  std::int32_t read(void* to, std::size_t size) {
    const std::size_t count = std::min({size, chunk, bytes.size() - at});
    std::copy_n(bytes.data() + std::exchange(at, at + count), count, static_cast<char*>(to));
    return static_cast<std::int32_t>(count);
  }
  std::int32_t write(const void* from, std::size_t size) {
    const auto* first = static_cast<const std::uint8_t*>(from);
    bytes.insert(bytes.end(), first, first + std::min(size, chunk));
    return static_cast<std::int32_t>(std::min(size, chunk));
  }
};

// How often this thread has allocated memory; always 0 in builds that cannot count it.
long allocationsSoFar();

// Those that the suite moves: all but the bypass, which some formats do not have as a parameter.
inline constexpr std::array kSetParameters = {1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11,
                                              12, 13, 14, 15, 16, 17, 18, 19, 21, 22, 23};

// A plug-in from its built module, driven through its format's C interface. Parameters are those of
// rig/rig_parameters.h, their values 0..1.
class HostedPlugin {
 public:
  virtual ~HostedPlugin() = default;
  virtual bool activate(double rate, int maxFrames) = 0;
  virtual void deactivate() = 0;
  // Takes effect at this frame of the next block, or at its start if the format gives no time.
  virtual void set(int index, double value, int frame = 0) = 0;
  virtual double get(int index) = 0;
  virtual void play(Channels<float>& in, Channels<float>& out) = 0;
  virtual void play(Channels<double>& /*in*/, Channels<double>& /*out*/) {}
  // The state; false for an error. May be called while another thread plays. In formats without a
  // state of their own the host stores the parameters, as here.
  virtual bool save(ByteStream& to) {
    for (const int index : kSetParameters) {
      const double value = get(index);
      to.write(&value, sizeof value);
    }
    return true;
  }
  virtual bool load(ByteStream& from) {
    double value = 0.0;
    for (const int index : kSetParameters) {
      from.read(&value, sizeof value);
      set(index, value);
    }
    return true;
  }
  // For formats that have their own state.
  virtual int timesToldOfNewValues() { return 0; }
  virtual std::string text(int /*index*/, double /*value*/) { return {}; }
  virtual std::optional<double> value(int /*index*/, std::string /*text*/) { return {}; }
  virtual bool loadPreset(int /*number*/) { return false; }
  // Takes effect with the next block. False: the format has no bypass.
  virtual bool bypass(bool /*bypassed*/) { return false; }

  Bytes saved(std::size_t chunk = 1000) {
    ByteStream stream{{}, chunk};
    return save(stream) ? stream.bytes : Bytes{};
  }
  bool loadFrom(const Bytes& state, std::size_t chunk = 1000) {
    ByteStream stream{state, chunk};
    return load(stream);
  }
  long allocated = 0;  // by the plug-in, while it played

 protected:
  template <typename Call>
  void counted(const Call& call) {
    const long before = allocationsSoFar();
    call();
    allocated += allocationsSoFar() - before;
  }
};

struct Format {
  const char* name;
  std::unique_ptr<HostedPlugin> (*create)();
  int sides;
  bool playsDoubles;
  bool countsFrames = false;

  friend std::ostream& operator<<(std::ostream& out, const Format& format) {
    return out << format.name;
  }
};

template <typename Plugin, auto... arguments>
std::unique_ptr<HostedPlugin> createPlugin() {
  return std::make_unique<Plugin>(arguments...);
}

class Formats : public testing::TestWithParam<Format> {};
class StatefulFormats : public Formats {};

// The output that a plug-in must give: one effect for each side within a rig, started like a
// render, with a preroll that leaves no knob gliding, and moved by the smoother, which
// tests/rig/moves_test.cpp tests by itself, as tests/rig/rig_chain_test.cpp does the rig.
class DirectAmp {
 public:
  explicit DirectAmp(int sides) : effects_(static_cast<std::size_t>(sides)) {}

  void activate(double rate, HostedPlugin& plugin) {
    for (auto& effect : effects_) {
      effect = std::make_unique<OpenedEffect>();
      effect->setSampleRate(static_cast<float>(rate));
    }
    for (const int index : kSetParameters) set(index, plugin.get(index));
    smoother_.prepare(rate);
    chain_.prepare(rate, kLongestStep);
    prerolled_ = false;
  }
  // Takes effect with the next sample; of several values the last counts.
  void set(int index, double value) { wanted_[index] = static_cast<float>(value); }

  void play(Channels<double>& io, int begin, int end) {
    if (begin >= end) return;
    if (!std::exchange(prerolled_, true)) preroll();
    for (int index = 1; index <= 19; ++index) smoother_.moveTo(index, wanted_[index]);
    chain_.moveTo(wanted_);
    while (begin < end) {
      const int most = std::min(end - begin, kLongestStep);
      const int frames = smoother_.nextStep(most, [this](int i, float v) { tell(i, v); });
      std::vector<double*> sides;
      for (std::vector<double>& side : io) sides.push_back(side.data() + begin);
      sides.resize(effects_.size());
      chain_.processInput(sides, frames);
      for (std::size_t i = 0; i < sides.size(); ++i)
        effects_[i]->process(sides[i], sides[i], frames);
      chain_.processOutput(sides, frames);
      begin += frames;
    }
  }

 private:
  static constexpr int kLongestStep = 8192;

  void preroll() {
    ParameterValues own;
    std::copy_n(wanted_.begin(), kNumStoredValues, own.begin());
    smoother_.jumpTo(own);
    chain_.jumpTo(wanted_);
    for (int index = 1; index <= 19; ++index) tell(index, wanted_[index]);
    for (auto& effect : effects_) effect->process(nullptr, nullptr, 0);
  }
  void tell(int index, float value) {
    for (auto& effect : effects_) effect->setParameter(index, value);
  }

  std::vector<std::unique_ptr<OpenedEffect>> effects_;
  ParameterSmoother smoother_;
  HostedValues wanted_;
  RigChain chain_;
  bool prerolled_ = false;
};

}  // namespace quellard::test
