// SPDX-License-Identifier: ISC
#include "tests/adapters/faces/screen.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <xcb/xtest.h>

namespace quellard::test {
namespace {

template <typename Reply>
auto owned(Reply* reply) {
  return std::unique_ptr<Reply, void (*)(void*)>(reply, std::free);
}

template <typename Reply>
Reply& whole(const std::unique_ptr<Reply, void (*)(void*)>& reply) {
  return reply ? *reply : throw std::runtime_error("the display does not answer");
}

std::uint16_t shortOf(int pixels) { return static_cast<std::uint16_t>(pixels); }

auto imageOf(xcb_connection_t* connection, xcb_window_t window, int x, int y, PixelSize size) {
  return owned(xcb_get_image_reply(
      connection,
      xcb_get_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, window, static_cast<std::int16_t>(x),
                    static_cast<std::int16_t>(y), shortOf(size.width), shortOf(size.height), ~0U),
      nullptr));
}

// Until the end of the line.
std::string readLine(int descriptor) {
  std::string line;
  for (char c = 0; read(descriptor, &c, 1) == 1 && c != '\n';) line += c;
  return line;
}

}  // namespace

// The server writes its number when it is ready, and ends with its last client.
void deliverMessages() {}

std::unique_ptr<Screen> Screen::start(int bits) {
  constexpr int kTold = 3;
  std::array<int, 2> pipe{};
  if (pipe2(pipe.data(), O_CLOEXEC) != 0) return nullptr;
  std::array words = {
      std::string("Xvfb"),      std::string("-displayfd"), std::to_string(kTold),
      std::string("-screen"),   std::string("0"),          "2000x1300x" + std::to_string(bits),
      std::string("-nolisten"), std::string("tcp"),        std::string("-terminate")};
  std::array<char*, words.size() + 1> arguments{};
  for (std::size_t i = 0; i < words.size(); ++i) arguments[i] = words[i].data();
  posix_spawn_file_actions_t actions{};
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, pipe[1], kTold);
  pid_t server = 0;
  const int error = posix_spawnp(&server, "Xvfb", &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(pipe[1]);
  const std::string number = error == 0 ? readLine(pipe[0]) : "";
  close(pipe[0]);
  if (error != 0) return nullptr;
  return std::unique_ptr<Screen>(new Screen(server, ":" + number));
}

Screen::Screen(pid_t server, const std::string& display)
    : server_(server), connection_(xcb_connect(display.c_str(), nullptr)), screen_(nullptr) {
  if (xcb_connection_has_error(connection_) != 0) throw std::runtime_error("no display " + display);
  setenv("DISPLAY", display.c_str(), 1);
  screen_ = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
  context_ = xcb_generate_id(connection_);
  xcb_create_gc(connection_, context_, screen_->root, 0, nullptr);
  wait();
}

Screen::~Screen() {
  stopServer();
  xcb_disconnect(connection_);
}

void Screen::kill() {
  stopServer();
  // A test beside this one may get its number next, and with it another desktop.
  setenv("DISPLAY", ":none", 1);
}

void Screen::stopServer() {
  if (server_ == 0) return;
  ::kill(server_, SIGTERM);
  waitpid(std::exchange(server_, 0), nullptr, 0);
}

void Screen::wait() {
  owned(xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
}

bool Screen::hasScales() { return true; }

void Screen::setDesktopScale(double scale) {
  const std::string text = "Xft.dpi:\t" + std::to_string(std::lround(96.0 * scale)) + "\n";
  xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, screen_->root, XCB_ATOM_RESOURCE_MANAGER,
                      XCB_ATOM_STRING, 8, static_cast<std::uint32_t>(text.size()), text.data());
  wait();
}

