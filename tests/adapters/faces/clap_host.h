// SPDX-License-Identifier: ISC
// A CLAP host with a window, which keeps what it is told.
#pragma once

#include <clap/entry.h>
#include <clap/ext/gui.h>
#include <clap/ext/params.h>
#include <clap/ext/timer-support.h>
#include <clap/plugin-factory.h>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <ostream>
#include <string>
#include <vector>

#include "adapters/clap/hand_moves.h"
#include "adapters/clap/presets.h"
#include "adapters/clap/window_api.h"
#include "face/geometry.h"

namespace quellard::test {

using Kind = HandMoves::Kind;

struct Event {
  Kind kind;
  clap_id parameter;
  double value;
  bool operator==(const Event&) const = default;
};

inline std::ostream& operator<<(std::ostream& out, const Event& event) {
  return out << static_cast<int>(event.kind) << ':' << event.parameter << '=' << event.value;
}

// What the plug-in sends; room: how many events it takes.
struct Taken {
  std::vector<Event> events;
  std::size_t room = SIZE_MAX;
  clap_output_events_t list = {this, push};

  static bool push(const clap_output_events_t* to, const clap_event_header_t* event) {
    Taken& self = *static_cast<Taken*>(to->ctx);
    if (self.events.size() >= self.room) return false;
    EXPECT_EQ(event->time, 0U);
    const auto* gesture = reinterpret_cast<const clap_event_param_gesture_t*>(event);
    const auto* value = reinterpret_cast<const clap_event_param_value_t*>(event);
    switch (event->type) {
      case CLAP_EVENT_PARAM_VALUE:
        self.events.push_back({Kind::value, value->param_id, value->value});
        break;
      case CLAP_EVENT_PARAM_GESTURE_BEGIN:
        self.events.push_back({Kind::begin, gesture->param_id, 0.0});
        break;
      default: self.events.push_back({Kind::end, gesture->param_id, 0.0});
    }
    return true;
  }
};

class ClapFaceHost {
 public:
  explicit ClapFaceHost(const clap_plugin_entry_t& entry, bool hasTimers = true)
      : hasTimers_(hasTimers) {
    const auto* factory =
        static_cast<const clap_plugin_factory_t*>(entry.get_factory(CLAP_PLUGIN_FACTORY_ID));
    plugin = factory->create_plugin(factory, &host_, "org.quellard.amplifier");
    plugin->init(plugin);
    gui = static_cast<const clap_plugin_gui_t*>(plugin->get_extension(plugin, CLAP_EXT_GUI));
    params =
        static_cast<const clap_plugin_params_t*>(plugin->get_extension(plugin, CLAP_EXT_PARAMS));
  }
  ~ClapFaceHost() {
    plugin->destroy(plugin);
    EXPECT_EQ(timers, 0) << "a timer is left";
  }
  ClapFaceHost(const ClapFaceHost&) = delete;
  ClapFaceHost& operator=(const ClapFaceHost&) = delete;

  static clap_window_t windowOfHost(std::uintptr_t number) {
    clap_window_t window{kClapWindowApi, {}};
#if defined(_WIN32)
    window.win32 = reinterpret_cast<void*>(number);
#else
    window.x11 = number;
#endif
    return window;
  }
  bool embed(std::uintptr_t parent = 77) const {
    const clap_window_t window = windowOfHost(parent);
    return gui->set_parent(plugin, &window);
  }
  bool open() const {
    return gui->create(plugin, kClapWindowApi, false) && embed() && gui->show(plugin);
  }
  PixelSize size() const {
    std::uint32_t width = 0, height = 0;
    EXPECT_TRUE(gui->get_size(plugin, &width, &height));
    return {static_cast<int>(width), static_cast<int>(height)};
  }
  void tick(clap_id timer = 5) const {
    const auto* support = static_cast<const clap_plugin_timer_support_t*>(
        plugin->get_extension(plugin, CLAP_EXT_TIMER_SUPPORT));
    support->on_timer(plugin, timer);
  }
  std::vector<Event> flushed(std::size_t room = SIZE_MAX) const {
    Taken taken;
    taken.room = room;
    params->flush(plugin, nullptr, &taken.list);
    return taken.events;
  }
  // Plays a block in place.
  std::vector<Event> play(std::vector<float>& samples) const {
    float* channel = samples.data();
    clap_audio_buffer_t port = {&channel, nullptr, 1, 0, 0};
    Taken taken;
    const clap_process_t block = {-1,         static_cast<std::uint32_t>(samples.size()),
                                  nullptr,    &port,
                                  &port,      1,
                                  1,          nullptr,
                                  &taken.list};
    EXPECT_NE(plugin->process(plugin, &block), CLAP_PROCESS_ERROR);
    return taken.events;
  }

