// SPDX-License-Identifier: ISC
// The built LV2 module in a host that does what Debian's do not: moves controls between blocks,
// leaves ports open, outgrows the block length that it announced.
#include <array>
#include <cmath>
#include <cstring>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <lv2/atom/atom.h>
#include <lv2/buf-size/buf-size.h>
#include <lv2/core/lv2.h>
#include <lv2/options/options.h>
#include <lv2/urid/urid.h>
#include <string>
#include <vector>

#include "shell/quellard.h"
#include "tests/adapters/buffers.h"

namespace quellard::test {
namespace {

constexpr double kRate = 44100.0;
constexpr int kAnnounced = 512;

LV2_URID mapUri(LV2_URID_Map_Handle, const char* uri) {
  static std::vector<std::string> known;
  for (std::size_t i = 0; i < known.size(); ++i) {
    if (known[i] == uri) return static_cast<LV2_URID>(i + 1);
  }
  known.emplace_back(uri);
  return static_cast<LV2_URID>(known.size());
}

const LV2_Descriptor& descriptor(std::uint32_t index) {
  static void* const module = dlopen(QUELLARD_LV2_FILE, RTLD_NOW | RTLD_LOCAL);
  return *reinterpret_cast<LV2_Descriptor_Function>(dlsym(module, "lv2_descriptor"))(index);
}

LV2_Handle open(const LV2_Descriptor& plugin, double rate) {
  const std::int32_t frames = kAnnounced;
  LV2_URID_Map map{nullptr, mapUri};
  const std::array<LV2_Options_Option, 2> options = {
      {{LV2_OPTIONS_INSTANCE, 0, mapUri(nullptr, LV2_BUF_SIZE__maxBlockLength), sizeof frames,
        mapUri(nullptr, LV2_ATOM__Int), &frames},
       {LV2_OPTIONS_INSTANCE, 0, 0, 0, 0, nullptr}}};
  const LV2_Feature mapping{LV2_URID__map, &map};
  const LV2_Feature option{LV2_OPTIONS__options, const_cast<LV2_Options_Option*>(options.data())};
  const std::array<const LV2_Feature*, 3> features = {&mapping, &option, nullptr};
  return plugin.instantiate(&plugin, rate, "", features.data());
}

// Knobs by their place on the scale, as a host's floats, and what the effect is told.
TEST(Lv2, ControlsMoveWhereABlockBeginsAsInTheEffect) {
  const LV2_Descriptor& plugin = descriptor(0);
  const LV2_Handle amp = open(plugin, kRate);
  ASSERT_NE(amp, nullptr);
  std::array<float, 19> controls;
  controls.fill(5.0F);
  controls[18] = 2.0F;
  for (std::uint32_t port = 0; port < 19; ++port) plugin.connect_port(amp, port, &controls[port]);
  for (int activation = 0; activation < 2; ++activation) {
    Quellard effect(nullptr);
    effect.setSampleRate(static_cast<float>(kRate));
    plugin.activate(amp);
    Random random(11);
    for (int block = 0; block < 40; ++block) {
      const int index = random.integer(1, 18);
      const int hundredths = random.integer(0, 1000);
      controls[static_cast<std::size_t>(index - 1)] = static_cast<float>(hundredths) / 100.0F;
      controls[18] = static_cast<float>(block / 8 % 3);
      for (int i = 1; i <= 18; ++i) {
        const double scale =
            std::round(static_cast<double>(controls[static_cast<std::size_t>(i - 1)]) * 100.0) /
            100.0;
        effect.setParameter(i, static_cast<float>(scale / 10.0));
      }
      effect.setParameter(19, controls[18] / 2.0F);
      Channels<float> io = drawChannels<float>(random, 1, random.integer(1, kAnnounced));
      std::vector<double> direct(io[0].begin(), io[0].end());
      double* channel = direct.data();
      if (block == 0) effect.processDoubleReplacing(&channel, &channel, 0);
      effect.processDoubleReplacing(&channel, &channel, static_cast<int>(direct.size()));
      plugin.connect_port(amp, 19, io[0].data());
      plugin.connect_port(amp, 20, io[0].data());
      plugin.run(amp, static_cast<std::uint32_t>(io[0].size()));
      expectPlayed(io[0], direct);
    }
  }
  plugin.cleanup(amp);
}

TEST(Lv2, OpenPortsOddRatesAndLongBlocksAreSurvived) {
  const LV2_Descriptor& stereo = descriptor(1);
  EXPECT_STREQ(stereo.URI, "urn:quellard:amplifier-stereo");
  for (const double rate : {0.0, -1.0, static_cast<double>(NAN)})
    EXPECT_EQ(open(stereo, rate), nullptr);
  const LV2_Handle amp = open(stereo, kRate);
  ASSERT_NE(amp, nullptr);
  stereo.activate(amp);
  stereo.run(amp, 64);  // nothing connected
  std::vector<float> right(10 * kAnnounced, 0.25F);
  float wild = NAN;
  stereo.connect_port(amp, 18, &wild);
  stereo.connect_port(amp, 20, right.data());
  stereo.connect_port(amp, 22, right.data());
  stereo.connect_port(amp, 23, &wild);
  stereo.run(amp, static_cast<std::uint32_t>(right.size()));
  EXPECT_NE(right.back(), 0.25F);
  for (const float x : right) ASSERT_TRUE(std::isfinite(x));
  stereo.cleanup(amp);
}

}  // namespace
}  // namespace quellard::test
