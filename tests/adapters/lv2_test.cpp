// SPDX-License-Identifier: ISC
// The built LV2 module in a host that does what Debian's hosts do not: it moves controls between
// blocks, leaves ports unconnected and sends longer blocks than the plug-in is prepared for.
#include <array>
#include <lv2/core/lv2.h>
#include <lv2/ui/ui.h>

#include "tests/adapters/format_suite.h"
#include "tests/support/environment.h"

namespace quellard::test {
namespace {

class Lv2Plugin : public HostedPlugin {
 public:
  explicit Lv2Plugin(std::uint32_t channels = 1) : sides(channels) {
    const auto entry =
        reinterpret_cast<LV2_Descriptor_Function>(symbolOf(QUELLARD_LV2_FILE, "lv2_descriptor"));
    plugin = entry(sides - 1);
    for (const int index : kSetParameters) set(index, index == 19 ? 1.0 : 0.5);
    set(kGateParameter, 0.0);
  }
  ~Lv2Plugin() override { deactivate(); }

  bool activate(double rate, int /*maxFrames*/) override {
    const LV2_Feature* none = nullptr;
    amp = plugin->instantiate(plugin, rate, "", &none);
    if (amp != nullptr) plugin->activate(amp);
    return amp != nullptr;
  }
  void deactivate() override {
    if (amp != nullptr) plugin->cleanup(std::exchange(amp, nullptr));
  }
  // Control ports go from 0 to 10; the selector's goes to 2, and those of the rig are in decibels.
  void set(int index, double value, int = 0) override {
    const auto [lowest, highest] = rangeOf(index);
    wanted_[index] = static_cast<float>(lowest + (highest - lowest) * value);
  }
  double get(int index) override {
    const auto [lowest, highest] = rangeOf(index);
    const double share = (static_cast<double>(wanted_[index]) - lowest) / (highest - lowest);
    return std::round(share * 1e6) / 1e6;
  }
  // The port "enabled", which is unconnected at first.
  bool bypass(bool bypassed) override {
    enabled_ = bypassed ? 0.0F : 1.0F;
    if (amp != nullptr) plugin->connect_port(amp, 19 + 2 * sides, &enabled_);
    return true;
  }
  void play(Channels<float>& in, Channels<float>& out) override {
    for (const int index : kSetParameters) {
      const auto port = static_cast<std::uint32_t>(index - 1) + (index > 19 ? 2 * sides : 0);
      controls_[index] = wanted_[index];
      plugin->connect_port(amp, port, &controls_[index]);
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
  static std::pair<double, double> rangeOf(int index) {
    if (index == kGateParameter) return {-81.0, -30.0};
    return index > 19 ? std::pair{-24.0, 24.0} : std::pair{0.0, index == 19 ? 2.0 : 10.0};
  }
  PerParameter<std::atomic<float>, kNumHostedValues> wanted_;
  HostedValues controls_;
  float enabled_ = 1.0F;
};

constexpr Format kMono{"mono", createPlugin<Lv2Plugin>, 1, false};
constexpr Format kStereo{"stereo", createPlugin<Lv2Plugin, 2U>, 2, false};
INSTANTIATE_TEST_SUITE_P(Lv2, Formats, testing::Values(kMono, kStereo));
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(StatefulFormats);

TEST(Lv2, UnconnectedPortsWrongRatesAndLongBlocksAreHandled) {
  Lv2Plugin stereo(2);
  EXPECT_STREQ(stereo.plugin->URI, "urn:quellard:amplifier-stereo");
  for (const double rate : {0.0, -1.0, std::nan("")}) EXPECT_FALSE(stereo.activate(rate, 64));
  ASSERT_TRUE(stereo.activate(44100.0, 64));
  stereo.plugin->run(stereo.amp, 64);  // nothing connected
  std::vector<float> right(10000, 0.25F);
  float wild = NAN;
  for (const auto port : {18U, 23U, 24U, UINT32_MAX})
    stereo.plugin->connect_port(stereo.amp, port, &wild);
  for (const auto port : {20U, 22U}) stereo.plugin->connect_port(stereo.amp, port, right.data());
  stereo.plugin->run(stereo.amp, static_cast<std::uint32_t>(right.size()));
  EXPECT_NE(right.back(), 0.25F);
  for (const float x : right) ASSERT_TRUE(std::isfinite(x));

  Lv2Plugin untouched, withNan;
  for (Lv2Plugin* one : {&untouched, &withNan}) ASSERT_TRUE(one->activate(48000.0, 64));
  for (const bool sendsNan : {false, true}) {
    Channels<float> in(1, std::vector<float>(4000, 0.25F)), wanted = in, out = in;
    for (int index = 1; sendsNan && index <= 23; ++index) withNan.set(index, std::nan(""));
    untouched.play(in, wanted);
    withNan.play(in, out);
    EXPECT_EQ(out, wanted) << "NaN moves nothing";
  }
}

// In the ports behind all others: peaks in decibels and the gate, which a host shows and a window
// too.
TEST(Lv2, ReportsLevelsAndTheGate) {
  Lv2Plugin hosted;
  ASSERT_TRUE(hosted.activate(48000.0, 64));
  std::array<float, 3> reports{};
  const auto reported = [&](float level, int blocks) {
    for (int i = 0; i < blocks; ++i) {
      Channels<float> io(1, std::vector<float>(64, level));
      hosted.play(io, io);
    }
    return reports;
  };
  EXPECT_EQ(reported(0.25F, 1), (std::array{0.0F, 0.0F, 0.0F})) << "not connected";
  for (const std::uint32_t i : {0U, 1U, 2U})
    hosted.plugin->connect_port(hosted.amp, 25 + i, &reports.at(i));
  EXPECT_NEAR(reported(0.25F, 1)[0], -12.0412F, 1e-3F);
  EXPECT_EQ(reports[2], 1.0F) << "there is no gate";
  hosted.bypass(true);
  hosted.set(kOutputParameter, 1.0);
  EXPECT_NEAR(reported(0.25F, 100)[1], -12.0412F, 1e-3F) << "what is heard";
  hosted.set(kGateParameter, 1.0);
  EXPECT_EQ(reported(0.0F, 2000), (std::array{-100.0F, -100.0F, 0.0F}));
  EXPECT_EQ(reported(HUGE_VALF, 1)[0], 24.0F);
}

#ifdef QUELLARD_LV2_UI_FILE
// Its module asks for its window's libraries only when one opens. tests/adapters/faces has the
// rest.
TEST(Lv2, WithoutADisplayNoWindowOpens) {
  removeVariable("DISPLAY");
  const auto entry = reinterpret_cast<LV2UI_DescriptorFunction>(
      symbolOf(QUELLARD_LV2_UI_FILE, "lv2ui_descriptor"));
  const LV2UI_Descriptor* ui = entry(0);
  LV2UI_Widget widget = nullptr;
  const LV2_Feature parent = {LV2_UI__parent, &widget};
  const std::array<const LV2_Feature*, 2> features = {&parent, nullptr};
  const auto write = [](auto...) {};
  for (const auto* offered : {features.data(), features.data() + 1})
    EXPECT_EQ(ui->instantiate(ui, "urn:quellard:amplifier", "", write, nullptr, &widget, offered),
              nullptr);
}
#endif

}  // namespace
}  // namespace quellard::test
