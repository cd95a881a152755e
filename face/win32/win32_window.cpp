// SPDX-License-Identifier: ISC
// FaceWindow for Windows. The host's message loop calls the window at any time, also while the face
// is at work or the host is asking it something. So what the mouse and the keys do is only noted
// there, and handled by handleEvents(), as the other window system's is.

// In this order, since the later headers use the types of windows.h.
// clang-format off
#include <windows.h>
#include <windowsx.h>
// clang-format on

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "face/win32/keyboard.h"
#include "face/window_base.h"
#include "params/sizes.h"

namespace quellard {
namespace {

std::wstring wide(const std::string& text) {
  const int bytes = static_cast<int>(text.size());
  const int length = MultiByteToWideChar(CP_UTF8, 0, text.data(), bytes, nullptr, 0);
  std::wstring result(asSize(length), L'\0');
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
  WPARAM wParam;
  LPARAM lParam;
  POINT onScreen;
  DWORD time_ms;
  KeyPress key;
  bool isFine;   // Shift is down
  bool isHosts;  // Control or Alt is down
};

bool isDown(int key) { return GetKeyState(key) < 0; }

class Win32Window : public WindowBase {
 public:
  Win32Window(Face& face, Owner& owner, std::uintptr_t parent, PixelSize size)
      : WindowBase(face, owner, parent == 0),
        parent_(reinterpret_cast<HWND>(parent)),
        className_(L"Quellard-" + std::to_wstring(reinterpret_cast<std::uintptr_t>(this))) {
    facePicture().resize(size.width, size.height);
    create();
  }

  ~Win32Window() override {
    Win32Window::close();
    UnregisterClassW(className_.c_str(), thisModule());
  }

  bool isUsable() const { return window_ != nullptr; }

  void close() override {
    if (window_ != nullptr) DestroyWindow(detached());
  }

  void show() override { ShowWindow(window_, isFloating() ? SW_SHOW : SW_SHOWNA); }
  void hide() override { ShowWindow(window_, SW_HIDE); }
  void resize(PixelSize size) override {
    if (size == this->size()) return;
    facePicture().resize(size.width, size.height);
    setInnerSize(this->size());
  }
  void setTransientFor(std::uintptr_t window) override {
    SetWindowLongPtrW(window_, GWLP_HWNDPARENT, static_cast<LONG_PTR>(window));
  }
  void setTitle(const std::string& title) override { SetWindowTextW(window_, wide(title).c_str()); }

  bool handleEvents() override {
    std::vector<Event> events;
    events.swap(events_);
    for (const Event& event : events) {
      if (isGone()) break;
      handle(event);
    }
    return finishEvents();
  }

  int fileDescriptor() const override { return -1; }
  std::uintptr_t id() const override { return reinterpret_cast<std::uintptr_t>(window_); }

 private:
  DWORD style() const {
    return isFloating() ? WS_OVERLAPPEDWINDOW : WS_CHILD | WS_CLIPSIBLINGS | WS_TABSTOP;
  }

  // As the frame is on the screen that the window is on. Minimised, it has no frame to measure.
  PixelSize withFrame(PixelSize size) const {
    RECT outer = {0, 0, size.width, size.height}, inner = {};
    if (IsIconic(window_)) {
      AdjustWindowRectEx(&outer, style(), FALSE, 0);
      return {static_cast<int>(outer.right - outer.left),
              static_cast<int>(outer.bottom - outer.top)};
    }
    GetWindowRect(window_, &outer);
    GetClientRect(window_, &inner);
    return {static_cast<int>(outer.right - outer.left - inner.right) + size.width,
            static_cast<int>(outer.bottom - outer.top - inner.bottom) + size.height};
  }

