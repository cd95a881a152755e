// SPDX-License-Identifier: ISC
// The built CLAP module, driven through its C interface.
#include <clap/entry.h>
#include <clap/ext/audio-ports.h>
#include <clap/ext/gui.h>
#include <clap/ext/params.h>
#include <clap/ext/state.h>
#include <clap/ext/timer-support.h>
#include <clap/plugin-factory.h>
#include <cstring>
#include <set>

#include "adapters/clap/presets.h"
#include "adapters/clap/window_api.h"
#include "params/factory_bank.h"
#include "tests/adapters/format_suite.h"
#include "tests/support/environment.h"

namespace quellard::test {
namespace {

constexpr char kMonoId[] = "org.quellard.amplifier";
constexpr char kStereoId[] = "org.quellard.amplifier-stereo";

const clap_plugin_entry_t& entry() {
  static const void* const table = symbolOf(QUELLARD_CLAP_FILE, "clap_entry");
  const auto& found = *static_cast<const clap_plugin_entry_t*>(table);
  static const bool ready = found.init(QUELLARD_CLAP_FILE);
  return ready ? found : throw std::runtime_error("no entry");
}

const clap_plugin_factory_t* factory() {
  return static_cast<const clap_plugin_factory_t*>(entry().get_factory(CLAP_PLUGIN_FACTORY_ID));
}

// A parameter event, and a block's list of them.
using Move = clap_event_param_value_t;
Move moveOf(clap_id id, double value, int time = 0) {
  Move move{};
  const auto frame = static_cast<std::uint32_t>(time);
  move.header = {sizeof move, frame, CLAP_CORE_EVENT_SPACE_ID, CLAP_EVENT_PARAM_VALUE, 0};
  move.param_id = id;
  move.value = value;
  return move;
}

clap_input_events_t listOf(std::vector<Move>& moves) {
  const auto size = [](const clap_input_events_t* list) {
    return static_cast<std::uint32_t>(static_cast<std::vector<Move>*>(list->ctx)->size());
  };
  const auto get = [](const clap_input_events_t* list, std::uint32_t i) {
    return static_cast<const clap_event_header_t*>(
        &(*static_cast<std::vector<Move>*>(list->ctx))[i].header);
  };
  return {&moves, size, get};
}

clap_audio_buffer_t portOf(std::vector<float*>& channels) {
  return {channels.data(), nullptr, static_cast<std::uint32_t>(channels.size()), 0, 0};
}
clap_audio_buffer_t portOf(std::vector<double*>& channels) {
  return {nullptr, channels.data(), static_cast<std::uint32_t>(channels.size()), 0, 0};
}

// The value in CLAP's range, in which the selector goes from 0 to 2.
double plainOf(int index, double value) { return index == 19 ? 2.0 * value : value; }

// The plug-in and its host, which counts how often the plug-in reports new values.
class ClapPlugin : public HostedPlugin {
 public:
  explicit ClapPlugin(const char* id = kMonoId) {
    host_.clap_version = CLAP_VERSION;
    host_.host_data = this;
    host_.get_extension = [](const clap_host_t* host, const char* name) -> const void* {
      auto* self = static_cast<ClapPlugin*>(host->host_data);
      static constexpr clap_host_timer_support_t kTimer = {
          [](const clap_host_t*, std::uint32_t, clap_id*) { return true; },
          [](const clap_host_t*, clap_id) { return true; }};
      if (std::strcmp(name, CLAP_EXT_TIMER_SUPPORT) == 0) return &kTimer;
      return std::strcmp(name, CLAP_EXT_PARAMS) == 0 ? &self->hostParams_ : nullptr;
    };
    hostParams_.rescan = [](const clap_host_t* host, clap_param_rescan_flags flags) {
      if (flags == CLAP_PARAM_RESCAN_VALUES) ++static_cast<ClapPlugin*>(host->host_data)->rescans_;
    };
    plugin = factory()->create_plugin(factory(), &host_, id);
    plugin->init(plugin);
    params = extension<clap_plugin_params_t>(CLAP_EXT_PARAMS);
  }
  ~ClapPlugin() override { plugin->destroy(plugin); }
  template <typename Table>
  const Table* extension(const char* id) const {
    return static_cast<const Table*>(plugin->get_extension(plugin, id));
  }

