// SPDX-License-Identifier: ISC
// FaceWindow for Windows. The host's message loop calls the window at any time, also while the face
// is at work or the host is asking it something. So what the mouse and the keys do is only noted
// there, and handled by handleEvents(), as the other window system's is.
// The others use the types of the first.
// clang-format off
#include <windows.h>
#include <windowsx.h>
// clang-format on

#include <algorithm>
#include <bitset>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "face/painter.h"
#include "face/win32/keyboard.h"
#include "face/window.h"

namespace quellard {
namespace {

std::wstring wide(const std::string& text) {
  const int bytes = static_cast<int>(text.size());
  const int length = MultiByteToWideChar(CP_UTF8, 0, text.data(), bytes, nullptr, 0);
  std::wstring result(static_cast<std::size_t>(length), L'\0');
  MultiByteToWideChar(CP_UTF8, 0, text.data(), bytes, result.data(), length);
  return result;
}

// The module that this code is in: the program, or a plug-in's.
HINSTANCE thisModule() {
  static const char inside = 0;
  HMODULE module = nullptr;
  constexpr DWORD kHow =
      GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
  GetModuleHandleExW(kHow, reinterpret_cast<LPCWSTR>(&inside), &module);
  return module;
}

// A message, with what must be asked for while it is being delivered.
struct Event {
  UINT message;
  WPARAM wide;
  LPARAM place;
  POINT onScreen;
  DWORD time_ms;
  KeyPress key;
  bool isFine;   // Shift is down
  bool isHosts;  // Control or Alt is down
};

bool isDown(int key) { return GetKeyState(key) < 0; }

class Win32Window : public FaceWindow {
 public:
  Win32Window(Face& face, Owner& owner, std::uintptr_t parent, PixelSize size)
      : face_(face),
        owner_(owner),
        isFloating_(parent == 0),
        parent_(reinterpret_cast<HWND>(parent)),
        className_(L"Quellard-" + std::to_wstring(reinterpret_cast<std::uintptr_t>(this))) {
    picture_.resize(size.width, size.height);
    create();
  }

  ~Win32Window() override {
    Win32Window::close();
    UnregisterClassW(className_.c_str(), thisModule());
  }

  bool isUsable() const { return window_ != nullptr; }

  void close() override {
    isGone_ = true;
    if (window_ != nullptr) DestroyWindow(std::exchange(window_, nullptr));
  }

  void show() override { ShowWindow(window_, isFloating_ ? SW_SHOW : SW_SHOWNA); }
  void hide() override { ShowWindow(window_, SW_HIDE); }
  void resize(PixelSize size) override {
    if (size == this->size()) return;
    picture_.resize(size.width, size.height);
    const PixelSize outer = withFrame(this->size());
    SetWindowPos(window_, nullptr, 0, 0, outer.width, outer.height,
                 SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
  }
  PixelSize size() const override {
    return {picture_.picture().width(), picture_.picture().height()};
  }

  void setTransientFor(std::uintptr_t window) override {
    SetWindowLongPtrW(window_, GWLP_HWNDPARENT, static_cast<LONG_PTR>(window));
  }
  void setTitle(const std::string& title) override { SetWindowTextW(window_, wide(title).c_str()); }

  bool handleEvents() override {
    std::vector<Event> events;
    events.swap(events_);
    for (const Event& event : events) {
      if (isGone_) break;
      handle(event);
    }
    if (!isGone_) adoptSize();
    if (!isGone_) askForSize();
    if (!isGone_) paint();
    return !isGone_;
  }

  int fileDescriptor() const override { return -1; }
  std::uintptr_t id() const override { return reinterpret_cast<std::uintptr_t>(window_); }

 private:
  DWORD style() const {
    return isFloating_ ? WS_OVERLAPPEDWINDOW : WS_CHILD | WS_CLIPSIBLINGS | WS_TABSTOP;
  }

  PixelSize withFrame(PixelSize size) const {
    RECT outer = {0, 0, size.width, size.height};
    if (isFloating_) AdjustWindowRectEx(&outer, style(), FALSE, 0);
    return {static_cast<int>(outer.right - outer.left), static_cast<int>(outer.bottom - outer.top)};
  }

  void create() {
    WNDCLASSEXW kind = {};
    kind.cbSize = sizeof kind;
    kind.lpfnWndProc = receive;
    kind.hInstance = thisModule();
    kind.hCursor = LoadCursorW(nullptr, IDC_ARROW);
    kind.lpszClassName = className_.c_str();
    if (RegisterClassExW(&kind) == 0) return;
    const PixelSize outer = withFrame(size());
    const int at = isFloating_ ? CW_USEDEFAULT : 0;
    window_ = CreateWindowExW(0, className_.c_str(), L"", style(), at, at, outer.width,
                              outer.height, parent_, nullptr, thisModule(), this);
  }

  static LRESULT CALLBACK receive(HWND window, UINT message, WPARAM wide, LPARAM place) {
    if (message == WM_NCCREATE) {
      const auto* const made = reinterpret_cast<const CREATESTRUCTW*>(place);
      SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(made->lpCreateParams));
    }
    auto* const self = reinterpret_cast<Win32Window*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    const std::optional<LRESULT> answer =
        self != nullptr ? self->answer(window, message, wide, place) : std::nullopt;
    if (message == WM_NCDESTROY) SetWindowLongPtrW(window, GWLP_USERDATA, 0);
    return answer.has_value() ? *answer : DefWindowProcW(window, message, wide, place);
  }

