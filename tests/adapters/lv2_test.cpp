// SPDX-License-Identifier: ISC
// The built LV2 module in a host that does what Debian's do not: moves controls between blocks,
// leaves ports open, outgrows the block length that it announced.
#include <array>
#include <cstring>
#include <dlfcn.h>
#include <lv2/atom/atom.h>
#include <lv2/buf-size/buf-size.h>
#include <lv2/core/lv2.h>
#include <lv2/options/options.h>
#include <lv2/urid/urid.h>

#include "tests/adapters/format_suite.h"

namespace quellard::test {
namespace {

LV2_URID mapUri(LV2_URID_Map_Handle, const char* uri) {
  static std::vector<std::string> known;
  const auto found = std::find(known.begin(), known.end(), uri);
  if (found == known.end()) return known.emplace_back(uri), static_cast<LV2_URID>(known.size());
  return static_cast<LV2_URID>(found - known.begin() + 1);
}

class Lv2Plugin : public HostedPlugin {
 public:
  explicit Lv2Plugin(std::uint32_t channels = 1) : sides(channels) {
    void* const module = dlopen(QUELLARD_LV2_FILE, RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr) throw std::runtime_error(dlerror());
    const auto entry = reinterpret_cast<LV2_Descriptor_Function>(dlsym(module, "lv2_descriptor"));
    plugin = entry(sides - 1);
    for (int index = 1; index <= 19; ++index) set(index, index == 19 ? 1.0 : 0.5);
  }
  ~Lv2Plugin() override { clean(); }

  bool activate(double rate, int maxFrames) override {
    clean();
    LV2_URID_Map map{nullptr, mapUri};
    const std::array<LV2_Options_Option, 2> options = {
        {{LV2_OPTIONS_INSTANCE, 0, mapUri(nullptr, LV2_BUF_SIZE__maxBlockLength), sizeof maxFrames,
          mapUri(nullptr, LV2_ATOM__Int), &maxFrames},
         {LV2_OPTIONS_INSTANCE, 0, 0, 0, 0, nullptr}}};
    const LV2_Feature mapping{LV2_URID__map, &map};
    const LV2_Feature option{LV2_OPTIONS__options, const_cast<LV2_Options_Option*>(options.data())};
    const std::array<const LV2_Feature*, 3> features = {&mapping, &option, nullptr};
    amp = plugin->instantiate(plugin, rate, "", features.data());
    if (amp != nullptr) plugin->activate(amp);
    return amp != nullptr;
  }
  void deactivate() override {}
  // Ports count to 10, or to the last channel.
  void set(int index, double value) override {
    wanted_[static_cast<std::size_t>(index - 1)] = static_cast<float>(scaleOf(index) * value);
  }
  double get(int index) override {
    const double control = static_cast<double>(wanted_[static_cast<std::size_t>(index - 1)]);
    return std::round(control / scaleOf(index) * 1e6) / 1e6;
  }
  void play(Channels<float>& in, Channels<float>& out) override {
    for (std::uint32_t port = 0; port < 19; ++port) {
      controls_[port] = wanted_[port];
      plugin->connect_port(amp, port, &controls_[port]);
    }
    for (std::uint32_t side = 0; side < sides; ++side) {
      plugin->connect_port(amp, 19 + side, in[side].data());
      plugin->connect_port(amp, 19 + sides + side, out[side].data());
    }
    counted([&] { plugin->run(amp, static_cast<std::uint32_t>(in[0].size())); });
  }
  using HostedPlugin::play;

  std::uint32_t sides;
  const LV2_Descriptor* plugin = nullptr;
  LV2_Handle amp = nullptr;

 private:
  static double scaleOf(int index) { return index == 19 ? 2.0 : 10.0; }
  void clean() {
    if (amp != nullptr) plugin->cleanup(std::exchange(amp, nullptr));
  }

  std::array<std::atomic<float>, 19> wanted_{};
  std::array<float, 19> controls_{};
};

constexpr Format kMono{"mono", createPlugin<Lv2Plugin>, 1, false, true};
constexpr Format kStereo{"stereo", createPlugin<Lv2Plugin, 2U>, 2, false, true};
INSTANTIATE_TEST_SUITE_P(Lv2, Formats, testing::Values(kMono, kStereo));
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(StatefulFormats);

TEST(Lv2, OpenPortsOddRatesAndLongBlocksAreSurvived) {
  Lv2Plugin stereo(2);
  EXPECT_STREQ(stereo.plugin->URI, "urn:quellard:amplifier-stereo");
  for (const double rate : {0.0, -1.0, std::nan("")}) EXPECT_FALSE(stereo.activate(rate, 64));
  ASSERT_TRUE(stereo.activate(44100.0, 64));
  stereo.plugin->run(stereo.amp, 64);  // nothing connected
  std::vector<float> right(5000, 0.25F);
  float wild = NAN;
  for (const std::uint32_t port : {18U, 23U}) stereo.plugin->connect_port(stereo.amp, port, &wild);
  for (const std::uint32_t port : {20U, 22U})
    stereo.plugin->connect_port(stereo.amp, port, right.data());
  stereo.plugin->run(stereo.amp, static_cast<std::uint32_t>(right.size()));
  EXPECT_NE(right.back(), 0.25F);
  for (const float x : right) ASSERT_TRUE(std::isfinite(x));
}

}  // namespace
}  // namespace quellard::test
