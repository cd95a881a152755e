// SPDX-License-Identifier: ISC
// The built VST 2.4 modules, driven through their records.
#include <cstring>
#include <limits>
#include <set>

#include "adapters/vst2/properties.h"
#include "params/factory_bank.h"
#include "tests/adapters/format_suite.h"
#include "tests/support/environment.h"

namespace quellard::test {
namespace {

template <int sides>
AEffect* open(audioMasterCallback host, const char* name = "VSTPluginMain") {
  const auto entry = symbolOf(sides == 1 ? QUELLARD_VST2_FILE : QUELLARD_VST2_STEREO_FILE, name);
  return reinterpret_cast<AEffect* (*)(audioMasterCallback)>(entry)(host);
}

// The module's effect in the form that OpenedEffect takes.
template <int sides>
Orv_TypeIF* openModule(audioMasterCallback host) {
  auto interface = std::make_unique<Orv_TypeIF>();
  interface->effect = open<sides>(host);
  return interface.release();
}

// Parameter i is i-1, and the bypass is none.
int numberOf(int index) { return index < kBypassParameter ? index - 1 : index - 2; }

template <int sides = 1>
class Vst2Plugin : public HostedPlugin {
 public:
  bool activate(double rate, int maxFrames) override {
    plugin.setSampleRate(static_cast<float>(rate));
    plugin.dispatch(effSetBlockSize, 0, maxFrames);
    plugin.dispatch(effMainsChanged, 0, 1);
    return true;
  }
  void deactivate() override { plugin.dispatch(effMainsChanged); }
  void set(int index, double value, int = 0) override {
    plugin.setParameter(numberOf(index), static_cast<float>(value));
  }
  double get(int index) override {
    return static_cast<double>(plugin.getParameter(numberOf(index)));
  }
  void play(Channels<float>& in, Channels<float>& out) override {
    playThrough(plugin.record().processReplacing, in, out);
  }
  void play(Channels<double>& in, Channels<double>& out) override {
    playThrough(plugin.record().processDoubleReplacing, in, out);
  }
  bool save(ByteStream& to) override {
    void* chunk = nullptr;
    const auto size = static_cast<std::size_t>(plugin.dispatch(effGetChunk, 1, 0, &chunk));
    const auto* first = static_cast<const std::uint8_t*>(chunk);
    to.bytes.assign(first, first + size);
    return true;
  }
  bool load(ByteStream& from) override {
    const auto size = static_cast<std::intptr_t>(from.bytes.size());
    const bool done = plugin.dispatch(effSetChunk, 1, size, from.bytes.data()) != 0;
    return loads_ += done, done;
  }
  // VST 2.4 hosts read the values again after a load, so every load counts.
  int timesToldOfNewValues() override { return loads_; }
  std::string text(int index, double value) override {
    char text[kVstMaxParamStrLen + 1] = "";
    set(index, value);
    plugin.dispatch(effGetParamDisplay, numberOf(index), 0, text);
    return text;
  }
  std::optional<double> value(int index, std::string text) override {
    if (plugin.dispatch(effString2Parameter, numberOf(index), 0, text.data()) == 0) return {};
    return get(index);
  }
  bool loadPreset(int number) override {
    plugin.setProgram(number);
    char name[kVstMaxProgNameLen] = "";
    plugin.dispatch(effGetProgramName, 0, 0, name);
    ++loads_;
    return std::string(name) == kFactoryBank[static_cast<std::size_t>(number - 1)].name;
  }
  bool bypass(bool bypassed) override {
    return plugin.dispatch(effSetBypass, 0, bypassed ? 1 : 0) != 0;
  }

  OpenedEffect plugin{openModule<sides>};