  // Nothing for what Windows answers itself.
  std::optional<LRESULT> answer(HWND window, UINT message, WPARAM wide, LPARAM place) {
    switch (message) {
      case WM_PAINT: return showPixels(window), 0;
      case WM_ERASEBKGND: return 1;  // the pixels cover everything: no flicker
      case WM_GETDLGCODE: return DLGC_WANTALLKEYS;
      case WM_MOUSEACTIVATE: return MA_ACTIVATE;
      case WM_SIZE: return sized(wide, place), 0;
      case WM_DESTROY: return isGone_ = true, window_ = nullptr, 0;
      case WM_LBUTTONDOWN:
      case WM_RBUTTONDOWN:
        SetFocus(window);
        SetCapture(window);
        return note(message, wide, place), 0;
      case WM_LBUTTONUP:
      case WM_RBUTTONUP: return note(message, wide, place), ReleaseCapture(), 0;
      case WM_MOUSEMOVE: return askForLeave(window), note(message, wide, place), 0;
      case WM_CHAR: return 0;  // read from the key itself
      case WM_MOUSEWHEEL:
      case WM_MOUSELEAVE:
      case WM_KEYDOWN:
      case WM_KEYUP:
      case WM_KILLFOCUS:
      case WM_CLOSE: return note(message, wide, place), 0;
      case WM_SHOWWINDOW: return note(message, wide, place), std::nullopt;
      default: return std::nullopt;
    }
  }

  // Of moves that follow each other only the last counts.
  void note(UINT message, WPARAM wide, LPARAM place) {
    if (message == WM_MOUSEMOVE && !events_.empty() && events_.back().message == message) {
      events_.pop_back();
    }
    Event event{.message = message,
                .wide = wide,
                .place = place,
                .onScreen = {},
                .time_ms = static_cast<DWORD>(GetMessageTime()),
                .key = {},
                .isFine = isDown(VK_SHIFT),
                .isHosts = isDown(VK_CONTROL) || isDown(VK_MENU)};
    GetCursorPos(&event.onScreen);
    if (message == WM_KEYDOWN) event.key = pressOfKey(wide, place);
    events_.push_back(event);
  }

  void askForLeave(HWND window) {
    if (std::exchange(asksForLeave_, true)) return;
    TRACKMOUSEEVENT wanted = {sizeof wanted, TME_LEAVE, window, 0};
    TrackMouseEvent(&wanted);
  }

  void sized(WPARAM how, LPARAM place) {
    if (how != SIZE_MINIMIZED) configured_ = {LOWORD(place), HIWORD(place)};
  }

  Point faceFrom(LPARAM place) const {
    return picture_.faceFromPixels(static_cast<float>(GET_X_LPARAM(place)) + 0.5F,
                                   static_cast<float>(GET_Y_LPARAM(place)) + 0.5F);
  }

  void handle(const Event& event) {
    switch (event.message) {
      case WM_LBUTTONDOWN:
      case WM_RBUTTONDOWN: return buttonDown(event);
      case WM_LBUTTONUP:
      case WM_RBUTTONUP: return grip_.reset(), face_.release(faceFrom(event.place));
      case WM_MOUSEMOVE: return moved(event);
      case WM_MOUSEWHEEL: return wheel(event);
      case WM_MOUSELEAVE: return asksForLeave_ = false, face_.leave();
      case WM_KEYDOWN: return keyDown(event);
      case WM_KEYUP: return keyUp(event);
      case WM_KILLFOCUS: return face_.loseFocus();
      case WM_CLOSE: return owner_.closeIsWanted();
      case WM_SHOWWINDOW:
        if (event.wide == FALSE) face_.letGo();
        return;
      default: return;
    }
  }

  void buttonDown(const Event& event) {
    const Point at = faceFrom(event.place);
    if (kResizeGrip.contains(at) && !face_.state().menu.has_value()) {
      grip_ = Grip{event.onScreen, size().width};
      return;
    }
    face_.press(at, event.message == WM_LBUTTONDOWN ? MouseButton::left : MouseButton::right,
                event.isFine, event.time_ms / 1000.0);
  }