  // At the same rate a reset must be enough to start from silence.
  bool activate(double rate, int maxFrames) override {
    if (rate == rate_) return plugin->reset(plugin), active_ = true;
    if (std::exchange(rate_, rate) > 0.0) {
      plugin->stop_processing(plugin);
      plugin->deactivate(plugin);
    }
    return active_ = plugin->activate(plugin, rate, 1, static_cast<std::uint32_t>(maxFrames)) &&
                     plugin->start_processing(plugin);
  }
  void deactivate() override { active_ = false; }
  void flush(std::vector<Move> moves) const {
    const clap_input_events_t list = listOf(moves);
    params->flush(plugin, &list, nullptr);
  }
  // Followed by an event of a foreign space, which must not cut the block.
  void set(int index, double value, int frame = 0) override {
    for (const int space : {int{CLAP_CORE_EVENT_SPACE_ID}, 0xB33F}) {
      moves_.push_back(moveOf(static_cast<clap_id>(index), plainOf(index, value), frame));
      moves_.back().header.space_id = static_cast<std::uint16_t>(space);
    }
    if (!active_) flush(std::exchange(moves_, {}));
  }
  double get(int index) override {
    double plain = -1.0;
    params->get_value(plugin, static_cast<clap_id>(index), &plain);
    return plain / plainOf(index, 1.0);
  }
  clap_process_status process(clap_audio_buffer_t in, clap_audio_buffer_t out, std::uint32_t frames,
                              std::vector<Move> moves) {
    const clap_input_events_t list = listOf(moves);
    const clap_process_t block = {-1, frames, nullptr, &in, &out, 1, 1, &list, nullptr};
    clap_process_status status = CLAP_PROCESS_ERROR;
    counted([&] { status = plugin->process(plugin, &block); });
    return status;
  }
  template <typename Sample>
  void playMoves(Channels<Sample>& in, Channels<Sample>& out) {
    auto from = pointersTo(in), to = pointersTo(out);
    const auto frames = static_cast<std::uint32_t>(in[0].size());
    process(portOf(from), portOf(to), frames, std::exchange(moves_, {}));
  }
  void play(Channels<float>& in, Channels<float>& out) override { playMoves(in, out); }
  void play(Channels<double>& in, Channels<double>& out) override { playMoves(in, out); }

  bool save(ByteStream& to) override {
    const clap_ostream_t stream = {
        &to, [](const clap_ostream_t* s, const void* from, std::uint64_t size) {
          return std::int64_t{
              static_cast<ByteStream*>(s->ctx)->write(from, static_cast<std::size_t>(size))};
        }};
    return extension<clap_plugin_state_t>(CLAP_EXT_STATE)->save(plugin, &stream);
  }
  bool load(ByteStream& from) override {
    const clap_istream_t stream = {
        &from, [](const clap_istream_t* s, void* to, std::uint64_t size) {
          return std::int64_t{
              static_cast<ByteStream*>(s->ctx)->read(to, static_cast<std::size_t>(size))};
        }};
    return extension<clap_plugin_state_t>(CLAP_EXT_STATE)->load(plugin, &stream);
  }
  int timesToldOfNewValues() override { return rescans_; }
  std::string text(int index, double value) override {
    char text[32] = "";
    const auto id = static_cast<clap_id>(index);
    params->value_to_text(plugin, id, plainOf(index, value), text, sizeof text);
    return text;
  }
  std::optional<double> value(int index, std::string text) override {
    double plain = -1.0;
    const auto id = static_cast<clap_id>(index);
    if (!params->text_to_value(plugin, id, text.c_str(), &plain)) return {};
    return plain / plainOf(index, 1.0);
  }
  bool loadPreset(int number) override {
    const auto* loader = extension<ClapPresetLoad>(kPresetLoadExtension);
    const char* name = kFactoryBank[static_cast<std::size_t>(number - 1)].name;
    return loader->fromLocation(plugin, kPresetInPlugin, nullptr, name);
  }
  bool bypass(bool bypassed) override { return set(20, bypassed ? 1.0 : 0.0), true; }

