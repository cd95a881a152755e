// SPDX-License-Identifier: ISC
// The built CLAP file, driven as hosts drive it, beside the effect driven directly.
#include <array>
#include <atomic>
#include <cmath>
#include <gtest/gtest.h>
#include <memory>
#include <set>
#include <thread>

#include "adapters/clap/presets.h"
#include "params/factory_bank.h"
#include "tests/adapters/buffers.h"
#include "tests/adapters/clap_host.h"
#include "tests/support/effort.h"
#include "tests/support/opened_effect.h"

namespace quellard::test {
namespace {

constexpr int kMaxFrames = 600;
const std::array<const char*, 2> kIds = {ClapInstance::kMono, ClapInstance::kStereo};

float directValue(clap_id id, double plain) {
  return id == kTypeParameter ? static_cast<float>(plain) * 0.5F : static_cast<float>(plain);
}

// The amplifier as the plug-in must play it: one effect for each side, settled, cut where events
// fall.
class DirectAmp {
 public:
  explicit DirectAmp(int sides) : effects_(static_cast<std::size_t>(sides)) {
    for (auto& effect : effects_) effect = std::make_unique<OpenedEffect>();
  }
  void setSampleRate(float rate) {
    for (auto& effect : effects_) effect->setSampleRate(rate);
    settled_ = false;
  }
  void set(clap_id id, double plain) {
    for (auto& effect : effects_) {
      effect->setParameter(static_cast<int>(id), directValue(id, plain));
    }
  }
  template <typename Sample>
  Channels<double> play(const Channels<Sample>& in, const std::vector<Move>& moves) {
    Channels<double> out;
    for (const auto& channel : in) out.emplace_back(channel.begin(), channel.end());
    const auto frames = static_cast<std::uint32_t>(in.front().size());
    std::uint32_t done = 0;
    const auto playTo = [&](std::uint32_t end) {
      if (end > done && !settled_) settle();
      for (std::size_t side = 0; side < effects_.size() && end > done; ++side) {
        double* samples = out[side].data() + done;
        effects_[side]->process(samples, samples, static_cast<int>(end - done));
      }
      done = std::max(done, end);
    };
    for (const Move& move : moves) {
      if (move.space != CLAP_CORE_EVENT_SPACE_ID) continue;
      playTo(std::min(move.time, frames));
      set(move.id, move.value);
    }
    playTo(frames);
    return out;
  }

 private:
  // As a render begins: the knobs are in their places before the first sample.
  void settle() {
    for (auto& effect : effects_) effect->process(nullptr, nullptr, 0);
    settled_ = true;
  }

