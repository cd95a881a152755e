// SPDX-License-Identifier: ISC
// The built CLAP file, driven as hosts drive it, beside the effect driven directly.
#include <cmath>
#include <set>
#include <tuple>

#include "adapters/clap/presets.h"
#include "params/factory_bank.h"
#include "tests/adapters/clap_host.h"
#include "tests/support/effort.h"

namespace quellard::test {
namespace {

constexpr int kMaxFrames = 600;
const std::array<const char*, 2> kIds = {ClapInstance::kMono, ClapInstance::kStereo};

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

INSTANTIATE_TEST_SUITE_P(Clap, Formats,
                         testing::Values(Format{"mono", createPlugin<ClapInstance>, 1, true, true},
                                         Format{"stereo",
                                                createPlugin<ClapInstance, ClapInstance::kStereo>,
                                                2, true, true}),
                         nameOf);
INSTANTIATE_TEST_SUITE_P(Clap, FormatStates,
                         testing::Values(Format{"mono", createPlugin<ClapInstance>, 1, true, true}),
                         nameOf);

// Automation takes its frame, and a reset starts anew, in the middle of a channel switch too.
TEST(Clap, MovesAreHeardFromTheirFrameOn) {
  Random random(sessionSeed() ^ 0xC1A9);
  ClapInstance plugin;
  ASSERT_TRUE(plugin.activate(48000.0, kMaxFrames));
  for (int reset = 0; reset < effort(40); ++reset) {
    DirectAmp direct(1);
    direct.activate(48000.0, plugin);
    for (int block = 0; block < 8; ++block) {
      Channels<double> io = drawChannels<double>(random, 1, random.integer(1, kMaxFrames));
      Channels<double> wanted = io;
      const std::vector<Move> moves = drawMoves(random, static_cast<int>(io[0].size()));
      std::size_t done = 0;
      for (const Move& move : moves) {
        if (move.space != CLAP_CORE_EVENT_SPACE_ID) continue;
        direct.play(wanted, done, move.time);
        direct.set(static_cast<int>(move.id), move.id == 19 ? move.value / 2.0 : move.value);
        done = move.time;
      }
      direct.play(wanted, done, io[0].size());
      plugin.play(io, io, moves);
      expectPlayed(io[0], wanted[0]);
      if (testing::Test::HasFatalFailure()) return;
    }
    plugin.flush({{.id = 19, .value = std::fmod(plugin.value(19) + 1.0, 3.0)}});
    plugin.get()->reset(plugin.get());
  }
  EXPECT_EQ(plugin.allocated(), 0);
}

TEST(Clap, DescribesItself) {
  const clap_plugin_factory_t* factory = clapFactory();
  ASSERT_NE(factory, nullptr);
  ASSERT_EQ(factory->get_plugin_count(factory), 2U);
  for (std::uint32_t i = 0; i < 2; ++i) {
    const clap_plugin_descriptor_t* about = factory->get_plugin_descriptor(factory, i);
    EXPECT_STREQ(about->id, kIds[i]);
    std::set<std::string> features;
    for (const char* const* feature = about->features; *feature != nullptr; ++feature)
      EXPECT_TRUE(features.insert(*feature).second) << *feature;
    EXPECT_EQ(features.count(i == 0 ? CLAP_PLUGIN_FEATURE_MONO : CLAP_PLUGIN_FEATURE_STEREO), 1U);
    EXPECT_EQ(features.count(CLAP_PLUGIN_FEATURE_AUDIO_EFFECT), 1U);

    const ClapInstance plugin(kIds[i]);
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
    std::set<std::string> paths;
    ASSERT_EQ(plugin.params().count(plugin.get()), 19U);
    for (clap_id id = 1; id <= 19; ++id) {
      clap_param_info_t info{};
      ASSERT_TRUE(plugin.params().get_info(plugin.get(), id - 1, &info));
      EXPECT_EQ(info.id, id);
      EXPECT_NE(info.flags & CLAP_PARAM_IS_AUTOMATABLE, 0U);
      EXPECT_EQ((info.flags & CLAP_PARAM_IS_STEPPED) != 0, id == 19);
      EXPECT_EQ(plugin.value(id), info.default_value);
      EXPECT_EQ(info.max_value, id == 19 ? 2.0 : 1.0);
      paths.insert(std::string(info.module) + "/" + info.name);
    }
    EXPECT_EQ(paths.size(), 19U);
    EXPECT_EQ(paths.count("Clean/GAIN"), 1U);
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
  for (const double rate : {0.0, -1.0, std::nan(""), HUGE_VAL})
    EXPECT_FALSE(plugin.activate(rate, 64)) << rate;
  for (const int frames : {0, -1}) EXPECT_FALSE(plugin.activate(44100.0, frames)) << frames;
  EXPECT_TRUE(plugin.activate(44100.0, INT32_MAX)) << "and takes no gigabytes";
  plugin.deactivate();

  const auto& params = plugin.params();
  double value = 0.25;
  char text[32] = "untouched";
  clap_param_info_t info{};
  for (const clap_id id : {0U, 20U, 0x7FFFFFFFU, CLAP_INVALID_ID}) {
    EXPECT_FALSE(params.get_value(p, id, &value));
    EXPECT_FALSE(params.value_to_text(p, id, 0.5, text, sizeof text));
    EXPECT_FALSE(params.text_to_value(p, id, "5.00", &value));
    EXPECT_FALSE(params.get_info(p, id - 1, &info));
  }
  EXPECT_TRUE(params.text_to_value(p, 19, "vintage", &value));
  EXPECT_EQ(value, 1.0);
  EXPECT_TRUE(params.text_to_value(p, 1, "2.50", &value));
  EXPECT_FALSE(params.value_to_text(p, 1, 0.5, text, 4));  // "5.00" needs five
  EXPECT_FALSE(params.text_to_value(p, 1, "loud", &value));
  EXPECT_EQ(value, 0.25);
  EXPECT_STREQ(text, "untouched");
  EXPECT_TRUE(params.value_to_text(p, 19, 1.0, text, sizeof text));
  EXPECT_STREQ(text, "VINTAGE");
}

// Automation of other spaces, other events and unknown ids move nothing; values stay in range.
TEST(Clap, OnlyItsOwnEventsMoveParameters) {
  ClapInstance plugin;
  const auto before = plugin.save();
  plugin.flush({{.id = 3, .value = 0.9, .space = 0xB33F},
                {.id = 3, .value = 0.9, .type = CLAP_EVENT_PARAM_MOD},
                {.id = 3, .value = 0.9, .size = sizeof(clap_event_header_t)},
                {.id = 0, .value = 0.9},
                {.id = 20, .value = 0.9}});
  EXPECT_EQ(plugin.save(), before);
  const std::tuple<clap_id, double, double> rows[] = {
      {1, 7.0, 1.0}, {2, -7.0, 0.0}, {3, NAN, 0.5}, {19, 1.9, 1.0}, {19, 1e300, 2.0}};
  for (const auto& [id, told, held] : rows) {
    plugin.flush({{.id = id, .value = told}});
    EXPECT_EQ(plugin.value(id), held);
  }
}

struct FoundPreset {
  std::string name, loadKey, plugins;
};
using Bank = std::vector<FoundPreset>;

// The bank as a host's browser sees it.
Bank browseBank() {
  ClapPresetIndexer indexer{};
  indexer.version = CLAP_VERSION;
  indexer.declareLocation = [](const ClapPresetIndexer*, const ClapPresetLocation* location) {
    return location->kind == kPresetInPlugin && location->location == nullptr;
  };
  Bank found;
  ClapPresetReceiver receiver{};
  receiver.data = &found;
  receiver.beginPreset = [](const ClapPresetReceiver* to, const char* name, const char* key) {
    static_cast<Bank*>(to->data)->push_back({name, key, {}});
    return true;
  };
  receiver.addPluginId = [](const ClapPresetReceiver* to, const ClapPresetPluginId* id) {
    static_cast<Bank*>(to->data)->back().plugins += std::string(id->abi) + ":" + id->id + " ";
  };
  receiver.setFlags = [](const ClapPresetReceiver*, std::uint32_t) {};
  receiver.addCreator = receiver.setDescription =
      receiver.addFeature = [](const ClapPresetReceiver*, const char*) {};

  const auto* factory =
      static_cast<const ClapPresetFactory*>(clapEntry()->get_factory(kPresetDiscovery));
  EXPECT_EQ(factory->count(factory), 1U);
  EXPECT_EQ(factory->descriptor(factory, 1), nullptr);
  EXPECT_EQ(factory->create(factory, &indexer, "org.quellard.nothing"), nullptr);
  const ClapPresetProvider* provider =
      factory->create(factory, &indexer, factory->descriptor(factory, 0)->id);
  EXPECT_TRUE(provider->init(provider));
  EXPECT_FALSE(provider->metadata(provider, kPresetInFile, "/no/such/file", &receiver));
  EXPECT_TRUE(provider->metadata(provider, kPresetInPlugin, nullptr, &receiver));
  provider->destroy(provider);
  return found;
}

TEST(Clap, FactoryBankIsFoundAndLoaded) {
  const Bank found = browseBank();
  ASSERT_EQ(found.size(), kFactoryBank.size());
  ClapInstance plugin(ClapInstance::kStereo);
  const auto& presets = plugin.extension<ClapPresetLoad>(kPresetLoadExtension);
  const auto load = [&](std::uint32_t kind, const char* place, const char* key) {
    return presets.fromLocation(plugin.get(), kind, place, key);
  };
  for (std::size_t i = 0; i < found.size(); ++i) {
    const FactoryPreset& preset = kFactoryBank[i];
    EXPECT_EQ(found[i].name, preset.name);
    EXPECT_EQ(found[i].plugins, "clap:org.quellard.amplifier clap:org.quellard.amplifier-stereo ");
    ASSERT_TRUE(load(kPresetInPlugin, nullptr, found[i].loadKey.c_str()));
    for (int id = 1; id <= 19; ++id)
      EXPECT_EQ(plugin.value(static_cast<clap_id>(id)),
                id == 19 ? preset.channel : static_cast<double>(presetValue(preset, id)));
    EXPECT_EQ(plugin.host.rescans, static_cast<int>(i) + 1);
  }
  const auto last = plugin.save();
  EXPECT_FALSE(load(kPresetInPlugin, nullptr, "No Such Preset"));
  EXPECT_FALSE(load(kPresetInPlugin, nullptr, nullptr));
  EXPECT_FALSE(load(kPresetInFile, "/x", found[0].loadKey.c_str()));
  EXPECT_EQ(plugin.save(), last);
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