  const clap_plugin_t* plugin = nullptr;
  const clap_plugin_params_t* params = nullptr;

 private:
  clap_host_t host_{};
  clap_host_params_t hostParams_{};
  int rescans_ = 0;
  bool active_ = false;
  double rate_ = 0.0;
  std::vector<Move> moves_;
};

constexpr Format kMono{"mono", createPlugin<ClapPlugin>, 1, true, true};
constexpr Format kStereo{"stereo", createPlugin<ClapPlugin, kStereoId>, 2, true, true};
INSTANTIATE_TEST_SUITE_P(Clap, Formats, testing::Values(kMono, kStereo));
INSTANTIATE_TEST_SUITE_P(Clap, StatefulFormats, testing::Values(kMono));

TEST(Clap, DescribesItself) {
  for (const std::uint32_t i : {0U, 1U}) {
    const clap_plugin_descriptor_t* about = factory()->get_plugin_descriptor(factory(), i);
    std::multiset<std::string> features;
    for (const char* const* each = about->features; *each != nullptr; ++each)
      features.insert(*each);
    const char* sides = i == 0 ? CLAP_PLUGIN_FEATURE_MONO : CLAP_PLUGIN_FEATURE_STEREO;
    EXPECT_EQ(features, (std::multiset<std::string>{CLAP_PLUGIN_FEATURE_AUDIO_EFFECT,
                                                    CLAP_PLUGIN_FEATURE_DISTORTION, sides}));
    const ClapPlugin plugin(about->id);
    EXPECT_EQ(plugin.plugin->desc, about);
    const auto* ports = plugin.extension<clap_plugin_audio_ports_t>(CLAP_EXT_AUDIO_PORTS);
    for (const bool isInput : {true, false}) {
      clap_audio_port_info_t info{};
      ASSERT_TRUE(ports->get(plugin.plugin, 0, isInput, &info));
      EXPECT_EQ(info.channel_count, i + 1);
      EXPECT_STREQ(info.port_type, i == 0 ? CLAP_PORT_MONO : CLAP_PORT_STEREO);
      EXPECT_NE(info.flags & CLAP_AUDIO_PORT_SUPPORTS_64BITS, 0U);
    }
    std::set<std::string> paths;
    for (clap_id id = 1; id <= 23; ++id) {
      clap_param_info_t info{};
      double value = -1.0;
      ASSERT_TRUE(plugin.params->get_info(plugin.plugin, id - 1, &info));
      ASSERT_TRUE(plugin.params->get_value(plugin.plugin, id, &value));
      EXPECT_EQ(info.id, id);
      EXPECT_NE(info.flags & CLAP_PARAM_IS_AUTOMATABLE, 0U);
      EXPECT_EQ((info.flags & CLAP_PARAM_IS_STEPPED) != 0, id == 19 || id == 20);
      EXPECT_EQ((info.flags & CLAP_PARAM_IS_BYPASS) != 0, id == 20);
      EXPECT_EQ(value, info.default_value);
      EXPECT_EQ(info.max_value, id == 19 ? 2.0 : 1.0);
      paths.insert(std::string(info.module) + "/" + info.name);
    }
    EXPECT_EQ(paths.size(), 23U);
    for (const char* path : {"Clean/Clean Gain", "/Channel", "/Bypass", "/Gate"})
      EXPECT_EQ(paths.count(path), 1U) << path;
  }
}

// Events of foreign spaces, other events and unknown ids move nothing; values are limited.
TEST(Clap, InvalidCallsAreRefused) {
  ClapPlugin hosted;
  const clap_plugin_t* p = hosted.plugin;
  clap_host_t host{};
  host.clap_version = CLAP_VERSION;
  for (const char* id : {"org.quellard.amplifier-", static_cast<const char*>(nullptr)}) {
    EXPECT_EQ(entry().get_factory(id), nullptr);
    EXPECT_EQ(factory()->create_plugin(factory(), &host, id), nullptr);
    EXPECT_EQ(p->get_extension(p, id), nullptr);
  }
  EXPECT_EQ(factory()->create_plugin(factory(), nullptr, kMonoId), nullptr);
  EXPECT_EQ(factory()->get_plugin_descriptor(factory(), 2), nullptr);
  for (const double rate : {0.0, -1.0, std::nan(""), HUGE_VAL})
    EXPECT_FALSE(p->activate(p, rate, 1, 64)) << rate;
  for (const std::uint32_t frames : {0U, UINT32_MAX})
    EXPECT_FALSE(p->activate(p, 44100.0, 1, frames)) << frames;
  EXPECT_TRUE(p->activate(p, 44100.0, 1, INT32_MAX)) << "without gigabytes of buffers";

  double value = 0.25;
  char text[32] = "untouched";
  clap_param_info_t info{};
  const Bytes before = hosted.saved();
  for (const clap_id id : {0U, 24U, 0x7FFFFFFFU, CLAP_INVALID_ID}) {
    EXPECT_FALSE(hosted.params->get_value(p, id, &value));
    EXPECT_FALSE(hosted.params->value_to_text(p, id, 0.5, text, sizeof text));
    EXPECT_FALSE(hosted.params->text_to_value(p, id, "5.00", &value));
    EXPECT_FALSE(hosted.params->get_info(p, id - 1, &info));
    hosted.flush({moveOf(id, 0.9)});
  }
  EXPECT_FALSE(hosted.params->value_to_text(p, 1, 0.5, text, 4)) << "5.00 needs five";
  EXPECT_STREQ(text, "untouched");
  std::vector<Move> foreign(4, moveOf(3, 0.9));
  foreign[0].header.space_id = 0xB33F;
  foreign[1].header.type = CLAP_EVENT_PARAM_MOD;
  foreign[2].header.size = sizeof(clap_event_header_t);
  foreign[3].value = std::nan("");
  hosted.flush(foreign);
  EXPECT_EQ(hosted.saved(), before);
  foreign[3].param_id = 20;
  hosted.flush({moveOf(1, 7.0), moveOf(2, -7.0), moveOf(19, 1.9), moveOf(20, 1.9), foreign[3]});
  EXPECT_EQ(std::vector({hosted.get(1), hosted.get(2), hosted.get(19), hosted.get(20)}),
            std::vector({1.0, 0.0, 0.5, 1.0}));
  hosted.flush({moveOf(20, 0.9)});
  EXPECT_EQ(hosted.get(20), 0.0) << "steps are truncated";
  EXPECT_EQ(hosted.text(20, 1.0) + hosted.text(20, 0.9), "OnOff");
  EXPECT_EQ(hosted.value(20, "on"), 1.0);
}

// The module asks for its window's libraries only when one opens. tests/adapters/faces has the
// rest.
TEST(Clap, WithoutADisplayNoWindowOpens) {
  removeVariable("DISPLAY");
  const ClapPlugin hosted;
  const clap_plugin_t* p = hosted.plugin;
  const auto* gui = hosted.extension<clap_plugin_gui_t>(CLAP_EXT_GUI);
  ASSERT_EQ(gui != nullptr, QUELLARD_HAS_FACE);
  if (gui == nullptr) return;
  clap_window_t parent = {kClapWindowApi, {}};
  parent.ptr = &parent;  // which is no window either
  ASSERT_TRUE(gui->create(p, kClapWindowApi, false));
  EXPECT_FALSE(gui->set_parent(p, &parent));
#if !defined(_WIN32)  // where there always is a desktop
  ASSERT_TRUE(gui->create(p, nullptr, true));
  EXPECT_FALSE(gui->show(p));
#endif
  gui->destroy(p);
}

// The factory bank as a host's browser sees it; the key to load a preset is its name.
TEST(Clap, FactoryBankIsFound) {
  ClapPresetIndexer indexer{};
  indexer.version = CLAP_VERSION;
  indexer.declareLocation = [](const ClapPresetIndexer*, const ClapPresetLocation* location) {
    return location->kind == kPresetInPlugin && location->location == nullptr;
  };
  std::string found, wanted;
  ClapPresetReceiver receiver{};
  receiver.data = &found;
  receiver.beginPreset = [](const ClapPresetReceiver* to, const char* name, const char* key) {
    *static_cast<std::string*>(to->data) += std::string(name) + "=" + key;
    return true;
  };
  receiver.addPluginId = [](const ClapPresetReceiver* to, const ClapPresetPluginId* id) {
    *static_cast<std::string*>(to->data) += std::string(" ") + id->abi + ":" + id->id;
  };
  receiver.setFlags = [](auto...) {};
  receiver.addCreator = receiver.setDescription = [](auto...) {};
  receiver.addFeature = [](const ClapPresetReceiver* to, const char* feature) {
    *static_cast<std::string*>(to->data) += std::string(" #") + feature;
  };
  const auto* presets =
      static_cast<const ClapPresetFactory*>(entry().get_factory(kPresetDiscovery));
  EXPECT_EQ(presets->count(presets), 1U);
  EXPECT_EQ(presets->descriptor(presets, 1), nullptr);
  EXPECT_EQ(presets->create(presets, &indexer, "org.quellard.nothing"), nullptr);
  const ClapPresetProvider* provider =
      presets->create(presets, &indexer, presets->descriptor(presets, 0)->id);
  EXPECT_TRUE(provider->init(provider));
  EXPECT_FALSE(provider->metadata(provider, kPresetInFile, "/no/such/file", &receiver));
  EXPECT_TRUE(provider->metadata(provider, kPresetInPlugin, nullptr, &receiver));
  provider->destroy(provider);
  const std::string plugins = std::string(" clap:") + kMonoId + " clap:" + kStereoId;
  for (const FactoryPreset& each : kFactoryBank)
    wanted +=
        std::string(each.name) + "=" + each.name + plugins +
        std::array{" #clean", " #vintage", " #modern"}[static_cast<std::size_t>(each.channel)];
  EXPECT_EQ(found, wanted);

  ClapPlugin hosted;
  const auto* loader = hosted.extension<ClapPresetLoad>(kPresetLoadExtension);
  for (const char* key : {"No Such Preset", static_cast<const char*>(nullptr)})
    EXPECT_FALSE(loader->fromLocation(hosted.plugin, kPresetInPlugin, nullptr, key));
  EXPECT_FALSE(loader->fromLocation(hosted.plugin, kPresetInFile, "/x", kFactoryBank[0].name));
  EXPECT_EQ(hosted.timesToldOfNewValues(), 0);
}

// Hosts may leave out buffers, send empty blocks, or more frames than announced.
TEST(Clap, InvalidBlocksAreHandled) {
  ClapPlugin plugin;
  EXPECT_EQ(plugin.process({}, {}, 8, {}), CLAP_PROCESS_ERROR) << "not active";
  ASSERT_TRUE(plugin.activate(44100.0, 16));
  EXPECT_NE(plugin.process({}, {}, 8, {moveOf(5, 0.75, 99)}), CLAP_PROCESS_ERROR);
  EXPECT_EQ(plugin.get(5), 0.75);
  EXPECT_EQ(plugin.process({}, {}, 0, {}), CLAP_PROCESS_CONTINUE_IF_NOT_QUIET);
  EXPECT_EQ(plugin.process({}, {}, 0, {moveOf(20, 1.0)}), CLAP_PROCESS_TAIL)
      << "the bypassed amplifier has to decay";
  std::vector<float> out(100, 9.0F);
  std::vector<float*> channels = {out.data()};
  EXPECT_NE(plugin.process({}, portOf(channels), 100, {}), CLAP_PROCESS_ERROR);
  for (const float x : out) EXPECT_LT(std::fabs(x), 1e-3F);
}

}  // namespace
}  // namespace quellard::test