  void setInnerSize(PixelSize size) {
    const PixelSize outer = withFrame(size);
    SetWindowPos(window_, nullptr, 0, 0, outer.width, outer.height,
                 SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
  }

  // The window, which from now on knows nothing of this object: it may outlive it by some messages.
  HWND detached() {
    markGone();
    SetWindowLongPtrW(window_, GWLP_USERDATA, 0);
    return std::exchange(window_, nullptr);
  }

  void create() {
    WNDCLASSEXW kind = {};
    kind.cbSize = sizeof kind;
    kind.lpfnWndProc = receive;
    kind.hInstance = thisModule();
    kind.hCursor = LoadCursorW(nullptr, IDC_ARROW);
    kind.lpszClassName = className_.c_str();
    if (RegisterClassExW(&kind) == 0) return;
    const PixelSize inner = WindowBase::size();
    const int at = isFloating() ? CW_USEDEFAULT : 0;
    window_ = CreateWindowExW(0, className_.c_str(), L"", style(), at, at, inner.width,
                              inner.height, parent_, nullptr, thisModule(), this);
    if (window_ != nullptr && isFloating()) setInnerSize(inner);
  }

  static LRESULT CALLBACK receive(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_NCCREATE) {
      const auto* const made = reinterpret_cast<const CREATESTRUCTW*>(lParam);
      SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(made->lpCreateParams));
    }
    auto* const self = reinterpret_cast<Win32Window*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    const std::optional<LRESULT> answer =
        self != nullptr ? self->answer(window, message, wParam, lParam) : std::nullopt;
    return answer.has_value() ? *answer : DefWindowProcW(window, message, wParam, lParam);
  }

  // Nothing for what Windows answers itself.
  std::optional<LRESULT> answer(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
      case WM_PAINT: showPixels(window); break;
      case WM_ERASEBKGND: return 1;  // the pixels cover everything: no flicker
      case WM_GETDLGCODE: return DLGC_WANTALLKEYS;
      case WM_MOUSEACTIVATE: return MA_ACTIVATE;
      case WM_SIZE: sized(wParam, lParam); break;
      case WM_DESTROY: detached(); break;
      case WM_LBUTTONDOWN:
      case WM_RBUTTONDOWN:
        SetFocus(window);
        SetCapture(window);
        note(message, wParam, lParam);
        break;
      case WM_LBUTTONUP:
      case WM_RBUTTONUP:
        note(message, wParam, lParam);
        if ((wParam & (MK_LBUTTON | MK_RBUTTON)) == 0) ReleaseCapture();
        break;
      case WM_CAPTURECHANGED:
        if (reinterpret_cast<HWND>(lParam) != window &&
            (isDown(VK_LBUTTON) || isDown(VK_RBUTTON))) {
          note(message, wParam, lParam);
        }
        break;
      case WM_CHAR: break;  // read from the key itself
      case WM_MOUSEMOVE: askForLeave(window); [[fallthrough]];
      case WM_MOUSEWHEEL:
      case WM_MOUSELEAVE:
      case WM_KEYDOWN:
      case WM_KEYUP:
      case WM_KILLFOCUS:
      case WM_CLOSE: note(message, wParam, lParam); break;
      case WM_SHOWWINDOW: note(message, wParam, lParam); return std::nullopt;
      default: return std::nullopt;
    }
    return 0;
  }