xcb_window_t Screen::open(PixelSize size, int left) {
  const xcb_window_t window = xcb_generate_id(connection_);
  xcb_create_window(connection_, XCB_COPY_FROM_PARENT, window, screen_->root,
                    static_cast<std::int16_t>(left), 0, shortOf(size.width), shortOf(size.height),
                    0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
  xcb_map_window(connection_, window);
  wait();
  return window;
}

void Screen::destroy(xcb_window_t window) {
  xcb_destroy_window(connection_, window);
  wait();
}

void Screen::resize(xcb_window_t window, PixelSize size) {
  const std::array values = {static_cast<std::uint32_t>(size.width),
                             static_cast<std::uint32_t>(size.height)};
  xcb_configure_window(connection_, window, XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT,
                       values.data());
  wait();
}

xcb_window_t Screen::inside(xcb_window_t parent) {
  if (parent == 0) parent = screen_->root;
  const auto tree =
      owned(xcb_query_tree_reply(connection_, xcb_query_tree(connection_, parent), nullptr));
  return tree && tree->children_len == 1 ? *xcb_query_tree_children(tree.get()) : 0;
}

PixelSize Screen::sizeOf(xcb_window_t window) {
  const auto geometry =
      owned(xcb_get_geometry_reply(connection_, xcb_get_geometry(connection_, window), nullptr));
  return geometry ? PixelSize{geometry->width, geometry->height} : PixelSize{};
}

bool Screen::isSeen(xcb_window_t window) {
  const auto state = owned(xcb_get_window_attributes_reply(
      connection_, xcb_get_window_attributes(connection_, window), nullptr));
  return state && state->map_state == XCB_MAP_STATE_VIEWABLE;
}

Picture Screen::pixels(xcb_window_t window) {
  const PixelSize size = sizeOf(window);
  const auto image = imageOf(connection_, window, 0, 0, size);
  const std::uint8_t* from = xcb_get_image_data(&whole(image));
  Picture picture(size.width, size.height);
  for (int y = 0; y < size.height; ++y) {
    std::uint32_t* const row = picture.row(y);
    std::memcpy(row, from, sizeof *row * static_cast<std::size_t>(size.width));
    from += sizeof *row * static_cast<std::size_t>(size.width);
    for (int x = 0; x < size.width; ++x) row[x] |= 0xFF000000U;
  }
  return picture;
}

std::uint32_t Screen::pixel(xcb_window_t window, int x, int y) {
  const auto image = imageOf(connection_, window, x, y, {1, 1});
  std::uint32_t pixel = 0xFFFFFF;
  if (image) std::memcpy(&pixel, xcb_get_image_data(image.get()), sizeof pixel);
  return pixel & 0xFFFFFFU;
}

void Screen::paintOver(xcb_window_t window, std::uint32_t color) {
  const PixelSize size = sizeOf(window);
  const xcb_rectangle_t all = {0, 0, shortOf(size.width), shortOf(size.height)};
  xcb_change_gc(connection_, context_, XCB_GC_FOREGROUND, &color);
  xcb_poly_fill_rectangle(connection_, window, context_, 1, &all);
  wait();
}

void Screen::fake(int type, int detail, int x, int y) {
  xcb_test_fake_input(connection_, static_cast<std::uint8_t>(type),
                      static_cast<std::uint8_t>(detail), XCB_CURRENT_TIME, screen_->root,
                      static_cast<std::int16_t>(x), static_cast<std::int16_t>(y), 0);
  wait();
}

void Screen::moveMouse(int x, int y) { fake(XCB_MOTION_NOTIFY, 0, x, y); }
void Screen::mouseDown() { fake(XCB_BUTTON_PRESS, XCB_BUTTON_INDEX_1); }
void Screen::mouseUp() { fake(XCB_BUTTON_RELEASE, XCB_BUTTON_INDEX_1); }

xcb_keycode_t Screen::keyOf(xcb_keysym_t symbol) {
  const xcb_keycode_t first = xcb_get_setup(connection_)->min_keycode;
  const int count = xcb_get_setup(connection_)->max_keycode - first + 1;
  const auto map = owned(xcb_get_keyboard_mapping_reply(
      connection_, xcb_get_keyboard_mapping(connection_, first, static_cast<std::uint8_t>(count)),
      nullptr));
  const xcb_keysym_t* const symbols = xcb_get_keyboard_mapping_keysyms(&whole(map));
  for (int key = 0; key < count; ++key) {
    if (symbols[key * map->keysyms_per_keycode] == symbol)
      return static_cast<xcb_keycode_t>(first + key);
  }
  throw std::runtime_error("no such key");
}

xcb_keycode_t Screen::keyOf(char character) {
  constexpr xcb_keysym_t kEnter = 0xFF0D;
  constexpr xcb_keysym_t kTab = 0xFF09;
  if (character == '\r') return keyOf(kEnter);
  return keyOf(character == '\t' ? kTab : static_cast<unsigned char>(character));
}

void Screen::keyDown(char key) { fake(XCB_KEY_PRESS, keyOf(key)); }
void Screen::repeatKey(char /*key*/) {}
void Screen::keyUp(char key) { fake(XCB_KEY_RELEASE, keyOf(key)); }

void Screen::type(const std::string& text) {
  for (const char c : text) {
    keyDown(c);
    keyUp(c);
  }
}

void Screen::forward(xcb_window_t window, char key) {
  for (const int type : {XCB_KEY_PRESS, XCB_KEY_RELEASE}) {
    xcb_key_press_event_t event{};
    event.response_type = static_cast<std::uint8_t>(type);
    event.detail = keyOf(key);
    event.root = screen_->root;
    event.event = window;
    event.same_screen = 1;
    xcb_send_event(connection_, 0, window, XCB_EVENT_MASK_NO_EVENT,
                   reinterpret_cast<const char*>(&event));
  }
  wait();
}

void Screen::listen(xcb_window_t window) {
  const std::uint32_t keys = XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_KEY_RELEASE;
  xcb_change_window_attributes(connection_, window, XCB_CW_EVENT_MASK, &keys);
  wait();
}

std::string Screen::heard() {
  constexpr std::uint32_t kRequestFocus = 3;
  wait();
  std::string heard;
  while (const auto event = owned(xcb_poll_for_event(connection_))) {
    const int type = event->response_type & 0x7F;
    if (type == XCB_KEY_PRESS) heard += '+';
    if (type == XCB_KEY_RELEASE) heard += '-';
    if (type != XCB_CLIENT_MESSAGE) continue;
    const auto& message = reinterpret_cast<const xcb_client_message_event_t&>(*event);
    if (message.type == atom("_XEMBED") && message.data.data32[1] == kRequestFocus) heard += 'f';
  }
  return heard;
}

xcb_atom_t Screen::atom(const std::string& name) {
  const auto reply = owned(xcb_intern_atom_reply(
      connection_,
      xcb_intern_atom(connection_, 0, shortOf(static_cast<int>(name.size())), name.c_str()),
      nullptr));
  return whole(reply).atom;
}

void Screen::askToClose(xcb_window_t window) {
  tell(window, "WM_PROTOCOLS", {atom("WM_DELETE_WINDOW")});
}

void Screen::embed(xcb_window_t window, std::uint32_t what, xcb_window_t parent) {
  tell(window, "_XEMBED", {XCB_CURRENT_TIME, what, 0, parent});
}

void Screen::tell(xcb_window_t window, const std::string& type,
                  const std::array<std::uint32_t, 4>& data) {
  xcb_client_message_event_t event{};
  event.response_type = XCB_CLIENT_MESSAGE;
  event.format = 32;
  event.window = window;
  event.type = atom(type);
  std::copy(data.begin(), data.end(), event.data.data32);
  xcb_send_event(connection_, 0, window, XCB_EVENT_MASK_NO_EVENT,
                 reinterpret_cast<const char*>(&event));
  wait();
}

}  // namespace quellard::test
