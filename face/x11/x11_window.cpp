// SPDX-License-Identifier: ISC
// FaceWindow for X11. On libxcb rather than Xlib: what goes wrong comes back as an event, while
// Xlib ends the whole process, host and all, when the host has destroyed the window before the
// plug-in.
#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "face/window_base.h"
#include "face/x11/keyboard.h"
#include "face/x11/xcb.h"
#include "params/number_text.h"
#include "params/sizes.h"
#include "params/words.h"

namespace quellard {
namespace {

template <typename Reply>
using Owned = std::unique_ptr<Reply, void (*)(void*)>;

template <typename Reply>
Owned<Reply> owned(Reply* reply) {
  return {reply, std::free};
}

using Clock = std::chrono::steady_clock;
constexpr std::chrono::milliseconds kFrame{15};  // between two paintings

constexpr std::uint32_t kEvents =
    XCB_EVENT_MASK_EXPOSURE | XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_BUTTON_PRESS |
    XCB_EVENT_MASK_BUTTON_RELEASE | XCB_EVENT_MASK_POINTER_MOTION | XCB_EVENT_MASK_LEAVE_WINDOW |
    XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_KEY_RELEASE | XCB_EVENT_MASK_FOCUS_CHANGE;

constexpr std::uint8_t kSentByOthers = 0x80;  // in an event's response_type

// How a window's pixels are shown.
struct Visual {
  xcb_visualid_t id = 0;
  std::uint8_t depth = 0;  // 0 for none
};

// Whether its pixels can be those of the face's picture.
bool showsPictures(const xcb_visualtype_t& type) {
  return type._class == XCB_VISUAL_CLASS_TRUE_COLOR && type.red_mask == 0xFF0000 &&
         type.green_mask == 0xFF00 && type.blue_mask == 0xFF;
}

class Connection {
 public:
  // Null without a display.
  static std::unique_ptr<Connection> open() {
    const Xcb* const xcb = Xcb::load();
    if (xcb == nullptr) return nullptr;
    auto connection = std::make_unique<Connection>(*xcb);
    return connection->isAlive() ? std::move(connection) : nullptr;
  }

  explicit Connection(const Xcb& functions)
      : xcb(functions), handle(functions.connect(nullptr, &screenNumber_)) {}
  ~Connection() { xcb.disconnect(handle); }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  bool isAlive() const { return xcb.connection_has_error(handle) == 0; }

  const xcb_screen_t* screen() const {
    xcb_screen_iterator_t all = xcb.setup_roots_iterator(xcb.get_setup(handle));
    for (int n = 0; n < screenNumber_ && all.rem > 1; ++n) xcb.screen_next(&all);
    return all.data;
  }

  // The parent's where it shows pictures. A desktop of 16 or 30 bits has another for programs that
  // paint with 24.
  Visual visualFor(xcb_window_t parent) const {
    const auto attributes = owned(xcb.get_window_attributes_reply(
        handle, xcb.get_window_attributes(handle, parent), nullptr));
    Visual found;
    for (auto depths = xcb.screen_allowed_depths_iterator(screen()); depths.rem > 0;
         xcb.depth_next(&depths)) {
      const std::uint8_t depth = depths.data->depth;
      if (depth != 24 && depth != 32) continue;
      const xcb_visualtype_t* const types = xcb.depth_visuals(depths.data);
      for (int i = 0; i < xcb.depth_visuals_length(depths.data); ++i) {
        if (!showsPictures(types[i])) continue;
        if (attributes && types[i].visual_id == attributes->visual) {
          return {types[i].visual_id, depth};
        }
        if (found.depth == 0 || depth < found.depth) found = {types[i].visual_id, depth};
      }
    }
    return found;
  }

  xcb_atom_t atom(std::string_view name) const {
    const auto reply = owned(xcb.intern_atom_reply(
        handle, xcb.intern_atom(handle, 0, static_cast<std::uint16_t>(name.size()), name.data()),
        nullptr));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
  }

  // The desktop's settings for programs, as lines "name:\tvalue".
  std::string resources() const {
    constexpr std::uint32_t kMostWords = 1U << 16;
    const auto reply = owned(xcb.get_property_reply(
        handle,
        xcb.get_property(handle, 0, screen()->root, XCB_ATOM_RESOURCE_MANAGER, XCB_ATOM_STRING, 0,
                         kMostWords),
        nullptr));
    if (!reply) return "";
    return {static_cast<const char*>(xcb.get_property_value(reply.get())),
            asSize(xcb.get_property_value_length(reply.get()))};
  }

