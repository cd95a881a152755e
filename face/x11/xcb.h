// SPDX-License-Identifier: ISC
// The functions of libxcb, looked up when the first window is opened: a machine without X11 loads
// and plays what is linked with this.
#pragma once

#include <xcb/xcb.h>

namespace quellard {

// clang-format off
#define QUELLARD_XCB_FUNCTIONS(X)                                               \
  X(change_property) X(configure_window) X(connect) X(connection_has_error)     \
  X(create_colormap) X(create_gc) X(create_window) X(depth_next)                \
  X(depth_visuals) X(depth_visuals_length) X(destroy_window) X(disconnect)      \
  X(flush) X(generate_id) X(get_file_descriptor) X(get_geometry)                \
  X(get_geometry_reply) X(get_keyboard_mapping) X(get_keyboard_mapping_keysyms) \
  X(get_keyboard_mapping_keysyms_length) X(get_keyboard_mapping_reply)          \
  X(get_maximum_request_length) X(get_property) X(get_property_reply)           \
  X(get_property_value) X(get_property_value_length) X(get_setup)               \
  X(get_window_attributes) X(get_window_attributes_reply) X(intern_atom)        \
  X(intern_atom_reply) X(map_window) X(poll_for_event) X(put_image)             \
  X(screen_allowed_depths_iterator) X(screen_next) X(send_event)                \
  X(set_input_focus) X(setup_roots_iterator) X(unmap_window)
// clang-format on

// Each function under its name without the prefix.
struct Xcb {
// NOLINTNEXTLINE(bugprone-macro-parentheses): the name of a member
#define QUELLARD_XCB_MEMBER(name) decltype(&xcb_##name) name;
  QUELLARD_XCB_FUNCTIONS(QUELLARD_XCB_MEMBER)
#undef QUELLARD_XCB_MEMBER

  // Null where the library is missing or lacks one of them. [any thread]
  static const Xcb* load();
};

}  // namespace quellard
