// SPDX-License-Identifier: ISC
// close_window WINDOW: asks a program to close its window, as a window manager does when the player
// clicks on its cross.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <xcb/xcb.h>

namespace {

xcb_atom_t atom(xcb_connection_t* connection, const char* name) {
  const auto request =
      xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(std::strlen(name)), name);
  xcb_intern_atom_reply_t* const reply = xcb_intern_atom_reply(connection, request, nullptr);
  const xcb_atom_t found = reply != nullptr ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
  std::free(reply);
  return found;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  xcb_connection_t* const connection = xcb_connect(nullptr, nullptr);
  xcb_client_message_event_t event{};
  event.response_type = XCB_CLIENT_MESSAGE;
  event.format = 32;
  event.window = static_cast<xcb_window_t>(std::strtoul(argv[1], nullptr, 0));
  event.type = atom(connection, "WM_PROTOCOLS");
  event.data.data32[0] = atom(connection, "WM_DELETE_WINDOW");
  xcb_send_event(connection, 0, event.window, XCB_EVENT_MASK_NO_EVENT,
                 reinterpret_cast<const char*>(&event));
  // A server that finds the connection closed need not read what came before. So its answer to a
  // later request is waited for.
  const auto last = xcb_get_input_focus(connection);
  xcb_get_input_focus_reply_t* const answer = xcb_get_input_focus_reply(connection, last, nullptr);
  const bool isSent = answer != nullptr;
  std::free(answer);
  xcb_disconnect(connection);
  return isSent ? 0 : 1;
}