 private:
  int screenNumber_ = 0;  // written by connect()

 public:
  const Xcb& xcb;
  xcb_connection_t* const handle;
};

class X11Window : public WindowBase {
 public:
  X11Window(std::unique_ptr<Connection> connection, Face& face, Owner& owner, std::uintptr_t parent,
            PixelSize size)
      : WindowBase(face, owner, parent == 0),
        connection_(std::move(connection)),
        xcb_(connection_->xcb),
        handle_(connection_->handle),
        parent_(isFloating() ? connection_->screen()->root : static_cast<xcb_window_t>(parent)) {
    const Visual visual = connection_->visualFor(parent_);
    depth_ = visual.depth;
    if (depth_ == 0) return;
    create(size, visual);
    tellOthers();
    keyboard_.read(xcb_, handle_);
  }

  ~X11Window() override { X11Window::close(); }

  // Not on a display without a way to show pictures. A parent that is no window, or of another
  // display, leaves the window without an answer.
  bool isUsable() const {
    return depth_ != 0 && owned(xcb_.get_geometry_reply(
                              handle_, xcb_.get_geometry(handle_, window_), nullptr)) != nullptr;
  }

  // The server destroys the rest with the connection.
  void close() override {
    if (!isGone()) xcb_.destroy_window(handle_, window_);
    markGone();
    xcb_.flush(handle_);
  }

  void show() override {
    xcb_.map_window(handle_, window_);
    xcb_.flush(handle_);
  }
  void hide() override {
    xcb_.unmap_window(handle_, window_);
    xcb_.flush(handle_);
  }
  void resize(PixelSize size) override {
    if (size == this->size()) return;
    const std::array values = {static_cast<std::uint32_t>(std::max(size.width, 1)),
                               static_cast<std::uint32_t>(std::max(size.height, 1))};
    xcb_.configure_window(handle_, window_, XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT,
                          values.data());
    facePicture().resize(size.width, size.height);
    xcb_.flush(handle_);
  }
  void setTransientFor(std::uintptr_t window) override {
    setProperty(XCB_ATOM_WM_TRANSIENT_FOR, XCB_ATOM_WINDOW, static_cast<std::uint32_t>(window));
    xcb_.flush(handle_);
  }
  void setTitle(const std::string& title) override {
    for (const auto& [name, type] :
         {std::pair{"WM_NAME", "STRING"}, std::pair{"_NET_WM_NAME", "UTF8_STRING"}}) {
      xcb_.change_property(handle_, XCB_PROP_MODE_REPLACE, window_, connection_->atom(name),
                           connection_->atom(type), 8, static_cast<std::uint32_t>(title.size()),
                           title.data());
    }
    xcb_.flush(handle_);
  }

  bool handleEvents() override {
    if (!connection_->isAlive()) markGone();
    while (!isGone()) {
      const auto event = owned(xcb_.poll_for_event(handle_));
      if (!event) break;
      handle(*event);
    }
    return finishEvents();
  }

  int fileDescriptor() const override { return xcb_.get_file_descriptor(handle_); }
  std::uintptr_t id() const override { return window_; }

 private:
  // The server refuses a visual that is not the parent's without colours and a border of its own.
  void create(PixelSize size, const Visual& visual) {
    const xcb_colormap_t colors = xcb_.generate_id(handle_);
    xcb_.create_colormap(handle_, XCB_COLORMAP_ALLOC_NONE, colors, connection_->screen()->root,
                         visual.id);
    window_ = xcb_.generate_id(handle_);
    // Without a background the server leaves the old pixels until the new ones arrive: no flicker.
    const std::array<std::uint32_t, 4> values = {XCB_BACK_PIXMAP_NONE, 0, kEvents, colors};
    facePicture().resize(size.width, size.height);
    xcb_.create_window(
        handle_, visual.depth, window_, parent_, 0, 0,
        static_cast<std::uint16_t>(facePicture().picture().width()),
        static_cast<std::uint16_t>(facePicture().picture().height()), 0,
        XCB_WINDOW_CLASS_INPUT_OUTPUT, visual.id,
        XCB_CW_BACK_PIXMAP | XCB_CW_BORDER_PIXEL | XCB_CW_EVENT_MASK | XCB_CW_COLORMAP,
        values.data());
    context_ = xcb_.generate_id(handle_);
    xcb_.create_gc(handle_, context_, window_, 0, nullptr);
  }