 private:
  template <typename Process, typename Sample>
  void playThrough(Process process, Channels<Sample>& in, Channels<Sample>& out) {
    auto from = pointersTo(in), to = pointersTo(out);
    const auto frames = static_cast<std::int32_t>(in[0].size());
    counted([&] { process(&plugin.record(), from.data(), to.data(), frames); });
  }
  int loads_ = 0;
};

constexpr Format kMono{"mono", createPlugin<Vst2Plugin<1>>, 1, true};
constexpr Format kStereo{"stereo", createPlugin<Vst2Plugin<2>>, 2, true};
INSTANTIATE_TEST_SUITE_P(Vst2, Formats, testing::Values(kMono, kStereo));
INSTANTIATE_TEST_SUITE_P(Vst2, StatefulFormats, testing::Values(kMono));

// The text that the plug-in writes for this opcode and index, "-" where it writes none. Expects the
// bytes after the text to be untouched.
std::string textOf(OpenedEffect& plugin, int opcode, int index = 0) {
  char buffer[80];
  std::memset(buffer, '#', sizeof buffer);
  buffer[sizeof buffer - 1] = '\0';
  if (plugin.dispatch(opcode, index, 0, buffer) == 0) return "-";
  const std::size_t end = std::strlen(buffer);
  EXPECT_EQ(std::string(buffer + end + 1, sizeof buffer - end - 2).find_first_not_of('#'),
            std::string::npos)
      << buffer;
  return buffer;
}

template <int sides>
void expectDescribed(const char* name, const char* identity) {
  OpenedEffect plugin(openModule<sides>);
  const AEffect& record = plugin.record();
  std::uint32_t code = 0;
  for (const char* c = identity; *c != '\0'; ++c) code = code << 8 | static_cast<std::uint8_t>(*c);
  EXPECT_EQ(static_cast<std::uint32_t>(record.uniqueID), code);
  EXPECT_EQ((std::array{record.numParams, record.numPrograms, record.numInputs, record.numOutputs}),
            (std::array{22, 13, sides, sides}));
  EXPECT_EQ(record.flags, effFlagsCanReplacing | effFlagsCanDoubleReplacing |
                              effFlagsProgramChunks | (QUELLARD_HAS_FACE ? effFlagsHasEditor : 0));
  EXPECT_EQ(textOf(plugin, effGetEffectName), name);
  EXPECT_EQ(textOf(plugin, effGetProductString), name);
  EXPECT_EQ(textOf(plugin, effGetVendorString), "Quellard");
  for (const auto& [opcode, answer] : {std::pair{effIdentify, kEffectIdentity},
                                       {effGetVendorVersion, 1000},
                                       {effGetVstVersion, 2400},
                                       {effGetPlugCategory, 1},
                                       {effGetTailSize, 0}})
    EXPECT_EQ(plugin.dispatch(opcode), answer) << opcode;
  char can[3][16] = {"bypass", "1in1out", "2in2out"};
  for (int i = 0; i < 3; ++i)
    EXPECT_EQ(plugin.dispatch(effCanDo, 0, 0, can[i]), i == 0 || i == sides) << can[i];
  for (const int opcode : {effGetInputProperties, effGetOutputProperties}) {
    std::set<std::string> labels;
    for (int channel = 0; channel < sides; ++channel) {
      PinProperties pin{};
      EXPECT_EQ(plugin.dispatch(opcode, channel, 0, &pin), 1);
      EXPECT_EQ(pin.arrangement, sides - 1);
      EXPECT_EQ((pin.flags & kPinIsStereo) != 0, sides == 2 && channel == 0);
      labels.insert(pin.label), labels.insert(pin.shortLabel);
    }
    EXPECT_EQ(labels.size(), 2U * sides);
    EXPECT_EQ(textOf(plugin, opcode, sides), "-");
  }
  for (const float rate : {44100.0F, 192000.0F, std::nanf(""), -1.0F}) {
    plugin.setSampleRate(rate);
    EXPECT_EQ(plugin.dispatch(effGetTailSize), rate == 44100.0F ? 88200 : 384000);
  }
}

TEST(Vst2, DescribesItself) {
  expectDescribed<1>("Quellard", "QUL1");
  expectDescribed<2>("Quellard Stereo", "QUL2");
}

TEST(Vst2, NamesParametersAndPrograms) {
  OpenedEffect plugin(openModule<1>);
  for (const auto& [index, name] : {std::pair{0, "Clean Presence"},
                                    {5, "Clean Gain"},
                                    {6, "Vintage Presence"},
                                    {17, "Modern Gain"},
                                    {18, "Channel"}}) {
    VstParameterProperties about{};
    EXPECT_EQ(textOf(plugin, effGetParamName, index), name);
    EXPECT_EQ(plugin.dispatch(effCanBeAutomated, index), 1);
    EXPECT_EQ(plugin.dispatch(effGetParameterProperties, index, 0, &about), 1);
    EXPECT_STREQ(about.label, name);
    EXPECT_EQ(about.category, index < 18 ? index / 6 + 1 : 0);
    EXPECT_EQ(textOf(plugin, effGetParamLabel, index), "") << "no unit";
    EXPECT_EQ(textOf(plugin, effGetParamDisplay, index), index < 18 ? "5.00" : "MODERN");
  }
  for (int program = 0; program < 13; ++program) {
    const std::string name =
        program == 0 ? "Init" : kFactoryBank[static_cast<std::size_t>(program - 1)].name;
    EXPECT_EQ(textOf(plugin, effGetProgramNameIndexed, program), name);
    plugin.setProgram(program);
    EXPECT_EQ(textOf(plugin, effGetProgramName), name);
    EXPECT_EQ(plugin.dispatch(effGetProgram), program);
  }
  plugin.setProgram(0);
  Vst2Plugin fresh, changed;
  changed.plugin.setProgram(7);
  changed.plugin.setProgram(0);
  EXPECT_EQ(changed.saved(), fresh.saved()) << "Init is a new amplifier";
  changed.plugin.setProgram(7);
  for (const bool moved : {false, true}) {
    if (moved) changed.set(1, 0.123);
    ASSERT_TRUE(fresh.loadFrom(changed.saved()));
    EXPECT_EQ(fresh.plugin.dispatch(effGetProgram), moved ? 0 : 7) << "as the values say";
    fresh.plugin.setProgram(0);
  }
}

// Blocks longer than announced are played whole. A rate or block length that is announced without
// switching off and on is adopted with the next block.
TEST(Vst2, AdoptsWhateverIsAnnounced) {
  Vst2Plugin plugin;
  DirectAmp direct(1);
  Random random(5);
  for (const double rate : {48000.0, 96000.0, 44100.0}) {
    if (rate != 44100.0)
      plugin.plugin.setSampleRate(static_cast<float>(rate));
    else
      plugin.activate(rate, 4096);
    direct.activate(rate, plugin);
    for (const int frames : {300, 5000, 1}) {
      Channels<float> io = drawChannels<float>(random, 1, frames);
      Channels<double> wanted = widened(io);
      direct.play(wanted, 0, frames);
      plugin.play(io, io);
      expectPlayed(io[0], wanted[0]);
    }
  }
}

// The module asks for its window's libraries only when one opens. tests/adapters/faces has the
// rest.
TEST(Vst2, WithoutADisplayNoWindowOpens) {
  removeVariable("DISPLAY");
  OpenedEffect plugin(openModule<1>);
  void* rect = nullptr;
  EXPECT_EQ(plugin.dispatch(effEditGetRect, 0, 0, &rect), QUELLARD_HAS_FACE);
  EXPECT_EQ(rect != nullptr, QUELLARD_HAS_FACE);
  EXPECT_EQ(plugin.dispatch(effEditOpen, 0, 0, &plugin), 0);
  plugin.dispatch(effEditIdle);
  plugin.dispatch(effEditClose);
}

TEST(Vst2, InvalidCallsAreHandled) {
  const audioMasterCallback mute = [](auto...) { return std::intptr_t{0}; };
  for (const audioMasterCallback host : {mute, audioMasterCallback{nullptr}})
    EXPECT_EQ(open<1>(host, "main"), nullptr);
  OpenedEffect plugin(openModule<2>);
  AEffect& record = plugin.record();
  EXPECT_EQ(record.dispatcher(nullptr, effGetProgram, 0, 0, nullptr, 0.0F), 0);
  record.setParameter(nullptr, 1, 0.5F);
  EXPECT_EQ(record.getParameter(nullptr, 1), 0.0F);
  for (const int index : {-1, 22, INT32_MAX, INT32_MIN}) {
    record.setParameter(&record, index, 0.9F);
    EXPECT_EQ(record.getParameter(&record, index), 0.0F);
    for (const int opcode : {effGetParamName, effGetParamDisplay, effGetParamLabel})
      EXPECT_EQ(textOf(plugin, opcode, index), "") << index;
    for (const int opcode : {effGetProgramNameIndexed, effGetParameterProperties, effCanBeAutomated,
                             effGetInputProperties, effString2Parameter})
      EXPECT_EQ(textOf(plugin, opcode, index), "-") << opcode << " of " << index;
  }
  // Every opcode without a buffer for the answer, with values of any size.
  const Bytes before = Vst2Plugin{}.saved();
  for (std::int32_t opcode = effOpen + 2; opcode < 100; ++opcode)
    for (const std::intptr_t value : {INTPTR_MIN, std::intptr_t{-1}, std::intptr_t{13}, INTPTR_MAX})
      plugin.dispatch(opcode, 3, value, nullptr, std::numeric_limits<float>::infinity());
  plugin.dispatch(effSetBypass);
  void* chunk = nullptr;
  const auto size = static_cast<std::size_t>(plugin.dispatch(effGetChunk, 0, 0, &chunk));
  const auto* bytes = static_cast<const std::uint8_t*>(chunk);
  EXPECT_EQ(Bytes(bytes, bytes + size), before);

  std::vector<float> out(8, 9.0F);
  std::array<float*, 2> channels = {nullptr, out.data()};
  record.process(&record, nullptr, nullptr, 8);
  record.processReplacing(nullptr, nullptr, channels.data(), 8);
  record.processReplacing(&record, nullptr, nullptr, 8);
  record.processDoubleReplacing(&record, nullptr, nullptr, 8);
  record.processReplacing(&record, nullptr, channels.data(), -3);
  EXPECT_EQ(out[0], 9.0F);
  record.processReplacing(&record, nullptr, channels.data(), 8);
  EXPECT_EQ(out, std::vector<float>(8, 0.0F)) << "no rate yet";
}

}  // namespace
}  // namespace quellard::test