  // A host may have taken the release of the button.
  void moved(const Event& event) {
    if ((event.wide & (MK_LBUTTON | MK_RBUTTON)) == 0) {
      grip_.reset();
      face_.release(faceFrom(event.place));
    }
    if (!grip_.has_value()) return face_.drag(faceFrom(event.place), event.isFine);
    const int across = static_cast<int>(event.onScreen.x - grip_->from.x);
    const int down = static_cast<int>(event.onScreen.y - grip_->from.y) * 8 / 5;
    const int width = std::max(grip_->width + std::max(across, down), 1);
    wanted_ = {width, (width * 5 + 7) / 8};
  }

  // Its place is on the screen.
  void wheel(const Event& event) {
    POINT at = {GET_X_LPARAM(event.place), GET_Y_LPARAM(event.place)};
    ScreenToClient(window_, &at);
    const auto notches = static_cast<float>(GET_WHEEL_DELTA_WPARAM(event.wide)) / WHEEL_DELTA;
    face_.wheel(
        picture_.faceFromPixels(static_cast<float>(at.x) + 0.5F, static_cast<float>(at.y) + 0.5F),
        notches, event.isFine);
  }

  void keyDown(const Event& event) {
    constexpr LPARAM kWasDown = LPARAM{1} << 30;
    const std::size_t key = event.wide & 0xFFU;
    const bool isRepeated = (event.place & kWasDown) != 0;
    bool isHosts = event.isHosts || (isRepeated && hostsKeys_.test(key));
    if (!isHosts && (!isRepeated || face_.takesRepeated(event.key.key))) {
      isHosts = !use(event.key, event.isFine);
    }
    hostsKeys_.set(key, isHosts);
    if (isHosts) handOn(event);
  }

  void keyUp(const Event& event) {
    const std::size_t key = event.wide & 0xFFU;
    if (hostsKeys_.test(key)) handOn(event);
    hostsKeys_.reset(key);
  }

  bool use(const KeyPress& press, bool withShift) {
    if (press.key.has_value()) return face_.key(*press.key, withShift);
    return press.character != 0 && face_.type(press.character);
  }

  // To the host, for its transport and shortcuts.
  void handOn(const Event& event) const {
    if (!isFloating_ && !isGone_) PostMessageW(parent_, event.message, event.wide, event.place);
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

  void askForSize() {
    if (!wanted_.has_value()) return;
    const PixelSize size = *wanted_;
    wanted_.reset();
    owner_.sizeIsWanted(size);
  }

  void paint() {
    if (picture_.isUpToDate(face_.state())) return;
    for (const PixelRect& area : picture_.repaint(face_.state(), face_.presets())) {
      const RECT changed = {area.left, area.top, area.right, area.bottom};
      InvalidateRect(window_, &changed, FALSE);
    }
    UpdateWindow(window_);
  }

  // Of another size than before, everything is sent as soon as it is painted. Until then the old
  // pixels stay.
  void showPixels(HWND window) {
    PAINTSTRUCT area = {};
    const HDC context = BeginPaint(window, &area);
    if (!picture_.isStale()) {
      const Picture& picture = picture_.picture();
      BITMAPINFO form = {};
      form.bmiHeader = {.biSize = sizeof form.bmiHeader,
                        .biWidth = picture.width(),
                        .biHeight = -picture.height(),  // from the top
                        .biPlanes = 1,
                        .biBitCount = 32,
                        .biCompression = BI_RGB,
                        .biSizeImage = 0,
                        .biXPelsPerMeter = 0,
                        .biYPelsPerMeter = 0,
                        .biClrUsed = 0,
                        .biClrImportant = 0};
      const auto width = static_cast<DWORD>(picture.width());
      const auto height = static_cast<DWORD>(picture.height());
      SetDIBitsToDevice(context, 0, 0, width, height, 0, 0, 0, height, picture.row(0), &form,
                        DIB_RGB_COLORS);
    }
    EndPaint(window, &area);
  }

  struct Grip {
    POINT from;  // the mouse, pixels of the screen
    int width;   // the window's
  };

  Face& face_;
  Owner& owner_;
  const bool isFloating_;
  const HWND parent_;
  const std::wstring className_;  // its own, as modules cannot share one
  HWND window_ = nullptr;
  bool isGone_ = false;
  bool asksForLeave_ = false;
  FacePicture picture_;
  std::vector<Event> events_;
  std::optional<PixelSize> configured_;
  std::optional<Grip> grip_;
  std::optional<PixelSize> wanted_;  // by the player, who drags the corner
  std::bitset<256> hostsKeys_;       // that are down, and whose press was handed on
};

}  // namespace

std::unique_ptr<FaceWindow> FaceWindow::open(Face& face, Owner& owner, std::uintptr_t parent,
                                             PixelSize size, const std::string& title) {
  auto window = std::make_unique<Win32Window>(face, owner, parent, size);
  if (!window->isUsable()) return nullptr;
  window->setTitle(title);
  return window;
}

FaceWindow::Desktop FaceWindow::desktop() {
  return {GetDpiForSystem() / 96.0, {GetSystemMetrics(SM_CXSCREEN), GetSystemMetrics(SM_CYSCREEN)}};
}

}  // namespace quellard