  // What hosts and window managers look for.
  void tellOthers() {
    // Hosts that embed by the XEMBED protocol map the window themselves when they find this.
    const std::array<std::uint32_t, 2> embedded = {0, 1};
    const xcb_atom_t info = connection_->atom("_XEMBED_INFO");
    xcb_.change_property(handle_, XCB_PROP_MODE_REPLACE, window_, info, info, 32, 2,
                         embedded.data());
    embed_ = connection_->atom("_XEMBED");
    closes_ = connection_->atom("WM_DELETE_WINDOW");
    protocols_ = connection_->atom("WM_PROTOCOLS");
    setProperty(protocols_, XCB_ATOM_ATOM, closes_);
    tellProportions();
  }

  void setProperty(xcb_atom_t property, xcb_atom_t type, std::uint32_t value) {
    xcb_.change_property(handle_, XCB_PROP_MODE_REPLACE, window_, property, type, 32, 1, &value);
  }

  // What a window manager needs to know: the proportions and the smallest size, in the words of the
  // inter-client conventions (WM_NORMAL_HINTS). Inside a host's window they would only mislead:
  // some hosts take the smallest size for the one that is wanted.
  void tellProportions() {
    if (!isFloating()) return;
    constexpr std::uint32_t kMinimum = 1U << 4;
    constexpr std::uint32_t kAspect = 1U << 7;
    std::array<std::uint32_t, 18> hints{};
    hints[0] = kMinimum | kAspect;
    hints[5] = static_cast<std::uint32_t>(kFaceWidth) / 2;
    hints[6] = static_cast<std::uint32_t>(kFaceHeight) / 2;
    for (const std::size_t ratio : {11U, 13U}) {
      hints[ratio] = static_cast<std::uint32_t>(kFaceWidth);
      hints[ratio + 1] = static_cast<std::uint32_t>(kFaceHeight);
    }
    xcb_.change_property(handle_, XCB_PROP_MODE_REPLACE, window_, XCB_ATOM_WM_NORMAL_HINTS,
                         XCB_ATOM_WM_SIZE_HINTS, 32, hints.size(), hints.data());
  }

  void handle(const xcb_generic_event_t& event) {
    switch (event.response_type & ~unsigned{kSentByOthers}) {
      case XCB_EXPOSE: return expose(reinterpret_cast<const xcb_expose_event_t&>(event));
      case XCB_CONFIGURE_NOTIFY:
        return configured(reinterpret_cast<const xcb_configure_notify_event_t&>(event));
      case XCB_BUTTON_PRESS:
        return buttonDown(reinterpret_cast<const xcb_button_press_event_t&>(event));
      case XCB_BUTTON_RELEASE:
        return buttonUp(reinterpret_cast<const xcb_button_release_event_t&>(event));
      case XCB_MOTION_NOTIFY:
        return moved(reinterpret_cast<const xcb_motion_notify_event_t&>(event));
      case XCB_LEAVE_NOTIFY: return face().leave();
      case XCB_UNMAP_NOTIFY: return face().letGo();
      case XCB_KEY_PRESS: return keyDown(reinterpret_cast<const xcb_key_press_event_t&>(event));
      case XCB_KEY_RELEASE: return keyUp(reinterpret_cast<const xcb_key_release_event_t&>(event));
      case XCB_FOCUS_OUT: return focusOut(reinterpret_cast<const xcb_focus_out_event_t&>(event));
      case XCB_CLIENT_MESSAGE:
        return message(reinterpret_cast<const xcb_client_message_event_t&>(event));
      case XCB_MAPPING_NOTIFY: return keyboard_.read(xcb_, handle_);
      case XCB_DESTROY_NOTIFY: markGone(); return;
      default: return;
    }
  }

  // Of another size than before, everything is sent as soon as it is painted. Until then the old
  // pixels stay, rather than a picture that is still black.
  void expose(const xcb_expose_event_t& event) {
    if (facePicture().isStale()) return;
    put(PixelRect{event.x, event.y, event.x + event.width, event.y + event.height}.cutTo(
        facePicture().picture().bounds()));
  }

  void configured(const xcb_configure_notify_event_t& event) {
    noteSize({event.width, event.height});
  }

