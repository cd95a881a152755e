// SPDX-License-Identifier: ISC
#include <algorithm>
#include <utility>
#include <windows.h>

#include "tests/adapters/faces/screen.h"

namespace quellard::test {
namespace {

constexpr wchar_t kClass[] = L"host";

std::string keysHeard;
bool listens = false;

HWND handleOf(WindowId window) { return reinterpret_cast<HWND>(window); }
WindowId idOf(HWND window) { return reinterpret_cast<WindowId>(window); }

LRESULT CALLBACK receive(HWND window, UINT message, WPARAM wide, LPARAM place) {
  if (listens && message == WM_KEYDOWN) keysHeard += '+';
  if (listens && message == WM_KEYUP) keysHeard += '-';
  return DefWindowProcW(window, message, wide, place);
}

bool isFace(HWND window) {
  wchar_t name[64] = {};
  GetClassNameW(window, name, 64);
  return std::wstring(name).starts_with(L"Quellard-");
}

BOOL CALLBACK keepFace(HWND window, LPARAM found) {
  if (isFace(window)) *reinterpret_cast<HWND*>(found) = window;
  return TRUE;
}

void sendMouse(DWORD what, LONG x = 0, LONG y = 0) {
  INPUT input = {};
  input.type = INPUT_MOUSE;
  input.mi.dwFlags = what;
  input.mi.dx = x;
  input.mi.dy = y;
  SendInput(1, &input, sizeof input);
  deliverMessages();
}

// The pixels of the screen where the window's content is.
Picture seen(HWND window, const RECT& area) {
  POINT corner = {area.left, area.top};
  ClientToScreen(window, &corner);
  Picture picture(static_cast<int>(area.right - area.left),
                  static_cast<int>(area.bottom - area.top));
  BITMAPINFO form = {};
  form.bmiHeader.biSize = sizeof form.bmiHeader;
  form.bmiHeader.biWidth = picture.width();
  form.bmiHeader.biHeight = -picture.height();
  form.bmiHeader.biPlanes = 1;
  form.bmiHeader.biBitCount = 32;
  void* bits = nullptr;
  const HDC screen = GetDC(nullptr);
  const HDC memory = CreateCompatibleDC(screen);
  const HBITMAP bitmap = CreateDIBSection(memory, &form, DIB_RGB_COLORS, &bits, nullptr, 0);
  const HGDIOBJ before = SelectObject(memory, bitmap);
  BitBlt(memory, 0, 0, picture.width(), picture.height(), screen, corner.x, corner.y, SRCCOPY);
  GdiFlush();
  const auto* from = static_cast<const std::uint32_t*>(bits);
  for (int y = 0; y < picture.height(); ++y) {
    std::transform(from + y * picture.width(), from + (y + 1) * picture.width(), picture.row(y),
                   [](std::uint32_t pixel) { return pixel | 0xFF000000U; });
  }
  SelectObject(memory, before);
  DeleteObject(bitmap);
  DeleteDC(memory);
  ReleaseDC(nullptr, screen);
  return picture;
}

}  // namespace

void deliverMessages() {
  MSG message = {};
  while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != 0) {
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
}

std::unique_ptr<Screen> Screen::start(int /*bits*/) {
  WNDCLASSW kind = {};
  kind.lpfnWndProc = receive;
  kind.hInstance = GetModuleHandleW(nullptr);
  kind.lpszClassName = kClass;
  RegisterClassW(&kind);
  std::unique_ptr<Screen> screen(new Screen);
  const WindowId first = screen->open({100, 100});
  if (first == 0) return nullptr;
  screen->destroy(first);
  keysHeard.clear();
  listens = false;
  return screen;
}

Screen::~Screen() {
  for (const WindowId window : opened_) DestroyWindow(handleOf(window));
  deliverMessages();
}

// The desktop is the one that is there; hosts tell the scale as well.
bool Screen::hasScales() { return false; }
void Screen::setDesktopScale(double /*scale*/) {}

WindowId Screen::open(PixelSize size, int left) {
  const HWND window =
      CreateWindowExW(0, kClass, L"", WS_POPUP | WS_CLIPCHILDREN, left, 0, size.width, size.height,
                      nullptr, nullptr, GetModuleHandleW(nullptr), nullptr);
  if (window == nullptr) return 0;
  opened_.push_back(idOf(window));
  ShowWindow(window, SW_SHOW);
  SetForegroundWindow(window);
  deliverMessages();
  return idOf(window);
}

void Screen::destroy(WindowId window) {
  std::erase(opened_, window);
  DestroyWindow(handleOf(window));
  deliverMessages();
}

void Screen::resize(WindowId window, PixelSize size) {
  SetWindowPos(handleOf(window), nullptr, 0, 0, size.width, size.height,
               SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
  deliverMessages();
}

WindowId Screen::inside(WindowId parent) {
  if (parent != 0) return idOf(GetWindow(handleOf(parent), GW_CHILD));
  HWND found = nullptr;
  EnumThreadWindows(GetCurrentThreadId(), keepFace, reinterpret_cast<LPARAM>(&found));
  return idOf(found);
}

PixelSize Screen::sizeOf(WindowId window) {
  RECT area = {};
  GetClientRect(handleOf(window), &area);
  return {static_cast<int>(area.right), static_cast<int>(area.bottom)};
}

bool Screen::isSeen(WindowId window) { return IsWindowVisible(handleOf(window)) != 0; }

Picture Screen::pixels(WindowId window) {
  RECT area = {};
  GetClientRect(handleOf(window), &area);
  return seen(handleOf(window), area);
}

std::uint32_t Screen::pixel(WindowId window, int x, int y) {
  if (IsWindow(handleOf(window)) == 0) return 0xFFFFFF;
  return seen(handleOf(window), {x, y, x + 1, y + 1}).row(0)[0] & 0xFFFFFFU;
}

void Screen::paintOver(WindowId window, std::uint32_t color) {
  RECT area = {};
  GetClientRect(handleOf(window), &area);
  const HDC context = GetDC(handleOf(window));
  const HBRUSH brush =
      CreateSolidBrush(RGB(color >> 16 & 0xFFU, color >> 8 & 0xFFU, color & 0xFFU));
  FillRect(context, &area, brush);
  DeleteObject(brush);
  ReleaseDC(handleOf(window), context);
}

void Screen::moveMouse(int x, int y) {
  SetCursorPos(x, y);
  sendMouse(MOUSEEVENTF_MOVE);
}
void Screen::mouseDown() { sendMouse(MOUSEEVENTF_LEFTDOWN); }
void Screen::mouseUp() { sendMouse(MOUSEEVENTF_LEFTUP); }

void Screen::press(int key, bool isDown) {
  INPUT input = {};
  input.type = INPUT_KEYBOARD;
  input.ki.wVk = static_cast<WORD>(key);
  input.ki.wScan = static_cast<WORD>(MapVirtualKeyW(input.ki.wVk, MAPVK_VK_TO_VSC));
  input.ki.dwFlags = isDown ? 0 : KEYEVENTF_KEYUP;
  SendInput(1, &input, sizeof input);
  deliverMessages();
}

void Screen::type(const std::string& text) {
  for (const char c : text) {
    keyDown(c);
    keyUp(c);
  }
}

void Screen::keyDown(char key) { press(key == '\r' ? VK_RETURN : VkKeyScanA(key) & 0xFF, true); }
void Screen::keyUp(char key) { press(key == '\r' ? VK_RETURN : VkKeyScanA(key) & 0xFF, false); }

void Screen::repeatKey(char key) { keyDown(key); }

void Screen::listen(WindowId /*window*/) { listens = true; }

std::string Screen::heard() {
  deliverMessages();
  return std::exchange(keysHeard, "");
}

void Screen::askToClose(WindowId window) { PostMessageW(handleOf(window), WM_CLOSE, 0, 0); }

}  // namespace quellard::test
