// SPDX-License-Identifier: ISC
// FaceWindow for X11. On libxcb rather than Xlib: what goes wrong comes back as an event, while
// Xlib ends the whole process, host and all, when the host has destroyed the window before the
// plug-in.
#include <array>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "face/painter.h"
#include "face/window.h"
#include "face/x11/keyboard.h"
#include "face/x11/xcb.h"

namespace quellard {
namespace {

template <typename Reply>
using Owned = std::unique_ptr<Reply, void (*)(void*)>;

template <typename Reply>
Owned<Reply> owned(Reply* reply) {
  return {reply, std::free};
}

// A key that comes again this soon is held down; a finger takes longer.
constexpr xcb_timestamp_t kRepeat_ms = 60;

using Clock = std::chrono::steady_clock;
constexpr std::chrono::milliseconds kFrame{15};  // between two paintings

constexpr std::uint32_t kEvents = XCB_EVENT_MASK_EXPOSURE | XCB_EVENT_MASK_STRUCTURE_NOTIFY |
                                  XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE |
                                  XCB_EVENT_MASK_POINTER_MOTION | XCB_EVENT_MASK_LEAVE_WINDOW |
                                  XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_FOCUS_CHANGE;

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
    return all.data + std::min(screenNumber_, all.rem - 1);
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
            static_cast<std::size_t>(xcb.get_property_value_length(reply.get()))};
  }

 private:
  int screenNumber_ = 0;  // written by connect()

 public:
  const Xcb& xcb;
  xcb_connection_t* const handle;
};

class X11Window : public FaceWindow {
 public:
  X11Window(std::unique_ptr<Connection> connection, Face& face, Owner& owner, std::uintptr_t parent,
            PixelSize size)
      : connection_(std::move(connection)),
        xcb_(connection_->xcb),
        handle_(connection_->handle),
        face_(face),
        owner_(owner),
        isFloating_(parent == 0),
        parent_(isFloating_ ? connection_->screen()->root : static_cast<xcb_window_t>(parent)) {
    create(size);
    readDepth();
    keyboard_.read(xcb_, handle_);
  }

  // The server destroys the rest with the connection.
  ~X11Window() override {
    if (!isGone_) xcb_.destroy_window(handle_, window_);
    xcb_.flush(handle_);
  }

  // Whether its pixels can be those of the face's picture.
  bool isUsable() const { return !isGone_ && (depth_ == 24 || depth_ == 32); }

  void show() override {
    xcb_.map_window(handle_, window_);
    xcb_.flush(handle_);
  }
  void hide() override {
    face_.loseFocus();
    xcb_.unmap_window(handle_, window_);
    xcb_.flush(handle_);
  }
  void resize(PixelSize size) override {
    if (size == this->size()) return;
    const std::array values = {static_cast<std::uint32_t>(std::max(size.width, 1)),
                               static_cast<std::uint32_t>(std::max(size.height, 1))};
    xcb_.configure_window(handle_, window_, XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT,
                          values.data());
    picture_.resize(size.width, size.height);
    tellProportions();
    xcb_.flush(handle_);
  }
  PixelSize size() const override {
    return {picture_.picture().width(), picture_.picture().height()};
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
    if (!connection_->isAlive()) isGone_ = true;
    while (!isGone_) {
      const auto event = owned(xcb_.poll_for_event(handle_));
      if (!event) break;
      handle(*event);
    }
    if (isGone_) return false;
    adoptSize();
    paint();
    return true;
  }

  int fileDescriptor() const override { return xcb_.get_file_descriptor(handle_); }
  std::uintptr_t id() const override { return window_; }

 private:
  void create(PixelSize size) {
    window_ = xcb_.generate_id(handle_);
    // Without a background the server leaves the old pixels until the new ones arrive: no flicker.
    const std::array<std::uint32_t, 2> values = {XCB_BACK_PIXMAP_NONE, kEvents};
    picture_.resize(size.width, size.height);
    xcb_.create_window(handle_, XCB_COPY_FROM_PARENT, window_, parent_, 0, 0,
                       static_cast<std::uint16_t>(picture_.picture().width()),
                       static_cast<std::uint16_t>(picture_.picture().height()), 0,
                       XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                       XCB_CW_BACK_PIXMAP | XCB_CW_EVENT_MASK, values.data());
    // Hosts that embed by the XEMBED protocol map the window themselves when they find this.
    const std::array<std::uint32_t, 2> embedded = {0, 1};
    const xcb_atom_t embed = connection_->atom("_XEMBED_INFO");
    xcb_.change_property(handle_, XCB_PROP_MODE_REPLACE, window_, embed, embed, 32, 2,
                         embedded.data());
    closes_ = connection_->atom("WM_DELETE_WINDOW");
    protocols_ = connection_->atom("WM_PROTOCOLS");
    setProperty(protocols_, XCB_ATOM_ATOM, closes_);
    tellProportions();
    context_ = xcb_.generate_id(handle_);
    xcb_.create_gc(handle_, context_, window_, 0, nullptr);
  }

