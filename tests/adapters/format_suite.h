// SPDX-License-Identifier: ISC
// What a host of any format does with a plug-in, and the amplifier that all of them must play. The
// suite in format_suite.cpp holds a format to it that X_test.cpp brings a host for.
#pragma once

#include <array>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include "tests/adapters/buffers.h"
#include "tests/support/opened_effect.h"

namespace quellard::test {

using Bytes = std::vector<std::uint8_t>;

// What this thread has allocated so far; always 0 where that cannot be counted.
long allocationsSoFar();

// A plug-in in its built module, behind the C interface of its format.
class HostedPlugin {
 public:
  HostedPlugin() = default;
  virtual ~HostedPlugin() = default;
  HostedPlugin(const HostedPlugin&) = delete;
  HostedPlugin& operator=(const HostedPlugin&) = delete;

  virtual bool activate(double rate, int maxFrames) = 0;
  virtual void deactivate() = 0;
  // Parameter 1..19 to a value in 0..1, heard from the next block on.
  virtual void set(int index, double value) = 0;
  virtual double get(int index) = 0;
  virtual void play(Channels<float>& in, Channels<float>& out) = 0;
  virtual void play(Channels<double>& /*in*/, Channels<double>& /*out*/) {}
  // Through a stream that moves up to `chunk` bytes at a time. False: refused. Also during audio.
  virtual Bytes save(std::size_t chunk = 1000) = 0;
  virtual bool load(const Bytes& state, std::size_t chunk = 1000) = 0;
  virtual int timesToldOfNewValues() { return 0; }

  long allocated() const { return allocated_; }  // by the plug-in, while it played

 protected:
  template <typename Call>
  void counted(const Call& call) {
    const long before = allocationsSoFar();
    call();
    allocated_ += allocationsSoFar() - before;
  }

 private:
  long allocated_ = 0;
};

struct Format {
  const char* name;
  std::unique_ptr<HostedPlugin> (*create)();
  int sides;
  bool playsDoubles;
  bool keepsState;  // or leaves the parameters to the host, as VST 2.4 does, and plays on

  friend std::ostream& operator<<(std::ostream& out, const Format& format) {
    return out << format.name;
  }
};

template <typename Plugin, auto... arguments>
std::unique_ptr<HostedPlugin> createPlugin() {
  return std::make_unique<Plugin>(arguments...);
}

class Formats : public testing::TestWithParam<Format> {};
class FormatStates : public Formats {};  // of those that keep one

inline std::string nameOf(const testing::TestParamInfo<Format>& format) {
  return format.param.name;
}

// The amplifier as a plug-in must play it: one effect for each side, settled as a render begins,
// with the knobs in their places.
class DirectAmp {
 public:
  explicit DirectAmp(std::size_t sides) : effects_(sides) {}

  void activate(double rate, HostedPlugin& plugin, bool anew = true) {
    for (auto& effect : effects_) {
      if (anew || effect == nullptr) effect = std::make_unique<OpenedEffect>();
      for (int index = 1; index <= 19; ++index)
        effect->setParameter(index, static_cast<float>(plugin.get(index)));
      effect->setSampleRate(static_cast<float>(rate));
    }
    settled_ = false;
  }
  void set(int index, double value) {
    for (auto& effect : effects_) effect->setParameter(index, static_cast<float>(value));
  }
  void play(Channels<double>& io, std::size_t begin, std::size_t end) {
    for (std::size_t side = 0; side < effects_.size() && begin < end; ++side) {
      if (!settled_) effects_[side]->process(nullptr, nullptr, 0);
      double* samples = io[side].data() + begin;
      effects_[side]->process(samples, samples, static_cast<int>(end - begin));
    }
    settled_ = settled_ || begin < end;
  }
  template <typename Sample>
  Channels<double> play(const Channels<Sample>& in) {
    Channels<double> io;
    for (const auto& channel : in) io.emplace_back(channel.begin(), channel.end());
    play(io, 0, io[0].size());
    return io;
  }

 private:
  std::vector<std::unique_ptr<OpenedEffect>> effects_;
  bool settled_ = false;
};

}  // namespace quellard::test
