// SPDX-License-Identifier: ISC
// A CLAP host as small as it can be: loads the built file, creates plug-ins and drives them through
// their C interface.
#pragma once

#include <algorithm>
#include <clap/entry.h>
#include <clap/ext/audio-ports.h>
#include <clap/ext/params.h>
#include <clap/ext/state.h>
#include <clap/plugin-factory.h>
#include <cstdint>
#include <cstring>
#include <dlfcn.h>
#include <utility>
#include <vector>

#include "tests/adapters/format_suite.h"

namespace quellard::test {

inline const clap_plugin_entry_t* clapEntry() {
  static void* const module = dlopen(QUELLARD_CLAP_FILE, RTLD_NOW | RTLD_LOCAL);
  static const auto* const entry =
      module != nullptr ? static_cast<const clap_plugin_entry_t*>(dlsym(module, "clap_entry"))
                        : nullptr;
  static const bool ready = entry != nullptr && entry->init(QUELLARD_CLAP_FILE);
  return ready ? entry : nullptr;
}

inline const clap_plugin_factory_t* clapFactory() {
  return static_cast<const clap_plugin_factory_t*>(
      clapEntry()->get_factory(CLAP_PLUGIN_FACTORY_ID));
}

// The channels that the pointers lead to, as a port. The pointers must outlive it.
template <typename Sample>
clap_audio_buffer_t bufferOf(std::vector<Sample*>& pointers) {
  clap_audio_buffer_t buffer{};
  if constexpr (sizeof(Sample) == sizeof(double)) {
    buffer.data64 = pointers.data();
  } else {
    buffer.data32 = pointers.data();
  }
  buffer.channel_count = static_cast<std::uint32_t>(pointers.size());
  return buffer;
}

// One parameter event, and others that the plug-in has to leave alone.
struct Move {
  std::uint32_t time = 0;
  clap_id id = 0;
  double value = 0.0;
  std::uint16_t space = CLAP_CORE_EVENT_SPACE_ID;
  std::uint16_t type = CLAP_EVENT_PARAM_VALUE;
  std::uint32_t size = sizeof(clap_event_param_value_t);
};

class MoveList {
 public:
  explicit MoveList(const std::vector<Move>& moves) {
    for (const Move& m : moves)
      events_.push_back({{m.size, m.time, m.space, m.type, 0}, m.id, {}, -1, -1, -1, -1, m.value});
    list_.ctx = this;
    list_.size = [](const clap_input_events_t* list) {
      return static_cast<std::uint32_t>(static_cast<MoveList*>(list->ctx)->events_.size());
    };
    list_.get = [](const clap_input_events_t* list, std::uint32_t i) {
      const auto& events = static_cast<MoveList*>(list->ctx)->events_;
      return i < events.size() ? &events[i].header : nullptr;
    };
  }
  MoveList(const MoveList&) = delete;
  MoveList& operator=(const MoveList&) = delete;

  const clap_input_events_t* get() const { return &list_; }

 private:
  std::vector<clap_event_param_value_t> events_;
  clap_input_events_t list_{};
};

// A host that counts how often the plug-in has told it of new values.
struct ClapHost {
  clap_host_t table{};
  clap_host_params_t params{};
  int rescans = 0;

  ClapHost() {
    const auto ignore = [](const clap_host_t*) {};
    const auto get = [](const clap_host_t* host, const char* id) -> const void* {
      auto* self = static_cast<ClapHost*>(host->host_data);
      return std::strcmp(id, CLAP_EXT_PARAMS) == 0 ? &self->params : nullptr;
    };
    table = {CLAP_VERSION, this, "test host", "", "", "1", get, ignore, ignore, ignore};
    params.rescan = [](const clap_host_t* host, clap_param_rescan_flags flags) {
      if ((flags & CLAP_PARAM_RESCAN_VALUES) != 0)
        ++static_cast<ClapHost*>(host->host_data)->rescans;
    };
  }
  ClapHost(const ClapHost&) = delete;
  ClapHost& operator=(const ClapHost&) = delete;
};

class ClapInstance : public HostedPlugin {
 public:
  static constexpr char kMono[] = "org.quellard.amplifier";
  static constexpr char kStereo[] = "org.quellard.amplifier-stereo";

  explicit ClapInstance(const char* id = kMono)
      : plugin_(clapFactory()->create_plugin(clapFactory(), &host.table, id)) {
    plugin_->init(plugin_);
  }
  ~ClapInstance() override { plugin_->destroy(plugin_); }