  void buttonDown(const xcb_button_press_event_t& event) {
    constexpr xcb_button_t kWheelUp = 4;
    constexpr xcb_button_t kWheelDown = 5;
    const Point at = facePoint(event.event_x, event.event_y);
    const bool isFine = (event.state & XCB_MOD_MASK_SHIFT) != 0;
    if (event.detail == kWheelUp || event.detail == kWheelDown) {
      return face().wheel(at, event.detail == kWheelUp ? 1.0F : -1.0F, isFine);
    }
    if (event.detail != XCB_BUTTON_INDEX_1 && event.detail != XCB_BUTTON_INDEX_3) return;
    takeFocus(event.time);
    press(at, {event.root_x, event.root_y},
          event.detail == XCB_BUTTON_INDEX_1 ? MouseButton::left : MouseButton::right, isFine,
          static_cast<double>(event.time) / 1000.0);
  }

  // An embedder by the XEMBED protocol is asked too: it gives the keyboard back to the one that it
  // knows to have had it, when the player returns to its window.
  void takeFocus(xcb_timestamp_t time) {
    if (embedder_ != 0) {
      constexpr std::uint32_t kRequestFocus = 3;
      xcb_client_message_event_t request{};
      request.response_type = XCB_CLIENT_MESSAGE;
      request.format = 32;
      request.window = embedder_;
      request.type = embed_;
      request.data.data32[0] = time;
      request.data.data32[1] = kRequestFocus;
      xcb_.send_event(handle_, 0, embedder_, XCB_EVENT_MASK_NO_EVENT,
                      reinterpret_cast<const char*>(&request));
    }
    xcb_.set_input_focus(handle_, XCB_INPUT_FOCUS_PARENT, window_, time);
    xcb_.flush(handle_);
  }

  // A host or window manager may have given the keyboard to the host's own window after the press.
  void buttonUp(const xcb_button_release_event_t& event) {
    if (event.detail != XCB_BUTTON_INDEX_1 && event.detail != XCB_BUTTON_INDEX_3) return;
    takeFocus(event.time);
    release(facePoint(event.event_x, event.event_y));
  }

  void moved(const xcb_motion_notify_event_t& event) {
    const bool isHeld = (event.state & (XCB_BUTTON_MASK_1 | XCB_BUTTON_MASK_3)) != 0;
    move(facePoint(event.event_x, event.event_y), {event.root_x, event.root_y}, isHeld,
         (event.state & XCB_MOD_MASK_SHIFT) != 0);
  }

  // Of a key that is held down, the server sends releases and presses in pairs of the same time.
  void keyDown(const xcb_key_press_event_t& event) {
    const KeyPress press = keyboard_.press(event.detail, event.state);
    const bool isRepeated = event.detail == released_.key && event.time == released_.time;
    const bool isHosts = isRepeated && released_.isHosts;
    const bool withShift = (event.state & XCB_MOD_MASK_SHIFT) != 0;
    if (keyPressed(event.detail, press, isRepeated, isHosts, withShift)) {
      handOn(event, XCB_EVENT_MASK_KEY_PRESS);
    }
  }

  void keyUp(const xcb_key_release_event_t& event) {
    released_ = {event.detail, event.time, keyReleased(event.detail)};
    if (released_.isHosts) handOn(event, XCB_EVENT_MASK_KEY_RELEASE);
  }

  // To the host, for its transport and shortcuts: a window that asks for keys gets them all. What
  // the host itself has sent here would come back again and again.
  void handOn(xcb_key_press_event_t event, std::uint32_t mask) {
    if (isFloating() || isGone() || (event.response_type & kSentByOthers) != 0) return;
    event.event = parent_;
    xcb_.send_event(handle_, 1, parent_, mask, reinterpret_cast<const char*>(&event));
    xcb_.flush(handle_);
  }

  // The keyboard is still this window's while a program grabs all keys, as one that makes a picture
  // of the screen does. NotifyPointer: keys came here only because the mouse was here and no window
  // had the keyboard, so that none is lost.
  void focusOut(const xcb_focus_out_event_t& event) {
    const bool isForAMoment =
        event.mode == XCB_NOTIFY_MODE_GRAB || event.mode == XCB_NOTIFY_MODE_UNGRAB;
    if (!isForAMoment && event.detail != XCB_NOTIFY_DETAIL_POINTER) face().loseFocus();
  }

