// SPDX-License-Identifier: ISC
#include "adapters/vst3/view.h"

#include <cstring>
#include <memory>
#include <type_traits>
#include <utility>

namespace quellard {
namespace {

// The window system of this build.
bool isKnown(const char* platform) {
  return platform != nullptr && std::strcmp(platform, V3_VIEW_PLATFORM_TYPE_NATIVE) == 0;
}

PixelSize sizeOf(const v3_view_rect& rect) {
  return {rect.right - rect.left, rect.bottom - rect.top};
}

v3_view_rect rectOf(PixelSize size, std::int32_t left = 0, std::int32_t top = 0) {
  return {.left = left, .top = top, .right = left + size.width, .bottom = top + size.height};
}

// Limits keep a host's corners from running over.
bool isUsable(const v3_view_rect* rect) {
  constexpr std::int32_t kMost = 1 << 15;
  if (rect == nullptr) return false;
  for (const std::int32_t corner : {rect->left, rect->top, rect->right, rect->bottom}) {
    if (corner < -kMost || corner > kMost) return false;
  }
  return rect->right > rect->left && rect->bottom > rect->top;
}

// Calls call(view) with a reference to it, since the host may release the view meanwhile: a view
// asks the host for another size and tells it of moves. What returns nothing has succeeded. Hosts
// may be written in C, so no exception may leave it.
template <typename Call>
v3_result withView(void* interface, const Call& call) try {
  struct Reference {
    void* interface;
    explicit Reference(void* kept) : interface(kept) { Vst3View::ref(kept); }
    ~Reference() { Vst3View::unref(interface); }
    Reference(const Reference&) = delete;
    Reference& operator=(const Reference&) = delete;
  };
  const Reference reference(interface);
  Vst3View& view = Vst3View::of(interface);
  if constexpr (!std::is_void_v<decltype(call(view))>) return call(view);
  call(view);
  return V3_OK;
} catch (...) {
  return V3_NOMEM;
}

v3_result isSupported(void*, const char* platform) {
  return isKnown(platform) ? V3_TRUE : V3_FALSE;
}

v3_result attached(void* self, void* parent, const char* platform) {
  if (parent == nullptr || !isKnown(platform)) return V3_INVALID_ARG;
  return withView(
      self, [&](Vst3View& view) { return view.attach(reinterpret_cast<std::uintptr_t>(parent)); });
}

v3_result removed(void* self) {
  return withView(self, [](Vst3View& view) { view.remove(); });
}

// Wheel and keys reach the window itself.
v3_result onWheel(void*, float) { return V3_FALSE; }
v3_result onKey(void*, std::int16_t, std::int16_t, std::int16_t) { return V3_FALSE; }
v3_result onFocus(void*, v3_bool) { return V3_OK; }

v3_result getSize(void* self, v3_view_rect* rect) {
  if (rect == nullptr) return V3_INVALID_ARG;
  return withView(self, [&](Vst3View& view) { *rect = rectOf(view.editor().size()); });
}

v3_result onSize(void* self, v3_view_rect* rect) {
  if (!isUsable(rect)) return V3_INVALID_ARG;
  return withView(self, [&](Vst3View& view) { view.setSize(sizeOf(*rect)); });
}

v3_result setFrame(void* self, v3_plugin_frame** frame) {
  return withView(self, [&](Vst3View& view) { view.setFrame(frame); });
}

v3_result canResize(void*) { return V3_TRUE; }

v3_result checkSize(void* self, v3_view_rect* rect) {
  if (!isUsable(rect)) return V3_INVALID_ARG;
  return withView(self, [&](Vst3View& view) {
    *rect = rectOf(view.editor().fit(sizeOf(*rect)), rect->left, rect->top);
    return V3_TRUE;
  });
}

v3_result setScale(void* self, float factor) {
  return withView(self, [&](Vst3View& view) {
    return view.editor().setScale(static_cast<double>(factor)) ? V3_OK : V3_INVALID_ARG;
  });
}

void onTimer(void* self) {
  withView(self, [](Vst3View& view) { view.tick(); });
}
void onReadable(void* self, int /*descriptor*/) { onTimer(self); }

// In the order of v3_plugin_view.
constexpr v3_plugin_view_cpp kView = {
    kVst3Unknown<Vst3View>,
    {isSupported, attached, removed, onWheel, onKey, onKey, getSize, onSize, onFocus, setFrame,
     canResize, checkSize},
};
constexpr v3_plugin_view_content_scale_cpp kScale = {kVst3Unknown<Vst3View>, {setScale}};
constexpr v3_event_handler_cpp kEvents = {kVst3Unknown<Vst3View>, {onReadable}};
constexpr v3_timer_handler_cpp kTimer = {kVst3Unknown<Vst3View>, {onTimer}};

}  // namespace

v3_plugin_view** Vst3View::create(Vst3Plugin& plugin) {
  std::unique_ptr<Vst3View> view(new Vst3View(plugin));
  plugin.addReference();
  return static_cast<v3_plugin_view**>(static_cast<void*>(&view.release()->view_));
}

Vst3View::Vst3View(Vst3Plugin& plugin)
    : plugin_(plugin),
      view_{&kView, this},
      scale_{&kScale, this},
      events_{&kEvents, this},
      timer_{&kTimer, this},
      target_(plugin),
      editor_(target_) {
  editor_.onResize([this](PixelSize size) { return askForSize(size); });
}

Vst3View::~Vst3View() {
  remove();
  setFrame(nullptr);
}

std::array<Vst3View::Offer, 5> Vst3View::offers() {
  return {{{v3_funknown_iid, &view_},
           {v3_plugin_view_iid, &view_},
           {v3_plugin_view_content_scale_iid, &scale_},
           {v3_event_handler_iid, &events_},
           {v3_timer_handler_iid, &timer_}}};
}

// While the view ends, a knob that is held is let go of, which needs the plug-in, and the host's
// loop may take references to the view and release them again. They are counted from 1, so that
// none of those releases is another last one.
std::uint32_t Vst3View::unref(void* interface) {
  Vst3View& self = of(interface);
  const std::uint32_t left = --self.references_;
  if (left > 0) return left;
  Vst3Plugin& plugin = self.plugin_;
  self.references_ = 1;
  { const std::unique_ptr<Vst3View> last(&self); }
  plugin.removeReference();
  return 0;
}

v3_result Vst3View::attach(std::uintptr_t parent) {
  remove();
  if (!editor_.open(parent, "Quellard")) return V3_FALSE;
  if (!startLoop()) {
    editor_.close();
    return V3_FALSE;
  }
  editor_.show();
  return V3_OK;
}

void Vst3View::remove() {
  stopLoop();
  editor_.close();
}

void Vst3View::setFrame(v3_plugin_frame** frame) {
  if (frame != nullptr) v3_cpp_obj_ref(frame);
  if (frame_ != nullptr) v3_cpp_obj_unref(frame_);
  frame_ = frame;
}

// After the window is gone, the host's loop must not wait for its connection.
void Vst3View::tick() {
  if (isRunning_ && !editor_.idle()) stopLoop();
}

bool Vst3View::startLoop() {
  isRunning_ = startHostsLoop() || ticker_.start(Editor::kPeriod_ms, [this] { onTimer(&view_); });
  if (isRunning_) plugin_.countWindows(1);
  return isRunning_;
}

bool Vst3View::startHostsLoop() {
  v3_run_loop** loop = nullptr;
  if (frame_ == nullptr) return false;
  if (v3_cpp_obj_query_interface(frame_, v3_run_loop_iid, &loop) != V3_OK || loop == nullptr) {
    return false;
  }
  const v3_run_loop& offered = *v3_cpp_obj(loop);
  if (offered.register_timer(loop, timerHandler(), Editor::kPeriod_ms) != V3_OK) {
    v3_cpp_obj_unref(loop);
    return false;
  }
  // A loop may refuse it: the timer then reads the window's events too, up to 33 ms later.
  offered.register_event_handler(loop, eventHandler(), editor_.fileDescriptor());
  loop_ = loop;
  return true;
}

void Vst3View::stopLoop() {
  if (!std::exchange(isRunning_, false)) return;
  ticker_.stop();
  if (v3_run_loop** const loop = std::exchange(loop_, nullptr)) {
    v3_cpp_obj(loop)->unregister_event_handler(loop, eventHandler());
    v3_cpp_obj(loop)->unregister_timer(loop, timerHandler());
    v3_cpp_obj_unref(loop);
  }
  plugin_.countWindows(-1);
}

bool Vst3View::askForSize(PixelSize size) {
  if (frame_ == nullptr) return false;
  v3_view_rect rect = rectOf(size);
  auto** const view = static_cast<v3_plugin_view**>(static_cast<void*>(&view_));
  return v3_cpp_obj(frame_)->resize_view(frame_, view, &rect) == V3_OK;
}

v3_event_handler** Vst3View::eventHandler() {
  return static_cast<v3_event_handler**>(static_cast<void*>(&events_));
}

v3_timer_handler** Vst3View::timerHandler() {
  return static_cast<v3_timer_handler**>(static_cast<void*>(&timer_));
}

v3_plugin_view** createVst3View(Vst3Plugin& plugin, const char* name) try {
  if (name == nullptr || std::strcmp(name, "editor") != 0) return nullptr;
  return Vst3View::create(plugin);
} catch (...) {
  return nullptr;
}

}  // namespace quellard