  const clap_plugin_t* get() const { return plugin_; }
  template <typename Table>
  const Table& extension(const char* id) const {
    return *static_cast<const Table*>(plugin_->get_extension(plugin_, id));
  }
  const clap_plugin_params_t& params() const {
    return extension<clap_plugin_params_t>(CLAP_EXT_PARAMS);
  }
  const clap_plugin_state_t& state() const {
    return extension<clap_plugin_state_t>(CLAP_EXT_STATE);
  }

  bool activate(double rate, int maxFrames) override {
    active_ = plugin_->activate(plugin_, rate, 1, static_cast<std::uint32_t>(maxFrames)) &&
              plugin_->start_processing(plugin_);
    return active_;
  }
  void deactivate() override {
    plugin_->stop_processing(plugin_);
    plugin_->deactivate(plugin_);
    active_ = false;
  }

  // As the plug-in counts them: the selector from 0 to 2.
  double value(clap_id id) const {
    double value = -1.0;
    params().get_value(plugin_, id, &value);
    return value;
  }
  void flush(const std::vector<Move>& moves) {
    const MoveList list(moves);
    params().flush(plugin_, list.get(), nullptr);
  }
  void set(int index, double value) override {
    moves_.push_back(
        {.id = static_cast<clap_id>(index), .value = index == 19 ? 2.0 * value : value});
    if (!active_) flush(std::exchange(moves_, {}));
  }
  double get(int index) override {
    return value(static_cast<clap_id>(index)) / (index == 19 ? 2.0 : 1.0);
  }

  clap_process_status process(clap_audio_buffer_t& in, clap_audio_buffer_t& out,
                              std::uint32_t frames, const clap_input_events_t* events) {
    const clap_process_t block = {-1, frames, nullptr, &in, &out, 1, 1, events, nullptr};
    clap_process_status status = CLAP_PROCESS_ERROR;
    counted([&] { status = plugin_->process(plugin_, &block); });
    return status;
  }
  template <typename Sample>
  void play(Channels<Sample>& in, Channels<Sample>& out, const std::vector<Move>& moves) {
    auto inPointers = pointersTo(in), outPointers = pointersTo(out);
    clap_audio_buffer_t from = bufferOf(inPointers), to = bufferOf(outPointers);
    const MoveList list(moves);
    const auto frames = static_cast<std::uint32_t>(in[0].size());
    EXPECT_NE(process(from, to, frames, list.get()), CLAP_PROCESS_ERROR);
  }
  void play(Channels<float>& in, Channels<float>& out) override {
    play(in, out, std::exchange(moves_, {}));
  }
  void play(Channels<double>& in, Channels<double>& out) override {
    play(in, out, std::exchange(moves_, {}));
  }

  Bytes save(std::size_t chunk = 1000) override {
    Stream kept{{}, chunk, 0};
    const clap_ostream_t stream = {
        &kept, [](const clap_ostream_t* to, const void* bytes, std::uint64_t size) {
          auto& sink = *static_cast<Stream*>(to->ctx);
          const auto taken = std::min<std::size_t>(size, sink.chunk);
          const auto* from = static_cast<const std::uint8_t*>(bytes);
          sink.bytes.insert(sink.bytes.end(), from, from + taken);
          return static_cast<std::int64_t>(taken);
        }};
    return state().save(plugin_, &stream) ? kept.bytes : Bytes{};
  }
  bool load(const Bytes& bytes, std::size_t chunk = 1000) override {
    Stream kept{bytes, chunk, 0};
    const clap_istream_t stream = {
        &kept, [](const clap_istream_t* from, void* to, std::uint64_t size) {
          auto& source = *static_cast<Stream*>(from->ctx);
          const std::size_t left = source.bytes.size() - source.done;
          const auto given = std::min({static_cast<std::size_t>(size), source.chunk, left});
          std::copy_n(source.bytes.data() + source.done, given, static_cast<std::uint8_t*>(to));
          source.done += given;
          return static_cast<std::int64_t>(given);
        }};
    return state().load(plugin_, &stream);
  }
  int timesToldOfNewValues() override { return host.rescans; }

  ClapHost host;

 private:
  struct Stream {
    Bytes bytes;
    std::size_t chunk;
    std::size_t done;
  };

  const clap_plugin_t* plugin_;
  bool active_ = false;
  std::vector<Move> moves_;  // that the next block begins with
};

}  // namespace quellard::test
