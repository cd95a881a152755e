// SPDX-License-Identifier: ISC
#include "adapters/clap/gui.h"

#include <cstring>
#include <limits>
#include <type_traits>

#include "adapters/clap/presets.h"
#include "adapters/clap/window_api.h"
#include "adapters/shared/program_list.h"

namespace quellard {
namespace {

// Null where the host has no timers.
const clap_host_timer_support_t* hostTimerOf(const ClapPlugin& plugin) {
  const auto* timer = plugin.hostExtension<clap_host_timer_support_t>(CLAP_EXT_TIMER_SUPPORT);
  const bool isWhole =
      timer != nullptr && timer->register_timer != nullptr && timer->unregister_timer != nullptr;
  return isWhole ? timer : nullptr;
}

// Calls call(gui) unless there is none, and keeps it until the call returns. What returns nothing
// has succeeded. Hosts may be written in C, so no exception may leave it.
template <typename Call>
bool withGui(const ClapPlugin& plugin, const Call& call) try {
  const std::shared_ptr<ClapGui> gui = plugin.gui;
  if (gui == nullptr) return false;
  if constexpr (!std::is_void_v<decltype(call(*gui))>) return call(*gui);
  call(*gui);
  return true;
} catch (...) {
  return false;
}

template <typename Call>
bool withGui(const clap_plugin_t* plugin, const Call& call) {
  return withGui(ClapPlugin::of(plugin), call);
}

// 0 for a window of another system, and none.
std::uintptr_t numberOf(const clap_window_t* window) {
  if (window == nullptr || window->api == nullptr) return 0;
  if (std::strcmp(window->api, kClapWindowApi) != 0) return 0;
#if defined(_WIN32)
  return reinterpret_cast<std::uintptr_t>(window->win32);
#else
  return window->x11;
#endif
}

// Nothing for sizes that no window has.
std::optional<PixelSize> sizeOf(std::uint32_t width, std::uint32_t height) {
  constexpr std::uint32_t kMost = std::numeric_limits<std::int16_t>::max();
  if (width < 1 || height < 1 || width > kMost || height > kMost) return std::nullopt;
  return PixelSize{static_cast<int>(width), static_cast<int>(height)};
}

void writeSize(PixelSize size, std::uint32_t* width, std::uint32_t* height) {
  *width = static_cast<std::uint32_t>(size.width);
  *height = static_cast<std::uint32_t>(size.height);
}

// A floating window may be of any system that the plug-in chooses.
bool isSupported(const clap_plugin_t* plugin, const char* api, bool isFloating) {
  if (!Ticker::kIsThere && hostTimerOf(ClapPlugin::of(plugin)) == nullptr) return false;
  if (api == nullptr || *api == '\0') return isFloating;
  return std::strcmp(api, kClapWindowApi) == 0;
}

bool getPreferred(const clap_plugin_t* plugin, const char** api, bool* isFloating) {
  if (api == nullptr || isFloating == nullptr) return false;
  *api = kClapWindowApi;
  *isFloating = false;
  return isSupported(plugin, *api, *isFloating);
}

void destroy(const clap_plugin_t* plugin) {
  withGui(plugin, [](ClapGui& gui) { gui.end(); });
  ClapPlugin::of(plugin).gui.reset();
}

// A window that the host has not destroyed is closed first.
bool create(const clap_plugin_t* plugin, const char* api, bool isFloating) try {
  if (!isSupported(plugin, api, isFloating)) return false;
  ClapPlugin& self = ClapPlugin::of(plugin);
  destroy(plugin);
  self.gui = ClapGui::create(self, isFloating);
  return self.gui != nullptr;
} catch (...) {
  return false;
}

bool setScale(const clap_plugin_t* plugin, double scale) {
  return withGui(plugin, [&](ClapGui& gui) { return gui.editor().setScale(scale); });
}

bool getSize(const clap_plugin_t* plugin, std::uint32_t* width, std::uint32_t* height) {
  if (width == nullptr || height == nullptr) return false;
  return withGui(plugin, [&](ClapGui& gui) { writeSize(gui.editor().size(), width, height); });
}

bool canResize(const clap_plugin_t* plugin) {
  return withGui(plugin, [](const ClapGui& gui) { return !gui.isFloating(); });
}

bool getResizeHints(const clap_plugin_t*, clap_gui_resize_hints_t* hints) {
  if (hints == nullptr) return false;
  *hints = {.can_resize_horizontally = true,
            .can_resize_vertically = true,
            .preserve_aspect_ratio = true,
            .aspect_ratio_width = static_cast<std::uint32_t>(kFaceWidth),
            .aspect_ratio_height = static_cast<std::uint32_t>(kFaceHeight)};
  return true;
}

bool adjustSize(const clap_plugin_t* plugin, std::uint32_t* width, std::uint32_t* height) {
  if (width == nullptr || height == nullptr) return false;
  const std::optional<PixelSize> asked = sizeOf(*width, *height);
  if (!asked.has_value()) return false;
  return withGui(plugin, [&](ClapGui& gui) { writeSize(gui.editor().fit(*asked), width, height); });
}

bool setSize(const clap_plugin_t* plugin, std::uint32_t width, std::uint32_t height) {
  const std::optional<PixelSize> size = sizeOf(width, height);
  if (!size.has_value() || !canResize(plugin)) return false;
  return withGui(plugin, [&](ClapGui& gui) { gui.setSize(*size); });
}

bool setParent(const clap_plugin_t* plugin, const clap_window_t* window) {
  const std::uintptr_t parent = numberOf(window);
  return parent != 0 &&
         withGui(plugin, [&](ClapGui& gui) { return !gui.isFloating() && gui.open(parent); });
}

bool setTransient(const clap_plugin_t* plugin, const clap_window_t* window) {
  const std::uintptr_t above = numberOf(window);
  return above != 0 && withGui(plugin, [&](ClapGui& gui) { return gui.setTransientFor(above); });
}

void suggestTitle(const clap_plugin_t* plugin, const char* title) {
  if (title == nullptr) return;
  withGui(plugin, [&](ClapGui& gui) { gui.setTitle(title); });
}

void onTimer(const clap_plugin_t* plugin, clap_id timer) {
  withGui(plugin, [&](ClapGui& gui) { gui.tick(timer); });
}

constexpr clap_plugin_gui_t kGui = {
    .is_api_supported = isSupported,
    .get_preferred_api = getPreferred,
    .create = create,
    .destroy = destroy,
    .set_scale = setScale,
    .get_size = getSize,
    .can_resize = canResize,
    .get_resize_hints = getResizeHints,
    .adjust_size = adjustSize,
    .set_size = setSize,
    .set_parent = setParent,
    .set_transient = setTransient,
    .suggest_title = suggestTitle,
    .show =
        [](const clap_plugin_t* plugin) {
          return withGui(plugin, [](ClapGui& gui) { return gui.show(); });
        },
    .hide =
        [](const clap_plugin_t* plugin) {
          return withGui(plugin, [](ClapGui& gui) { return gui.hide(); });
        },
};

constexpr clap_plugin_timer_support_t kTimer = {.on_timer = onTimer};

}  // namespace

void ClapTarget::beginMove(int parameter) {
  plugin_.handMoves.begin(parameter, value(parameter));
  plugin_.askForFlush();
}

void ClapTarget::move(int parameter, float value) {
  amp_.setValue(parameter, value);
  plugin_.handMoves.move(parameter, value);
  plugin_.askForFlush();
}

void ClapTarget::endMove(int parameter) {
  plugin_.handMoves.end(parameter);
  plugin_.askForFlush();
}

void ClapTarget::presetChosen(int preset) {
  if (preset > 0 && isListedProgram(preset)) reportPreset(plugin_, at(kFactoryBank, preset - 1));
}

std::shared_ptr<ClapGui> ClapGui::create(ClapPlugin& plugin, bool isFloating) {
  const clap_host_timer_support_t* timer = hostTimerOf(plugin);
  if (timer == nullptr && !Ticker::kIsThere) return nullptr;
  return std::shared_ptr<ClapGui>(new ClapGui(plugin, timer, isFloating));
}

ClapGui::ClapGui(ClapPlugin& plugin, const clap_host_timer_support_t* hostTimer, bool isFloating)
    : plugin_(plugin),
      hostTimer_(hostTimer),
      hostGui_(plugin.hostExtension<clap_host_gui_t>(CLAP_EXT_GUI)),
      isFloating_(isFloating),
      target_(plugin),
      editor_(target_) {
  if (!isFloating) editor_.onResize([this](PixelSize size) { return askForSize(size); });
  editor_.onClose([this] { wasClosed_ = true; });
}

ClapGui::~ClapGui() { end(); }

void ClapGui::end() {
  editor_.close();
  stop();
}

// Only while it is open, the amplifier measures its levels.
bool ClapGui::start() {
  if (timer_.has_value()) return true;
  clap_id timer = CLAP_INVALID_ID;
  const bool starts = hostTimer_ != nullptr
                          ? hostTimer_->register_timer(plugin_.host, Editor::kPeriod_ms, &timer)
                          : ticker_.start(Editor::kPeriod_ms, [&plugin = plugin_] {
                              withGui(plugin, [](ClapGui& gui) { gui.tick(CLAP_INVALID_ID); });
                            });
  if (!starts) return false;
  timer_ = timer;
  plugin_.amp.measureLevels(true);
  return true;
}

void ClapGui::stop() {
  if (!timer_.has_value()) return;
  if (hostTimer_ != nullptr) {
    hostTimer_->unregister_timer(plugin_.host, *timer_);
  } else {
    ticker_.stop();
  }
  timer_.reset();
  plugin_.amp.measureLevels(false);
}

bool ClapGui::askForSize(PixelSize size) const {
  return hostGui_ != nullptr && hostGui_->request_resize != nullptr &&
         hostGui_->request_resize(plugin_.host, static_cast<std::uint32_t>(size.width),
                                  static_cast<std::uint32_t>(size.height));
}

bool ClapGui::open(std::uintptr_t parent) {
  if (!editor_.open(parent, title_)) return false;
  if (start()) return true;
  editor_.close();
  return false;
}

bool ClapGui::show() {
  if (!editor_.isOpen() && !(isFloating_ && open(0))) return false;
  if (!start()) return false;
  if (transientFor_ != 0) editor_.setTransientFor(transientFor_);
  editor_.show();
  return true;
}

bool ClapGui::hide() {
  if (!editor_.isOpen()) return false;
  editor_.hide();
  stop();
  return true;
}

void ClapGui::setTitle(const char* title) {
  title_ = title;
  editor_.setTitle(title_);
}

bool ClapGui::setTransientFor(std::uintptr_t window) {
  if (!isFloating_) return false;
  transientFor_ = window;
  editor_.setTransientFor(window);
  return true;
}

void ClapGui::tick(clap_id timer) {
  if (timer_ != timer) return;
  const bool isThere = editor_.idle();
  if (!timer_.has_value() || (isThere && !wasClosed_)) return;
  wasClosed_ = false;
  if (!isThere) editor_.close();
  stop();
  if (hostGui_ != nullptr && hostGui_->closed != nullptr) hostGui_->closed(plugin_.host, !isThere);
}

const void* clapGuiExtension(const char* id) {
  if (std::strcmp(id, CLAP_EXT_GUI) == 0) return &kGui;
  return std::strcmp(id, CLAP_EXT_TIMER_SUPPORT) == 0 ? &kTimer : nullptr;
}

}  // namespace quellard