  void message(const xcb_client_message_event_t& event) {
    if (event.format != 32) return;
    const auto& data = event.data.data32;
    if (isFloating() && event.type == protocols_ && data[0] == closes_) owner().closeIsWanted();
    if (!isFloating() && event.type == embed_) embedderSays(data[1], data[3]);
  }

  void embedderSays(std::uint32_t what, xcb_window_t embedder) {
    constexpr std::uint32_t kEmbeddedNotify = 0;
    constexpr std::uint32_t kFocusOut = 5;
    if (what == kEmbeddedNotify) embedder_ = embedder;
    if (what == kFocusOut) face().loseFocus();
  }

  // A mouse may report a thousand moves a second. What is left out is painted with the next call.
  void paint() override {
    if (facePicture().isUpToDate(face().state())) return;
    const Clock::time_point now = Clock::now();
    if (!facePicture().isStale() && now - paintedAt_ < kFrame) return;
    const auto areas = facePicture().repaint(face().state(), face().presets());
    for (const PixelRect& area : areas) put(area);
    paintedAt_ = now;
  }

  // Sends pixels in as many requests as the server's longest one demands.
  void put(const PixelRect& area) {
    if (area.isEmpty()) return;
    const int words = area.width();
    const int most = static_cast<int>(
        std::min(xcb_.get_maximum_request_length(handle_), std::uint32_t{1} << 20));
    const int rows = std::max((most - 16) / words, 1);
    std::vector<std::uint32_t> pixels;
    for (int top = area.top; top < area.bottom; top += rows) {
      const int bottom = std::min(top + rows, area.bottom);
      pixels.clear();
      for (int y = top; y < bottom; ++y) {
        const std::uint32_t* const row = facePicture().picture().row(y);
        pixels.insert(pixels.end(), row + area.left, row + area.right);
      }
      xcb_.put_image(handle_, XCB_IMAGE_FORMAT_Z_PIXMAP, window_, context_,
                     static_cast<std::uint16_t>(words), static_cast<std::uint16_t>(bottom - top),
                     static_cast<std::int16_t>(area.left), static_cast<std::int16_t>(top), 0,
                     depth_, static_cast<std::uint32_t>(pixels.size() * sizeof(pixels[0])),
                     reinterpret_cast<const std::uint8_t*>(pixels.data()));
    }
    xcb_.flush(handle_);
  }

  struct Release {
    xcb_keycode_t key;
    xcb_timestamp_t time;
    bool isHosts;  // the press was handed on
  };

  // Destroyed last: what is below uses it.
  std::unique_ptr<Connection> connection_;
  const Xcb& xcb_;
  xcb_connection_t* const handle_;
  xcb_window_t parent_;
  std::uint8_t depth_ = 0;
  xcb_window_t window_ = 0;
  xcb_gcontext_t context_ = 0;
  xcb_atom_t protocols_ = 0;
  xcb_atom_t closes_ = 0;
  xcb_atom_t embed_ = 0;
  xcb_window_t embedder_ = 0;  // that has said so
  Keyboard keyboard_;
  Clock::time_point paintedAt_;
  Release released_{};
};

// resources: the desktop's settings. 1 where they do not tell a likely resolution.
double scaleFrom(std::string_view resources) {
  constexpr std::string_view kName = "Xft.dpi:";
  const std::size_t at = resources.find(kName);
  if (at == std::string_view::npos) return 1.0;
  const std::string_view rest = resources.substr(at + kName.size());
  const double dots = numberFromText(trimmed(rest.substr(0, rest.find('\n')))).value_or(0.0);
  return dots >= 24.0 && dots <= 768.0 ? dots / 96.0 : 1.0;
}

}  // namespace

std::unique_ptr<FaceWindow> FaceWindow::open(Face& face, Owner& owner, std::uintptr_t parent,
                                             PixelSize size, const std::string& title) {
  std::unique_ptr<Connection> connection = Connection::open();
  if (!connection) return nullptr;
  auto window = std::make_unique<X11Window>(std::move(connection), face, owner, parent, size);
  if (!window->isUsable()) return nullptr;
  window->setTitle(title);
  return window;
}

FaceWindow::Desktop FaceWindow::desktop() {
  const std::unique_ptr<Connection> connection = Connection::open();
  if (!connection) return {};
  const xcb_screen_t& screen = *connection->screen();
  return {scaleFrom(connection->resources()), {screen.width_in_pixels, screen.height_in_pixels}};
}

}  // namespace quellard