  // Of moves that follow each other only the last counts.
  void note(UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_MOUSEMOVE && !events_.empty() && events_.back().message == message) {
      events_.pop_back();
    }
    Event event{.message = message,
                .wParam = wParam,
                .lParam = lParam,
                .onScreen = {},
                .time_ms = static_cast<DWORD>(GetMessageTime()),
                .key = {},
                .isFine = isDown(VK_SHIFT),
                .isHosts = isDown(VK_CONTROL) || isDown(VK_MENU)};
    GetCursorPos(&event.onScreen);
    if (message == WM_KEYDOWN) event.key = pressOfKey(wParam, lParam);
    events_.push_back(event);
  }

  void askForLeave(HWND window) {
    if (std::exchange(asksForLeave_, true)) return;
    TRACKMOUSEEVENT wanted = {sizeof wanted, TME_LEAVE, window, 0};
    TrackMouseEvent(&wanted);
  }

  void sized(WPARAM how, LPARAM lParam) {
    const PixelSize size = {LOWORD(lParam), HIWORD(lParam)};
    if (how != SIZE_MINIMIZED && size.width > 0 && size.height > 0) noteSize(size);
  }

  Point faceFrom(LPARAM lParam) const {
    return facePoint(GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam));
  }

  static ScreenPoint onScreen(const Event& event) {
    return {static_cast<int>(event.onScreen.x), static_cast<int>(event.onScreen.y)};
  }

  void handle(const Event& event) {
    switch (event.message) {
      case WM_LBUTTONDOWN:
      case WM_RBUTTONDOWN: return buttonDown(event);
      case WM_LBUTTONUP:
      case WM_RBUTTONUP: return release(faceFrom(event.lParam));
      case WM_MOUSEMOVE: return moved(event);
      case WM_MOUSEWHEEL: return wheel(event);
      case WM_MOUSELEAVE: asksForLeave_ = false; return face().leave();
      case WM_KEYDOWN: return keyDown(event);
      case WM_KEYUP: return keyUp(event);
      case WM_CAPTURECHANGED: return face().letGo();  // a host's dialog has the mouse now
      case WM_KILLFOCUS: return face().loseFocus();
      case WM_CLOSE: return owner().closeIsWanted();
      case WM_SHOWWINDOW:
        if (event.wParam == FALSE) face().letGo();
        return;
      default: return;
    }
  }

  void buttonDown(const Event& event) {
    press(faceFrom(event.lParam), onScreen(event),
          event.message == WM_LBUTTONDOWN ? MouseButton::left : MouseButton::right, event.isFine,
          event.time_ms / 1000.0);
  }

  void moved(const Event& event) {
    const bool isHeld = (event.wParam & (MK_LBUTTON | MK_RBUTTON)) != 0;
    move(faceFrom(event.lParam), onScreen(event), isHeld, event.isFine);
  }

  // Its place is on the screen.
  void wheel(const Event& event) {
    POINT at = {GET_X_LPARAM(event.lParam), GET_Y_LPARAM(event.lParam)};
    ScreenToClient(window_, &at);
    const auto notches = static_cast<float>(GET_WHEEL_DELTA_WPARAM(event.wParam)) / WHEEL_DELTA;
    face().wheel(facePoint(static_cast<int>(at.x), static_cast<int>(at.y)), notches, event.isFine);
  }

  void keyDown(const Event& event) {
    constexpr LPARAM kWasDown = LPARAM{1} << 30;
    const std::size_t key = event.wParam & 0xFFU;
    const bool isRepeated = (event.lParam & kWasDown) != 0;
    const bool isHosts = event.isHosts || (isRepeated && wasForHost(key));
    if (keyPressed(key, event.key, isRepeated, isHosts, event.isFine)) handOn(event);
  }

  void keyUp(const Event& event) {
    if (keyReleased(event.wParam & 0xFFU)) handOn(event);
  }

  // To the host, for its transport and shortcuts.
  void handOn(const Event& event) const {
    if (!isFloating() && !isGone())
      PostMessageW(parent_, event.message, event.wParam, event.lParam);
  }

  void paint() override {
    if (facePicture().isUpToDate(face().state())) return;
    for (const PixelRect& area : facePicture().repaint(face().state(), face().presets())) {
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
    if (!facePicture().isStale()) {
      const Picture& picture = facePicture().picture();
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

  const HWND parent_;
  const std::wstring className_;  // its own, as modules cannot share one
  HWND window_ = nullptr;
  bool asksForLeave_ = false;
  std::vector<Event> events_;
};

}  // namespace

std::unique_ptr<FaceWindow> FaceWindow::open(Face& face, Owner& owner, std::uintptr_t parent,
                                             PixelSize size, const std::string& title) {
  auto window = std::make_unique<Win32Window>(face, owner, parent, size);
  if (!window->isUsable()) return nullptr;
  window->setTitle(title);
  return window;
}

// Of the screen on which the host's window is that the player has before him. What Windows tells a
// program that knows nothing of scales is that there are none.
FaceWindow::Desktop FaceWindow::desktop() {
  const HWND host = GetActiveWindow();
  const UINT dpi = host != nullptr ? GetDpiForWindow(host) : GetDpiForSystem();
  MONITORINFO about = {};
  about.cbSize = sizeof about;
  if (GetMonitorInfoW(MonitorFromWindow(host, MONITOR_DEFAULTTOPRIMARY), &about) == 0) {
    return {dpi / 96.0, {}};
  }
  const RECT& screen = about.rcMonitor;
  return {
      dpi / 96.0,
      {static_cast<int>(screen.right - screen.left), static_cast<int>(screen.bottom - screen.top)}};
}

}  // namespace quellard