  std::vector<std::unique_ptr<OpenedEffect>> effects_;
  bool settled_ = false;
};

std::vector<Move> drawMoves(Random& random, int frames) {
  std::vector<Move> moves;
  const int count = random.chance(0.5) ? random.integer(0, 6) : 0;
  for (int i = 0; i < count; ++i) {
    Move move{.time = static_cast<std::uint32_t>(random.integer(0, std::max(frames - 1, 0))),
              .id = static_cast<clap_id>(random.integer(1, 19))};
    move.value = move.id == kTypeParameter ? random.integer(0, 2) : random.unit();
    if (random.chance(0.2)) move.space = 0xB33F;  // somebody else's event
    moves.push_back(move);
  }
  std::stable_sort(moves.begin(), moves.end(),
                   [](const Move& a, const Move& b) { return a.time < b.time; });
  return moves;
}

// One block through both; the plug-in in place or not.
template <typename Sample>
void playBoth(Random& random, ClapInstance& plugin, DirectAmp& direct, int sides) {
  const int frames = random.chance(0.3) ? random.integer(1, 4) : random.integer(1, kMaxFrames);
  Channels<Sample> in = drawChannels<Sample>(random, sides, frames);
  const std::vector<Move> moves = drawMoves(random, frames);
  const Channels<double> wanted = direct.play(in, moves);

  Channels<Sample> other(in.size(), std::vector<Sample>(static_cast<std::size_t>(frames), 9));
  Channels<Sample>& out = random.chance(0.4) ? in : other;
  auto inPointers = pointersTo(in);
  auto outPointers = pointersTo(out);
  clap_audio_buffer_t inBuffer = bufferOf(inPointers);
  clap_audio_buffer_t outBuffer = bufferOf(outPointers);
  const MoveList list(moves);
  ASSERT_NE(plugin.process(inBuffer, outBuffer, static_cast<std::uint32_t>(frames), list.get()),
            CLAP_PROCESS_ERROR);
  for (std::size_t side = 0; side < out.size(); ++side) expectPlayed(out[side], wanted[side]);
}

// Random blocks, precisions, buffers and automation, across activations at other rates.
TEST(Clap, PlaysWhatTheEffectPlays) {
  Random random(sessionSeed() ^ 0xC1A9);
  for (const char* id : kIds) {
    const int sides = id == ClapInstance::kMono ? 1 : 2;
    ClapInstance plugin(id);
    for (int cycle = 0; cycle < effort(16); ++cycle) {
      SCOPED_TRACE(std::string(id) + ", activation " + std::to_string(cycle));
      const std::array<double, 4> rates = {44100.0, 48000.0, 96000.0, 22050.0};
      const double rate = random.pick(rates);
      DirectAmp direct(sides);
      for (clap_id i = 1; i <= 19; ++i) direct.set(i, plugin.value(i));
      direct.setSampleRate(static_cast<float>(rate));
      ASSERT_TRUE(plugin.activate(rate, kMaxFrames));
      for (int block = 0; block < 25; ++block) {
        random.chance(0.5) ? playBoth<double>(random, plugin, direct, sides)
                           : playBoth<float>(random, plugin, direct, sides);
        if (testing::Test::HasFatalFailure()) return;
      }
      plugin.deactivate();
    }
  }
}

// After a reset the same input gives the same bits as right after an activation, whatever was
// played before, in the middle of a channel switch too: an offline render can be repeated.
TEST(Clap, ResetStartsAnew) {
  Random random(sessionSeed() ^ 0x4E5E);
  ClapInstance plugin(ClapInstance::kStereo);
  ASSERT_TRUE(plugin.activate(48000.0, kMaxFrames));
  const auto freshAmp = [&] {
    DirectAmp direct(2);
    for (clap_id i = 1; i <= 19; ++i) direct.set(i, plugin.value(i));
    direct.setSampleRate(48000.0F);
    return direct;
  };
  DirectAmp direct = freshAmp();
  for (int round = 0; round < 12; ++round) {
    SCOPED_TRACE("reset " + std::to_string(round));
    for (int block = 0; block < 6; ++block) {
      playBoth<double>(random, plugin, direct, 2);
      if (testing::Test::HasFatalFailure()) return;
    }
    const double other = std::fmod(plugin.value(19) + 1.0, 3.0);
    plugin.flush({{.id = 19, .value = other}});
    direct.set(19, other);
    if (round % 2 == 0) playBoth<double>(random, plugin, direct, 2);  // some of the fade's 768
    plugin.get()->reset(plugin.get());
    direct = freshAmp();
  }
}

TEST(Clap, FactoryOffersMonoAndStereo) {
  const clap_plugin_factory_t* factory = clapFactory();
  ASSERT_NE(factory, nullptr);
  ASSERT_EQ(factory->get_plugin_count(factory), 2U);
  for (std::uint32_t i = 0; i < 2; ++i) {
    const clap_plugin_descriptor_t* about = factory->get_plugin_descriptor(factory, i);
    EXPECT_STREQ(about->id, kIds[i]);
    std::set<std::string> features;
    for (const char** feature = about->features; *feature != nullptr; ++feature) {
      EXPECT_TRUE(features.insert(*feature).second) << *feature;
    }
    EXPECT_EQ(features.count(i == 0 ? CLAP_PLUGIN_FEATURE_MONO : CLAP_PLUGIN_FEATURE_STEREO), 1U);
    EXPECT_EQ(features.count(CLAP_PLUGIN_FEATURE_AUDIO_EFFECT), 1U);

    const ClapInstance plugin(kIds[i]);
    EXPECT_EQ(plugin.get()->desc, about);
    const auto& ports = plugin.extension<clap_plugin_audio_ports_t>(CLAP_EXT_AUDIO_PORTS);
    for (const bool isInput : {true, false}) {
      clap_audio_port_info_t info{};
      ASSERT_EQ(ports.count(plugin.get(), isInput), 1U);
      ASSERT_TRUE(ports.get(plugin.get(), 0, isInput, &info));
      EXPECT_EQ(info.channel_count, i + 1);
      EXPECT_STREQ(info.port_type, i == 0 ? CLAP_PORT_MONO : CLAP_PORT_STEREO);
      EXPECT_NE(info.flags & CLAP_AUDIO_PORT_SUPPORTS_64BITS, 0U);
      EXPECT_FALSE(ports.get(plugin.get(), 1, isInput, &info));
    }
  }
}

TEST(Clap, NonsenseIsRefused) {
  const clap_plugin_factory_t* factory = clapFactory();
  EXPECT_EQ(clapEntry()->get_factory("clap.no-such-factory"), nullptr);
  EXPECT_EQ(clapEntry()->get_factory(nullptr), nullptr);
  EXPECT_EQ(factory->get_plugin_descriptor(factory, 2), nullptr);
  ClapHost host;
  EXPECT_EQ(factory->create_plugin(factory, &host.table, "org.quellard.amplifier-"), nullptr);
  EXPECT_EQ(factory->create_plugin(factory, &host.table, nullptr), nullptr);
  EXPECT_EQ(factory->create_plugin(factory, nullptr, ClapInstance::kMono), nullptr);

  ClapInstance plugin;
  const clap_plugin_t* p = plugin.get();
  EXPECT_EQ(p->get_extension(p, "clap.no-such-extension"), nullptr);
  EXPECT_EQ(p->get_extension(p, nullptr), nullptr);
  for (const double rate : {0.0, -1.0, std::nan(""), HUGE_VAL}) {
    EXPECT_FALSE(plugin.activate(rate, 64)) << rate;
  }
  EXPECT_FALSE(plugin.activate(44100.0, 0));
  EXPECT_FALSE(plugin.activate(44100.0, UINT32_MAX));
  EXPECT_TRUE(plugin.activate(44100.0, INT32_MAX)) << "and takes no gigabytes";
  plugin.deactivate();

  const auto& params = plugin.params();
  double value = 0.25;
  char text[32] = "untouched";
  for (const clap_id id : {0U, 20U, 0x7FFFFFFFU, CLAP_INVALID_ID}) {
    EXPECT_FALSE(params.get_value(p, id, &value));
    EXPECT_FALSE(params.value_to_text(p, id, 0.5, text, sizeof text));
    EXPECT_FALSE(params.text_to_value(p, id, "5.00", &value));
  }
  EXPECT_FALSE(params.value_to_text(p, 1, 0.5, text, 4));  // "5.00" needs five
  EXPECT_FALSE(params.text_to_value(p, 1, "loud", &value));
  EXPECT_EQ(value, 0.25);
  EXPECT_STREQ(text, "untouched");
}

TEST(Clap, ParametersDescribeThemselves) {
  const ClapInstance plugin;
  const auto& params = plugin.params();
  ASSERT_EQ(params.count(plugin.get()), 19U);
  std::set<std::string> paths;
  for (std::uint32_t i = 0; i < 19; ++i) {
    clap_param_info_t info{};
    ASSERT_TRUE(params.get_info(plugin.get(), i, &info));
    EXPECT_EQ(info.id, i + 1);
    EXPECT_NE(info.flags & CLAP_PARAM_IS_AUTOMATABLE, 0U);
    EXPECT_EQ(plugin.value(info.id), info.default_value);
    paths.insert(std::string(info.module) + "/" + info.name);
    const bool stepped = (info.flags & CLAP_PARAM_IS_STEPPED) != 0;
    EXPECT_EQ(stepped, info.id == 19);
    EXPECT_EQ(info.max_value, stepped ? 2.0 : 1.0);
  }
  EXPECT_EQ(paths.size(), 19U);
  EXPECT_EQ(paths.count("Clean/GAIN"), 1U);
  clap_param_info_t info{};
  EXPECT_FALSE(params.get_info(plugin.get(), 19, &info));
  EXPECT_FALSE(params.get_info(plugin.get(), CLAP_INVALID_ID, &info));
}

// What a player types back is what was shown, for every hundredth of a knob and every channel.
TEST(Clap, TextsComeBackAsValues) {
  const ClapInstance plugin;
  const auto& params = plugin.params();
  for (const clap_id id : {6U, 19U}) {
    const double step = id == 19 ? 1.0 : 0.001;
    for (int i = 0; i * step <= (id == 19 ? 2.0 : 1.0); ++i) {
      char shown[32];
      char again[32];
      double value = -1.0;
      ASSERT_TRUE(params.value_to_text(plugin.get(), id, i * step, shown, sizeof shown));
      ASSERT_TRUE(params.text_to_value(plugin.get(), id, shown, &value));
      ASSERT_TRUE(params.value_to_text(plugin.get(), id, value, again, sizeof again));
      EXPECT_STREQ(shown, again);
      EXPECT_NEAR(value, i * step, 0.00051);
    }
  }
}

// Automation of other spaces, other events and unknown ids move nothing; values stay in range.
TEST(Clap, OnlyItsOwnEventsMoveParameters) {
  ClapInstance plugin;
  const std::vector<double> before = plugin.values();
  plugin.flush({{.id = 3, .value = 0.9, .space = 0xB33F},
                {.id = 3, .value = 0.9, .type = CLAP_EVENT_PARAM_MOD},
                {.id = 3, .value = 0.9, .size = sizeof(clap_event_header_t)},
                {.id = 0, .value = 0.9},
                {.id = 20, .value = 0.9}});
  EXPECT_EQ(plugin.values(), before);
  plugin.flush({{.id = 1, .value = 7.0},
                {.id = 2, .value = -7.0},
                {.id = 3, .value = std::nan("")},
                {.id = 19, .value = 1.9}});
  EXPECT_EQ(plugin.value(1), 1.0);
  EXPECT_EQ(plugin.value(2), 0.0);
  EXPECT_EQ(plugin.value(3), 0.0);
  EXPECT_EQ(plugin.value(19), 1.0);
  plugin.flush({{.id = 19, .value = 1e300}});
  EXPECT_EQ(plugin.value(19), 2.0);
}

TEST(Clap, StateComesBackThroughAnyStream) {
  Random random(sessionSeed() ^ 0x57A7);
  for (const std::size_t chunk : {1U, 3U, 23U, 1000U}) {
    ClapInstance first;
    std::vector<Move> moves;
    for (clap_id id = 1; id <= 19; ++id) {
      moves.push_back({.id = id, .value = id == 19 ? random.integer(0, 2) : random.unit()});
    }
    first.flush(moves);
    const auto bytes = first.save(chunk);
    ASSERT_FALSE(bytes.empty());
    ClapInstance second(ClapInstance::kStereo);
    ASSERT_TRUE(second.load(bytes, chunk));
    EXPECT_EQ(second.values(), first.values());
    EXPECT_EQ(second.save(), bytes);
    EXPECT_EQ(second.host.rescans, 1);
  }
}

TEST(Clap, ARefusedStateLeavesTheOldOne) {
  ClapInstance plugin;
  plugin.flush({{.id = 8, .value = 0.125}});
  const auto good = plugin.save();
  const auto refuses = [&](const std::vector<std::uint8_t>& bytes) {
    EXPECT_FALSE(plugin.load(bytes));
    EXPECT_EQ(plugin.save(), good);
  };
  refuses({});
  for (std::size_t i = 0; i < good.size(); ++i) {
    auto damaged = good;
    damaged[i] ^= 0x10;
    refuses(damaged);
  }
  refuses({good.begin(), good.end() - 1});
  auto longer = good;
  longer.push_back(0);
  refuses(longer);
  EXPECT_EQ(plugin.host.rescans, 0);
}

// The main thread loads states and reads values while the audio thread plays.
TEST(Clap, FloodOfStatesWhilePlaying) {
  ClapInstance plugin(ClapInstance::kStereo);
  ClapInstance other;
  std::vector<std::vector<std::uint8_t>> states;
  for (int i = 0; i < 8; ++i) {
    other.flush({{.id = 18, .value = i / 8.0}, {.id = 19, .value = i % 3 * 1.0}});
    states.push_back(other.save());
  }
  ASSERT_TRUE(plugin.activate(44100.0, 64));
  std::atomic<bool> done{false};
  bool finite = true;
  std::thread audio([&] {
    Random random(1);
    for (int block = 0; block < effort(3000); ++block) {
      Channels<float> io = drawChannels<float>(random, 2, 64);
      io[1] = io[0];
      auto pointers = pointersTo(io);
      clap_audio_buffer_t buffer = bufferOf(pointers);
      plugin.process(buffer, buffer, 64, nullptr);
      for (std::size_t i = 0; i < 64; ++i) {
        finite = finite && std::isfinite(io[0][i]) && io[0][i] == io[1][i];
      }
    }
    done = true;
  });
  std::size_t loads = 0;
  while (!done) EXPECT_TRUE(plugin.load(states[++loads % states.size()]));
  audio.join();
  EXPECT_TRUE(finite) << "not a number, or the sides have parted";
  EXPECT_EQ(plugin.save(), states[loads % states.size()]);
}

// Two hundred amplifiers at once, each with its own setting, all as if alone.
TEST(Clap, ManyInstancesDoNotKnowOfEachOther) {
  constexpr int kInstances = 200;
  std::vector<std::unique_ptr<ClapInstance>> plugins;
  for (int i = 0; i < kInstances; ++i) {
    plugins.push_back(std::make_unique<ClapInstance>());
    plugins.back()->flush({{.id = 19, .value = i % 3 * 1.0}, {.id = 12, .value = i / 200.0}});
    ASSERT_TRUE(plugins.back()->activate(i % 2 == 0 ? 44100.0 : 48000.0, 64));
  }
  Random random(sessionSeed());
  const Channels<double> in = drawChannels<double>(random, 1, 64);
  for (int i = 0; i < kInstances; ++i) {
    ClapInstance& plugin = *plugins[static_cast<std::size_t>(i)];
    DirectAmp direct(1);
    for (clap_id id = 1; id <= 19; ++id) direct.set(id, plugin.value(id));
    direct.setSampleRate(i % 2 == 0 ? 44100.0F : 48000.0F);
    Channels<double> io = in;
    auto pointers = pointersTo(io);
    clap_audio_buffer_t buffer = bufferOf(pointers);
    plugin.process(buffer, buffer, 64, nullptr);
    expectPlayed(io[0], direct.play(in, {})[0]);
  }
}

// The bank as a host's browser sees it: every preset found, loaded, and then the plug-in's state.
struct FoundPreset {
  std::string name;
  std::string loadKey;
  std::vector<std::string> plugins;
};

std::vector<FoundPreset> browseBank() {
  std::vector<FoundPreset> found;
  static bool declared = false;
  ClapPresetIndexer indexer{};
  indexer.version = CLAP_VERSION;
  indexer.declareLocation = [](const ClapPresetIndexer*, const ClapPresetLocation* location) {
    declared = location->kind == kPresetInPlugin && location->location == nullptr;
    return declared;
  };
  ClapPresetReceiver receiver{};
  receiver.data = &found;
  static const auto listOf = [](const ClapPresetReceiver* to) -> std::vector<FoundPreset>& {
    return *static_cast<std::vector<FoundPreset>*>(to->data);
  };
  receiver.beginPreset = [](const ClapPresetReceiver* to, const char* name, const char* key) {
    listOf(to).push_back({name, key, {}});
    return true;
  };
  receiver.addPluginId = [](const ClapPresetReceiver* to, const ClapPresetPluginId* id) {
    listOf(to).back().plugins.emplace_back(std::string(id->abi) + ":" + id->id);
  };
  receiver.setFlags = [](const ClapPresetReceiver*, std::uint32_t) {};
  receiver.addCreator = [](const ClapPresetReceiver*, const char*) {};
  receiver.setDescription = [](const ClapPresetReceiver*, const char*) {};
  receiver.addFeature = [](const ClapPresetReceiver*, const char*) {};

  const auto* factory =
      static_cast<const ClapPresetFactory*>(clapEntry()->get_factory(kPresetDiscovery));
  EXPECT_EQ(factory->count(factory), 1U);
  EXPECT_EQ(factory->descriptor(factory, 1), nullptr);
  EXPECT_EQ(factory->create(factory, &indexer, "org.quellard.nothing"), nullptr);
  const ClapPresetProvider* provider =
      factory->create(factory, &indexer, factory->descriptor(factory, 0)->id);
  EXPECT_TRUE(provider->init(provider) && declared);
  EXPECT_FALSE(provider->metadata(provider, kPresetInFile, "/no/such/file", &receiver));
  EXPECT_TRUE(provider->metadata(provider, kPresetInPlugin, nullptr, &receiver));
  provider->destroy(provider);
  return found;
}

TEST(Clap, FactoryBankIsFoundAndLoaded) {
  const std::vector<FoundPreset> found = browseBank();
  ASSERT_EQ(found.size(), kFactoryBank.size());
  ClapInstance plugin(ClapInstance::kStereo);
  const clap_plugin_t* p = plugin.get();
  const auto& presets = plugin.extension<ClapPresetLoad>(kPresetLoadExtension);
  for (std::size_t i = 0; i < found.size(); ++i) {
    EXPECT_EQ(found[i].name, kFactoryBank[i].name);
    EXPECT_EQ(found[i].plugins, (std::vector<std::string>{"clap:org.quellard.amplifier",
                                                          "clap:org.quellard.amplifier-stereo"}));
    ASSERT_TRUE(presets.fromLocation(p, kPresetInPlugin, nullptr, found[i].loadKey.c_str()));
    EXPECT_EQ(plugin.value(19), kFactoryBank[i].channel);
    const auto gain = static_cast<clap_id>(6 * kFactoryBank[i].channel + 6);
    EXPECT_EQ(plugin.value(gain), static_cast<double>(knobValue(kFactoryBank[i].knobs[5])));
    EXPECT_EQ(plugin.host.rescans, static_cast<int>(i) + 1);
  }
  const std::vector<double> last = plugin.values();
  EXPECT_FALSE(presets.fromLocation(p, kPresetInPlugin, nullptr, "No Such Preset"));
  EXPECT_FALSE(presets.fromLocation(p, kPresetInPlugin, nullptr, nullptr));
  EXPECT_FALSE(presets.fromLocation(p, kPresetInFile, "/x", found[0].loadKey.c_str()));
  EXPECT_EQ(plugin.values(), last);
}

// Hosts may leave out buffers, send empty blocks, or more frames than they said.
TEST(Clap, CarelessBlocksAreSurvived) {
  ClapInstance plugin;
  clap_audio_buffer_t none{};
  EXPECT_EQ(plugin.process(none, none, 8, nullptr), CLAP_PROCESS_ERROR) << "not active";
  ASSERT_TRUE(plugin.activate(44100.0, 16));
  const MoveList moves({{.time = 99, .id = 5, .value = 0.75}});
  EXPECT_NE(plugin.process(none, none, 8, moves.get()), CLAP_PROCESS_ERROR);
  EXPECT_EQ(plugin.value(5), 0.75);
  EXPECT_NE(plugin.process(none, none, 0, nullptr), CLAP_PROCESS_ERROR);

  Channels<float> out(1, std::vector<float>(100, 9.0F));
  auto pointers = pointersTo(out);
  clap_audio_buffer_t buffer = bufferOf(pointers);
  EXPECT_NE(plugin.process(none, buffer, 100, nullptr), CLAP_PROCESS_ERROR);
  for (const float x : out[0]) EXPECT_LT(std::fabs(x), 1e-3F);
}

}  // namespace
}  // namespace quellard::test