  const clap_plugin_t* plugin;
  const clap_plugin_gui_t* gui;
  const clap_plugin_params_t* params;
  int timers = 0, flushes = 0;
  std::uint32_t period_ms = 0;
  bool agrees = true;
  std::vector<PixelSize> asked;
  std::function<void(bool)> closed = [](bool) {};
  // What the host does meanwhile: it may replace these, too.
  std::function<void()> whileAsked = [] {};    // for a flush
  std::function<void()> whileResized = [] {};  // before it answers whether it agrees
  std::string loaded;                          // the presets that the plug-in has reported

 private:
  static ClapFaceHost& of(const clap_host_t* host) {
    return *static_cast<ClapFaceHost*>(host->host_data);
  }
  static const void* extension(const clap_host_t* host, const char* id) {
    static constexpr clap_host_timer_support_t kTimer = {
        [](const clap_host_t* each, std::uint32_t period, clap_id* timer) {
          of(each).period_ms = period;
          ++of(each).timers;
          *timer = 5;
          return true;
        },
        [](const clap_host_t* each, clap_id timer) {
          EXPECT_EQ(timer, 5U);
          --of(each).timers;
          return true;
        }};
    static constexpr clap_host_gui_t kGui = {
        [](const clap_host_t*) {},
        [](const clap_host_t* each, std::uint32_t width, std::uint32_t height) {
          of(each).asked.push_back({static_cast<int>(width), static_cast<int>(height)});
          std::function(of(each).whileResized)();
          return of(each).agrees;
        },
        [](const clap_host_t*) { return true; }, [](const clap_host_t*) { return true; },
        [](const clap_host_t* each, bool wasDestroyed) { of(each).closed(wasDestroyed); }};
    static constexpr clap_host_params_t kParams = {
        [](const clap_host_t*, clap_param_rescan_flags) {},
        [](const clap_host_t*, clap_id, clap_param_clear_flags) {},
        [](const clap_host_t* each) {
          ++of(each).flushes;
          std::function(of(each).whileAsked)();
        }};
    static constexpr ClapHostPresetLoad kPresets = {
        [](const clap_host_t*, std::uint32_t, const char*, const char*, std::int32_t, const char*) {
        },
        [](const clap_host_t* each, std::uint32_t kind, const char* location, const char* key) {
          EXPECT_TRUE(kind == kPresetInPlugin && location == nullptr);
          of(each).loaded += std::string(key) + ";";
        }};
    if (std::strcmp(id, kPresetLoadExtension) == 0) return &kPresets;
    if (std::strcmp(id, CLAP_EXT_GUI) == 0) return &kGui;
    if (std::strcmp(id, CLAP_EXT_PARAMS) == 0) return &kParams;
    const bool isTimer = std::strcmp(id, CLAP_EXT_TIMER_SUPPORT) == 0;
    return isTimer && of(host).hasTimers_ ? &kTimer : nullptr;
  }

  bool hasTimers_;
  clap_host_t host_ = {CLAP_VERSION,
                       this,
                       "",
                       "",
                       "",
                       "",
                       extension,
                       [](const clap_host_t*) {},
                       [](const clap_host_t*) {},
                       [](const clap_host_t*) {}};
};

}  // namespace quellard::test