  // A parent that is no window, or of another display, leaves the window without an answer.
  void readDepth() {
    const auto geometry =
        owned(xcb_.get_geometry_reply(handle_, xcb_.get_geometry(handle_, window_), nullptr));
    isGone_ = !geometry;
    if (geometry) depth_ = geometry->depth;
  }

  void setProperty(xcb_atom_t property, xcb_atom_t type, std::uint32_t value) {
    xcb_.change_property(handle_, XCB_PROP_MODE_REPLACE, window_, property, type, 32, 1, &value);
  }

  // What a window manager needs to know: the proportions and the smallest size, in the words of the
  // inter-client conventions (WM_NORMAL_HINTS). Inside a host's window they would only mislead:
  // some hosts take the smallest size for the one that is wanted.
  void tellProportions() {
    if (!isFloating_) return;
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

  Point faceFrom(std::int16_t x, std::int16_t y) const {
    return picture_.faceFromPixels(static_cast<float>(x) + 0.5F, static_cast<float>(y) + 0.5F);
  }

  void handle(const xcb_generic_event_t& event) {
    constexpr unsigned kSentByOthers = 0x80;
    switch (event.response_type & ~kSentByOthers) {
      case XCB_EXPOSE: return expose(reinterpret_cast<const xcb_expose_event_t&>(event));
      case XCB_CONFIGURE_NOTIFY:
        return configured(reinterpret_cast<const xcb_configure_notify_event_t&>(event));
      case XCB_BUTTON_PRESS:
        return buttonDown(reinterpret_cast<const xcb_button_press_event_t&>(event));
      case XCB_BUTTON_RELEASE:
        return buttonUp(reinterpret_cast<const xcb_button_release_event_t&>(event));
      case XCB_MOTION_NOTIFY:
        return moved(reinterpret_cast<const xcb_motion_notify_event_t&>(event));
      case XCB_LEAVE_NOTIFY: return face_.leave();
      case XCB_UNMAP_NOTIFY: return face_.loseFocus();
      case XCB_KEY_PRESS: return keyDown(reinterpret_cast<const xcb_key_press_event_t&>(event));
      case XCB_FOCUS_OUT: return focusOut(reinterpret_cast<const xcb_focus_out_event_t&>(event));
      case XCB_CLIENT_MESSAGE:
        return message(reinterpret_cast<const xcb_client_message_event_t&>(event));
      case XCB_MAPPING_NOTIFY: return keyboard_.read(xcb_, handle_);
      case XCB_DESTROY_NOTIFY: isGone_ = true; return;
      default: return;
    }
  }

  // Of another size than before, everything is sent as soon as it is painted. Until then the old
  // pixels stay, rather than a picture that is still black.
  void expose(const xcb_expose_event_t& event) {
    if (picture_.isStale()) return;
    put(PixelRect{event.x, event.y, event.x + event.width, event.y + event.height}.cutTo(
        picture_.picture().bounds()));
  }

  void configured(const xcb_configure_notify_event_t& event) {
    configured_ = {event.width, event.height};
  }

  // The last of the sizes that have come, since a drag at a window's frame sends many.
  void adoptSize() {
    if (!configured_.has_value()) return;
    const PixelSize now = *configured_;
    configured_.reset();
    if (now == size()) return;
    picture_.resize(now.width, now.height);
    owner_.sizeHasChanged(now);
  }

  void buttonDown(const xcb_button_press_event_t& event) {
    constexpr xcb_button_t kWheelUp = 4;
    constexpr xcb_button_t kWheelDown = 5;
    const Point at = faceFrom(event.event_x, event.event_y);
    const bool isFine = (event.state & XCB_MOD_MASK_SHIFT) != 0;
    if (event.detail == kWheelUp || event.detail == kWheelDown) {
      return face_.wheel(at, event.detail == kWheelUp ? 1.0F : -1.0F, isFine);
    }
    if (event.detail != XCB_BUTTON_INDEX_1 && event.detail != XCB_BUTTON_INDEX_3) return;
    xcb_.set_input_focus(handle_, XCB_INPUT_FOCUS_PARENT, window_, event.time);
    if (kResizeGrip.contains(at) && !face_.state().menu.has_value()) {
      grip_ = Grip{event.root_x, event.root_y, size().width};
      return;
    }
    face_.press(at, event.detail == XCB_BUTTON_INDEX_1 ? MouseButton::left : MouseButton::right,
                isFine, static_cast<double>(event.time) / 1000.0);
  }

  void buttonUp(const xcb_button_release_event_t& event) {
    if (event.detail != XCB_BUTTON_INDEX_1 && event.detail != XCB_BUTTON_INDEX_3) return;
    grip_.reset();
    face_.release(faceFrom(event.event_x, event.event_y));
  }

  // A host may have taken the release of the button.
  void moved(const xcb_motion_notify_event_t& event) {
    if ((event.state & (XCB_BUTTON_MASK_1 | XCB_BUTTON_MASK_3)) == 0) {
      grip_.reset();
      face_.release(faceFrom(event.event_x, event.event_y));
    }
    if (grip_.has_value()) {
      const int across = event.root_x - grip_->x;
      const int down = (event.root_y - grip_->y) * 8 / 5;  // as much wider as it gets higher
      const int width = std::max(grip_->width + std::max(across, down), 1);
      owner_.sizeIsWanted(
          {width, static_cast<int>(static_cast<float>(width) * kFaceHeight / kFaceWidth)});
      return;
    }
    face_.drag(faceFrom(event.event_x, event.event_y), (event.state & XCB_MOD_MASK_SHIFT) != 0);
  }

  void keyDown(const xcb_key_press_event_t& event) {
    const KeyPress press = keyboard_.press(event.detail, event.state);
    const bool isRepeated = event.detail == downKey_ && event.time - downAt_ < kRepeat_ms;
    downKey_ = event.detail;
    downAt_ = event.time;
    if (isRepeated && !face_.takesRepeated(press.key)) return;
    const bool isUsed = press.key.has_value()
                            ? face_.key(*press.key, (event.state & XCB_MOD_MASK_SHIFT) != 0)
                            : press.character != 0 && face_.type(press.character);
    if (!isUsed) handOn(event);
  }

  // To the host, for its transport and shortcuts: a window that asks for keys gets them all.
  void handOn(xcb_key_press_event_t event) {
    if (isFloating_) return;
    event.event = parent_;
    xcb_.send_event(handle_, 1, parent_, XCB_EVENT_MASK_KEY_PRESS,
                    reinterpret_cast<const char*>(&event));
    xcb_.flush(handle_);
  }

  // While a program takes the whole keyboard for a moment, as one that makes a picture of the
  // screen does, nothing ends. Nor where keys went to whatever is under the mouse: the window
  // itself hears of the end of that when it takes the keyboard.
  void focusOut(const xcb_focus_out_event_t& event) {
    const bool isForAMoment =
        event.mode == XCB_NOTIFY_MODE_GRAB || event.mode == XCB_NOTIFY_MODE_UNGRAB;
    if (!isForAMoment && event.detail != XCB_NOTIFY_DETAIL_POINTER) face_.loseFocus();
  }

  void message(const xcb_client_message_event_t& event) {
    if (!isFloating_ || event.type != protocols_ || event.format != 32) return;
    if (event.data.data32[0] == closes_) owner_.closeIsWanted();
  }

  // A mouse may report a thousand moves a second. What is left out is painted with the next call.
  void paint() {
    if (picture_.isUpToDate(face_.state())) return;
    const Clock::time_point now = Clock::now();
    if (!picture_.isStale() && now - paintedAt_ < kFrame) return;
    const auto areas = picture_.repaint(face_.state(), face_.presets());
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
        const std::uint32_t* const row = picture_.picture().row(y);
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

  struct Grip {
    int x;  // the mouse, pixels of the screen
    int y;
    int width;  // the window's
  };

  // Destroyed last: what is below uses it.
  std::unique_ptr<Connection> connection_;
  const Xcb& xcb_;
  xcb_connection_t* const handle_;
  Face& face_;
  Owner& owner_;
  bool isFloating_;
  xcb_window_t parent_;
  bool isGone_ = false;
  std::uint8_t depth_ = 0;
  xcb_window_t window_ = 0;
  xcb_gcontext_t context_ = 0;
  xcb_atom_t protocols_ = 0;
  xcb_atom_t closes_ = 0;
  Keyboard keyboard_;
  FacePicture picture_;
  Clock::time_point paintedAt_;
  std::optional<PixelSize> configured_;
  std::optional<Grip> grip_;
  xcb_keycode_t downKey_ = 0;  // the last one that was pressed, and when
  xcb_timestamp_t downAt_ = 0;
};

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

double FaceWindow::desktopScale() {
  const std::unique_ptr<Connection> connection = Connection::open();
  if (!connection) return 1.0;
  const std::string all = connection->resources();
  constexpr std::string_view kName = "Xft.dpi:";
  const std::size_t at = all.find(kName);
  if (at == std::string::npos) return 1.0;
  const double dots = std::strtod(all.c_str() + at + kName.size(), nullptr);
  return dots >= 24.0 && dots <= 768.0 ? dots / 96.0 : 1.0;
}

}  // namespace quellard
