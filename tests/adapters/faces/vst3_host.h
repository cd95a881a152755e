// SPDX-License-Identifier: ISC
// What a VST3 host with windows offers: a frame with a run loop, and a handler that keeps what it
// is told. Each object counts its references.
#pragma once

#include <functional>
#include <gtest/gtest.h>
#include <new>
#include <string>
#include <travesty/edit_controller.h>
#include <travesty/view.h>
#include <utility>

#include "tests/adapters/vst3_objects.h"

namespace quellard::test {

// Whose references are all given back in the end.
template <typename Functions>
struct Counted : HostObject<Functions> {
  using HostObject<Functions>::HostObject;
  ~Counted() { EXPECT_EQ(this->references, 1); }
  Counted(const Counted&) = delete;
  Counted& operator=(const Counted&) = delete;
};

struct RunLoop final : Counted<v3_run_loop> {
  v3_event_handler** events = nullptr;
  v3_timer_handler** timer = nullptr;
  int descriptor = 0;
  bool takesTimers = true;
  bool keepsReferences = true;  // to the handlers, while they are registered
  RunLoop() : Counted(kTable) {}
  ~RunLoop() { EXPECT_TRUE(events == nullptr && timer == nullptr) << "still registered"; }

  static RunLoop& of(void* self) { return *static_cast<RunLoop*>(self); }
  static v3_result addEvents(void* self, v3_event_handler** handler, int descriptor) {
    if (of(self).keepsReferences) v3_cpp_obj_ref(handler);
    of(self).events = handler;
    of(self).descriptor = descriptor;
    return V3_OK;
  }
  static v3_result removeEvents(void* self, v3_event_handler** handler) {
    EXPECT_EQ(std::exchange(of(self).events, nullptr), handler);
    return of(self).letGo(handler);
  }
  static v3_result addTimer(void* self, v3_timer_handler** handler, std::uint64_t period_ms) {
    EXPECT_EQ(period_ms, 33U);
    if (!of(self).takesTimers) return V3_INTERNAL_ERR;
    if (of(self).keepsReferences) v3_cpp_obj_ref(handler);
    of(self).timer = handler;
    return V3_OK;
  }
  static v3_result removeTimer(void* self, v3_timer_handler** handler) {
    EXPECT_EQ(std::exchange(of(self).timer, nullptr), handler);
    return of(self).letGo(handler);
  }
  template <typename Interface>
  v3_result letGo(Interface** handler) const {
    if (!keepsReferences) v3_cpp_obj_ref(handler);  // for a moment
    EXPECT_GT(v3_cpp_obj_unref(handler), 0U) << "the one who removes it still needs it";
    return V3_OK;
  }
  static constexpr Table kTable = {{query, ref, unref},
                                   {addEvents, removeEvents, addTimer, removeTimer}};
};

struct Frame final : Counted<v3_plugin_frame> {
  RunLoop* loop;
  bool agrees = true;
  bool hasMemory = true;
  v3_view_rect asked{};
  std::function<void()> whileAsked = [] {};
  explicit Frame(RunLoop* offered) : Counted(kTable), loop(offered) {}

  static v3_result find(void* self, const v3_tuid id, void** object) {
    RunLoop* const offered = static_cast<Frame*>(self)->loop;
    if (offered == nullptr || !v3_tuid_match(id, v3_run_loop_iid)) return V3_NO_INTERFACE;
    RunLoop::ref(offered);
    return *object = offered, V3_OK;
  }
  // A host that agrees tells the size to the view before it answers.
  static v3_result resize(void* self, v3_plugin_view** view, v3_view_rect* rect) {
    auto& frame = *static_cast<Frame*>(self);
    frame.asked = *rect;
    frame.whileAsked();
    if (!frame.hasMemory) throw std::bad_alloc();
    if (!frame.agrees) return V3_FALSE;
    return v3_cpp_obj(view)->on_size(view, rect);
  }
  static constexpr Table kTable = {{find, ref, unref}, {resize}};
};

struct Handler final : Counted<v3_component_handler> {
  std::string told;
  double value = -1.0;
  std::function<void()> whileTold = [] {};  // of a value, once
  Handler() : Counted(kTable) {}

  static v3_result note(void* self, const std::string& what, v3_param_id id) {
    static_cast<Handler*>(self)->told += what + " " + std::to_string(id) + " ";
    return V3_OK;
  }
  static v3_result begin(void* self, v3_param_id id) { return note(self, "begin", id); }
  static v3_result perform(void* self, v3_param_id id, double value) {
    static_cast<Handler*>(self)->value = value;
    note(self, "value", id);
    return std::exchange(static_cast<Handler*>(self)->whileTold, [] {})(), V3_OK;
  }
  static v3_result end(void* self, v3_param_id id) { return note(self, "end", id); }
  static v3_result restart(void* self, std::int32_t) { return note(self, "restart", 0); }
  static constexpr Table kTable = {{query, ref, unref}, {begin, perform, end, restart}};
};

}  // namespace quellard::test
